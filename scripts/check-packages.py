"""Installs what scripts/package has made into empty places and uses it as a stranger would.

Usage: check-packages.py FILE...    (.deb and .zip files)
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[1]
EXAMPLES = SOURCE / "examples"
PACKAGES = [pathlib.Path(name).resolve() for name in sys.argv[1:]]
DEBS = [path for path in PACKAGES if path.suffix == ".deb"]
ZIPS = [path for path in PACKAGES if path.suffix == ".zip"]

# The first patch of the chart, which a virtual instrument measures first, is a dark skin.
FIRST_PATCH = (37.5, 12.4, 13.0)
LAB = re.compile(r"L\* +(-?\d+\.\d+) +a\* +(-?\d+\.\d+) +b\* +(-?\d+\.\d+)")
LARGEST_DLL = 1_500_000
SYSTEM_DLLS = {
    "advapi32", "kernel32", "msvcrt", "mswsock", "ole32", "setupapi", "shell32", "shlwapi", "user32",
    "ws2_32",
}
STRANGERS_PATIENCE = 60  # seconds from the download to a colour
LINK = re.compile(r"\]\(([^)#\s]*)(?:#([^)\s]*))?\)")
CODE = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
PYTHON_MEASURES = """
import sys, cqapi
instrument = cqapi.Instrument.open(sys.argv[1])
instrument.calibrate_white()
instrument.calibrate_black()
lab = cqapi.color_from_spectrum(instrument.measure_standard().spectrum(64))
print("L* %.2f  a* %.2f  b* %.2f" % tuple(lab))
"""


def run(*command, cwd=None, env=None, patience=300, status=0):
    """Runs to the end; the exit status must be this one. Returns what it printed."""
    done = subprocess.run(
        [str(word) for word in command], cwd=cwd, env={**os.environ, **(env or {})},
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        encoding="utf-8", errors="replace", timeout=patience,
    )
    if done.returncode != status:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def anchors(page):
    """The identifiers that readers of Markdown give the headings of a page."""
    headings = re.findall(r"^#+ (.*)$", CODE.sub("", page.read_text(encoding="utf-8")), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def dead_links(root, *needed):
    """Of each page below a folder the links that lead nowhere in it; the needed pages must be there."""
    pages = sorted(root.rglob("*.md"))
    assert set(needed) <= {page.name for page in pages}, f"{needed} are not all among {pages}"
    dead = []
    for page in pages:
        for target, anchor in LINK.findall(CODE.sub("", page.read_text(encoding="utf-8"))):
            file = (page.parent / target).resolve() if target else page
            if "://" not in target and (not file.is_relative_to(root.resolve()) or not file.exists()
                                        or anchor and anchor not in anchors(file)):
                dead.append(f"{page.relative_to(root)}: {target}#{anchor}")
    return dead


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="cqapi-package-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)

    def assert_files(self, root, *names):
        missing = [name for name in names if not (root / name).exists()]
        self.assertEqual(missing, [], f"missing in {root}")

    def assert_first_patch(self, text):
        found = LAB.search(text)
        self.assertIsNotNone(found, f"no colour in:\n{text}")
        for value, expected in zip(map(float, found.groups()), FIRST_PATCH):
            self.assertAlmostEqual(value, expected, delta=0.5)

    def instrument(self, *command):
        """Starts a virtual instrument that lives as long as the test; returns its port."""
        process = subprocess.Popen(
            [*map(str, command), "--until-eof", "--measure-time", "10"], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding="utf-8",
        )
        self.addCleanup(process.wait, 10)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.terminate)  # in Wine it does not notice the end of its input
        self.addCleanup(process.stdin.close)
        return process.stdout.readline().strip().removeprefix("port: ")

    def built_consumer(self, *options, suffix=""):
        """Builds the example that finds the library with CMake; returns the program."""
        build = self.folder / "consumer"
        run("cmake", "-S", EXAMPLES / "cmake-consumer", "-B", build, "-G", "Ninja", *options)
        run("cmake", "--build", build)
        return build / f"consumer{suffix}"


@unittest.skipUnless(DEBS, "no Debian packages are given")
class Debs(PackageTest):
    """Unpacked into an empty folder, not installed."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.root = cls.folder / "root"
        for package in DEBS:
            run("dpkg-deb", "-x", package, cls.root)
        cls.libraries = next((cls.root / "usr" / "lib").glob("*-linux-gnu"))
        cls.programs = cls.root / "usr" / "bin"

    def assert_measures(self, program):
        port = self.instrument(self.programs / "cq-virtual-instrument")
        self.assert_first_patch(run(program, port, env={"LD_LIBRARY_PATH": str(self.libraries)}))

    def fields(self, package):
        text = run("dpkg-deb", "-f", next(path for path in DEBS if path.name.startswith(package)))
        return dict(re.findall(r"^([\w-]+): (.*)$", text, re.MULTILINE))

    def test_contain_what_they_should(self):
        self.assert_files(
            self.root / "usr", "bin/cq", "bin/cq-station", "bin/cq-virtual-instrument",
            "include/cqapi/CQApi.h",
            "lib/udev/rules.d/70-cqapi.rules", "lib/cli/CQApi.Net/CQApi.Net.dll",
            "lib/python3/dist-packages/cqapi/__init__.py",
            "share/doc/libcqapi-dev/bindings/csharp/Instrument.cs",
        )
        self.assert_files(self.libraries, "libCQApi.so", "libCQApi.so.1", "pkgconfig/cqapi.pc",
                          "cmake/CQApi/CQApiConfig.cmake")
        version = self.fields("libcqapi1")["Version"]
        for package in "libcqapi-dev", "cqapi-tools":
            self.assertIn(f"libcqapi1 (= {version})", self.fields(package)["Depends"])
        self.assertRegex(self.fields("libcqapi1")["Depends"], r"libc6 \(>= [\d.]+\)")
        self.assertRegex(self.fields("cqapi-tools")["Depends"], r"libmosquitto1 \(>= [\d.]+")
        for name in "cq", "cq-station", "cq-virtual-instrument":
            linked = re.findall(r"NEEDED.*\[(.*?)\.so", run("readelf", "-dW", self.programs / name))
            self.assertEqual("libmosquitto" in linked, name == "cq-station", f"{name} links {linked}")
        for file in self.programs / "cq", self.libraries / "libCQApi.so.1":
            self.assertNotIn(" .symtab", run("readelf", "-SW", file), f"{file} is not stripped")
            self.assertNotIn("PATH", run("readelf", "-dW", file), f"{file} has a run path")
        self.assertEqual(self.fields("python3-cqapi")["Architecture"], "all")

    def test_links_lead_somewhere(self):
        self.assertEqual(
            dead_links(self.root / "usr", "index.md", "first-measurement.md", "CHANGELOG.md"), [])

    def test_device_rules_take_no_other_makers_port(self):
        """Each names its device wholly; only the instrument's port is taken from the modem manager."""
        rules = (self.root / "usr/lib/udev/rules.d/70-cqapi.rules").read_text(encoding="utf-8")
        rules = [line for line in rules.replace("\\\n", "").splitlines() if "ATTRS" in line]
        self.assertEqual(len(rules), 2)
        for rule, port, vendor, product in zip(rules, ("ACM", "USB"), ("0483", "1a86"), ("5740", "7523")):
            for part in (f'KERNEL=="tty{port}*"', f'ATTRS{{idVendor}}=="{vendor}"',
                         f'ATTRS{{idProduct}}=="{product}"', 'TAG+="uaccess"'):
                self.assertIn(part, rule)
        self.assertEqual(re.findall(r"ID_MM_\w+", "\n".join(rules)), ["ID_MM_PORT_IGNORE"])
        self.assertIn("ID_MM_PORT_IGNORE", rules[0])

    def test_cmake_finds_the_library(self):
        self.assert_measures(self.built_consumer(f"-DCMAKE_PREFIX_PATH={self.root / 'usr'}"))

    def test_cmake_refuses_another_major_version(self):
        source = self.folder / "other-version"
        source.mkdir()
        (source / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.25)\nproject(other LANGUAGES C)\n"
            "find_package(CQApi 2.0 REQUIRED)\n", encoding="utf-8")
        printed = run("cmake", "-S", source, "-B", source / "build",
                      f"-DCMAKE_PREFIX_PATH={self.root / 'usr'}", status=1)
        self.assertIn("CQApiConfig.cmake, version: 1.", printed)

    def test_pkg_config_finds_the_library(self):
        flags = run("pkg-config", "--cflags", "--libs", "cqapi",
                    env={"PKG_CONFIG_PATH": str(self.libraries / "pkgconfig")}).split()
        program = self.folder / "measure"
        run("cc", EXAMPLES / "c" / "measure.c", "-o", program, *flags)
        self.assert_measures(program)

    def test_python_measures(self):
        port = self.instrument(self.programs / "cq-virtual-instrument")
        modules = self.root / "usr/lib/python3/dist-packages"
        self.assert_first_patch(run(
            "/usr/bin/python3", "-B", "-c", PYTHON_MEASURES, port,
            env={"LD_LIBRARY_PATH": str(self.libraries), "PYTHONPATH": str(modules)}))

    @unittest.skipUnless(shutil.which("mono"), "mono is not installed")
    def test_csharp_program_is_built_and_measures(self):
        assembly = self.root / "usr/lib/cli/CQApi.Net/CQApi.Net.dll"
        program = pathlib.Path(shutil.copy(assembly, self.folder)).with_name("check.exe")
        run("mcs", f"-out:{program}", f"-reference:{assembly}", EXAMPLES / "csharp/ToleranceCheck.cs")
        port = self.instrument(self.programs / "cq-virtual-instrument")
        self.assertIn("trial 2", run("mono", program, port, "9", "2",
                                     env={"LD_LIBRARY_PATH": str(self.libraries)}))


