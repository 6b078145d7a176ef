"""The service of the auto-responses, with files, sockets and daemons where an appliance has its devices."""
import email
import email.policy
import os
import re
import shutil
import signal
import socket
import struct
import subprocess
import threading
import time
from pathlib import Path

import pytest

from conftest import PROGRAMS, PROJECT, Appliance

RULE = "config.autoresponse.autoresponse"


@pytest.fixture
def appliance(tmp_path):
    root = tmp_path / "root"
    for folder in ("bin", "etc/lighttpd", "etc/auto-response", "dev", "var/run", "var/log/ports", "tmp",
                   "var/spool/sms/incoming", "usr/sbin"):
        (root / folder).mkdir(parents=True)
    shutil.copytree(PROJECT / "rootfs/etc/config", root / "etc/config")
    for program in ("zandorin-config", "zandorin-services", "auto-response"):
        os.symlink(PROGRAMS / program, root / "bin" / program)
    made = Responder(root)
    yield made
    made.end()


class Responder(Appliance):
    daemon = None

    def put(self, path, text, mode=0o644):
        file = self.root / path.lstrip("/")
        file.parent.mkdir(parents=True, exist_ok=True)
        new = file.with_name(".new")
        new.write_bytes(text if isinstance(text, bytes) else text.encode("latin-1"))
        new.chmod(mode)
        if path.startswith("/sys/"):
            file.write_bytes(new.read_bytes())  # the kernel's files stay the same
            new.unlink()
        else:
            new.rename(file)

    def rules(self, *rules, **others):
        """Each a dict of keys, with what its actions print; they are scripts that add it to a file."""
        lines = [f"config.autoresponse.total\t{len(rules)}", "config.autoresponse.logging.enabled\ton",
                 "config.interfaces.wan.device\teth0", "config.ports.port3.label\tRouter"]
        self.put("/done", "#!/bin/sh\necho \"$@\" >>" + str(self.root / "ran") + "\n", 0o755)
        for number, rule in enumerate(rules, 1):
            keys = {"name": f"rule {number}", **rule}
            for word in ("trigger", "resolve"):
                action = f"{word}_actions.action1."
                keys |= {action + "type": "custom", action + "custom.script": "/done",
                         action + "custom.args.arg1": f"{word}", action + "custom.args.arg2": f"{number}"} | keys
            lines += [f"{RULE}{number}.{key}\t{value}" for key, value in keys.items()]
        self.put("/etc/auto-response/rules", "\n".join(lines) + "\n")

    def start(self):
        self.daemon = subprocess.Popen([self.root / "bin/auto-response"], env=self.environment)
        self.await_(lambda: (self.root / "var/run/autoresponse.status").exists())

    def end(self, how=signal.SIGTERM):
        if self.daemon:
            self.daemon.send_signal(how)
            self.daemon.wait(5)
        self.daemon = None

    def ran(self):
        file = self.root / "ran"
        return file.read_text().splitlines() if file.exists() else []

    def status(self, rule):
        return (self.root / "var/run/autoresponse.status").read_text("latin-1").splitlines()[rule - 1].split("\t")

    @staticmethod
    def await_(condition, seconds=8.0):
        end = time.monotonic() + seconds
        while not condition():
            assert time.monotonic() < end, "it does not happen"
            time.sleep(0.02)

    def push(self, key, text):
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as to:
            to.sendto(f"{key}\0002\0{text}".encode(), str(self.root / "var/run/infod.sock"))


class PortStates(threading.Thread):
    """Answers as the port service does; what is in `text` now."""

    def __init__(self, root, text):
        super().__init__(daemon=True)
        self.text = text
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(root / "var/run/ports.sock"))
        self.listener.listen(8)
        self.start()

    def run(self):
        while True:
            peer, _ = self.listener.accept()
            peer.recv(100)
            answer = self.text.encode()
            peer.sendall(b"J" + struct.pack(">H", len(answer)) + answer)
            peer.close()


def port3(signals, *users):
    return f"port\t3\tup\t1\t1\t0\t0\t0\t{signals}\t\n" + "".join(
        f"user\t{user}\tw\t0\t0\t\tssh\n" for user in users)


