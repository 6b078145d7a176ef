"""A rule is built with a check and two actions and edited again."""
import pytest
from selenium.webdriver.support.ui import Select, WebDriverWait

from conftest import PAGE_SECONDS, is_gone


def fill(browser, name, text):
    field = browser.one(f"[name$='{name}']")
    field.clear()
    field.send_keys(text)


def follow(browser, element):
    """Clicks what leads to another page, and waits for it."""
    element.click()
    WebDriverWait(browser.driver, PAGE_SECONDS).until(lambda _: is_gone(element))


def press(browser, label):
    follow(browser, browser.one(f"main input[type=submit][value='{label}']"))


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
        follow(browser, radio.find_element("xpath", "ancestor::td[1]//input[@name='select']"))
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

    follow(browser, browser.link("Auto-Response"))
    press(browser, "New Auto-Response")
    assert "Add a new check by selecting a check type from the left menu" in browser.text()
    assert "Please select a check type and save the Auto-Response" in browser.text()
    fill(browser, ".new.name", rule)
    choose(browser, "check", "power", scripts)
    choose(browser, "check", "net_ping", scripts)
    fill(browser, "net.ping.address", "not an address")
    press(browser, "Save Auto-Response")
    assert "Address to Ping must be assigned a Network Address" in browser.one(".error-message").text
    # Nothing that was typed is lost.
    assert browser.one("[name$='.new.name']").get_attribute("value") == rule
    assert browser.one("[name$='net.ping.address']").get_attribute("value") == "not an address"
    fill(browser, "net.ping.address", "192.0.2.1")
    press(browser, "Save Auto-Response")
    assert saved(browser)

    press(browser, "New Trigger Action")
    choose(browser, "action", "email", scripts)
    fill(browser, "new.email.name", "Tell the staff")
    fill(browser, "new.email.to_addr", "staff@example.com")
    fill(browser, "new.email.body", "The tank is <empty>.")
    press(browser, "Save Action")
    assert saved(browser)
    press(browser, "New Trigger Action")
    choose(browser, "action", "conman", scripts)
    fill(browser, "new.conman.name", "Use the other link")
    fill(browser, "new.conman.delay_time", "30")
    Select(browser.one("[name$='new.conman.ref']")).select_by_visible_text("lan")
    Select(browser.one("[name='trigger.new.position']")).select_by_visible_text("1")
    press(browser, "Save Action")
    assert saved(browser)
    assert rows(browser, "Trigger Actions") == [
        ["30 s", "Use the other link", "Network Interface Event Action", "Modify", "Delete"],
        ["0 s", "Tell the staff", "Email Action", "Modify", "Delete"]]
    assert rows(browser, "Resolve Actions") == [["No Actions Scheduled"]]

    # Edited again, from the list.
    follow(browser, browser.link("Auto-Response"))
    listed = [line[:3] for line in rows(browser, "Configured Auto-Responses")]
    assert [rule, "ICMP Ping Check", "Normal"] in listed
    follow(browser, browser.all("a[href*='action=modify']")[len(listed) - 1])
    assert browser.one("[name$='net.ping.address']").get_attribute("value") == "192.0.2.1"
    fill(browser, "net.ping.frequency", "20")
    press(browser, "Save Auto-Response")
    assert saved(browser)
    follow(browser, browser.all("a[href*='action=trigger&']")[1])
    assert "The tank is <empty>." in browser.text()
    fill(browser, "2.email.subject", "Tank 7")
    press(browser, "Save Action")
    assert saved(browser)
    follow(browser, browser.all("a[href*='list=trigger']")[0])
    assert f"Delete the action 'Use the other link' of '{rule}'?" in browser.text()
    press(browser, "Delete")
    assert saved(browser)
    assert rows(browser, "Trigger Actions") == [["0 s", "Tell the staff", "Email Action", "Modify", "Delete"]]

    follow(browser, browser.link("Auto-Response Status"))
    assert [rule, "ICMP Ping Check", "192.0.2.1", "", "", "Normal"] in rows(browser, "Auto-Responses")
    assert browser.complaints() == []
