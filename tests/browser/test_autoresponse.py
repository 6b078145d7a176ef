"""A rule is built with a check and two actions and edited again."""
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
    browser.enter("new.email.name", "Tell the staff")
    browser.enter("new.email.to_addr", "staff@example.com")
    browser.enter("new.email.body", "The tank is <empty>.")
    browser.submit("Save Action")
    assert saved(browser)
    browser.submit("New Trigger Action")
    choose(browser, "action", "conman", scripts)
    browser.enter("new.conman.name", "Use the other link")
    browser.enter("new.conman.delay_time", "30")
    browser.enter("new.conman.ref", "lan")
    browser.enter("trigger.new.position", "1")
    browser.submit("Save Action")
    assert saved(browser)
    assert rows(browser, "Trigger Actions") == [
        ["30 s", "Use the other link", "Network Interface Event Action", "Modify", "Delete"],
        ["0 s", "Tell the staff", "Email Action", "Modify", "Delete"]]
    assert "No Actions Scheduled" in browser.text() and rows(browser, "Resolve Actions") == []

    # Edited again, from the list.
    browser.follow(browser.link("Auto-Response"))
    listed = [line[:3] for line in rows(browser, "Configured Auto-Responses")]
    assert [rule, "ICMP Ping Check", "Normal"] in listed
    browser.follow(browser.all("a[href*='action=modify']")[len(listed) - 1])
    assert browser.one("[name$='net.ping.address']").get_attribute("value") == "192.0.2.1"
    browser.enter("net.ping.frequency", "20")
    browser.submit("Save Auto-Response")
    assert saved(browser)
    browser.follow(browser.all("a[href*='action=trigger&']")[1])
    assert "The tank is <empty>." in browser.text()
    browser.enter("2.email.subject", "Tank 7")
    browser.submit("Save Action")
    assert saved(browser)
    browser.follow(browser.all("a[href*='list=trigger']")[0])
    assert f"Delete the action 'Use the other link' of '{rule}'?" in browser.text()
    browser.submit("Delete")
    assert saved(browser)
    assert rows(browser, "Trigger Actions") == [["0 s", "Tell the staff", "Email Action", "Modify", "Delete"]]

    browser.follow(browser.link("Auto-Response Status"))
    assert [rule, "ICMP Ping Check", "192.0.2.1", "", "", "Normal"] in rows(browser, "Auto-Responses")
    assert browser.complaints() == []
