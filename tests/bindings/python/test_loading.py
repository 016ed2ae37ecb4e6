"""How the library is found, and how the package is installed."""

import importlib.util
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

    def test_beside_the_package(self):
        shutil.copytree(PACKAGE / "cqapi", self.folder / "cqapi")
        shutil.copy(LIBRARY, self.folder / "cqapi/libCQApi.so")
        self.assertEqual(self.python(USE, PYTHONPATH=str(self.folder)), "100")

    def test_not_found(self):
        says = self.python(USE)
        for part in ("LibraryNotFoundError", "libCQApi.so.1", "CQAPI_LIBRARY", "load_library()"):
            self.assertIn(part, says)
        self.assertIn("/nowhere.so", self.python(USE, CQAPI_LIBRARY="/nowhere.so"))
        libc = "libc.so.6"
        self.assertIn("no function cqOpen", self.python(USE, CQAPI_LIBRARY=libc))

    def test_pip_installs_it(self):
        for module in ("pip", "setuptools", "wheel"):
            if importlib.util.find_spec(module) is None:
                self.skipTest(f"{module} is not installed")
        source = self.folder / "source"  # building writes beside what it builds
        shutil.copytree(PACKAGE, source, ignore=shutil.ignore_patterns("__pycache__", "build"))
        done = subprocess.run(
            [sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-deps", "--no-index",
             "--disable-pip-version-check", "--target", self.folder / "site", source],
            capture_output=True, text=True, check=False, env={**os.environ, "PYTHONPATH": ""})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertTrue((self.folder / "site/cqapi/py.typed").exists())
        self.assertEqual(
            self.python("from importlib.metadata import version; import cqapi;"
                        "assert version('cqapi') == cqapi.__version__; print(cqapi.__file__);" + USE,
                        PYTHONPATH=str(self.folder / "site"), CQAPI_LIBRARY=LIBRARY),
            f"{self.folder}/site/cqapi/__init__.py\n100")
