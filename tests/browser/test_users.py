"""Users and groups as an administrator keeps them, and what the users then see."""
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

KEY = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home"


def press(browser, button):
    """Presses a submit button by its label and waits for the next page."""
    old = browser.one(f"main input[type=submit][value='{button}']")
    old.click()
    arrived(browser, old)


def follow(browser, row, link):
    """Follows a link of the list's row that begins with that name."""
    for cells in browser.all("main tr"):
        texts = [cell.text for cell in cells.find_elements(By.TAG_NAME, "td")]
        if texts and texts[0].split("\n")[0] == row:
            old = cells.find_element(By.LINK_TEXT, link)
            old.click()
            return arrived(browser, old)
    raise AssertionError(f"no row {row}: {browser.text()}")


def arrived(browser, old):
    def gone(_):
        try:
            old.is_enabled()
        except Exception:  # the driver has several names for it
            return True
        return False
    WebDriverWait(browser.driver, 20).until(gone)


def type_in(browser, label, text):
    field = browser.driver.find_element(
        By.XPATH, f"//td[contains(., '{label}')]/following-sibling::td//*[self::input or self::textarea]")
    if field.get_attribute("type") != "file":
        field.clear()
    field.send_keys(text)


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

    press(browser, "Add Group")
    type_in(browser, "Group Name", "watchers")
    type_in(browser, "Description", "They look on")
    role = browser.one("span[title='See status, statistics and dashboards']")
    role.click()
    press(browser, "Apply")
    assert "Group 'watchers' has been saved." in infos(browser)[-1]

    press(browser, "Add User")
    type_in(browser, "Username", "ann")
    type_in(browser, "Description", "Ann: of ops")
    tick(browser, "watchers")
    tick(browser, "pmshell")
    tick(browser, "pmshell")
    type_in(browser, "Password", "wren-1")
    type_in(browser, "Confirm Password", "wren-1")
    type_in(browser, "SSH Authorized Keys", KEY)
    press(browser, "Apply")
    assert "Description can not contain" in browser.one(".error-message").text
    assert browser.one("textarea").get_attribute("value") == KEY, "nothing typed is lost"
    assert browser.one("input[name='group.watchers']").is_selected()
    type_in(browser, "Description", "Ann of ops")
    type_in(browser, "Password", "wren-1")
    type_in(browser, "Confirm Password", "wren-1")
    upload = tmp_path / "second.pub"
    upload.write_text(KEY.replace("ann@home", "ann@work") + "\n")
    type_in(browser, "Upload Keys", str(upload))
    press(browser, "Apply")
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
    type_in(browser, "Username", "anna")
    press(browser, "Apply")
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
    press(browser, "Delete")
    assert "User 'anna' has been deleted." in infos(browser)[-1]
    follow(browser, "watchers", "Delete")
    press(browser, "Delete")
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
