"""Checks that the guides for C++, Python and C# show what was run: their shell blocks are run, one after
another in one shell, and print the lines shown, numbers apart. Their code is checked with the other guides'."""

import importlib.util
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from test_examples import VirtualInstrument

SOURCE = pathlib.Path(os.environ["CQ_SOURCE"])
BLOCK = re.compile(r"^```(\w*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def without_numbers(line):
    return re.sub(r"\d+\.\d+", "_", line).split()


class LanguageGuides(unittest.TestCase):
    def run_shell_of(self, guide, **environment):
        """Runs a guide's shell blocks in a copy of the sources, /tmp being a folder of the test's."""
        shown = BLOCK.findall((SOURCE / f"docs/{guide}.md").read_text(encoding="utf-8"))
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for part in ("bindings", "examples", "include"):
                shutil.copytree(SOURCE / part, folder / part,
                                ignore=shutil.ignore_patterns("__pycache__", "build"))
            (folder / "build").mkdir()
            (folder / "build/native").symlink_to(os.environ["CQ_BUILD"])
            script = "\n".join(text for language, text in shown if language == "sh")
            inherited = {key: value for key, value in os.environ.items()
                         if key not in ("CQAPI_LIBRARY", "LD_LIBRARY_PATH", "PYTHONPATH")}
            with VirtualInstrument("--link", str(folder / "instrument")):
                done = subprocess.run(
                    ["bash", "-euo", "pipefail", "-c", script.replace("/tmp/", name + "/")],
                    cwd=folder, capture_output=True, text=True, timeout=100, check=False,
                    env={**inherited, **{key: value.format(folder=folder)
                                         for key, value in environment.items()}})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        printed = [without_numbers(line) for line in done.stdout.splitlines()]
        lines = [line for language, text in shown if language == "text" for line in text.splitlines()]
        self.assertTrue(lines)
        for line in lines:
            self.assertIn(without_numbers(line), printed)

    def test_cpp(self):
        self.run_shell_of("cpp")

    def test_python(self):
        for module in ("pip", "setuptools", "wheel", "matplotlib"):
            if importlib.util.find_spec(module) is None:
                self.skipTest(f"{module} is not installed")
        # Into a folder of its own, with what is installed: nothing is fetched, nothing is left behind.
        self.run_shell_of("python", PIP_TARGET="{folder}/site", PYTHONPATH="{folder}/site",
                          PIP_NO_INDEX="1", PIP_NO_DEPS="1",
                          PATH="/usr/bin:" + os.environ["PATH"])

    def test_csharp(self):
        if "CQ_MONO" not in os.environ:
            self.skipTest("mono is not installed")
        self.run_shell_of("csharp")


if __name__ == "__main__":
    unittest.main()
