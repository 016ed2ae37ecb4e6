"""What programs of others read in exported files."""

import ctypes
import ctypes.util
import json
import re
import shutil
import subprocess

from support import CqTest


class Cgats(CqTest):
    """What is exported as CGATS is what programs of others read in it."""

    def setUp(self):
        super().setUp()
        self.file = self.folder / "three.cgats"
        self.cq("standards", "export", "--output", self.file,
                "--virtual-options", "--standards 3")
        written = self.cq("standards", "export", "--output", "-", "--format", "json",
                          "--virtual-options", "--standards 3").stdout
        self.entries = json.loads(written)["entries"]

    def test_little_cms_reads_it(self):
        name = ctypes.util.find_library("lcms2")
        if name is None:
            self.skipTest("liblcms2 is not installed")
        lcms = ctypes.CDLL(name)
        lcms.cmsIT8LoadFromMem.restype = ctypes.c_void_p
        lcms.cmsIT8GetProperty.restype = ctypes.c_char_p
        lcms.cmsIT8GetDataRowCol.restype = ctypes.c_char_p
        lcms.cmsIT8GetDataRowColDbl.restype = ctypes.c_double
        content = self.file.read_bytes()
        table = ctypes.c_void_p(lcms.cmsIT8LoadFromMem(None, content, len(content)))
        self.assertTrue(table)
        self.addCleanup(lcms.cmsIT8Free, table)
        for name, value in ((b"ILLUMINATION", b"D65"), (b"OBSERVER", b"10"), (b"NUMBER_OF_SETS", b"3")):
            self.assertEqual(lcms.cmsIT8GetProperty(table, name), value)

        def column(name):
            return lcms.cmsIT8FindDataFormat(table, name.encode())

        columns = [f"LAB_{k}" for k in "LAB"] + [f"SPECTRAL_NM{nm}" for nm in range(400, 701, 10)]
        for row, entry in enumerate(self.entries):
            written = [*entry["lab"].values(), *entry["spectrum"]["values"]]
            for name, value in zip(columns, written, strict=True):
                read = lcms.cmsIT8GetDataRowColDbl(table, row, column(name))
                self.assertAlmostEqual(read, value, places=5)
            record = lcms.cmsIT8GetDataRowCol(table, row, column("RECORD_HEX"))
            self.assertEqual(len(record), 512)

    def test_argyll_reads_it(self):
        if shutil.which("colverify") is None:
            self.skipTest("argyll is not installed")
        other = self.folder / "other.cgats"
        other.write_text(self.file.read_text().replace("SAMPLE_KIND", "SAMPLE_TYPE"))
        done = subprocess.run(["colverify", "-v2", self.file, other], capture_output=True,
                              text=True, timeout=30)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        for row, entry in enumerate(self.entries):
            line = re.search(rf"^{row}: (\S+) (\S+) (\S+) <=>.* de 0\.0+$", done.stdout, re.M)
            self.assertTrue(line, done.stdout)
            for read, written in zip(map(float, line.groups()), entry["lab"].values(), strict=True):
                self.assertAlmostEqual(read, written, places=4)
