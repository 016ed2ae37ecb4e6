"""What the virtual instrument is told while it runs, alone and in a fleet."""

import pathlib
import select
import subprocess
import time

from support import CQ, PATIENCE, CqTest


class Told(CqTest):
    def start_fleet(self):
        self.link = self.folder / "port"
        self.control = self.folder / "control"
        self.control.touch()
        self.process = subprocess.Popen(
            [pathlib.Path(CQ).with_name("cq-virtual-instrument"), "--fleet", "2", "--until-eof",
             "--link", self.link, "--control", self.control, "--calibrated", "--measure-time", "1",
             "--serial", "VI-000009"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE,
        )
        self.addCleanup(self.process.communicate)
        self.seen = b""
        self.says("2 port: ")

    def says(self, text):
        """Waits for it on the program's output."""
        deadline = time.monotonic() + PATIENCE
        while text.encode() not in self.seen:
            left = max(0, deadline - time.monotonic())
            ready, _, _ = select.select([self.process.stdout], [], [], left)
            more = self.process.stdout.read1() if ready else b""
            self.assertTrue(more, f"{text} is missing in {self.seen}")
            self.seen += more
        self.seen = self.seen.split(text.encode(), 1)[1]

    def key_in(self, text):
        self.process.stdin.write(text.encode())
        self.process.stdin.flush()

    def write_control(self, text):
        with self.control.open("a") as file:
            file.write(text)

    def port(self, number):
        return "--port", f"{self.link}-{number}"

    def test_each_instrument_of_a_fleet(self):
        self.start_fleet()
        self.assertIn("VI-000010", self.cq("info", *self.port(2)).stdout)

        self.write_control("# comment\n2 noise 0\n2 patch 5\n2 pat")
        self.says("2 noise: 0\n2 patch: 5 blue flower\n")
        self.assertEqual(self.json("measure", *self.port(2))["name"], "blue flower")
        self.write_control("ch neutral 8 (.23 D)\n")
        self.says("2 patch: 20 neutral 8 (.23 D)\n")

        self.key_in(":1 faults abort-reply:0x0102\n")
        self.says("1 faults: abort-reply:0x0102\n")
        self.cq("measure", *self.port(1), status=1)
        self.cq("measure", *self.port(2))
        self.key_in(":1 faults\n")
        self.says("1 faults: none\n")
        self.cq("measure", *self.port(1))

        self.key_in(":1 unplug\n:1 unplug\n")
        self.says("1 unplugged\n1 refused: unplugged already\n")
        self.assertFalse((self.folder / "port-1").is_symlink())
        self.assertTrue((self.folder / "port-2").is_symlink())
        self.key_in("p")
        self.says("1 port: ")
        self.says("2 refused: plugged in already\n")
        self.cq("measure", *self.port(1))

    def test_what_it_does_not_understand(self):
        self.start_fleet()
        for typed, answer in (
            ("3 unplug", "refused: 3 (a command goes to instrument 1 to 2"),
            ("1 dance", "1 refused: dance (there is press, "),
            ("1 faults rust", "1 refused: faults (there is no fault 'rust'"),
            ("1 noise loud", "1 refused: noise loud (it is: noise SIGMA"),
            ("1 press", "1 refused: press (it is: press standard|trial)"),
            ("1 patch 25", "1 refused: patch 25"),
        ):
            self.key_in(f":{typed}\n")
            self.says(answer)
        self.key_in(":quit\n")
        self.assertEqual(self.process.wait(PATIENCE), 0)
