"""A user as an administrator makes one, and what that user then sees."""

KEY = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home"


def test_a_user(browser, tmp_path):
    upload = tmp_path / "second.pub"
    upload.write_text(KEY.replace("ann@home", "ann@work") + "\n")
    browser.log_in()
    browser.link("Users & Groups").click()
    browser.submit("Add User")
    for label, value in (("Username", "ann"), ("Description", "Ann: of ops"), ("SSH Authorized Keys", KEY)):
        browser.fill(label, value)
    for label in ("pmoperator", "pmshell", "pmshell"):
        browser.driver.find_element("xpath", f"//label[normalize-space()='{label}']").click()
    browser.submit("Apply")
    assert "Description can not contain" in browser.one(".error-message").text
    assert browser.one("textarea").get_attribute("value") == KEY, "nothing typed is lost"
    assert browser.one("input[name='group.pmoperator']").is_selected()

    for label, value in (("Description", "Ann of ops"), ("Password", "wren-1"), ("Confirm Password", "wren-1"),
                         ("Upload Keys", str(upload))):
        browser.fill(label, value)
    browser.submit("Apply")
    assert "User 'ann' has been saved." in browser.all(".info-message")[-1].text
    keys = browser.appliance.root / "etc/config/users/ann/.ssh/authorized_keys"
    assert keys.read_text() == KEY + "\n" + upload.read_text()

    browser.open("?form=logout")
    browser.submit_login("ann", "wren-1")
    browser.open()
    leaves = [leaf.text for leaf in browser.all("#related-links .branch a")]
    assert "Summary" in leaves and not {"Users & Groups", "Administration", "System Log"} & set(leaves)
    assert browser.complaints() == []
