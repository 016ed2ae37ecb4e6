"""Ports that are missing, silent or go away, refusals, and Ctrl-C."""

import json
import os
import signal
import time

from support import CqTest, PATIENCE


class Ports(CqTest):
    def test_a_silent_one_is_given_up(self):
        """Wired or wireless: it was asked, and what was waited for and how long is said."""
        for option, asked, waited_for in (
            ("--port", b"\x55\xaa\xa1", "{} opened, but nothing answered within 0.5 s"),
            ("--adapter", b"AT+", "no instrument was linked through {} within 0.5 s"),
        ):
            with self.subTest(option):
                port, other_end = self.silent_port()
                began = time.monotonic()
                self.refused("info", option, port, "--open-timeout", "0.5", status=1,
                             says=[waited_for.format(port), "--open-timeout"])
                self.assertLess(time.monotonic() - began, 5)
                self.assertTrue(os.read(other_end, 100).startswith(asked))

    def test_a_silent_one_can_be_interrupted(self):
        port, other_end = self.silent_port()
        process = self.start("info", "--port", port, "--open-timeout", "600")
        os.read(other_end, 100)
        self.assertEqual(self.interrupt(process, status=130)[1], "cq: ended by Ctrl-C\n")

    def test_a_wrong_one_is_explained(self):
        nothing = self.folder / "ttyNONE"
        ordinary = self.folder / "file"
        ordinary.write_text("")
        self.refused("status", "--port", nothing, status=1, says=f"there is no {nothing}")
        self.refused("status", "--port", ordinary, status=1, says="is not a serial port")

    def test_a_held_one_is_told_with_its_holder(self):
        port, _ = self.instrument()
        holder = self.start("monitor", "--port", port)
        self.assertIn("listening", holder.stderr.readline())
        self.refused("info", "--port", port, status=1, says=["is held by ", f"cq (process {holder.pid})"])


class Faults(CqTest):
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
        """So do the other signals that ask a program to end."""
        log = self.folder / "log"
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
            with self.subTest(number):
                process, link = self.start_with_link(
                    "measure", "standard", "--output", self.folder / "a.record",
                    options=f"--calibrated --measure-time 14000 --log {log}",
                )
                self.wait_for(lambda: log.exists() and "measure standard" in log.read_text(), "the request")
                _, message = self.interrupt(process, status=130, number=number)
                self.assertIn("ended by Ctrl-C", message)
                self.assertFalse(link.is_symlink())
                self.assertEqual([p.name for p in self.folder.iterdir()], ["log"])
                self.assertIn("55 aa a4", log.read_text().lower())  # the farewell
                log.unlink()

    def test_shows_what_a_series_has_measured(self):
        link, _ = self.instrument("--calibrated")
        saved = self.folder / "a.csv"
        series = self.start("measure", "trial", "--count", 9999, "--json", "--port", link, "--output", saved)
        self.wait_for((self.folder / "a-0003.csv").exists, "the third measurement")
        out, _ = self.interrupt(series, status=130)
        self.assertEqual(len(json.loads(out)["measurements"]), len(list(self.folder.glob("a-*.csv"))))

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
