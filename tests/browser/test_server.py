"""What the web server answers by itself, and what it adds to every answer."""
import http.client
import socket
import ssl
import time
from urllib.parse import urlencode, urlsplit

import pytest

from conftest import serving

EVERY_ANSWER = {
    "X-Content-Type-Options": "nosniff",
    "X-Frame-Options": "DENY",
    "Referrer-Policy": "same-origin",
}


SESSION = {"Cookie": "ZdSessionId=" + "0" * 32}


def ask(appliance, method, path, headers=None, body=None, encrypted=False):
    if encrypted:
        trusting = ssl._create_unverified_context()  # the certificate is the appliance's own
        connection = http.client.HTTPSConnection("127.0.0.1", appliance.tls_port, timeout=20, context=trusting)
    else:
        connection = http.client.HTTPConnection(urlsplit(appliance.url).netloc, timeout=20)
    try:
        connection.request(method, path, body=body, headers=headers or {})
        response = connection.getresponse()
        return response.status, response.headers, response.read()
    finally:
        connection.close()


@pytest.mark.parametrize("status, method, path, headers", [
    pytest.param(200, "GET", "/", {}, id="console"),
    pytest.param(200, "POST", "/", {}, id="submission"),
    pytest.param(200, "GET", "/css/management.css", {}, id="style"),
    pytest.param(200, "HEAD", "/css/management.css", {}, id="head of a file"),
    pytest.param(404, "GET", "/pixmaps/none.png", {}, id="no such picture"),
    pytest.param(403, "GET", "/nav.xml", {}, id="navigation tree"),
    pytest.param(403, "GET", "/forms/head.html", {}, id="template"),
    pytest.param(403, "GET", "/css/../nav.xml", {}, id="dots"),
    pytest.param(403, "GET", "/css/%2e%2e/nav.xml", {}, id="encoded dots"),
    pytest.param(403, "GET", "/pixmaps/", {}, id="folder"),
    pytest.param(403, "GET", "/cgi-bin/", {}, id="program folder"),
    pytest.param(403, "GET", "/cgi-bin/zandorin.cgi", {}, id="program"),
    pytest.param(403, "POST", "/%63gi-bin/zandorin.cgi?form=login", {}, id="program in escapes"),
    pytest.param(403, "GET", "//cgi-bin//zandorin.cgi", {}, id="program after two slashes"),
    pytest.param(403, "GET", "/css/../cgi-bin/zandorin.cgi", {}, id="program after dots"),
    pytest.param(403, "GET", "/css/..%2fcgi-bin%2fzandorin.cgi", {}, id="program after encoded dots"),
    pytest.param(403, "HEAD", "/", {}, id="head of a page"),
    pytest.param(403, "PUT", "/", {}, id="put"),
    pytest.param(403, "POST", "/", {"Sec-Fetch-Site": "cross-site"}, id="submission from elsewhere"),
    pytest.param(403, "GET", "/?apply=1", {"Sec-Fetch-Site": "cross-site"}, id="command from elsewhere"),
    pytest.param(200, "GET", "/?form=sessions", {"Sec-Fetch-Site": "cross-site"}, id="link from elsewhere"),
    pytest.param(200, "GET", "/", {"Sec-Fetch-Site": "cross-site"}, id="visit from elsewhere"),
    pytest.param(403, "GET", "/?form=x&apply=1", SESSION, id="command from nowhere"),
    pytest.param(403, "GET", "/?config.system.password=x", SESSION, id="setting from nowhere"),
    pytest.param(403, "GET", "/?x=1&%61pply=1", SESSION, id="command in escapes"),
    pytest.param(200, "GET", "/?form=sessions&x=%61", SESSION, id="link from nowhere"),
    pytest.param(200, "GET", "/?apply=1", {"Sec-Fetch-Site": "none", **SESSION}, id="typed command"),
    pytest.param(200, "GET", "/?apply=1", {}, id="command without a session"),
    pytest.param(200, "GET", "/", {"Host": "192.0.2.7:80"}, id="address"),
    pytest.param(200, "GET", "/", {"Host": "[2001:db8::1]"}, id="IPv6 address"),
    pytest.param(200, "GET", "/", {"Host": "LocalHost:8080"}, id="localhost"),
    pytest.param(200, "GET", "/", {"Host": "zandorin"}, id="system name"),
    pytest.param(403, "GET", "/", {"Host": "zandorin.example.net"}, id="name of another"),
    pytest.param(403, "GET", "/css/management.css", {"Host": "192.0.2.7.example.net"}, id="name like an address"),
])
def test_answers(appliance, status, method, path, headers):
    answer, sent, body = ask(appliance, method, path, headers)
    assert answer == status
    assert {name: sent[name] for name in EVERY_ANSWER} == EVERY_ANSWER
    assert "frame-ancestors 'none'" in sent["Content-Security-Policy"]
    assert not sent["Server"]
    assert b"CGI_CALL" not in body


