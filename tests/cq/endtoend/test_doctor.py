"""What the doctor finds, and what it misses."""

import json
import os
import shutil
import subprocess

from support import CQ, CqTest


class Doctor(CqTest):
    def test_finds_the_virtual_instrument(self):
        done = subprocess.run([CQ, "doctor", "--json"], capture_output=True, text=True, timeout=30)
        report = json.loads(done.stdout)
        findings = {f["subject"]: f for f in report["findings"]}
        self.assertEqual(done.returncode, 0 if report["usable"] else 1)
        self.assertEqual(findings["virtual instrument"]["level"], "ok", findings)
        self.assertIn("measures L* 37.", findings["virtual instrument"]["text"])
        self.assertEqual(findings["colours"]["level"], "ok")

    def test_misses_it(self):
        alone = self.folder / "bin"
        alone.mkdir()
        shutil.copy(CQ, alone)
        library = os.path.dirname(os.path.dirname(CQ))
        done = subprocess.run(
            [alone / "cq", "doctor"], capture_output=True, text=True, timeout=30,
            env={"PATH": "/nowhere", "LD_LIBRARY_PATH": library})
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, "problem +virtual instrument +the virtual instrument did not")
        self.assertIn("lies beside cq", done.stdout)
