"""The settings that the search box finds: [form id, label, key, help] of every row of every page of the navigation."""
import json

from conftest import PROJECT
from pages import DELAYED, leaves

INDEX = PROJECT / "rootfs/home/httpd/scripts/search.json"

ROWS = r"""
    return Array.from(document.querySelectorAll("main td.field-label")).flatMap(function (label) {
        var cell = label.nextElementSibling;
        var input = cell && cell.querySelector("input[name]:not([type=submit]):not([type=button]), select, textarea");
        if (!input || !label.textContent.trim())
            return [];
        var help = cell.cloneNode(true);
        help.querySelectorAll("input, select, textarea, table, label, span, script").forEach(function (part) { part.remove(); });
        return [[label.textContent.trim(), input.name.replace(/\.delete$/, ""), help.textContent.replace(/\s+/g, " ").trim()]];
    });
"""


def rows(browser, form):
    browser.open("?form=" + form)
    return [[form, *row] for row in browser.driver.execute_script(ROWS)]


def gather(browser):
    """A browser that is logged in as root on an appliance in its factory state."""
    forms = [form for form in leaves() if form not in DELAYED | {"login", "logout"}]
    return [row for form in forms for row in rows(browser, form)]


def written(found):
    return "[" + ",\n".join(json.dumps(row, separators=(",", ":")) for row in found) + "]\n"
