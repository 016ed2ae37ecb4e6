"""How the library is found, and how the package is installed."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import cqapi

LIBRARY = os.environ["CQAPI_LIBRARY"]
PACKAGE = pathlib.Path(os.environ["CQ_SOURCE"], "bindings/python")
USE = "import cqapi; print(round(float(cqapi.color_from_xyz((94.811, 100, 107.304))[0])))"


class Loading(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="cqapi-python-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def python(self, program, **environment):
        """Runs a program that is told nothing of the library but what the keywords say."""
        inherited = {name: value for name, value in os.environ.items()
                     if name not in ("CQAPI_LIBRARY", "LD_LIBRARY_PATH", "PYTHONPATH")}
        done = subprocess.run(
            [sys.executable, "-c", program], capture_output=True, text=True, cwd=self.folder,
            env={**inherited, "PYTHONPATH": str(PACKAGE), **environment}, check=False)
        return done.stdout.strip() or done.stderr

    def test_named(self):
        self.assertEqual(self.python(USE, CQAPI_LIBRARY=LIBRARY), "100")
        self.assertEqual(
            self.python(USE.replace(";", f"; cqapi.load_library({LIBRARY!r});"),
                        CQAPI_LIBRARY="/nowhere"), "100")

    def test_where_the_system_looks(self):
        self.assertEqual(self.python(USE, LD_LIBRARY_PATH=os.path.dirname(LIBRARY)), "100")
        # A machine that only runs programs has the versioned name alone.
        shutil.copy(LIBRARY, self.folder / "libCQApi.so.1")
        self.assertEqual(self.python(USE, LD_LIBRARY_PATH=str(self.folder)), "100")

    def test_not_found(self):
        says = self.python(USE)
        for part in ("LibraryNotFoundError", "libCQApi.so.1", "CQAPI_LIBRARY", "load_library()"):
            self.assertIn(part, says)
        self.assertIn("/nowhere.so", self.python(USE, CQAPI_LIBRARY="/nowhere.so"))
        libc = "libc.so.6"
        self.assertIn("no function cqOpen", self.python(USE, CQAPI_LIBRARY=libc))
