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
    browser.submit("Add Group")
    browser.fill("Group Name", "watchers")
    browser.one("span[title='See status, statistics and dashboards']").click()
    browser.submit("Apply")
    assert "Group 'watchers' has been saved." in infos(browser)[-1]

    browser.submit("Add User")
    for label, value in (("Username", "ann"), ("Description", "Ann: of ops"), ("SSH Authorized Keys", KEY)):
        browser.fill(label, value)
    tick(browser, "watchers")
    tick(browser, "pmshell")
    tick(browser, "pmshell")
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

    log_out(browser)
    browser.submit_login("ann", "wren-1")
    browser.open()
    leaves = [leaf.text for leaf in browser.all("#related-links .branch a")]
    assert "Summary" in leaves and not {"Users & Groups", "Administration", "System Log"} & set(leaves)
    log_out(browser)

    browser.log_in()
    browser.open("?form=users")
    follow(browser, "ann", "Disable")
    assert "Account for user: ann has been disabled" in infos(browser)[-1]
    log_out(browser)
    browser.submit_login("ann", "wren-1")
    assert "Invalid login credentials" in browser.one(".error-message").text

    browser.log_in()
    browser.open("?form=users")
    follow(browser, "ann", "Delete")
    browser.submit("Delete")
    assert "User 'ann' has been deleted." in infos(browser)[-1]
    follow(browser, "watchers", "Delete")
    browser.submit("Delete")
    assert "No users currently configured." in browser.text()
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
