"""Runs the examples against a virtual instrument, and checks that the README shows what was run."""

import os
import re
import subprocess
import time
import unittest


class VirtualInstrument:
    def __init__(self, *options):
        self.options = options

    def __enter__(self):
        self.process = subprocess.Popen(
            [os.environ["CQ_VIRTUAL_INSTRUMENT"], "--until-eof", "--measure-time", "10", *self.options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().removeprefix("port: ").strip()
        return self

    def press(self, keys):
        self.process.stdin.write(keys)
        self.process.stdin.flush()

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait(timeout=10)


def source(name):
    with open(os.path.join(os.environ["CQ_SOURCE"], name), encoding="utf-8") as file:
        return file.read()


class Examples(unittest.TestCase):
    def run_example(self, name, port):
        program = os.path.join(os.environ["CQ_EXAMPLES"], "example-" + name)
        return subprocess.run([program, port], capture_output=True, text=True, timeout=30,
                              check=True).stdout

    def test_c_measure_prints_the_first_patch(self):
        with VirtualInstrument() as instrument:
            printed = self.run_example("c-measure", instrument.port)
        values = [float(value) for value in re.findall(r"-?\d+\.\d+", printed)]
        for value, expected in zip(values, (37.5, 12.4, 13.0), strict=True):
            self.assertAlmostEqual(value, expected, delta=0.5)

    def test_c_callback_receives_what_is_pressed(self):
        with VirtualInstrument("--calibrated", "--press-every", "0.2") as instrument:
            program = os.path.join(os.environ["CQ_EXAMPLES"], "example-c-callback")
            with subprocess.Popen([program, instrument.port], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, text=True) as process:
                time.sleep(1.5)
                printed, _ = process.communicate("\n", timeout=20)
        self.assertGreater(int(re.search(r"received: (\d+)", printed)[1]), 0)

    def test_others_print_what_they_did(self):
        for name, options, says in (
            ("c-stored_records", ("--standards", "120"), "standards read: 120"),
            ("c-wireless", ("--adapter", "--battery", "57"), "C4BE84A1B2C4(.|\n)*battery 57 %"),
            ("c-result_text", (), r"measuring: execute command failed \(8\)"),
            ("c-debug_log", (), "code 0"),
            ("c-open_within", (), r"opening: no error \(0\)"),
        ):
            with self.subTest(name), VirtualInstrument(*options) as instrument:
                self.assertRegex(self.run_example(name, instrument.port), says)

    def test_readme_shows_the_c_example(self):
        self.assertIn("```c\n" + source("examples/c/measure.c") + "```", source("README.md"))


if __name__ == "__main__":
    unittest.main()
