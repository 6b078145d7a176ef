"""Users and groups as an administrator keeps them, and what the users then see."""
from selenium.webdriver.common.by import By

KEY = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home"


def follow(browser, row, link):
    """Follows a link of the list's row that begins with that name."""
    for cells in browser.all("main tr"):
        texts = [cell.text for cell in cells.find_elements(By.TAG_NAME, "td")]
        if texts and texts[0].split("\n")[0] == row:
            return browser.follow(cells.find_element(By.LINK_TEXT, link))
    raise AssertionError(f"no row {row}: {browser.text()}")


def tick(browser, label):
    browser.driver.find_element(By.XPATH, f"//label[normalize-space()='{label}']").click()


def infos(browser):
    return [box.text for box in browser.all(".info-message")]


def log_out(browser):
    browser.open("?form=logout")
    assert "You are now logged out" in browser.text()


def test_a_user_from_beginning_to_end(browser, tmp_path):
    browser.log_in()
    browser.link("Users & Groups").click()
    assert "No users currently configured." in browser.text()

    browser.submit("Add Group")
    browser.fill("Group Name", "watchers")
    browser.fill("Description", "They look on")
    role = browser.one("span[title='See status, statistics and dashboards']")
    role.click()
    browser.submit("Apply")
    assert "Group 'watchers' has been saved." in infos(browser)[-1]

    browser.submit("Add User")
    browser.fill("Username", "ann")
    browser.fill("Description", "Ann: of ops")
    tick(browser, "watchers")
    tick(browser, "pmshell")
    tick(browser, "pmshell")
    browser.fill("Password", "wren-1")
    browser.fill("Confirm Password", "wren-1")
    browser.fill("SSH Authorized Keys", KEY)
    browser.submit("Apply")
    assert "Description can not contain" in browser.one(".error-message").text
    assert browser.one("textarea").get_attribute("value") == KEY, "nothing typed is lost"
    assert browser.one("input[name='group.watchers']").is_selected()
    browser.fill("Description", "Ann of ops")
    browser.fill("Password", "wren-1")
    browser.fill("Confirm Password", "wren-1")
    upload = tmp_path / "second.pub"
    upload.write_text(KEY.replace("ann@home", "ann@work") + "\n")
    browser.fill("Upload Keys", str(upload))
    browser.submit("Apply")
    assert "User 'ann' has been saved." in infos(browser)[-1]
    keys = browser.appliance.root / "etc/config/users/ann/.ssh/authorized_keys"
    assert keys.read_text() == KEY + "\n" + KEY.replace("ann@home", "ann@work") + "\n"

    log_out(browser)
    browser.submit_login("ann", "wren-1")
    browser.open()
    leaves = [leaf.text for leaf in browser.all("#related-links .branch a")]
    assert "Summary" in leaves and not {"Users & Groups", "Administration", "System Log"} & set(leaves)
    assert browser.complaints() == []
    browser.open("?form=users")
    assert "not authorized" in browser.one(".fatal-message").text
    browser.complaints()  # that bare page names no icon of its own

    browser.log_in()
    browser.open("?form=users")
    follow(browser, "ann", "Edit")
    browser.fill("Username", "anna")
    browser.submit("Apply")
    log_out(browser)
    browser.submit_login("ann", "wren-1")
    assert "Invalid login credentials" in browser.one(".error-message").text
    browser.submit_login("anna", "wren-1")
    browser.open("?form=sessions")
    assert "anna (this session)" in browser.text()
    log_out(browser)

    browser.log_in()
    browser.open("?form=users")
    follow(browser, "anna", "Disable")
    assert "Account for user: anna has been disabled" in infos(browser)[-1]
    log_out(browser)
    browser.submit_login("anna", "wren-1")
    assert "Invalid login credentials" in browser.one(".error-message").text

    browser.log_in()
    browser.open("?form=users")
    follow(browser, "anna", "Enable")
    follow(browser, "anna", "Delete")
    assert "Delete the user 'anna'" in browser.text()
    browser.submit("Delete")
    assert "User 'anna' has been deleted." in infos(browser)[-1]
    follow(browser, "watchers", "Delete")
    browser.submit("Delete")
    assert "No users currently configured." in browser.text() and "watchers" not in browser.one("table").text
    assert not keys.parent.parent.exists()
    assert browser.complaints() == []


def test_narrow_screen(browser):
    browser.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": 360, "height": 640, "deviceScaleFactor": 2, "mobile": True})
    browser.log_in()
    browser.open("?form=users&action=add&type=user")
    content = browser.one("#content")
    assert content.get_property("scrollWidth") == content.get_property("clientWidth"), "ports wrap"
    browser.open("?form=users")
    assert browser.driver.execute_script("return document.documentElement.scrollWidth") == 360, "the list scrolls"


def test_own_access(browser):
    browser.log_in()
    browser.open("?form=users&action=add&type=user")
    for label in ("Username", "Password", "Confirm Password"):
        browser.fill(label, "zoe")
    tick(browser, "pmshell")
    browser.one("input[name$='.port3']").click()
    browser.submit("Apply")
    log_out(browser)
    browser.submit_login("zoe", "zoe")
    browser.open()
    assert browser.one("h1").text == "My Access"
    assert "Your Serial Ports\nPort 3 " in browser.text().replace(" \n", "\n") and "Port 4" not in browser.text()
    assert browser.complaints() == []
    log_out(browser)
    browser.log_in()
    browser.open("?form=users")
    follow(browser, "zoe", "Delete")
    browser.submit("Delete")
