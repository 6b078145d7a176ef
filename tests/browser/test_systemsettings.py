"""Changing the appliance's settings, from the page to the file to what the appliance then is."""
import time
import xml.etree.ElementTree as ElementTree

PATIENCE_SECONDS = 20


def stored(appliance, key):
    node = ElementTree.parse(appliance.root / "etc/config/config.xml").find(key.removeprefix("config.").replace(".", "/"))
    return None if node is None else node.text


def submit(browser, button="form[name=systemsettings] input[type=submit]"):
    browser.press(button)
    return browser.text()


def becomes(question):
    """What configurators do comes after the page."""
    end = time.monotonic() + PATIENCE_SECONDS
    while not question() and time.monotonic() < end:
        time.sleep(0.1)
    return question()


def test_system_name(browser, appliance):
    browser.log_in()
    browser.open("?form=systemsettings")
    browser.enter("config.system.name", "rack-7.example.org")
    browser.enter("config.system.description", "North room, row 3")
    assert "Changes to configuration succeeded." in submit(browser)
    assert stored(appliance, "config.system.name") == "rack-7.example.org"
    assert becomes(lambda: (appliance.root / "etc/hostname").exists())
    assert (appliance.root / "etc/hostname").read_text().strip() == "rack-7.example.org"
    browser.open("?form=systemsettings")
    assert browser.driver.title == "rack-7.example.org - Zandorin Management Console"

    # A refused form says why, shows what was typed, and leaves the file alone.
    before = (appliance.root / "etc/config/config.xml").read_bytes()
    browser.enter("config.system.name", "not a name")
    browser.enter("config.system.description", "typed in vain")
    assert "System Name must be assigned a Fully Qualified Domain Name. The value 'not a name' is invalid." in \
        submit(browser)
    assert browser.one("[name='config.system.description']").get_attribute("value") == "typed in vain"
    assert (appliance.root / "etc/config/config.xml").read_bytes() == before


def test_delayed_change(browser, appliance):
    browser.log_in()
    browser.open("?form=systemsettings")
    browser.one("[name='config.delayed']").click()
    submit(browser)
    assert stored(appliance, "config.delayed") == "on"

    browser.open("?form=systemsettings")
    browser.enter("config.system.description", "queued")
    assert "Changes to configuration queued." in submit(browser)
    assert stored(appliance, "config.system.description") != "queued"
    browser.open("?form=systemsettings")
    assert browser.one("[name='config.system.description']").get_attribute("value") == "queued"

    browser.link("Commit Changes").click()
    assert "systemsettings" in browser.text()
    submit(browser, "form[name=commit] input[name=apply]")
    assert stored(appliance, "config.system.description") == "queued"

    # Off again, which is queued like any other change.
    browser.open("?form=systemsettings")
    browser.one("[name='config.delayed']").click()
    submit(browser)
    assert stored(appliance, "config.delayed") == "on"
    browser.open("?form=commit")
    submit(browser, "form[name=commit] input[name=apply]")
    assert stored(appliance, "config.delayed") != "on"
    browser.open("?form=systemsettings")
    assert not [link for link in browser.all("#shortcuts a") if "Commit" in link.text]