def record(kind, line, user):
    """utmp(5)"""
    return struct.pack("<hxxi32s4s32s256s", kind, 1, line, b"1", user, b"").ljust(384, b"\0")


SENSOR = "/sys/class/hwmon/hwmon0/"
LINK = "/sys/class/net/eth0/"
MODEM = "/sys/class/net/wwan0/"
LOG = "/var/log/ports/port3.log"
PORTS = {f"{key}.dev_refs.dev_ref1": "config.ports.port3"
         for key in ("serial.login", "serial.signal", "serial.pattern", "usb_console_status")}

# For each check: its keys; what there is at first; what comes then; what has triggered it (device, value, user).
CHECKS = {
    "alarm": ({"alarm.dev": "dio1", "alarm.trigger_value": "0"}, lambda a: a.put("/sys/class/gpio/dio1/value", "1\n"),
              lambda a: a.put("/sys/class/gpio/dio1/value", "0\n"), ["dio1", "off", ""]),
    "environmental": ({"enviro.dev_ref": "config.ports.port3.enviro.temp", "enviro.trigger_value": "30",
                       "enviro.comparison": "above"},
                      lambda a: (a.put(SENSOR + "label", "port3\n"), a.put(SENSOR + "temp1_input", "29900\n")),
                      lambda a: a.put(SENSOR + "temp1_input", "30100\n"),
                      ["Router: temperature", "30.1 \xb0C", ""]),
    "conman": ({"conman.ref": "config.interfaces.wan", "conman.input_event_down": "on"},
               lambda a: (a.put(LINK + "flags", "0x1003\n"), a.put(LINK + "operstate", "up\n")),
               lambda a: a.put(LINK + "flags", "0x1002\n"), ["wan", "down", "eth0"]),
    "celldata": ({"celldata.data_kb": "10", "celldata.period_m": "1"},
                 lambda a: (a.put(MODEM + "uevent", "DEVTYPE=wwan\n"), a.put(MODEM + "statistics/rx_bytes", "70000\n"),
                            a.put(MODEM + "statistics/tx_bytes", "0\n")),
                 lambda a: a.put(MODEM + "statistics/rx_bytes", "81000\n"), ["wwan0", "10 kB in 1 min", ""]),
    "webui_login": ({"webui_login.trigger_auth_error": "on"},
                    lambda a: None,
                    lambda a: (a.push("config.webui.auth_event.login", "anna:::1"),
                               a.push("config.webui.auth_event.auth_error", "eve:::1")),
                    ["web", "authentication error", "eve"]),
    "cli_login": ({"cli_login.trigger_logout": "on"},
                  lambda a: a.put("/var/log/wtmp", record(7, b"pts/1", b"anna") + record(7, b"pts/2", b"bob")),
                  lambda a: (a.root / "var/log/wtmp").open("ab").write(record(8, b"pts/1", b"")),
                  ["pts/1", "logout", "anna"]),
    "sms": ({"sms.phone_number": "+49 171 5,0160", "sms.message_pattern": "^reset +all$"},
            lambda a: a.put("/var/spool/sms/incoming/0", "From: 0160\n\nreset all\n"),
            lambda a: (a.put("/var/spool/sms/incoming/1", "From: 0170\n\nreset all\n"),
                       a.put("/var/spool/sms/incoming/2", "From: 0160\nSent: now\n\nreset all\n")),
            ["message", "reset all", "0160"]),
    "serial_login": ({"serial_login.trigger_login": "on"}, lambda a: None,
                     lambda a: setattr(a.ports, "text", port3("DTR CTS", "anna", "bob")), ["Router", "login", "bob"]),
    "serial_signal": ({"serial_signal.signal": "CTS", "serial_signal.trigger_value": "1"}, lambda a: None,
                      lambda a: setattr(a.ports, "text", port3("DTR CTS", "anna", "bob")), ["Router", "CTS on", ""]),
    "serial_pattern": ({"serial_pattern.pattern": "pan[ai]c", "serial_pattern.trigger_rx": "on"},
                       lambda a: a.put(LOG, "[Tue Nov 24 03:29:06 2026]old panic\n"),
                       lambda a: (a.root / LOG[1:]).open("a").write(
                           "[Tue Nov 24 03:29:06 2026][-- eve typed `panic' -- Tue Nov 24 03:29:06 2026]\n"
                           "[Tue Nov 24 03:29:07 2026]kernel \x1b[1mpanic\x1b[0m!\n"), ["Router", "kernel panic!", ""]),
    "usb_console_status": ({"usb_console_status.trigger_disconnect": "on"}, lambda a: a.put("/dev/port3", ""),
                           lambda a: (a.root / "dev/port3").unlink(), ["Router", "disconnected", ""]),
    "custom": ({"custom.script": "/probe", "custom.trigger_code": "3", "custom.check_delta": "1"},
               lambda a: a.put("/probe", "#!/bin/sh\nexit 1\n", 0o755),
               lambda a: a.put("/probe", "#!/bin/sh\necho half; echo full\nexit 3\n", 0o755),
               ["/probe", "exit status 3", "full"]),
    "net_ping": ({"net.ping.address": "127.0.0.1", "net.ping.num_packets": "1", "net.ping.frequency": "1"},
                 lambda a: a.put("/usr/sbin/x", ""), None, ["127.0.0.1", "answers", ""]),
}