def test_pages_are_not_stored_and_files_are(appliance):
    assert "no-store" in ask(appliance, "GET", "/")[1].get_all("Cache-Control")
    sent = ask(appliance, "GET", "/scripts/nav.js")[1]
    assert sent["Cache-Control"] == "max-age=600"
    again = ask(appliance, "GET", "/scripts/nav.js", {"If-None-Match": sent["ETag"]})
    assert again[0] == 304


def test_a_stranger_s_body_is_not_kept(appliance):
    status, _, body = ask(appliance, "POST", "/", {"Content-Type": "application/x-www-form-urlencoded"}, b"a" * 300000)
    assert (status, b"larger than is taken here" in body) == (413, True)
    # A program that is slow to start lets the web server set some of it aside until it has refused the rest.
    end = time.monotonic() + 5
    while list((appliance.root / "tmp").iterdir()) and time.monotonic() < end:
        time.sleep(0.1)
    assert not list((appliance.root / "tmp").iterdir())


def test_slow_clients_keep_nobody_out(appliance):
    address = ("127.0.0.1", urlsplit(appliance.url).port)
    body = b"Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 99\r\n\r\na"
    slow = [socket.create_connection(address) for _ in range(100)]
    try:
        for n, client in enumerate(slow):
            client.sendall(b"POST / HTTP/1.1\r\nHost: localhost\r\n" + (body if n < 12 else b""))
        assert ask(appliance, "GET", "/")[0] == 200
        # A byte now and then buys no more time.
        end, answer = time.monotonic() + 30, b""
        slow[0].settimeout(2)
        while not answer and time.monotonic() < end:
            slow[0].sendall(b"x")
            try:
                answer = slow[0].recv(12)
            except TimeoutError:
                pass
        assert answer == b"HTTP/1.1 408"
    finally:
        for client in slow:
            client.close()


def test_https_is_switched_on_and_off(tmp_path):
    form = {"Content-Type": "application/x-www-form-urlencoded"}

    def post(fields, encrypted, cookie=""):
        return ask(appliance, "POST", "/", {**form, "Cookie": cookie}, urlencode(fields), encrypted)

    def log_in(encrypted):
        return post({"form": "login", "action": "login_userpass", "username": "root", "password": "kestrel"},
                    encrypted)[1]["Set-Cookie"]

    def switch(encrypted, cookie, fields):
        names = {f"config.services.{name}": value for name, value in fields.items()}
        page = post({"form": "services", "apply": "Apply", **names}, encrypted, cookie.split(";")[0])[2]
        assert b"Changes to configuration succeeded." in page
        wanted = "https.enabled" in fields
        end = time.monotonic() + 20
        while time.monotonic() < end:
            time.sleep(0.2)
            try:
                # Without encryption the page itself comes, once it does not lead to the encrypted one any more.
                answer = ask(appliance, "GET", "/", encrypted=wanted)[0]
                if answer == 200 and (f":{appliance.tls_port}" in settings.read_text()) == wanted:
                    return
            except OSError:
                pass
        raise AssertionError(settings.read_text())

    with serving(tmp_path) as appliance:
        settings = appliance.root / "etc/lighttpd/settings.conf"
        plain = log_in(False)
        assert "Secure" not in plain
        switch(False, plain, {"http.enabled": "on", "https.enabled": "on", "http.hostnames": "console.example.net"})
        for path in ("/?form=login", "/css/management.css"):
            status, sent, _ = ask(appliance, "GET", path, {"Host": "console.example.net:80"})
            assert (status, sent["Location"]) == (307, f"https://console.example.net:{appliance.tls_port}{path}")
        assert ask(appliance, "GET", "/", {"Host": "example.net"})[0] == 403
        secure = log_in(True)
        assert "; Secure" in secure
        sent = ask(appliance, "GET", "/", encrypted=True)[1]
        assert "no-store" in sent.get_all("Cache-Control")
        assert sent["Strict-Transport-Security"] == "max-age=31536000"
        assert {name: sent[name] for name in EVERY_ANSWER} == EVERY_ANSWER
        assert ask(appliance, "GET", "/scripts/nav.js", encrypted=True)[0] == 200
        switch(True, secure, {"http.enabled": "on"})
        assert "Strict-Transport-Security" not in ask(appliance, "GET", "/")[1]
        assert ask(appliance, "GET", "/", {"Host": "console.example.net"})[0] == 403


def test_too_large_a_body_is_refused_before_it_is_sent(appliance):
    assert ask(appliance, "POST", "/", {"Content-Length": str(70 * 1024 * 1024)}, body=b"a")[0] == 413
