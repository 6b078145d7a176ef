"""The clock's source and the zone, by the real programs that use them."""
import os
import subprocess
import time

import pytest

from conftest import Appliance


@pytest.fixture
def keeper(tmp_path):
    return Appliance.empty(tmp_path / "root", "zandorin-config", "zandorin-services")


def local(zone, seconds):
    return subprocess.run(["date", "-d", f"@{seconds}", "+%F %T %Z"], env=dict(os.environ, TZ=zone), check=True,
                          capture_output=True, text=True).stdout


@pytest.mark.parametrize("rule", ["CET-1CEST,M3.5.0,M10.5.0/3", "NST3:30NDT,M3.2.0,M11.1.0", "IST-5:30", "UTC0"])
def test_the_zone_file_says_what_its_rule_says(keeper, rule):
    keeper.store({"config.system.timezone": rule})
    keeper.apply("timezone")
    for seconds in (1_782_900_000, 1_800_000_000, 2_500_000_000):
        assert local(f":{keeper.root}/etc/localtime", seconds) == local(rule, seconds)
    assert "not applied here" in keeper.run("zandorin-services", "status").stdout


def test_the_daemon_follows_a_server(keeper, tmp_path):
    """Another chronyd, on a loopback address of its own, is the server."""
    (tmp_path / "server").write_text(f"local stratum 4\nallow 127.0.0.0/8\nbindaddress 127.0.0.9\ncmdport 0\n"
                                     f"bindcmdaddress /\npidfile {tmp_path}/server.pid\n")
    keeper.store({"config.ntp.enabled": "on"})
    added = keeper.run("zandorin-config", "add", "config.ntp.servers", "address=127.0.0.9", "preferred=on")
    assert added.returncode == 0, added.stderr
    keeper.apply("chrony")
    user = subprocess.run(["id", "-un"], capture_output=True, text=True, check=True).stdout.strip()
    server = subprocess.Popen(["/usr/sbin/chronyd", "-d", "-x", "-U", "-u", user, "-f", tmp_path / "server"], stderr=subprocess.DEVNULL)
    client = subprocess.Popen(["sh", keeper.root / "etc/service/chrony/run"], stdout=subprocess.DEVNULL)
    asked = ["chronyc", "-c", "-n", "-h", keeper.root / "var/run/chrony/chronyd.sock", "sources"]
    try:
        for _ in range(150):
            answer = subprocess.run(asked, capture_output=True, text=True).stdout
            if answer.startswith("^,*,127.0.0.9,4,"):
                break
            time.sleep(0.1)
        assert answer.startswith("^,*,127.0.0.9,4,")
    finally:
        for process in (client, server):
            process.terminate()
            process.wait()
