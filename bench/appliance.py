#!/usr/bin/python3
"""Makes an appliance root to measure: appliance.py ROOTFS ROOT PORTS SESSIONS

The configuration has PORTS serial ports of 60 keys each, /var/run/.sessions as many logins of root,
the first of them with the id "benchmark".
"""
import os
import pathlib
import shutil
import sys
import time

PORT = {
    "label": "Port {n}", "speed": "9600", "charsize": "8", "parity": "None", "stop": "1",
    "flowcontrol": "None", "protocol": "RS232", "mode": "portmanager", "loglevel": "0",
    "escapechar": "~", "power.menu": "off", "singleconn": "off", "pinout": "X2",
    **{f"{service}.{key}": value
       for service in ("ssh", "telnet", "raw", "rfc2217", "unauth", "web")
       for key, value in (("enabled", "off"), ("port", "{n}"), ("address", "0.0.0.0"),
                          ("timeout", "0"), ("limit", "5"), ("banner", "on"))},
    **{f"alert.{signal}.{key}": value
       for signal in ("cts", "dcd", "dsr") for key, value in (("enabled", "off"), ("trap", "on"))},
    "syslog.facility": "daemon", "syslog.priority": "info", "log.remote": "off",
    "host.name": "rack-{n}", "host.address": "192.0.2.{n}",
}


def nested(keys):
    tree = {}
    for key, value in keys.items():
        *path, last = key.split(".")
        node = tree
        for segment in path:
            node = node.setdefault(segment, {})
        node[last] = value
    return tree


def write(out, tree, depth):
    for name, value in tree.items():
        if isinstance(value, dict):
            out.append(f"{'  ' * depth}<{name}>")
            write(out, value, depth + 1)
            out.append(f"{'  ' * depth}</{name}>")
        else:
            out.append(f"{'  ' * depth}<{name}>{value}</{name}>")


def main(rootfs, root, ports, sessions):
    root = pathlib.Path(root)
    shutil.copytree(rootfs, root, symlinks=True)
    for folder in ("var/run", "var/log", "tmp", "proc"):
        (root / folder).mkdir(parents=True, exist_ok=True)
    (root / "proc/uptime").symlink_to("/proc/uptime")

    port = nested(PORT)
    out = ["  <ports>", f"    <total>{ports}</total>"]
    for number in range(1, ports + 1):
        lines = []
        write(lines, {f"port{number}": port}, 2)
        out += [line.replace("{n}", str(number)) for line in lines]
    out.append("  </ports>")
    config = root / "etc/config/config.xml"
    text = config.read_text(encoding="utf-8")
    config.write_text(text.replace("</config>", "\n".join(out) + "\n</config>"), encoding="utf-8")
    config.chmod(0o600)

    folder = root / "var/run/.sessions"
    folder.mkdir(mode=0o700)
    now = int(time.time())
    for number in range(sessions):
        file = folder / f"session-{'benchmark' if number == 0 else f'{number:032x}'}"
        file.write_text(
            f"username = root\nexpiry_time = {now + 86400}\nauth_pid = 0\nauth_state = 7\n"
            f"session_len = 1440\nautorefresh = true\nsrc_ip = 127.0.0.1\nsrc_port = 40000\n"
            f"session_start = {now}\n", encoding="ascii")
        os.chmod(file, 0o600)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4]))
