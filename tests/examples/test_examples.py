"""Runs the examples against a virtual instrument, and checks that the README shows what was run."""

import os
import re
import subprocess
import unittest


class VirtualInstrument:
    def __enter__(self):
        self.process = subprocess.Popen(
            [os.environ["CQ_VIRTUAL_INSTRUMENT"], "--until-eof", "--measure-time", "10"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = self.process.stdout.readline().removeprefix("port: ").strip()
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait(timeout=10)


def source(name):
    with open(os.path.join(os.environ["CQ_SOURCE"], name), encoding="utf-8") as file:
        return file.read()


class Examples(unittest.TestCase):
    def test_c_measure_prints_the_first_patch(self):
        with VirtualInstrument() as instrument:
            done = subprocess.run([os.environ["CQ_EXAMPLE_C_MEASURE"], instrument.port],
                                  capture_output=True, text=True, timeout=30, check=True)
        values = [float(value) for value in re.findall(r"-?\d+\.\d+", done.stdout)]
        for value, expected in zip(values, (37.5, 12.4, 13.0), strict=True):
            self.assertAlmostEqual(value, expected, delta=0.5)

    def test_readme_shows_the_c_example(self):
        self.assertIn("```c\n" + source("examples/c/measure.c") + "```", source("README.md"))


if __name__ == "__main__":
    unittest.main()
