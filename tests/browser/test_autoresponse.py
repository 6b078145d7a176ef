"""A rule is built with a check and two actions."""
import pytest


def rows(browser, title):
    """The cells below the headings of the table of that title."""
    title = browser.driver.find_element("xpath", f"//td[@class='sub-title'][starts-with(., '{title}')]")
    return [[cell.text.strip() for cell in row.find_elements("css selector", "td")]
            for row in title.find_elements("xpath", "ancestor::table[1]//tr")[2:]]


def choose(browser, menu, kind, scripts):
    """Picks a type in a menu; its panel and no other is then seen."""
    radio = browser.one(f"input[type=radio][value={kind}][onclick*='{menu}']")
    radio.click()
    if scripts:
        assert not browser.all("input[name=select]")
    else:
        browser.follow(radio.find_element("xpath", "ancestor::td[1]//input[@name='select']"))
    assert browser.one(f"#{kind}_{menu}_div").is_displayed()
    assert len(browser.all(f"div[id$=_{menu}_div][style*=block]")) == 1


def saved(browser):
    assert not browser.all(".error-message"), browser.one(".error-message").text
    return "Changes to configuration succeeded." in browser.text()


@pytest.mark.parametrize("scripts", [True, False], ids=["scripts", "no scripts"])
def test_a_rule(browser, scripts):
    rule = "Tank watch " + ("scripted" if scripts else "plain")
    browser.log_in()
    browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": not scripts})

    browser.follow(browser.link("Auto-Response"))
    browser.submit("New Auto-Response")
    assert "Add a new check by selecting a check type from the left menu" in browser.text()
    assert "Please select a check type and save the Auto-Response" in browser.text()
    browser.enter(".new.name", rule)
    choose(browser, "check", "power", scripts)
    choose(browser, "check", "net_ping", scripts)
    browser.enter("net.ping.address", "not an address")
    browser.submit("Save Auto-Response")
    assert "Address to Ping must be assigned a Network Address" in browser.one(".error-message").text
    # Nothing that was typed is lost.
    assert browser.one("[name$='.new.name']").get_attribute("value") == rule
    assert browser.one("[name$='net.ping.address']").get_attribute("value") == "not an address"
    browser.enter("net.ping.address", "192.0.2.1")
    browser.submit("Save Auto-Response")
    assert saved(browser)

    browser.submit("New Trigger Action")
    choose(browser, "action", "email", scripts)
    for name, value in (("name", "Tell the staff"), ("to_addr", "staff@example.com"), ("body", "It is <empty>.")):
        browser.enter("new.email." + name, value)
    browser.submit("Save Action")
    assert saved(browser)
    browser.submit("New Trigger Action")
    choose(browser, "action", "conman", scripts)
    for name, value in (("name", "Use the other link"), ("delay_time", "30"), ("ref", "lan")):
        browser.enter("new.conman." + name, value)
    browser.enter("trigger.new.position", "1")
    browser.submit("Save Action")
    assert saved(browser)
    assert rows(browser, "Trigger Actions") == [
        ["30 s", "Use the other link", "Network Interface Event Action", "Modify", "Delete"],
        ["0 s", "Tell the staff", "Email Action", "Modify", "Delete"]]
    assert "No Actions Scheduled" in browser.text() and rows(browser, "Resolve Actions") == []

    browser.follow(browser.link("Auto-Response Status"))
    assert [rule, "ICMP Ping Check", "192.0.2.1", "", "", "Normal"] in rows(browser, "Auto-Responses")
    assert browser.complaints() == []
