"""No program of the build tree looks for libraries in the folder that it happens to be run in."""

import os
import pathlib
import re
import subprocess
import unittest

BUILD = pathlib.Path(os.environ["CQ_BUILD"])


class RunPaths(unittest.TestCase):
    def test_entries_are_absolute_or_the_programs_own(self):
        for program in (BUILD / "bin").iterdir():
            dynamic = subprocess.run(["readelf", "-d", program], stdout=subprocess.PIPE,
                                     encoding="utf-8", check=True).stdout
            entries = [entry for path in re.findall(r"R(?:UN)?PATH.*\[(.*)\]", dynamic)
                       for entry in path.split(":")]
            if program.name == "cq":
                self.assertIn("$ORIGIN/..", entries)
            for entry in entries:
                self.assertRegex(entry, r"^(/|\$ORIGIN)", f"{program.name}: {entries}")


if __name__ == "__main__":
    unittest.main()