def debian_mirror():
    """Where this machine gets its packages from; nothing if that is not Debian."""
    try:
        text = run("apt-get", "indextargets", "--format", "$(SITE) $(RELEASE)",
                   "Created-By: Packages")
    except (OSError, AssertionError):
        return None
    lines = [line.split() for line in text.splitlines() if len(line.split()) == 2]
    return next(((site, release) for site, release in lines if "-" not in release), None)


@unittest.skipUnless(DEBS, "no Debian packages are given")
class FreshDebian(PackageTest):
    """Installed into a Debian system that has nothing else."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        mirror = debian_mirror()
        if os.geteuid() != 0 or not shutil.which("debootstrap") or mirror is None:
            raise unittest.SkipTest("needs root's rights, debootstrap and a Debian mirror")
        site, release = mirror
        cls.root = cls.folder / "debian"
        run("debootstrap", "--variant=minbase", release, cls.root, site, patience=900)
        for package in DEBS:
            shutil.copy(package, cls.root / "tmp")

    def inside(self, script):
        """Runs a script in the system, with its own /proc and terminals for the time being."""
        mounts = ("mount -t proc proc $0/proc && "
                  "mount -t devpts -o newinstance,ptmxmode=0666 devpts $0/dev/pts && "
                  "ln -sf pts/ptmx $0/dev/ptmx && exec chroot $0 sh -ec \"$1\"")
        return run("unshare", "--mount", "--pid", "--fork", "sh", "-c", mounts, self.root, script)

    def test_stranger_sees_a_color_within_a_minute(self):
        began = time.monotonic()
        printed = self.inside(
            "apt-get install -y -qq /tmp/libcqapi1_*.deb /tmp/cqapi-tools_*.deb >/tmp/log 2>&1 ||"
            " { cat /tmp/log; exit 1; }\n cq measure standard --virtual")
        seconds = time.monotonic() - began
        self.inside("apt-get install -y -qq /tmp/python3-cqapi_*.deb >/tmp/log 2>&1 ||"
                    " { cat /tmp/log; exit 1; }\n python3 -c 'import cqapi; cqapi.load_library()'")
        self.assert_first_patch(printed)
        self.assertLess(seconds, STRANGERS_PATIENCE)
        print(f"  from the packages to a colour on a fresh Debian: {seconds:.1f} s")

        self.inside("apt-get remove -y -qq libcqapi1 >/dev/null 2>&1")
        left = [path for folder in ("bin", "lib", "include") for path
                in (self.root / "usr" / folder).rglob("*") if "cqapi" in path.name.lower()]
        self.assertEqual(left, [])


@unittest.skipUnless(ZIPS, "no Windows package is given")
class Zip(PackageTest):
    """Unpacked into an empty folder and used in Wine."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        shutil.unpack_archive(ZIPS[0], cls.folder)
        (cls.root,) = cls.folder.iterdir()
        cls.wine = [SOURCE / "tests/wine/run-in-wine", SOURCE / "build/package/wine-prefix", ""]
        # The first program starts Wine's services, which would keep the pipes of a test open.
        subprocess.run([*cls.wine, "cmd.exe", "/c", "exit"], stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def assert_measures(self, program):
        port = self.instrument(*self.wine, self.root / "bin/cq-virtual-instrument.exe")
        self.assertTrue(port.startswith("\\\\.\\pipe\\"), port)
        self.assert_first_patch(run(*self.wine, program, port))

    def test_contains_what_it_should(self):
        self.assert_files(
            self.root, "README.txt", "bin/CQApi.dll", "bin/cq.exe", "bin/cq-station.exe",
            "bin/cq-virtual-instrument.exe",
            "include/cqapi/CQApi.h", "lib/libCQApi.dll.a", "lib/CQApi.def", "bin/CQApi.Net.dll",
            "examples/c/measure.c", "lib/cmake/CQApi/CQApiConfig.cmake",
            "bindings/csharp/Instrument.cs", "bindings/python/cqapi/__init__.py",
        )
        self.assertLessEqual((self.root / "bin/CQApi.dll").stat().st_size, LARGEST_DLL)

    def test_needs_system_dlls_alone(self):
        for file in {*(self.root / "bin").iterdir()} - {self.root / "bin/CQApi.Net.dll"}:
            headers = run("x86_64-w64-mingw32-objdump", "-p", file)
            needed = {name.lower() for name in re.findall(r"DLL Name: (.*)\.dll", headers, re.I)}
            self.assertLessEqual(needed - {"cqapi"}, SYSTEM_DLLS, file.name)
            self.assertGreater(len(needed), 0, file.name)

    def test_links_lead_somewhere(self):
        self.assertEqual(dead_links(self.root, "index.md", "first-measurement.md", "CHANGELOG.md"), [])
        readme = (self.root / "README.txt").read_text(encoding="utf-8")
        named = re.findall(r"^    (\w+\\[\w.\\-]+)  ", readme, re.MULTILINE)
        self.assertGreater(len(named), 10)
        self.assert_files(self.root, "README.txt", *(name.replace("\\", "/") for name in named))

    def test_program_on_the_search_path_is_run_and_one_of_the_working_folder_not(self):
        alone = self.folder / "alone"
        planted = self.folder / "planted"
        for folder, names in (alone, ("cq.exe", "CQApi.dll")), (planted, ("cq-virtual-instrument.exe",)):
            folder.mkdir()
            for name in names:
                shutil.copy(self.root / "bin" / name, folder)
        printed = run(*self.wine, alone / "cq.exe", "measure", "--virtual", cwd=planted, status=1)
        self.assertIn("the virtual instrument did not start", printed)
        self.assert_first_patch(run(*self.wine, alone / "cq.exe", "measure", "--virtual",
                                    env={"WINEPATH": f"Z:{planted}"}))

    def test_python_package_is_built_without_a_network(self):
        run("/usr/bin/python3", "-m", "pip", "install", "--no-index", "--no-build-isolation", "--target",
            self.folder / "site", self.root / "bindings/python")
        self.assert_files(self.folder / "site/cqapi", "__init__.py", "py.typed")

    def test_stranger_sees_a_color(self):
        self.assert_first_patch(
            run(*self.wine, self.root / "bin/cq.exe", "measure", "standard", "--virtual"))

    def test_c_program_is_built_and_measures(self):
        program = self.root / "bin" / "measure.exe"
        self.addCleanup(program.unlink)
        run("x86_64-w64-mingw32-gcc-posix", f"-I{self.root / 'include'}",
            EXAMPLES / "c" / "measure.c", "-o", program, self.root / "lib" / "CQApi.lib")
        self.assert_measures(program)

    def test_cmake_links_with_the_import_library_of_visual_studio(self):
        built = self.built_consumer(
            f"-DCMAKE_TOOLCHAIN_FILE={SOURCE / 'cmake/mingw-w64-x86_64.cmake'}",
            f"-DCQApi_DIR={self.root / 'lib/cmake/CQApi'}",  # outside the compiler's own root
            "-DCMAKE_EXE_LINKER_FLAGS=-static", suffix=".exe")
        linked = re.search(r"LINK_LIBRARIES = (.*)", (built.parent / "build.ninja").read_text(encoding="utf-8"))
        self.assertRegex(linked[1], r"/CQApi\.lib ")
        program = shutil.copy(built, self.root / "bin")
        self.addCleanup(os.unlink, program)
        self.assert_measures(program)


if __name__ == "__main__":
    if not PACKAGES or DEBS + ZIPS != PACKAGES and ZIPS + DEBS != PACKAGES:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1], verbosity=2)
