"""What the web server answers by itself, and what it adds to every answer."""
import http.client
from urllib.parse import urlsplit

import pytest

EVERY_ANSWER = {
    "X-Content-Type-Options": "nosniff",
    "X-Frame-Options": "DENY",
    "Referrer-Policy": "same-origin",
}


def ask(appliance, method, path, headers=None, body=None):
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
    pytest.param(403, "HEAD", "/", {}, id="head of a page"),
    pytest.param(403, "PUT", "/", {}, id="put"),
    pytest.param(403, "POST", "/", {"Sec-Fetch-Site": "cross-site"}, id="submission from elsewhere"),
    pytest.param(403, "GET", "/?apply=1", {"Sec-Fetch-Site": "cross-site"}, id="command from elsewhere"),
    pytest.param(200, "GET", "/?form=sessions", {"Sec-Fetch-Site": "cross-site"}, id="link from elsewhere"),
    pytest.param(200, "GET", "/", {"Sec-Fetch-Site": "cross-site"}, id="visit from elsewhere"),
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


def test_too_large_a_body_is_refused_before_it_is_sent(appliance):
    assert ask(appliance, "POST", "/", {"Content-Length": str(70 * 1024 * 1024)}, body=b"a")[0] == 413
