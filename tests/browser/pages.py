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
