"""The road of a change: all of it or nothing, whatever happens on the way."""
import os
import shutil
import stat

import pytest

from conftest import Appliance

# What conserver reads, and its script: the change below is about three of them.
FILES = ("etc/conserver/conserver.cf", "etc/conserver/console.cf", "etc/conserver/passwd", "etc/service/conserver/run",
         "etc/service/conserver/log/run")
CHANGE = {"config.ports.port2.speed": "57600", "config.slaves.accept": "192.0.2.0/24"}


@pytest.fixture
def files_alone(tmp_path):
    """An appliance without a supervisor, and a folder of programs that come before the system's."""
    appliance = Appliance.empty(tmp_path / "root", "zandorin-config", "zandorin-services", "port-line")
    (appliance.root / "etc/ports.listen").write_text("conserver 1782\nnetwork-base 4000\nssh 1022\n")
    first = tmp_path / "first"
    first.mkdir()
    appliance.environment["PATH"] = f"{first}:{os.environ['PATH']}:/usr/sbin"
    appliance.first = first
    appliance.apply("conserver")
    return appliance


def state(appliance):
    return {name: (appliance.root / name).read_text() for name in FILES}


def left_over(appliance):
    return [path for path in (appliance.root / "etc").rglob("*")
            if path.name.endswith((".candidate", ".before")) or ".journal" in path.name or ".new-" in path.name]


def refuse(appliance, words):
    """conserver's checker turns every file down from now on."""
    checker = appliance.first / "conserver"
    checker.write_text(f"#!/bin/sh\necho '{words}'\nexit 1\n")
    checker.chmod(checker.stat().st_mode | stat.S_IXUSR)


def test_what_the_checker_refuses_changes_nothing_and_is_said(files_alone):
    before = state(files_alone)
    refuse(files_alone, "line 7: no such word")
    files_alone.store(CHANGE)
    done = files_alone.run("zandorin-services", "apply", "conserver")
    assert done.returncode == 1 and "line 7: no such word" in done.stderr
    assert "line 7: no such word" in files_alone.run("zandorin-services", "status").stdout
    assert state(files_alone) == before and not left_over(files_alone)


@pytest.mark.parametrize("call", ["rename,renameat,renameat2", "link,linkat", "unlink,unlinkat", "fsync"])
def test_a_kill_at_any_point_leaves_the_old_files_or_the_new(files_alone, call):
    """Killed at the first such call, at the second and so on. What comes next finds a checker that refuses, so that it
    can only take back or leave what is there: files of two changes side by side would show."""
    old = state(files_alone)
    files_alone.store(CHANGE)
    pristine = files_alone.root.parent / "pristine"
    shutil.copytree(files_alone.root, pristine, symlinks=True)
    files_alone.apply("conserver")
    new = state(files_alone)
    assert new != old
    seen = []
    for count in range(1, 100):
        shutil.rmtree(files_alone.root)
        shutil.copytree(pristine, files_alone.root, symlinks=True)
        done = files_alone.run("zandorin-services", "apply", "conserver",
                               before=["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={call}", "-e",
                                       f"inject={call}:signal=KILL:when={count}"])
        if done.returncode == 0:
            break
        assert done.returncode in (-9, 137), done.stderr
        refuse(files_alone, "no")
        files_alone.run("zandorin-services", "apply", "conserver")
        after = state(files_alone)
        assert after in (old, new), (call, count, after)
        seen.append(after == old)
        (files_alone.first / "conserver").unlink()
        files_alone.apply("conserver")
        assert state(files_alone) == new and not left_over(files_alone), (call, count, left_over(files_alone))
    assert done.returncode == 0 and any(seen), (count, seen)


def test_a_full_disk_leaves_the_old_files(files_alone):
    before = state(files_alone)
    files_alone.store(CHANGE)
    done = files_alone.run("zandorin-services", "apply", "conserver",
                           before=["strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=fsync", "-e",
                                   "inject=fsync:error=ENOSPC"])
    assert done.returncode == 1
    assert state(files_alone) == before and not left_over(files_alone)
