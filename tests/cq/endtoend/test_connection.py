"""Ports that are missing, silent or go away, refusals, and Ctrl-C."""

import os
import pty
import subprocess
import time

from support import CqTest, PATIENCE


class SilentPort(CqTest):
    def setUp(self):
        super().setUp()
        self.master, slave = pty.openpty()
        self.port = os.ttyname(slave)
        self.addCleanup(os.close, self.master)
        self.addCleanup(os.close, slave)

    def test_is_given_up(self):
        began = time.monotonic()
        self.refused(
            "info", "--port", self.port, "--open-timeout", "0.5", status=1,
            says=[f"{self.port} opened, but nothing answered within 0.5 s", "--open-timeout"],
        )
        self.assertLess(time.monotonic() - began, 5)
        self.assertTrue(os.read(self.master, 100).startswith(b"\x55\xaa\xa1"))  # it was asked

    def test_can_be_interrupted(self):
        process = self.start("info", "--port", self.port, "--open-timeout", "600")
        os.read(self.master, 100)
        self.interrupt(process, status=130)


class WrongPort(CqTest):
    def test_is_explained(self):
        nothing = self.folder / "ttyNONE"
        ordinary = self.folder / "file"
        ordinary.write_text("")
        self.refused("status", "--port", nothing, status=1, says=f"there is no {nothing}")
        self.refused("status", "--port", ordinary, status=1, says="is not a serial port")


class Faults(CqTest):
    def test_refusal(self):
        self.refused(
            "info", "--virtual-options", "--fault abort-reply:0x0102", status=1,
            says=["reading the device information failed: execute command failed (8)", "Try: "],
        )

    def test_unplugged_while_listening(self):
        # The third packet from the host acknowledges the first measurement.
        process = self.start(
            "monitor", "--virtual-options",
            "--calibrated --measure-time 1 --press-every 0.1:standard --fault unplug:3",
        )
        _, message = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 1, message)
        self.assertIn("device is closed (3)", message)

    def test_virtual_instrument_that_does_not_start(self):
        self.refused("info", "--virtual-options", "--frobnicate", status=2, says="refused its options")
        self.refused("info", "--virtual-options", "'open", status=2, says="does not end")


class CtrlC(CqTest):
    """Whatever a command is doing, Ctrl-C closes the instrument and ends it; the virtual instrument
    takes its link along when it has ended in good order."""

    def start_with_link(self, *arguments, options):
        link = self.folder / "port"
        process = self.start(*arguments, "--virtual-options", f"--link {link} {options}")
        self.wait_for(link.is_symlink, "the virtual instrument")
        return process, link

    def test_ends_a_measurement(self):
        log = self.folder / "log"
        process, link = self.start_with_link(
            "measure", "standard", "--output", self.folder / "record",
            options=f"--calibrated --measure-time 14000 --log {log}",
        )
        self.wait_for(lambda: log.exists() and "measure standard" in log.read_text(), "the request")
        _, message = self.interrupt(process, status=130)
        self.assertIn("ended by Ctrl-C", message)
        self.assertFalse(link.is_symlink())
        self.assertEqual([p.name for p in self.folder.iterdir()], ["log"])
        self.assertIn("55 aa a4", log.read_text().lower())  # the farewell

    def test_ends_listening(self):
        process, link = self.start_with_link("monitor", options="--calibrated")
        self.assertIn("listening", process.stderr.readline())
        out, _ = self.interrupt(process, status=0)
        self.assertEqual(out, "")
        self.assertFalse(link.is_symlink())

    def test_killed_host_leaves_no_virtual_instrument(self):
        process, link = self.start_with_link("monitor", options="--calibrated")
        process.kill()
        self.wait_for(lambda: not link.is_symlink(), "the virtual instrument's end")


class NamedPort(CqTest):
    def test_is_kept_between_commands(self):
        """One instrument, several commands: what one sets the next one finds."""
        link = self.folder / "port"
        program = os.path.join(os.path.dirname(os.environ["CQ_PROGRAM"]), "cq-virtual-instrument")
        instrument = subprocess.Popen(
            [program, "--until-eof", "--link", link, "--measure-time", "1"],
            stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
        )
        self.addCleanup(instrument.communicate)
        self.wait_for(link.is_symlink, "the virtual instrument")
        self.refused("measure", "standard", "--port", link, status=1, says="(8)")
        self.cq("calibrate", "white", "--port", link)
        self.cq("calibrate", "black", "--port", link)
        first = self.json("measure", "standard", "--port", link)
        second = self.json("measure", "standard", "--port", link)
        # The chart's second patch is a light skin.
        self.assertAlmostEqual(first["lab"]["L"], 37.5, delta=0.3)
        self.assertAlmostEqual(second["lab"]["L"], 65.1, delta=0.3)
