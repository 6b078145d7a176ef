"""An appliance root that zandorin-services works in."""
import os
import shutil
import socket
import subprocess
from pathlib import Path

import pytest

PROJECT = Path(__file__).resolve().parents[2]
PROGRAMS = PROJECT / "build" / os.environ.get("ZANDORIN_PRESET", "release") / "bin"


class Appliance:
    def __init__(self, root):
        self.root = root
        self.environment = dict(os.environ, ZANDORIN_ROOT=str(root))

    @classmethod
    def empty(cls, root, *programs):
        """One with the factory's configuration and these programs, and without a supervisor."""
        for folder in ("bin", "etc", "dev", "var/run", "var/spool", "usr/lib", "tmp"):
            (root / folder).mkdir(parents=True)
        shutil.copytree(PROJECT / "rootfs/etc/config", root / "etc/config")
        for program in programs:
            os.symlink(PROGRAMS / program, root / "bin" / program)
        return cls(root)

    def run(self, *words, before=()):
        """A program of the appliance; `before` are words of another one that starts it."""
        return subprocess.run([*before, self.root / "bin" / words[0], *words[1:]], env=self.environment, text=True,
                              capture_output=True, timeout=60)

    def store(self, values):
        for key, value in values.items():
            done = self.run("zandorin-config", "set", key, value)
            assert done.returncode == 0, (key, value, done.stderr)

    def apply(self, *names):
        done = self.run("zandorin-services", "apply", *names)
        assert done.returncode == 0, done.stderr


@pytest.fixture
def free_port():
    """A TCP port that nobody listens on."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]
