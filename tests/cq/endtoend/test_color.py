"""The colour command: inputs, outputs, and numbers that can be looked up."""

import csv
import io
import os
import pathlib
import re
import signal
import subprocess

from support import CqTest, DATA

CHART = DATA / "colorchecker24.csv"


def white(value="1"):
    return ",".join([value] * 31)


class Color(CqTest):
    def rows(self, *arguments, **keywords):
        text = self.cq("color", *arguments, "--format", "csv", **keywords).stdout
        return list(csv.DictReader(io.StringIO(text)))

    def test_known_colors(self):
        for arguments, space, expected in (
            # The whites of ASTM E308, and half their light, whose L* is 116 * cbrt(0.5) - 16.
            (("--from", "spectrum", white(), "--observer", "2"), "xyz", (95.047, 100, 108.883)),
            (("--from", "spectrum", white(), "--illuminant", "A"), "xyz", (111.144, 100, 35.2)),
            (("--from", "spectrum", white("0.5")), "lab", (76.07, 0, 0)),
            (("--from", "xyz", "94.811", "100", "107.304"), "lab", (100, 0, 0)),
            (("--from", "lab", "50", "0", "0", "--observer", "2"), "xyz", (17.506, 18.419, 20.055)),
            (("--from", "lab", "50", "-20", "20"), "lch", (50, 28.284, 135)),
        ):
            with self.subTest(arguments):
                (color,) = self.json("color", *arguments, "--to", space)
                for value, wanted in zip(color[space].values(), expected):
                    self.assertAlmostEqual(value, wanted, delta=0.02)

    def test_tables(self):
        rows = self.rows("--from", "spectrum", "--input", CHART, "--illuminant", "D65,A,F2")
        self.assertEqual(len(rows), 24 * 3)
        self.assertEqual([row["illuminant"] for row in rows[:4]], ["D65", "A", "F2", "D65"])
        self.assertEqual(rows[3]["name"], "light skin")
        self.assertAlmostEqual(float(rows[3]["lab.L"]), 65.10, delta=0.02)
        text = self.cq("color", "--from", "spectrum", "--input", CHART).stdout
        self.assertEqual(len(text.splitlines()), 25)

    def test_all_spaces(self):
        (row,) = self.rows("--from", "xyz", "--to", "all", "20,30,40")
        spaces = ["lab", "xyz", "yxy", "lch", "luv", "hunterlab", "srgb", "yxy-unit", "din99"]
        columns = [name.split(".")[0] for name in row if "." in name]
        self.assertEqual(columns, [space for space in spaces for _ in range(3)])
        self.assertAlmostEqual(float(row["yxy.x"]), 20 / 90, places=6)
        self.assertAlmostEqual(float(row["yxy-unit.Y"]), 0.3, places=6)
        shown = self.cq("color", "--from", "xyz", "--to", "all", "20,30,40").stdout
        self.assertLessEqual(max(map(len, shown.splitlines())), 120)
        indices = "whiteness-cie,tint-cie,whiteness-e313,tint-e313,yellowness-e313,yellowness-d1925"
        shown = self.cq("color", "--from", "xyz", "--to", "all", "--index", indices, "20,30,40").stdout
        self.assertLessEqual(max(map(len, shown.splitlines())), 120)
        self.assertEqual(shown.count("index."), 6)
        self.assertEqual([shown.count(title) for title in ("h°", "a99", "Y/100", "b(H)", "u*")], [1] * 5)

    def test_what_cq_exports(self):
        exported = self.folder / "standards.csv"
        self.cq("standards", "export", "--output", exported, "--illuminant", "A",
                "--virtual-options", "--standards 3")
        row = self.rows("--from", "spectrum", "--input", exported, "--illuminant", "A")[1]
        self.assertEqual(self.rows("--from", "lab", "--input", exported, "--illuminant", "A")[1], row)
        self.assertEqual(row["name"], "light skin")
        self.refused("color", "--from", "lab", "--input", exported, status=1,
                     says=["for A/10°, not for D65/10°", "--illuminant A --observer 10"])
        self.refused("difference", "--from", "lab", "--input", exported, status=1, says="not for D65/10°")

    def test_standard_input(self):
        lab = "name;L;a;b\nred;50,5;60;40\n"
        (row,) = self.rows("--from", "lab", "--input", "-", stdin=lab)
        self.assertEqual((row["name"], row["lab.L"]), ("red", "50.5"))
        percent = CHART.read_text().splitlines()[0] + "\n" + "grey," + white("50") + "\n"
        (row,) = self.rows("--from", "spectrum", "--percent", "--input", "-", stdin=percent)
        self.assertAlmostEqual(float(row["lab.L"]), 76.07, delta=0.01)

    def test_figures_besides_spaces(self):
        (paper,) = self.rows("--from", "xyz", "95", "100", "105", "--observer", "2", "--index",
                             "yellowness-e313,yellowness-d1925")
        self.assertAlmostEqual(float(paper["index.yellowness-e313"]), 4.34, places=4)
        self.assertEqual(paper["index.yellowness-d1925"], "")  # C alone
        (grey,) = self.json("color", "--from", "xyz", "50", "40", "30", "--index", "whiteness-cie")
        self.assertEqual(grey["beyondLimits"], ["whiteness-cie"])

        standard = self.folder / "standard.csv"
        standard.write_text(white("0.5") + "\n")
        against = ("--strength-against", standard, "--metamerism-against", standard)
        rows = self.json("color", "--from", "spectrum", white("0.25"), *against, "--illuminant",
                         "D65,A")
        self.assertEqual([row["illuminant"] for row in rows], ["D65", "A"])
        for row in rows:
            for percent in row["strength"].values():
                self.assertAlmostEqual(percent, 450, places=3)
            self.assertAlmostEqual(row["metamerism"]["76"], 0, places=3)
        self.refused("color", "--from", "spectrum", white(), *against, status=2,
                     says="--illuminant D65,A,F11")
        self.refused("color", "--from", "lab", "1", "2", "3", *against, status=2,
                     says="those of spectra")

    def test_differences(self):
        # Sharma's first pair, and Lindbloom's by CMC.
        pair = ("difference", "--from", "lab", "50", "2.6772", "-79.7751", "50", "0", "-82.7485")
        (trial,) = self.json(*pair)["trials"]
        self.assertAlmostEqual(trial["deltaE"]["2000"], 2.0425, places=4)
        self.assertAlmostEqual(trial["deltaB"], -2.9734, places=4)
        self.assertEqual(len(trial["deltaE"]), 7)
        trials = self.folder / "trials.csv"
        trials.write_text("name,L,a,b\ndark,20,10,-20\nsame,100,-50,50\n")
        table = self.cq("difference", "--from", "lab", "100,-50,50", "--input", trials, "--formula",
                        "cmc:1:1,2000:2:1:1").stdout.splitlines()
        self.assertEqual(table[0].split()[-2:], ["ΔEcmc(1:1)", "ΔE00(2:1:1)"])
        self.assertEqual(table[1].split()[:2] + table[1].split()[-2:-1], ["dark", "-80.00", "66.32"])
        self.assertEqual(table[2].split()[1:], ["0.00"] * 7)
        self.refused("difference", "--from", "lab", "1", "2", "3", status=2, says="then the trials")
        self.refused(*pair, "--formula", "cmc:2", status=2, says="must be one of")

    def test_can_be_interrupted_while_it_reads(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        for command in (("color", "--from", "lab", "--input", "-"),
                        ("color", "--from", "lab", "--input", pipe),
                        ("report", pipe, "--format", "csv", "--output", self.folder / "page.html")):
            with self.subTest(command):
                process = self.start(*command, stdin=subprocess.PIPE)
                process.stdin.write("50,0,0\n")
                process.stdin.flush()
                # It catches the signal once it runs; the signal's mask of caught ones says so.
                status = pathlib.Path(f"/proc/{process.pid}/status")
                caught = lambda: int(re.search(r"SigCgt:\s*(\w+)", status.read_text())[1], 16)
                self.wait_for(lambda: caught() & 1 << (signal.SIGINT - 1), "the program's start")
                self.assertEqual(self.interrupt(process, status=130), ("", "cq: ended by Ctrl-C\n"))
        self.refused("color", "--from", "lab", "--input", "/dev/zero", status=1, says="256 MiB")

    def test_wrong_usage(self):
        for arguments, says in (
            ((), "--from spectrum|xyz|lab is required"),
            (("--from", "rgb", "1", "2", "3"), "--from must be"),
            (("--from", "lab"), "give the colours"),
            (("--from", "lab", "1", "2", "3", "--input", "-"), "not both"),
            (("--from", "lab", "1", "2", "3", "--illuminant", "A,C"), "one illuminant"),
            (("--from", "lab", "1", "2", "3", "--percent"), "--percent is for spectra"),
            (("--from", "lab", "1", "2", "3", "--format", "xml"), "must be table or csv or json"),
        ):
            with self.subTest(arguments):
                self.refused("color", *arguments, status=2, says=[says, "--help"])
