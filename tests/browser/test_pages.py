"""What page scripts add: judgement while one types, nothing lost, news of long work; and what a visit costs."""
import gzip

import pytest
from conftest import Browser, chromium

SERVER = "config.system.smtp.server"


def field(browser, name):
    return browser.one(f"main [name='{name}']")


def remark(browser, name):
    return browser.driver.execute_script(
        "var id = (arguments[0].getAttribute('aria-describedby') || '').split(' ')[0];"
        "var line = document.getElementById(id);"
        "return line && line.className === 'remark' && !line.hidden ? line.textContent : '';", field(browser, name))


def asks_before_leaving(browser):
    return not browser.driver.execute_script(
        "return window.dispatchEvent(new Event('beforeunload', {cancelable: true}));")


def test_values_are_judged_while_one_types_and_after(browser):
    browser.log_in("?form=smtp")
    assert "host.example.net" in browser.text()
    browser.enter(SERVER, "mail server")
    browser.wait(lambda: "SMTP Server must be assigned a Network Address" in remark(browser, SERVER))
    browser.enter(SERVER, "caf\xe9+1 <")
    browser.wait(lambda: "'caf\xe9+1 <' is invalid" in remark(browser, SERVER))
    browser.enter(SERVER, "mail.example.net")
    browser.wait(lambda: not remark(browser, SERVER))

    # Never in the way of a submission; two refused fields, the first on the page is where one goes on.
    browser.enter(SERVER, "no server")
    browser.enter("config.system.smtp.port", "99999")
    browser.press("main input[type=submit]")
    assert len(browser.all(".error-message[role=alert]")) == 2
    assert "'no server' is invalid" in remark(browser, SERVER)
    assert "99999" in remark(browser, "config.system.smtp.port")
    assert browser.driver.switch_to.active_element == field(browser, SERVER)
    assert len(browser.all("[aria-invalid=true]")) == 2
    assert asks_before_leaving(browser)
    browser.one(".error-message a[href*=refused], .error-message a").click()
    assert browser.driver.switch_to.active_element.get_attribute("aria-invalid") == "true"


@pytest.mark.parametrize("page, typed, secrets", [
    pytest.param("snmp", {"config.services.snmp.syslocation": "rack 7"},
                 ["config.services.snmp.rocommunity", "config.system.snmp.community"], id="communities"),
    pytest.param("smtp", {SERVER: "mail.example.net"}, ["config.system.smtp.password"], id="password"),
])
def test_typed_values_outlive_the_session_and_secrets_do_not(browser, page, typed, secrets):
    browser.log_in(f"?form={page}")
    assert not asks_before_leaving(browser)
    for name, value in {**typed, **dict.fromkeys(secrets, "merlin")}.items():
        browser.enter(name, value)
    assert asks_before_leaving(browser)
    browser.driver.delete_all_cookies()
    browser.press("main input[type=submit]")
    kept = browser.driver.execute_script("return sessionStorage.getItem('zandorin.draft');")
    assert all(value in kept for value in typed.values()) and "merlin" not in kept

    browser.enter("username", "root")
    browser.enter("password", "kestrel")
    browser.press("main input[type=submit]")
    browser.wait(lambda: "Your session had ended" in browser.text())
    assert f"form={page}" in browser.driver.current_url
    for name, value in typed.items():
        assert field(browser, name).get_attribute("value") == value
    for name in secrets:
        assert "merlin" not in field(browser, name).get_attribute("value")
    assert asks_before_leaving(browser)
    browser.press("main input[type=submit]")
    assert "Changes to configuration succeeded." in browser.text()
    assert not asks_before_leaving(browser)
    browser.open(f"?form={page}")
    assert "Your session had ended" not in browser.text()


