"""Pages for everybody: what axe-core measures, and the keyboard alone."""
import os

import pytest
from conftest import PROJECT
from pages import STATES, pages
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

AXE = PROJECT / "build/npm/node_modules/axe-core/axe.min.js"


def scheme(browser, name):
    browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": name}]})


def violations(browser, rules=None):
    browser.driver.execute_script("if (!window.axe) " + "{" + AXE.read_text(encoding="utf-8") + "}")
    found = browser.driver.execute_async_script(
        "axe.run(document, arguments[0]).then(arguments[arguments.length - 1]);",
        {"resultTypes": ["violations"], **({"runOnly": rules} if rules else {})})
    assert found["passes"], "nothing was measured"
    return [f"{rule['id']}: {node['html'][:160]}" for rule in found["violations"]
            if rule["impact"] in ("serious", "critical") for node in rule["nodes"]]


# The pages are the same whichever build made them, and to see all of them takes its time.
once = pytest.mark.skipif(os.environ.get("ZANDORIN_PRESET", "release") != "release", reason="measured with the release")


@once
def test_no_page_shuts_anybody_out(browser):
    found = {}

    def measure(name):
        scheme(browser, "light")
        found[name] = violations(browser)
        scheme(browser, "dark")
        found[f"{name}, dark"] = violations(browser, ["color-contrast"])

    browser.open()
    measure("login")
    browser.log_in()
    for name, query in pages().items():
        browser.open(query)
        measure(name)
        assert name == "unknown" or browser.complaints() == [], name
    for name, go in STATES.items():
        go(browser)
        measure(name)
    browser.press("form[name=commit] input[name=apply]")
    assert {name: rules for name, rules in found.items() if rules} == {}


def press(browser, *keys):
    ActionChains(browser.driver).send_keys(*keys).perform()


def focused(browser):
    return browser.driver.switch_to.active_element


def test_the_keyboard_alone(browser):
    browser.log_in("?form=systemsettings")
    press(browser, Keys.TAB)
    skip = focused(browser)
    assert skip.text == "Skip to the page" and skip.rect["x"] >= 0
    press(browser, Keys.ENTER)
    press(browser, Keys.TAB)
    while focused(browser).get_attribute("name") != "config.system.description":
        assert focused(browser).tag_name != "body", "the description was never reached"
        press(browser, Keys.TAB)
    description = focused(browser)
    assert description.accessible_name.strip() == "System Description"
    assert browser.driver.execute_script("return getComputedStyle(arguments[0]).outlineStyle", description) != "none"
    press(browser, "In the cellar", Keys.ENTER)
    browser.one(".info-message[role=status]")
    assert browser.one("[name='config.system.description']").get_attribute("value") == "In the cellar"


@pytest.mark.parametrize("words, page, field", [
    pytest.param("snm", "snmp", None, id="label of a page"),
    pytest.param("smtp.server", "smtp", "config.system.smtp.server", id="key"),
    pytest.param("hex digits nobody types", None, None, id="nothing"),
])
def test_finding(browser, words, page, field):
    browser.log_in("?form=time")
    press(browser, "/")
    assert browser.driver.execute_script("return document.activeElement.getAttribute('role')") == "combobox"
    press(browser, words)
    if page is None:
        assert browser.one("#found").text == "Nothing found"
        return
    browser.one("#found [aria-selected=true]")
    press(browser, Keys.ENTER)
    browser.wait(lambda: f"form={page}" in browser.driver.current_url)
    if field:
        browser.wait(lambda: focused(browser).get_attribute("name") == field)
    press(browser, Keys.ESCAPE)
    browser.open(f"?form={page}")
    browser.one("#find input").click()
    assert "Date & Time" in browser.one("#found").text, "visited last"
