"""Runs the examples in C++, Python and C# against virtual instruments. What a machine cannot run, for want
of a package, is skipped and says so."""

import importlib.util
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest

from test_examples import VirtualInstrument

SOURCE = pathlib.Path(os.environ["CQ_SOURCE"])
BUILD = pathlib.Path(os.environ["CQ_BUILD"])
MONO = os.environ.get("CQ_MONO")
LAB = re.compile(r"L\* +(\S+)  a\* +(\S+)  b\* +(\S+)")
FIRST_PATCH = (37.5, 12.4, 13.0)

CALIBRATED = ("--calibrated", "--noise", "0")
ADAPTER = ("--adapter", "--at-delay", "2", "--scan-ready")
STORED = ("--standards", "7")


def cpp(name):
    return [BUILD / f"bin/example-cpp-{name}"]


def python(name):
    return [sys.executable, SOURCE / f"examples/python/{name}.py"]


def csharp(name):
    return ["mono", BUILD / f"csharp/{name}.exe"]


class LanguageExamples(unittest.TestCase):
    def run_example(self, command, *arguments, status=0, tries=1):
        if command[0] == "mono" and MONO is None:
            self.skipTest("mono is not installed")
        for _ in range(tries):
            done = subprocess.run([*map(str, command), *map(str, arguments)], capture_output=True,
                                  text=True, timeout=60, check=False)
            if done.returncode == status:
                break
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def assert_first_patch(self, text, delta=0.5):
        for value, expected in zip(map(float, LAB.search(text).groups()), FIRST_PATCH):
            self.assertAlmostEqual(value, expected, delta=delta)

    def check_monitor(self, command):
        if command[0] == "mono" and MONO is None:
            self.skipTest("mono is not installed")
        with VirtualInstrument(*CALIBRATED) as instrument:
            process = subprocess.Popen([*map(str, command), instrument.port, "2"],
                                       stdout=subprocess.PIPE, text=True)
            # It says nothing when it is ready: its button is pressed until it has seen enough.
            for _ in range(100):
                instrument.press("s")
                if process.poll() is not None:
                    break
                time.sleep(0.1)
            printed = process.communicate(timeout=10)[0].splitlines()
        self.assertEqual(len(printed), 2, printed)
        for line in printed:
            self.assertRegex(line, r"^standard +" + LAB.pattern + "$")

    def test_monitors(self):
        for command in (cpp("monitor"), python("monitor"), csharp("Monitor")):
            with self.subTest(str(command[-1])):
                self.check_monitor(command)

    def test_wireless(self):
        for command in (cpp("wireless"), python("wireless"), csharp("Wireless")):
            with self.subTest(str(command[-1])), VirtualInstrument(*ADAPTER) as adapter:
                # A busy machine may make the module miss the times of an opening.
                printed = self.run_example(command, adapter.port, tries=3)
                self.assertIn("C4BE84A1B2C5", printed)
                self.assertIn("VI-000002", printed.splitlines()[-1])  # the strongest

    def test_stored_records(self):
        with (tempfile.TemporaryDirectory() as folder, VirtualInstrument(*STORED) as source,
              VirtualInstrument() as target, VirtualInstrument("--capacity", "6") as small):
            file = pathlib.Path(folder, "standards")
            self.assertEqual(self.run_example(cpp("stored_records"), source.port, target.port),
                             "copied 7; VI-000001 now has 7\n")
            self.assertIn("copied 7 of 7",
                          self.run_example(python("stored_records"), source.port, target.port, file))
            self.assertEqual(file.stat().st_size, 7 * 256)
            self.assertIn("do not all fit", self.run_example(
                cpp("stored_records"), source.port, small.port, status=1))

    def test_cpp_converts_without_an_instrument(self):
        printed = self.run_example(cpp("convert"))
        lightness = [float(found[0]) for found in LAB.findall(printed)]
        self.assertEqual(len(lightness), 2)
        self.assertGreater(lightness[1], lightness[0])  # reddish: lighter in reddish light

    def test_judging_needs_no_instrument(self):
        self.assertRegex(self.run_example(cpp("judge")), r"(?s)^CMC \S+: .*pass\nstrength 10\d\.\d %")
        verdicts = [line.split()[-1] for line in self.run_example(python("judge")).splitlines()[:3]]
        self.assertEqual(verdicts, ["pass", "pass", "FAIL"])

    def test_consumer_of_the_package_measures(self):
        with VirtualInstrument() as instrument:
            printed = self.run_example([BUILD / "bin/example-cpp-consumer"], instrument.port)
        self.assertIn("VIRTUAL-31 VI-000001", printed)
        self.assert_first_patch(printed)
        self.assertIn("fail to open (2)", self.run_example(
            [BUILD / "bin/example-cpp-consumer"], "/dev/no-such-port", status=1))

    def test_python_errors(self):
        with VirtualInstrument() as instrument:
            self.assertEqual(self.run_example(python("errors"), instrument.port),
                             "measured, after calibrating\n")
        self.assertIn("switched on?",
                      self.run_example(python("errors"), "/dev/no-such-port", status=1))

    def test_python_measures_and_plots_the_chart(self):
        if importlib.util.find_spec("matplotlib") is None:
            self.skipTest("python3-matplotlib is not installed")
        with tempfile.TemporaryDirectory() as folder, VirtualInstrument() as instrument:
            picture = pathlib.Path(folder, "chart.png")
            printed = self.run_example(python("measure_chart"), instrument.port, picture)
            drawn = picture.read_bytes()
        self.assertEqual(len(LAB.findall(printed)), 24)
        self.assert_first_patch(printed)
        self.assertEqual(drawn[:8], b"\x89PNG\r\n\x1a\n")

    def test_python_many_colors(self):
        if importlib.util.find_spec("numpy") is None:
            self.skipTest("python3-numpy is not installed")
        self.assertIn("(14, 31) (14, 3)", self.run_example(python("many_colors")))

    def test_csharp_tolerance_check(self):
        # A virtual instrument's trials are 0.3 to 1.5 from their standard.
        for tolerance, verdicts in (("2", {"pass"}), ("0.2", {"FAIL"})):
            with self.subTest(tolerance), VirtualInstrument(*CALIBRATED) as instrument:
                printed = self.run_example(csharp("ToleranceCheck"), instrument.port, tolerance, "4")
                lines = printed.splitlines()
                self.assertEqual(len(lines), 4)
                self.assertEqual({line.split()[-1] for line in lines}, verdicts)
                for line in lines:
                    self.assertTrue(0.3 <= float(line.split()[3]) <= 1.51, line)


if __name__ == "__main__":
    unittest.main()
