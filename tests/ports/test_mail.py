"""Mails go to a real server, by the appliance's own sendmail and its queue."""
import subprocess
import time

import pytest
from aiosmtpd.controller import Controller

from conftest import PROJECT, PROGRAMS, Appliance


class Server:
    """Takes mails; whom it does not know it refuses for good."""
    def __init__(self):
        self.mails = []

    async def handle_RCPT(self, server, session, envelope, address, options):
        if address.startswith("nobody@"):
            return "550 5.1.1 No such user here"
        envelope.rcpt_tos.append(address)
        return "250 OK"

    async def handle_DATA(self, server, session, envelope):
        self.mails.append((envelope.rcpt_tos, envelope.content.decode()))
        return "250 2.0.0 Taken as number 17"


def controller(server, port):
    return Controller(server, hostname="127.0.0.1", port=port)


@pytest.fixture
def mailer(tmp_path, free_port):
    appliance = Appliance.empty(tmp_path / "root", "zandorin-config", "zandorin-services")
    appliance.store({"config.system.smtp.server": "127.0.0.1", "config.system.smtp.port": str(free_port)})
    appliance.apply("smtp")
    return appliance


def wait_for(condition):
    for _ in range(100):
        if condition():
            return True
        time.sleep(0.1)
    return False


def test_an_attempt_shows_the_servers_own_answer(mailer, free_port):
    typed = mailer.root / "typed"
    attempt = ("zandorin-services", "try", "smtp", "mail", str(typed))
    server = controller(Server(), free_port)
    server.start()
    try:
        for recipient, status, words in (("anna@example.net", 0, "Taken as number 17"), ("nobody@example.net", 1, "No such")):
            typed.write_bytes(b"config.try.to\0" + recipient.encode() + b"\0")
            done = mailer.run(*attempt)
            assert (done.returncode, words in done.stdout) == (status, True), done.stdout
    finally:
        server.stop()
    done = mailer.run(*attempt)
    assert done.returncode == 1 and "127.0.0.1" in done.stdout


def test_a_queued_mail_survives_an_outage_and_a_refused_one_goes(mailer, free_port):
    environment = dict(mailer.environment, MAIL_QUEUE_PAUSE="1")
    queue = mailer.root / "var/spool/mail-queue"
    for recipient in ("anna@example.net", "nobody@example.net", "bert@example.net"):
        subprocess.run([PROJECT / "rootfs/usr/sbin/sendmail", "-i", "--", recipient], env=environment, check=True,
                       input=f"Subject: to {recipient}\n\nHot.\n", text=True)
    runner = subprocess.Popen([PROJECT / "rootfs/usr/lib/zandorin/mail-queue"], env=environment, stdout=subprocess.DEVNULL)
    taking = Server()
    server = controller(taking, free_port)
    try:
        time.sleep(1.5)
        assert len(list(queue.glob("mail-*"))) == 3
        server.start()
        assert wait_for(lambda: not list(queue.glob("mail-*")))
    finally:
        runner.kill()
        runner.wait()
        if server.server:
            server.stop()
    assert [recipients for recipients, _ in taking.mails] == [["anna@example.net"], ["bert@example.net"]]
    assert "Hot." in taking.mails[0][1]


@pytest.mark.parametrize("value", ['a"b', '"', "back\\slash", "two  blanks", "#x $(id) %n `id`", "\xe9"])
def test_hostile_passwords_are_one_value(mailer, value):
    mailer.store({"config.system.smtp.username": "u", "config.system.smtp.password": value})
    mailer.apply("smtp")
    assert f'password "{value}"'.encode() in (mailer.root / "etc/msmtprc").read_bytes().split(b"\n")
