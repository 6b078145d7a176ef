"""Serial ports as their users meet them: script/server with its simulated devices, and the real daemons."""
import os
import re
import signal
import socket
import subprocess
import time
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
PRESET = os.environ.get("ZANDORIN_PRESET", "release")
PROGRAMS = PROJECT / "build" / PRESET / "bin"


def wait_for(what, seconds, happens):
    """What `happens` answers, once that is true."""
    end = time.monotonic() + seconds
    while not (answer := happens()):
        assert time.monotonic() < end, f"{what}: not within {seconds} s"
        time.sleep(0.05)
    return answer


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Appliance:
    """A root that zandorin-services works in."""

    def __init__(self, root):
        self.root = root
        self.environment = dict(os.environ, ZANDORIN_ROOT=str(root))

    def run(self, *words, before=(), **more):
        """A program of the appliance; `before` are words of another one that starts it."""
        return subprocess.run([*before, self.root / "bin" / words[0], *words[1:]], env=self.environment, text=True,
                              capture_output=True, timeout=60, **more)

    def set(self, **values):
        """Stores keys, "_" in the place of ".", under config.ports.port, and has the daemons take them."""
        self.store({f"config.ports.{name.replace('_', '.')}": value for name, value in values.items()})
        self.apply()

    def store(self, values):
        for key, value in values.items():
            done = self.run("zandorin-config", "set", key, value)
            assert done.returncode == 0, (key, value, done.stderr)

    def apply(self, *names):
        done = self.run("zandorin-services", "apply", *names)
        assert done.returncode == 0, done.stderr

    def listen_port(self, name):
        lines = (self.root / "etc/ports.listen").read_text()
        return int(re.search(rf"^{name} (\d+)$", lines, re.MULTILINE)[1])

    def log(self, port):
        path = self.root / f"var/log/ports/port{port}.log"
        return path.read_bytes() if path.exists() else b""

    def process(self, service):
        path = self.root / f"etc/service/{service}/supervise/pid"
        return int(path.read_text() or 0) if path.exists() else 0

    def network(self, port):
        """What a device on a port in mode network sends in two seconds; "" when the connection is refused."""
        with socket.create_connection(("127.0.0.1", self.listen_port("network-base") + port), 5) as connection:
            connection.settimeout(2)
            try:
                return connection.recv(4096)
            except (TimeoutError, ConnectionResetError):
                return b""


@pytest.fixture(scope="session")
def appliance(tmp_path_factory):
    folder = tmp_path_factory.mktemp("ports")
    port, log = free_port(), folder / "log"
    with open(log, "wb") as output:
        server = subprocess.Popen(
            [PROJECT / "script/server", "--no-build", "--preset", PRESET, "--port", str(port), "--tls-port",
             str(free_port()), "--root", folder / "root"], stdout=output, stderr=subprocess.STDOUT)
    try:
        wait_for("the server", 30, lambda: b"First login" in log.read_bytes() or server.poll() is not None)
        assert server.poll() is None, log.read_text()
        appliance = Appliance(folder / "root")
        wait_for("conserver", 15, lambda: appliance.process("conserver"))
        yield appliance
    finally:
        server.send_signal(signal.SIGTERM)
        server.wait(30)
