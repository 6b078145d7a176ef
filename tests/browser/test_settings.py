"""The settings pages as an administrator uses them: fill in, apply, look."""
import pytest
from selenium.webdriver.support.ui import Select

from conftest import field

PASSWORD = "otter & <heron>"

# Page, what is filled in by the label beside it (True: a box is checked), what is stored for it besides a password.
PAGES = {
    "auth": [("Authentication Method", "RADIUS, then Local"), ("Session Lifetime", "45"), ("RADIUS Servers", "192.0.2.9"),
             ("RADIUS Password", PASSWORD), ("Confirm RADIUS Password", PASSWORD)],
    "services": [("Enable Telnet", True), ("SSH Port", "2222"), ("Enable Brute Force Protection", True),
                 ("Failed Login Limit", "5"), ("Lockout Time", "30")],
    "time": [("Time Zone", "UTC+10:00 Brisbane"), ("Enable NTP", True), ("NTP Servers", "ntp1.example.com,192.0.2.1")],
    "ipconfig": [("Configuration Method", "Static"), ("IP Address", "192.0.2.5"), ("Subnet Mask", "255.255.255.0"),
                 ("Failover Interface", "Out-of-band network"), ("Primary Probe Address", "192.0.2.1")],
    "dialin": [("Enable Dial-In", True), ("Remote Address", "10.1.1.2"), ("Local Address", "10.1.1.1"),
               ("Enable Dial-Back", True), ("Dial-Back Phone Number", "+61730001000"),
               ("Dial-In Password", PASSWORD), ("Confirm Dial-In Password", PASSWORD)],
    "smtp": [("SMTP Server", "mail.example.com"), ("Secure Connection", "STARTTLS"), ("Sender Address", "a@example.com"),
             ("SMTP Password", PASSWORD), ("Confirm SMTP Password", PASSWORD)],
    "snmp": [("Location", "Rack <7> & left"), ("Read Only Username", "watcher"), ("Auth. Password", PASSWORD),
             ("Confirm Auth. Password", PASSWORD), ("Read Only Security Level", "Authentication"),
             ("Version", "SNMPv2c"), ("Community", "\"traps\" only")],
    "nagios": [("Enable NSCA", True), ("Nagios Host Name", "rack-7"), ("NSCA Encryption", "AES-256"), ("NSCA Interval", "10"),
               ("NSCA Secret", PASSWORD), ("Confirm NSCA Secret", PASSWORD)],
    "eventlog": [("Log Level", "Errors and above"), ("Server Type", "Windows share (CIFS)"), ("Username", "LOGS\\console"),
                 ("Password", PASSWORD), ("Confirm Password", PASSWORD)],
    "systemsettings": [("System Name", "rack-7"), ("System Description", "Second floor, left")],
}


def shown(browser, label):
    cell = browser.row(label)
    target = field(cell)
    if target.get_attribute("type") == "checkbox":
        return target.is_selected()
    if target.tag_name == "select":
        return Select(target).first_selected_option.text
    current = cell.find_elements("css selector", "div[id$='.current']")
    return current[0].text if current else target.get_attribute("value")


@pytest.mark.parametrize("page", PAGES)
def test_settings_are_kept(browser, page):
    browser.log_in()
    browser.one(f"#related-links a[href='?form={page}']").click()
    for label, value in PAGES[page]:
        browser.fill(label, value)
    browser.submit("Apply")
    assert browser.one(".info-message").text.startswith("Message Changes to configuration succeeded.")
    browser.open(f"?form={page}")
    assert [(label, shown(browser, label)) for label, _ in PAGES[page]] == [
        (label, "********" if value == PASSWORD else value) for label, value in PAGES[page]]
    assert PASSWORD not in browser.driver.page_source
    assert browser.complaints() == []


def test_refused_settings_stand_to_be_mended(browser):
    browser.log_in()
    browser.open("?form=dialin")
    browser.link("Port 3").click()
    browser.fill("Enable Dial-In", True)
    browser.fill("Local Address", "10.1.1.1")
    browser.fill("Modem Initialization", "AT&C1")
    browser.submit("Apply")
    assert "Dial-In configuration requires a Remote Address" in browser.text()
    assert shown(browser, "Enable Dial-In") and shown(browser, "Local Address") == "10.1.1.1"
    assert field(browser.row("Modem Initialization")).get_attribute("value") == "AT&C1"
    browser.fill("Remote Address", "10.1.1.2")
    browser.submit("Apply")
    assert shown(browser, "Remote Address") == "10.1.1.2" and shown(browser, "Modem Initialization") == "AT&C1"

    # Of this port alone.
    assert browser.one("td.field-input b").text == "Port 3"
    browser.link("Port 4").click()
    assert shown(browser, "Remote Address") == ""


def test_clock(browser):
    browser.log_in()
    browser.open("?form=time")
    for name, value in (("year", "2031"), ("month", "4"), ("day", "30"), ("hour", "23"), ("minute", "59")):
        Select(browser.one(f"select[name='time.{name}']")).select_by_visible_text(value)
    browser.submit("Set Clock")
    # The machine that the console is tested on keeps its own time.
    assert "Failed to set system time: Operation not permitted" in browser.text()
    assert Select(browser.one("select[name='time.year']")).first_selected_option.text == "2031"
