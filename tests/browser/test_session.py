"""Logging in, finding one's way, logging out."""
from selenium.webdriver.common.keys import Keys


def test_a_visit(browser):
    browser.log_in()
    assert browser.one("h1").text.endswith("Welcome")
    browser.link("Web Sessions").click()
    assert browser.one("h1").text == "Web Sessions"
    assert browser.one("nav [aria-current=page]").text == "Web Sessions"
    assert browser.driver.get_cookie("ZdSessionId")["httpOnly"]
    browser.link("Log Out").click()
    assert "You are now logged out" in browser.text()
    browser.open("?form=sessions")
    assert browser.all("input[name=username]") and not browser.all("#related-links")
    assert browser.complaints() == []


def test_navigation_folds(browser):
    def leaf_and_heading():
        leaf = browser.one("#related-links a[href='?form=sessions']")
        return leaf, leaf.find_element("xpath", "ancestor::div[contains(@class, 'branch')]/preceding-sibling::h4[1]")

    browser.log_in()
    leaf, heading = leaf_and_heading()
    assert leaf.is_displayed() and heading.get_attribute("aria-expanded") == "true"
    heading.click()
    assert not leaf.is_displayed() and heading.get_attribute("aria-expanded") == "false"
    icon = heading.find_element("tag name", "img")
    assert icon.get_attribute("src").endswith("icon-expand.png")
    assert browser.link("Administration").is_displayed(), "only one branch folds"

    # Remembered from page to page.
    browser.open()
    leaf, heading = leaf_and_heading()
    assert not leaf.is_displayed()
    heading.send_keys(Keys.ENTER)
    assert leaf.is_displayed()
    # The branch that holds only hidden pages has no heading.
    assert "Console" not in [h.text for h in browser.all("#related-links h4") if h.is_displayed()]


def test_narrow_screen(browser):
    browser.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": 320, "height": 640, "deviceScaleFactor": 2, "mobile": True})
    browser.log_in()
    for query in ("?form=users", "?form=users&action=add&type=user", "", "?form=sessions"):
        browser.open(query)
        widths = browser.driver.execute_script(
            "return [window.innerWidth, document.documentElement.scrollWidth]")
        assert widths == [320, 320], query
        content = browser.one("#content")
        assert "add" not in query or content.get_property("scrollWidth") == content.get_property("clientWidth"), query
    assert not browser.one("#branch0 a").is_displayed()
    browser.one("#menu-button").click()
    assert browser.link("Web Sessions").is_displayed()
