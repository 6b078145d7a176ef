"""The panels of a rule's check and actions."""

import pytest


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


@pytest.mark.parametrize("scripts", [True, False], ids=["scripts", "no scripts"])
def test_a_rule(browser, scripts):
    rule = "Tank watch " + ("scripted" if scripts else "plain")
    browser.log_in()
    browser.driver.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": not scripts})
    browser.follow(browser.link("Auto-Response"))
    browser.submit("New Auto-Response")
    browser.enter(".new.name", rule)
    choose(browser, "check", "power", scripts)
    choose(browser, "check", "net_ping", scripts)
    assert browser.one("[name$='.new.name']").get_attribute("value") == rule, "nothing that was typed is lost"
    browser.enter("net.ping.address", "192.0.2.1")
    browser.submit("Save Auto-Response")
    browser.submit("New Trigger Action")
    choose(browser, "action", "conman", scripts)
    for name, value in (("name", "Use the other link"), ("delay_time", "30"), ("ref", "lan")):
        browser.enter("new.conman." + name, value)
    browser.submit("Save Action")
    assert "30 s Use the other link Network Interface Event Action" in browser.text()
    browser.follow(browser.link("Auto-Response Status"))
    assert f"{rule} ICMP Ping Check 192.0.2.1" in browser.text()
    assert browser.complaints() == []