@pytest.mark.parametrize("status, verdict, words", [
    pytest.param(0, "in line", "smtp done in", id="done"),
    pytest.param(1, "not in line", "smtp failed after", id="failed"),
])
def test_configurators_are_watched(browser, status, verdict, words):
    root = browser.appliance.root
    configurator = root / "usr/lib/zandorin/configurators/smtp"
    go = root / "go"
    own = configurator.readlink()  # the same file does other pages' work, also in later tests
    configurator.unlink()
    configurator.write_text(f"#!/bin/sh\nuntil [ -e '{go}' ]; do sleep 0.1; done\nexit {status}\n", encoding="ascii")
    configurator.chmod(0o755)
    try:
        browser.log_in("?form=smtp")
        browser.enter(SERVER, f"relay{status}.example.net")
        browser.press("main input[type=submit]")
        assert "Changes to configuration succeeded." in browser.text()
        details = browser.one(".info-message #changes")
        assert not details.get_attribute("open")
        details.find_element("tag name", "summary").click()
        assert SERVER in details.text and f"relay{status}" in details.text
        browser.wait(lambda: "smtp runs" in browser.one("#work").text)
        go.touch()
        browser.wait(lambda: words in browser.one("#work").text)
        assert f"The running system is {verdict}" in browser.one("#work").text
    finally:
        go.touch()
        configurator.unlink()
        configurator.symlink_to(own)
        browser.open("?form=index")  # waits until the run is over
        go.unlink()


def test_the_page_of_a_restart_waits_and_comes_back(browser):
    uptime = browser.appliance.root / "proc/uptime"
    uptime.unlink()
    try:
        uptime.write_text("5000.10 1.00\n", encoding="ascii")
        browser.log_in("?form=systemsettings")
        field(browser, "config.system.reboot").click()
        browser.press("form[name=reboot] input[type=submit]")
        browser.wait(lambda: "Waiting for the appliance" in browser.text())
        uptime.write_text("4.00 1.00\n", encoding="ascii")
        browser.wait(lambda: browser.all(".welcome") or "Summary" in browser.one("h1").text)
    finally:
        uptime.unlink()
        uptime.symlink_to("/proc/uptime")


def test_the_main_road_without_scripts(appliance, tmp_path):
    with chromium(tmp_path / "profile", "blink-settings=scriptEnabled=false") as driver:
        browser = Browser(driver, appliance)
        browser.submit_login("root", "kestrel")
        assert browser.all("noscript, #menu-button") == [], "scripts ran"
        assert "successfully logged in" in browser.text()
        browser.link("here").click()
        browser.link("SMTP").click()
        browser.enter(SERVER, "mail server")
        browser.press("main input[type=submit]")
        assert "must be assigned" in browser.one(".error-message").text
        assert field(browser, SERVER).get_attribute("value") == "mail server"
        browser.enter(SERVER, "relay.example.net")
        browser.press("main input[type=submit]")
        assert "Changes to configuration succeeded." in browser.text()
        assert "relay.example.net" in browser.one("#changes").get_attribute("textContent")
        assert not browser.one("#find input").is_displayed()
        browser.link("Log Out").click()
        assert "You are now logged out" in browser.text()


COST = """
    return performance.getEntriesByType('navigation').concat(performance.getEntriesByType('resource'))
        .map(function (entry) { return [new URL(entry.name).pathname, entry.transferSize, entry.encodedBodySize]; });
"""
LIMIT = 60 * 1024
# How much of what is on the screen moved, and how far (0.1 is what a reader notices).
MOVED = """
    var moved = 0, done = arguments[0];
    new PerformanceObserver(function (list) {
        list.getEntries().forEach(function (entry) { moved += entry.value; });
    }).observe({type: 'layout-shift', buffered: true});
    setTimeout(function () { done(moved); }, 500);
"""


def test_what_a_visit_costs(browser):
    browser.log_in()
    browser.driver.execute_cdp_cmd("Network.clearBrowserCache", {})
    browser.open("?form=smtp")
    moved = browser.driver.execute_async_script(MOVED)
    first = browser.driver.execute_script(COST)  # by now with the icons, which come after the page
    browser.open("?form=smtp")
    second = browser.driver.execute_script(COST)
    names = [name for name, _, _ in first]
    assert "/css/management.css" in names and "/scripts/find.js" in names and len(names) > 15
    total = sum(size for _, size, _ in first) + len((browser.appliance.root / "home/httpd/pixmaps/fav.ico").read_bytes())
    assert moved < 0.05
    assert 10_000 < total <= LIMIT
    assert [name for name, size, _ in second[1:] if size] == [], "loaded twice"
    script = (browser.appliance.root / "home/httpd/scripts/find.js").read_bytes()
    sent = next(size for name, _, size in first if name == "/scripts/find.js")
    assert sent < 1.2 * len(gzip.compress(script)), "files are sent compressed"
