"""Where results go: files that are replaced whole and never by mistake, pipes, devices, terminals."""

import os
import pathlib
import subprocess

from support import COMMAND, CqTest

LAB = "kind,name,L,a,b\nstandard,red,50,60,30\ntrial,one,50.2,60.1,30\n"
NAME = "\x1b[31mevil\x07\x7f\x9b"  # as it stands in a file: the last is two bytes of UTF-8
CALIBRATED = ("--virtual-options", "--calibrated --measure-time 1")


class Files(CqTest):
    def setUp(self):
        super().setUp()
        self.lab = self.folder / "lab.csv"
        self.lab.write_text(LAB)

    def test_inputs_and_names_that_tell_no_format_are_refused(self):
        (self.folder / "link.html").symlink_to(self.lab)
        before = {p.name for p in self.folder.iterdir()}
        for file, says in (("lab.csv", "would be replaced"), ("link.html", "would be replaced"),
                           ("x.doc", "named .html or .pdf"), ("x", "named .html")):
            self.refused("report", self.lab, "--output", self.folder / file, status=2, says=says)
        for command in (("demo", "--report"), ("whiteboard", "get", "--virtual"),
                        ("measure", "standard", "--virtual", "--output"),
                        ("standards", "export", "--virtual", "--output")):
            self.refused(*command, self.folder / "x.pdf", status=2, says="x.pdf")
        self.refused("measure", "trial", "--count", 3, "--against", f"{self.lab}:none", "--virtual",
                     "--output", self.folder / "lab.csv", "--format", "csv", status=1, says="none")
        self.assertEqual(self.lab.read_text(), LAB)
        self.assertEqual({p.name for p in self.folder.iterdir()}, before)

    def test_standard_output_has_two_names(self):
        page = self.cq("report", self.lab, "--output", "-")
        self.assertRegex(page.stdout, r"\A<!DOCTYPE html>(.|\n)*</html>\n\Z")
        self.assertIn("mean 0.22", page.stderr)
        file = self.folder / "page"
        with file.open("a") as opened:
            opened.write("before\n")
            opened.flush()
            subprocess.run([*COMMAND, "report", self.lab, "--output", "/dev/stdout"],
                           stdout=opened, stderr=subprocess.DEVNULL, check=True)
        self.assertEqual(file.read_text(), "before\n" + page.stdout)
        self.refused("report", self.lab, "--output", "-", "--json", status=2, says="--json")
        self.cq("report", self.lab, "--output", "/dev/null")
        self.assertFalse(pathlib.Path("-").exists())

    def test_measurements_are_written_as_their_names_say(self):
        measure = ("measure", "trial", *CALIBRATED)
        table = self.folder / "t.csv"
        saved = self.json(*measure, "--output", table)
        self.assertEqual(table.read_text().split(",")[-1].strip(), saved["record"])
        self.assertIn("deltaEab", self.json(*measure, "--against", table))
        raw = subprocess.run([*COMMAND, *measure, "--output", "-", "--format", "raw"],
                             capture_output=True, check=True)
        self.assertEqual((len(raw.stdout), b"L* " in raw.stderr), (256, True))
        self.refused(*measure, "--output", table, "--against", table, status=2, says="replaced")
        self.refused(*measure, "--output", "-", "--format", "raw", "--count", 2, status=2, says="--count")

    def test_a_report_has_a_limit(self):
        self.lab.write_text(LAB + "trial,one,50.2,60.1,30\n" * 50000)
        self.refused("report", self.lab, "--output", self.folder / "x.html", status=1,
                     says="more than 20000 measurements")


class Shown(CqTest):
    def test_control_characters_reach_neither_terminal_nor_page(self):
        table = self.folder / "table.csv"
        table.write_text(LAB.replace("red", NAME).replace("one", NAME), encoding="utf-8")
        page = self.folder / "page.html"
        shown = self.cq("report", table, "--output", page, "--title", NAME).stdout
        shown += page.read_text(encoding="utf-8")
        shown += self.cq("list", "/dev/" + NAME, status=1).stderr
        shown += self.cq("scan", "--adapter", NAME, status=1).stderr
        table.write_text(LAB.replace("kind,", "").replace("standard,red", NAME).replace("trial,", ""),
                         encoding="utf-8")
        for options in ((), ("--json",), ("--format", "csv")):
            shown += self.cq("color", "--from", "lab", "--input", table, *options).stdout
        self.assertEqual(set("\x1b\x07\x7f\x9b") & set(shown), set())
        self.assertGreaterEqual(shown.count("?[31mevil???"), 6)
        (first, _) = self.json("color", "--from", "lab", "--input", table)
        self.assertEqual(first["name"], NAME)

    def test_no_port_takes_the_place_of_a_closed_stream(self):
        log = self.folder / "log"
        port, _ = self.instrument("--log", log, "--calibrated")
        subprocess.run([*COMMAND, "measure", "--port", port], check=False,
                       preexec_fn=lambda: os.closerange(0, 3))
        self.assertIn("measure standard", log.read_text())
        self.assertNotIn("no packet", log.read_text())
        unwritten = subprocess.run([*COMMAND, "info", "--virtual"], stderr=subprocess.PIPE,
                                   preexec_fn=lambda: os.close(1), text=True)
        self.assertEqual(unwritten.returncode, 1)
        self.assertIn("standard output cannot be written to", unwritten.stderr)
