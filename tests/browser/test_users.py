"""Users and groups as an administrator keeps them, and what the users then see."""

KEY = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home"


def tick(browser, label):
    browser.driver.find_element("xpath", f"//label[normalize-space()='{label}']").click()


def infos(browser):
    return [box.text for box in browser.all(".info-message")]


def test_a_user(browser, tmp_path):
    browser.log_in()
    browser.link("Users & Groups").click()
    browser.submit("Add Group")
    browser.fill("Group Name", "watchers")
    browser.one("span[title='See status, statistics and dashboards']").click()
    browser.submit("Apply")
    assert "Group 'watchers' has been saved." in infos(browser)[-1]

    browser.submit("Add User")
    for label, value in (("Username", "ann"), ("Description", "Ann: of ops"), ("SSH Authorized Keys", KEY)):
        browser.fill(label, value)
    for label in ("watchers", "pmshell", "pmshell"):
        tick(browser, label)
    browser.submit("Apply")
    assert "Description can not contain" in browser.one(".error-message").text
    assert browser.one("textarea").get_attribute("value") == KEY, "nothing typed is lost"
    assert browser.one("input[name='group.watchers']").is_selected()

    upload = tmp_path / "second.pub"
    upload.write_text(KEY.replace("ann@home", "ann@work") + "\n")
    for label, value in (("Description", "Ann of ops"), ("Password", "wren-1"), ("Confirm Password", "wren-1"),
                         ("Upload Keys", str(upload))):
        browser.fill(label, value)
    browser.submit("Apply")
    assert "User 'ann' has been saved." in infos(browser)[-1]
    keys = browser.appliance.root / "etc/config/users/ann/.ssh/authorized_keys"
    assert keys.read_text() == KEY + "\n" + KEY.replace("ann@home", "ann@work") + "\n"

    browser.open("?form=logout")
    browser.submit_login("ann", "wren-1")
    browser.open()
    leaves = [leaf.text for leaf in browser.all("#related-links .branch a")]
    assert "Summary" in leaves and not {"Users & Groups", "Administration", "System Log"} & set(leaves)
    assert browser.complaints() == []
