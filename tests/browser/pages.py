"""The console's pages by name, with the query that opens each, for whoever has to see all of them."""
import xml.etree.ElementTree as ElementTree

from conftest import PROJECT

NAVIGATION = PROJECT / "rootfs/home/httpd/nav.xml"
# Behind the leaves: pages that only their own pages lead to.
FURTHER = {
    "index": "?form=index",
    "reboot": "?form=reboot",
    "unknown": "?form=unknown",
    "users-add": "?form=users&action=add&type=user",
    "users-addgroup": "?form=users&action=add&type=group",
    "users-edit": "?form=users&action=edit&index=1&type=group",
    "autoresponse-add": "?form=autoresponse&action=edit",
}
DELAYED = {"commit"}  # offered only with delayed configuration


def leaves():
    return [leaf.get("id") for leaf in ElementTree.parse(NAVIGATION).iter("leaf")]


def pages():
    listed = {leaf: f"?form={leaf}" for leaf in leaves() if leaf not in DELAYED | {"login", "logout"}}
    return {**listed, **FURTHER}


def submit_settings(browser, description, *, delayed=False):
    """Saves a description, and with `delayed` turns delayed configuration to what it was not."""
    browser.open("?form=systemsettings")
    browser.enter("config.system.description", description)
    if delayed:
        browser.one("[name='config.delayed']").click()
    browser.press("main input[type=submit]")


def refused(browser):
    browser.open("?form=smtp")
    browser.enter("config.system.smtp.server", "mail server")
    browser.press("main input[type=submit]")


def saved(browser):
    submit_settings(browser, "Rack 5")


def searched(browser):
    browser.open("?form=time")
    browser.one("#find input").send_keys("ser")
    browser.one("#found li")


def pending(browser):
    """Queued changes. To commit them ends delayed configuration, too."""
    submit_settings(browser, "Rack 6", delayed=True)
    submit_settings(browser, "Rack 7", delayed=True)
    browser.open("?form=commit")


# What pages become under way: their names, and how to get there when logged in.
STATES = {"refused": refused, "saved": saved, "searched": searched, "commit": pending}
