"""The serial ports on the real daemons: conserver, sshd and the port service, with simulated devices behind the ports."""
import os
import signal
import socket
import struct
import subprocess
import time
import urllib.parse

import pytest


class Terminal:
    """A connection to a socket of the port service."""

    def __init__(self, root, name):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(str(root / "var/run" / name))
        self.rest = b""

    def send(self, kind, payload=b""):
        self.socket.sendall(kind.encode() + struct.pack(">H", len(payload)) + payload)

    def frames(self, until=b"", seconds=5):
        """Types and payloads until one holds those bytes, the connection ends, or the time is over."""
        end, seen = time.monotonic() + seconds, []
        while time.monotonic() < end:
            self.socket.settimeout(max(0.01, end - time.monotonic()))
            try:
                data = self.socket.recv(65536)
            except socket.timeout:
                break
            if not data:
                seen.append(("end", b""))
                break
            self.rest += data
            while len(self.rest) >= 3 and len(self.rest) >= 3 + struct.unpack(">H", self.rest[1:3])[0]:
                length = struct.unpack(">H", self.rest[1:3])[0]
                seen.append((chr(self.rest[0]), self.rest[3:3 + length]))
                self.rest = self.rest[3 + length:]
            if until and until in b"".join(payload for _, payload in seen):
                break
        return seen

    def text(self, until=b"", seconds=5):
        return b"".join(payload for kind, payload in self.frames(until, seconds) if kind in "DE")


def opened(root, target="port1", mode="write"):
    terminal = Terminal(root, "ports.sock")
    terminal.send("U", f"root\n{target}\n{mode}\n192.0.2.1".encode())
    return terminal


def waited(condition, seconds=10):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.1)
    return False


def answers(root, port="port1", prompt=b"switch-1"):
    """The device at the port answers a key."""
    try:
        terminal = opened(root, port)
        terminal.send("W")
        terminal.send("D", b"\r")
        return prompt in terminal.text(prompt, 1)
    except OSError:
        return False


def process_of(root, service):
    return int((root / f"etc/service/{service}/supervise/pid").read_text())


@pytest.fixture
def root(appliance):
    assert waited(lambda: (appliance.root / "var/run/ports.sock").exists())
    assert waited(lambda: answers(appliance.root), 20)
    return appliance.root


def ticket(browser, query):
    """As the terminal's page gets one."""
    return browser.driver.execute_async_script(
        "var done = arguments[1]; fetch(arguments[0]).then(a => a.json()).then(a => done(a.ticket || ''));",
        "?form=terminal&" + query)


def test_typing_into_the_switch(browser, root):
    browser.log_in("?form=portaccess")
    browser.follow(browser.link("Terminal"))
    browser.wait(lambda: browser.one("#terminal-state").text == "You write")
    keys = browser.one(".xterm-helper-textarea")
    for typed in ("\ue007", "admin\ue007", "admin\ue007", "show version\ue007"):
        keys.send_keys(typed)
        time.sleep(0.3)
    rows = browser.one(".xterm-rows")
    browser.wait(lambda: "Uptime 12 days" in rows.text)
    watcher = opened(root, mode="watch")
    assert b"Uptime 12 days" in watcher.text(b"Uptime 12 days")
    watcher.send("D", b"show log\r")
    watcher.send("W")
    watcher.send("D", b"show log\r")
    assert b"AUTH-6" not in watcher.text(b"AUTH-6", 1), "who watches writes nothing"
    other = opened(root)
    other.frames(b"is attached]")
    other.send("W")
    browser.wait(lambda: "Take over?" in browser.one("#terminal-state").text)
    browser.one("[data-action=take]").click()
    browser.wait(lambda: browser.one("#terminal-state").text == "You write")
    assert b"forced to `spy'" in other.text(b"forced to `spy'")


def test_tickets_are_good_once_and_for_their_port_and_session(browser, root):
    browser.log_in()
    good = ticket(browser, "target=port3")
    first = Terminal(root, "terminal.sock")
    first.send("T", good.encode())
    assert b'"mode":"write"' in first.frames(b"mode")[0][1]
    for first_frame in (("T", good.encode()), ("T", b"0" * 32), ("U", b"root\nport1\nwrite\n"), ("Q", b"")):
        refused = Terminal(root, "terminal.sock")
        refused.send(*first_frame)
        assert [kind for kind, _ in refused.frames()] == ["E", "end"], first_frame
    for target in ("port99", "port0", "../port1", "-f"):
        refused = Terminal(root, "terminal.sock")
        refused.send("T", ticket(browser, "target=" + urllib.parse.quote(target)).encode())
        assert b"There is no such port" in refused.text(b"such port"), target
    too_long = Terminal(root, "terminal.sock")
    too_long.socket.sendall(b"T\xff\xff")
    assert too_long.frames()[-1][0] == "end"

    # The session's end is the terminal's, within two seconds.
    shell = Terminal(root, "terminal.sock")
    shell.send("T", ticket(browser, "target=shell").encode())
    shell.frames(b"mode")
    begun = time.monotonic()
    browser.open("?form=logout")
    assert b"The session has ended." in first.text(b"ended") + shell.text(b"ended")
    assert first.frames()[-1][0] == shell.frames()[-1][0] == "end" or time.monotonic() - begun < 4


@pytest.mark.parametrize("headers, status", [
    ({"Origin": "own"}, 101), ({"Origin": "http://evil.example"}, 403), ({}, 403),
    ({"Origin": "own", "Sec-Fetch-Site": "cross-site"}, 403)])
def test_only_this_site_opens_the_socket(appliance, root, headers, status):
    address = urllib.parse.urlsplit(appliance.url)
    lines = ["GET /terminal HTTP/1.1", f"Host: {address.netloc}", "Connection: Upgrade", "Upgrade: websocket",
             "Sec-WebSocket-Version: 13", "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==",
             "Sec-WebSocket-Protocol: binary"]
    lines += [f"{name}: {value.replace('own', 'http://' + address.netloc)}" for name, value in headers.items()]
    with socket.create_connection((address.hostname, address.port), 5) as connection:
        connection.sendall("\r\n".join(lines + ["", ""]).encode())
        assert connection.recv(4096).startswith(f"HTTP/1.1 {status} ".encode())


def test_torn_terminals_leave_nothing(root):
    service = process_of(root, "port-service")
    descriptors = len(os.listdir(f"/proc/{service}/fd"))
    for _ in range(15):
        torn = [opened(root, f"port{1 + n % 4}") for n in range(12)]
        for terminal in torn:
            terminal.frames(b"mode", 2)
        for terminal in torn:
            terminal.socket.close()
        assert waited(lambda: len(os.listdir(f"/proc/{service}/fd")) <= descriptors + 1)
    children = subprocess.run(["pgrep", "-P", str(service)], capture_output=True, text=True).stdout.split()
    assert len(children) <= 1, children


def test_what_ends_or_leaves_comes_back(root):
    os.kill(process_of(root, "conserver"), signal.SIGKILL)
    assert waited(lambda: answers(root), 5), "conserver"
    os.kill(process_of(root, "port-service"), signal.SIGKILL)
    assert waited(lambda: answers(root), 5), "the port service"
    # The simulated device with the loose plug is out for eight seconds of forty.
    link = root / "dev/port5"
    assert waited(lambda: not link.is_symlink(), 45) and waited(link.is_symlink)
    assert waited(lambda: answers(root, "port5", b"loose-5>"), 4), "a device"