def test_each_check_sees_what_happens(appliance):
    """First nothing but what has been so before, then one change of everything, in all checks at once."""
    appliance.ports = PortStates(appliance.root, port3("DTR", "anna"))
    for _, before, _, _ in CHECKS.values():
        before(appliance)
    appliance.rules(*({"check_type": name, "reset_timeout": "600", **PORTS, **keys}
                      for name, (keys, *_) in CHECKS.items()))
    appliance.start()
    time.sleep(6.5)  # longer than the longest of their intervals but the sensor's
    assert appliance.ran() == []
    seen = {name: appliance.status(number)[1] for number, name in enumerate(CHECKS, 1)}
    assert set(seen.values()) == {"Normal"}, seen
    expected = set()
    for number, (name, (_, _, change, _)) in enumerate(CHECKS.items(), 1):
        if change:
            change(appliance)
            expected.add(f"trigger {number}")
    end = time.monotonic() + 15
    while len(appliance.ran()) < len(expected) and time.monotonic() < end:
        time.sleep(0.1)
    time.sleep(1)
    assert sorted(appliance.ran()) == sorted(expected)
    for number, (name, (_, _, change, words)) in enumerate(CHECKS.items(), 1):
        assert appliance.status(number)[1:5] == ["Triggered" if change else "Normal", *words], name


def test_a_kill_neither_repeats_nor_forgets(appliance):
    appliance.put("/sys/class/gpio/dio1/value", "1\n")
    appliance.rules({"check_type": "alarm", "alarm.dev": "dio1", "alarm.trigger_value": "1",
                     "trigger_actions.action2.type": "custom", "trigger_actions.action2.custom.script": "/done",
                     "trigger_actions.action2.custom.args.arg1": "later",
                     "trigger_actions.action2.custom.delay_time": "3"})
    appliance.start()
    appliance.await_(lambda: appliance.ran() == ["trigger 1"])
    appliance.end(signal.SIGKILL)
    appliance.start()
    appliance.await_(lambda: len(appliance.ran()) > 1)
    appliance.end(signal.SIGKILL)
    appliance.start()
    time.sleep(1.5)
    assert appliance.ran() == ["trigger 1", "later"] and appliance.status(1)[1] == "Triggered"
    appliance.put("/sys/class/gpio/dio1/value", "0\n")
    appliance.await_(lambda: appliance.ran()[2:] == ["resolve 1"])


