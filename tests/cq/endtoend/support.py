"""Runs the host program as its users do, against virtual instruments."""

import json
import os
import pathlib
import pty
import re
import shlex
import signal
import subprocess
import tempfile
import time
import unittest

CQ = os.environ["CQ_PROGRAM"]
COMMAND = [*shlex.split(os.environ.get("CQ_RUN_WITH", "")), CQ]  # Wine comes before the program
DATA = pathlib.Path(os.environ["CQ_DATA"])

# Long enough for a slow machine and a sanitizer; the tests themselves take far less.
PATIENCE = 30


class CqTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="cq-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def cq(self, *arguments, status=0, stdin="", env=None):
        """Runs to the end, checks the exit status, returns the completed process."""
        done = subprocess.run(
            [*COMMAND, *map(str, arguments)],
            input=stdin,
            capture_output=True,
            encoding="utf-8",
            timeout=PATIENCE,
            env={**os.environ, **(env or {})},
        )
        self.assertEqual(done.returncode, status, f"{arguments}\n{done.stdout}\n{done.stderr}")
        if status not in (0, 3):  # 3: a trial is out of tolerance, which is no problem of the program's
            self.assertTrue(done.stderr.startswith("cq: ") or "\ncq: " in done.stderr, done.stderr)
        return done

    def json(self, *arguments, **keywords):
        return json.loads(self.cq(*arguments, "--json", **keywords).stdout)

    def refused(self, *arguments, status, says, **keywords):
        """Runs something that must fail, with these texts in its message."""
        message = self.cq(*arguments, status=status, **keywords).stderr
        for text in [says] if isinstance(says, str) else says:
            self.assertIn(text, message)

    def start(self, *arguments, stdin=subprocess.DEVNULL):
        """Starts a command that runs on; it is ended with the test at the latest."""
        process = subprocess.Popen(
            [*COMMAND, *map(str, arguments)],
            stdin=stdin,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            encoding="utf-8",
        )
        self.addCleanup(self._end, process)
        return process

    def instrument(self, *options):
        """Starts a virtual instrument (--adapter: an adapter) that outlives commands; its port."""
        link = self.folder / f"port{len(list(self.folder.glob('port*')))}"
        program = pathlib.Path(CQ).with_name("cq-virtual-instrument")
        process = subprocess.Popen(
            [program, "--until-eof", "--link", link, "--measure-time", "1", *map(str, options)],
            stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
        )
        self.addCleanup(process.communicate)
        self.wait_for(link.is_symlink, "the virtual instrument")
        return link, process.stdin

    def pressing_instrument(self):
        """One whose button is pressed again and again, on a slow line; its port, and its log with each
        measurement in a packet of its own."""
        log = self.folder / "log"
        link, _ = self.instrument("--calibrated", "--max-packet", 1024, "--latency", 30, "--log", log,
                                  "--press-every", "0.02:trial")
        return link, log

    def last_sent(self, log):
        """The running number of the last measurement that it sent before it answered the goodbye."""
        goodbye = "host < .* disconnect acknowledgement"
        self.wait_for(lambda: re.search(goodbye, log.read_text()), "the goodbye's answer")
        before = re.split(goodbye, log.read_text())[0]
        sent = re.findall("host < .* operation=0x2[34] .* : (.*)", before)
        return self.running_number(bytes.fromhex(sent[-1])[11:])

    @staticmethod
    def running_number(record):
        return int.from_bytes(record[8:12], "little")

    def silent_port(self):
        """A port that opens, and the other end, where nobody answers."""
        master, slave = pty.openpty()
        self.addCleanup(os.close, master)
        self.addCleanup(os.close, slave)
        return os.ttyname(slave), master

    @staticmethod
    def _end(process):
        if process.poll() is None:
            process.kill()
        process.communicate()

    def interrupt(self, process, status, number=signal.SIGINT):
        """Ctrl-C: the command must end soon with this status."""
        began = time.monotonic()
        process.send_signal(number)
        process.wait(timeout=PATIENCE)
        self.assertLess(time.monotonic() - began, 5)
        out, err = process.communicate()
        self.assertEqual(process.returncode, status, err)
        return out, err

    def wait_for(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"waited in vain for {what}")
            time.sleep(0.01)
