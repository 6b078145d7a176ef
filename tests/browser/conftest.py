"""The console as a person meets it: script/server on a free port and an appliance root of its own, and Chromium."""
import os
import random
import signal
import socket
import subprocess
import time
from collections import namedtuple
from contextlib import contextmanager
from pathlib import Path

import pytest
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.utils import is_connectable
from selenium.webdriver.support.ui import Select, WebDriverWait

PROJECT = Path(__file__).resolve().parents[2]
START_SECONDS = 20
PAGE_SECONDS = 20


Appliance = namedtuple("Appliance", "root url tls_port")


def is_free(port):
    with socket.socket() as probe:
        return probe.connect_ex(("127.0.0.1", port)) != 0


def free_ports():
    """For the web server, without and with TLS. script/server puts other daemons beside the first, and these listen
    anew while a test runs. So all of them are below the ports that the kernel gives to outgoing connections: one of
    those would keep a daemon from its port."""
    while True:
        port = random.randrange(11000, 31000)
        if all(is_free(port + offset) for offset in (-58, 0, 1, 702, 704, *range(721, 769))):
            return port, port + 1


@contextmanager
def serving(folder):
    """An appliance in that folder, served."""
    log = folder / "log"
    port, tls_port = free_ports()
    preset = os.environ.get("ZANDORIN_PRESET", "release")
    with open(log, "wb") as output:
        server = subprocess.Popen(
            [PROJECT / "script/server", "--no-build", "--preset", preset, "--port", str(port),
             "--tls-port", str(tls_port), "--root", folder / "root"], stdout=output, stderr=subprocess.STDOUT)
    try:
        end = time.monotonic() + START_SECONDS
        while b"http://" not in log.read_bytes():
            assert server.poll() is None and time.monotonic() < end, log.read_text()
            time.sleep(0.05)
        yield Appliance(folder / "root", f"http://127.0.0.1:{port}/", tls_port)
    finally:
        server.send_signal(signal.SIGTERM)
        server.wait(START_SECONDS)
    said = log.read_text(errors="replace")
    assert "Sanitizer" not in said and "runtime error" not in said, said


@pytest.fixture(scope="session")
def appliance(tmp_path_factory):
    with serving(tmp_path_factory.mktemp("appliance")) as appliance:
        yield appliance


class Browser:
    """Chromium with the steps that every test takes."""

    def __init__(self, driver, appliance):
        self.driver = driver
        self.appliance = appliance

    def open(self, query=""):
        self.driver.get(self.appliance.url + query)

    def one(self, selector):
        return self.wait(lambda: self.driver.find_element(By.CSS_SELECTOR, selector))

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def link(self, text):
        return self.driver.find_element(By.LINK_TEXT, text)

    def text(self):
        return self.one("main").text

    def log_in(self, query=""):
        """Ends on the page that the console opens with, or on that of the query."""
        self.submit_login("root", "kestrel")
        self.one(".welcome")
        if query:
            self.open(query)

    def submit_login(self, name, password):
        self.open()
        self.one("input[name=username]").send_keys(name)
        self.one("input[name=password]").send_keys(password)
        self.press("main input[type=submit]")

    def wait(self, condition):
        """Until the condition holds; answers what it answered."""
        return WebDriverWait(self.driver, PAGE_SECONDS).until(lambda _: condition())

    def press(self, selector):
        """Presses a button and waits for the page that answers it."""
        self.follow(self.one(selector))

    def submit(self, label):
        """The same by the button's text."""
        self.press(f"main input[type=submit][value='{label}']")

    def follow(self, element):
        """Clicks what leads to another page, and waits for it."""
        element.click()
        self.wait(lambda: is_gone(element))

    def fill(self, label, value):
        """Enters a value by the label beside it: a text or a choice."""
        # Hard spaces stand behind labels.
        label = f"td[@class='field-label'][normalize-space(translate(., '\u00a0', ' '))='{label}']"
        cell = self.one("main").find_element("xpath", f".//{label}/following-sibling::td[1]")
        # Of an unsafe input the one for a new value, not its box.
        enter(cell.find_elements("css selector", "input:not([name$='.delete']), select, textarea")[0], value)

    def enter(self, name, value):
        """The same by the end of the field's name."""
        enter(self.one(f"[name$='{name}']"), value)

    def complaints(self):
        """What the browser refused or missed on the pages so far: files, policies, scripts."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]


class Driver(Service):
    """chromedriver by its address: a bare Debian has no /etc/hosts that knows "localhost"."""

    @property
    def service_url(self):
        return f"http://127.0.0.1:{self.port}"

    def is_connectable(self):
        return is_connectable(self.port, "127.0.0.1")


def enter(target, value):
    if target.tag_name == "select":
        Select(target).select_by_visible_text(value)
    else:
        if target.get_attribute("type") != "file":
            target.clear()
        target.send_keys(value)


def is_gone(element):
    try:
        element.is_enabled()
    except Exception:  # the driver has several names for it
        return True
    return False


@contextmanager
def chromium(profile, *more_flags):
    """A browser with that profile folder."""
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    # A pipe, for the same reason as above. The address bar's list is a page of its own, which works while ours loads.
    for flag in ("headless=new", "remote-debugging-pipe", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run",
                 "disable-background-networking", "disable-component-update", "disable-sync",
                 "disable-features=WebUIOmniboxPopup,WebUIOmniboxAimPopup", "disable-dev-shm-usage",
                 "window-size=1280,900", f"user-data-dir={profile}", *more_flags):
        options.add_argument("--" + flag)
    driver = webdriver.Chrome(service=Driver("/usr/bin/chromedriver"), options=options)
    driver.set_page_load_timeout(PAGE_SECONDS)
    try:
        yield driver
    finally:
        driver.quit()


@pytest.fixture
def browser(appliance, tmp_path):
    with chromium(tmp_path / "profile") as driver:
        yield Browser(driver, appliance)