def test_sleeps_while_nothing_happens_and_is_small(appliance):
    appliance.put("/dev/port3", "")
    appliance.rules(*({"check_type": name, **PORTS, **CHECKS[name][0]}
                      for name in ("webui_login", "cli_login", "sms", "serial_pattern", "usb_console_status")))
    appliance.start()
    time.sleep(1)
    tracer = subprocess.Popen(["strace", "-qq", "-p", str(appliance.daemon.pid), "-o", appliance.root / "calls"])
    time.sleep(3)
    tracer.send_signal(signal.SIGINT)
    tracer.wait(5)
    calls = (appliance.root / "calls").read_text().splitlines()
    assert len(calls) <= 2 and all("ppoll" in call for call in calls), calls
    status = Path(f"/proc/{appliance.daemon.pid}/status").read_text()
    assert int(re.search(r"VmRSS:\s*(\d+)", status)[1]) <= 3072, status


def test_a_ups_is_asked_for_by_the_name_of_its_port(appliance, tmp_path):
    """NUT's own daemon, with a UPS that is a file."""
    nut = tmp_path / "nut"
    nut.mkdir(mode=0o700)
    (nut / "ups.conf").write_text(f"[port3]\n driver = dummy-ups\n port = {nut}/port3.dev\n mode = dummy-loop\n")
    (nut / "port3.dev").write_text("ups.status: OL\nbattery.charge: 100\nTIMER 1\n")
    (nut / "upsd.users").touch()
    (nut / "upsd.conf").write_text("LISTEN 127.0.0.1 34931\n")
    appliance.put("/etc/ports.listen", "upsd 34931\n")
    environment = dict(os.environ, NUT_CONFPATH=str(nut), NUT_STATEPATH=str(nut), NUT_ALTPIDPATH=str(nut))
    user = ["-u", "root"] if os.getuid() == 0 else []
    programs = [subprocess.Popen(words, env=environment, cwd=nut, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
                for words in (["/lib/nut/dummy-ups", "-FF", "-a", "port3", *user], ["/lib/nut/upsd", "-FF", *user])]
    try:
        appliance.rules({"check_type": "ups_status", "ups_status.dev_ref": "config.ports.port3",
                         "ups_status.trigger_condition": "on_battery"},
                        {"check_type": "power", "power.dev_ref": "config.ports.port3", "power.trigger_value": "50",
                         "power.comparison": "below"},
                        {"check_type": "ups_status", "ups_status.dev_ref": "config.ports.port4",
                         "ups_status.trigger_condition": "unreachable"})
        appliance.await_(lambda: "OL" in appliance.run("auto-response", "read", "1").stdout)
        appliance.start()
        appliance.await_(lambda: appliance.ran() == ["trigger 3"])
        assert appliance.status(2) == ["2", "Normal", "Router", "charge 100.0 %", ""]
        (nut / "port3.dev").write_text("ups.status: OB DISCHRG\nbattery.charge: 49\nTIMER 1\n")
        appliance.await_(lambda: sorted(appliance.ran()) == ["trigger 1", "trigger 2", "trigger 3"], 15)
    finally:
        for program in programs:
            program.terminate()
            program.wait(5)


HOSTILE = "\"q' \\ $(touch x) %s `id` #;|"


def test_actions_hand_over_what_was_stored_byte_for_byte(appliance):
    """By the configuration and the file of rules; each program writes down what it was given."""
    note = "#!/bin/sh\nfor each in \"${0##*/}\" \"$@\"; do printf '%s\\0' \"$each\"; done >>" + str(
        appliance.root / "given") + "\ncat >>" + str(appliance.root / "input") + "\n"
    for program in ("/usr/sbin/sendmail", "/bin/send-trap", "/tmp/script", "/first/send_nsca"):
        appliance.put(program, note, 0o755)
    appliance.environment["PATH"] = f"{appliance.root}/first:{os.environ['PATH']}"
    appliance.put("/etc/send_nsca.cfg", "")
    appliance.put("/sys/class/gpio/dio3/value", "0\n")
    (appliance.root / "var/spool/sms/outgoing").mkdir()
    actions = [
        ("email", {"to_addr": "a@example.com,b@example.com", "subject": HOSTILE, "body": f".\n{HOSTILE}\nFrom x"}),
        ("custom", {"script": "/tmp/script", "args.arg1": HOSTILE + "\xe9", "args.arg2": "-e"}),
        ("snmp", {}),
        ("nagios", {"message": "it is down", "return_code": "2"}),
        ("sms", {"number": "+491715", "message": HOSTILE}),
        ("dio", {"pin": "dio3", "value": "1"}),
        ("sms", {"number": "+491716", "gateway_email": "sms@example.com", "message": "text"}),
        ("rpc", {"outlet": "config.power.device1.outlet1", "action": "on"}),
        ("conman", {"ref": "config.interfaces.wan", "action": "down"}),
    ]
    values = {f"{RULE}1.name": "one", f"{RULE}1.check_type": "webui_login",
              "config.system.model": "HX9008", "config.system.nagios.nsca.enabled": "on",
              "config.system.nagios.server": "192.0.2.1", "config.system.nagios.name": "host",
              "config.power.device1.outlet1.label": "Lamp"}
    for number, (kind, keys) in enumerate(actions, 1):
        action = f"{RULE}1.trigger_actions.action{number}"
        values |= {f"{action}.type": kind, f"{action}.{kind}.name": f"n{number}"}
        values |= {f"{action}.{kind}.{key}": value for key, value in keys.items()}
    for key, value in values.items():
        done = appliance.run("zandorin-config", "set", "--force", key.encode("latin-1"), value.encode("latin-1"))
        assert done.returncode == 0, (key, value, done.stderr)
    appliance.apply("auto-response")

    def tried(number):
        for name in ("given", "input"):
            (appliance.root / name).unlink(missing_ok=True)
        done = appliance.run("auto-response", "try", "1", "trigger", str(number))
        read = [(appliance.root / name).read_bytes().decode("latin-1") if (appliance.root / name).exists() else ""
                for name in ("given", "input")]
        return done.stdout, read[0].split("\0")[:-1], read[1]

    said, given, text = tried(1)
    assert said == "Action 'n1' was carried out.\n"
    assert given == ["sendmail", "-i", "--", "a@example.com", "b@example.com"]
    mail = email.message_from_bytes(text.encode("latin-1"), policy=email.policy.default)
    assert mail["Subject"] == HOSTILE and mail["To"] == "a@example.com, b@example.com"
    assert mail.get_content().startswith(f".\n{HOSTILE}\nFrom x\n\nAuto-response 'one'")
    assert tried(2)[1] == ["script", HOSTILE + "\xe9", "-e"]
    assert tried(3)[1] == ["send-trap", "Auto-response 'one' is being tried"]
    _, given, text = tried(4)
    assert given[:5] == ["send_nsca", "-H", "192.0.2.1", "-p", "5667"]
    assert text == "host\tn4\t2\tit is down\n"
    assert "carried out" in tried(5)[0]
    sent = [file.read_bytes().decode("latin-1") for file in (appliance.root / "var/spool/sms/outgoing").iterdir()]
    assert sent == [f"To: +491715\nAlphabet: ISO\n\n{HOSTILE}\n"]
    assert "carried out" in tried(6)[0] and (appliance.root / "sys/class/gpio/dio3/value").read_text() == "1\n"
    assert tried(7)[1][3:] == ["sms@example.com"]
    # What nothing carries out yet, or not here, says so.
    assert tried(8)[0] == "Action 'n8' failed: no program to switch outlets is installed.\n"
    assert "belong to the machine" in tried(9)[0]
    shutil.rmtree(appliance.root / "var/spool/sms/outgoing")
    assert "there is no modem" in tried(5)[0]


def test_what_a_script_starts_ends_with_its_time(appliance):
    appliance.put("/slow", f"#!/bin/sh\n(sleep 4; touch {appliance.root}/late) &\nsleep 60\n", 0o755)
    appliance.rules({"check_type": "webui_login", "webui_login.trigger_login": "on",
                     "trigger_actions.action1.type": "custom", "trigger_actions.action1.custom.script": "/slow",
                     "trigger_actions.action1.custom.timeout": "1"})
    appliance.start()
    appliance.push("config.webui.auth_event.login", "anna:::1")
    appliance.await_(lambda: "took too long" in appliance.status(1)[1])
    time.sleep(4)
    assert not (appliance.root / "late").exists()
