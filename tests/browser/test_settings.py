"""A settings page as an administrator uses it: fill in by the labels, apply, mend what was refused."""
from conftest import field


def value(browser, label):
    return field(browser.row(label)).get_attribute("value")


def test_refused_settings_stand_to_be_mended(browser):
    browser.log_in()
    browser.open("?form=dialin")
    browser.link("Port 3").click()
    for label, text in (("Enable Dial-In", True), ("Local Address", "10.1.1.1"), ("Modem Initialization", "AT&C1")):
        browser.fill(label, text)
    browser.submit("Apply")
    assert "Dial-In configuration requires a Remote Address" in browser.text()
    assert field(browser.row("Enable Dial-In")).is_selected() and value(browser, "Local Address") == "10.1.1.1"
    assert value(browser, "Modem Initialization") == "AT&C1"
    browser.fill("Remote Address", "10.1.1.2")
    browser.submit("Apply")
    assert browser.one(".info-message").text.startswith("Message Changes to configuration succeeded.")
    assert value(browser, "Remote Address") == "10.1.1.2"
    current = browser.row("Modem Initialization").find_element("css selector", "div[id$='.current']")
    assert current.text == "AT&C1"

    # Of this port alone.
    assert browser.one("td.field-input b").text == "Port 3"
    browser.link("Port 4").click()
    assert value(browser, "Remote Address") == ""
    assert browser.complaints() == []
