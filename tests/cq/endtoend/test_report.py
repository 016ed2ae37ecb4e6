"""Reports of files of measurements and of jobs."""

import json

from support import CqTest

# A standard and three trials, the last of which is far off.
BATCH = """index,kind,name,illuminant,observer,L,a,b
0,standard,red,D65,10,50,60,30
1,trial,one,D65,10,50.2,60.1,30
2,trial,two,D65,10,50,60,30.9
3,trial,off,D65,10,52,63,30
"""

# In place of a browser: "prints" the page by copying it.
COPIES = """for argument; do case $argument in --print-to-pdf=*) output=${argument#*=};; esac; done
echo noise >&2
cp "$argument" "$output\""""


class Report(CqTest):
    def setUp(self):
        super().setUp()
        self.batch = self.folder / "batch.csv"
        self.batch.write_text(BATCH)
        self.page = self.folder / "page.html"

    def report(self, *arguments, **keywords):
        return self.json("report", self.batch, "--output", self.page, *arguments, **keywords)

    def test_judges_trials(self):
        done = self.report("--tolerance", "1")
        self.assertEqual([t["passed"] for t in done["trials"]], [True, True, False])
        self.assertEqual(done["passed"], 2)
        self.assertAlmostEqual(done["trials"][1]["deltaEab"], 0.9, places=5)
        self.assertEqual(done["report"], str(self.page))
        self.assertIn("2 of 3 within", self.page.read_text())
        text = self.cq("report", self.batch, "--output", self.page, "--tolerance", 2,
                       "--formula", "2000", "--standard", 3).stdout
        self.assertRegex(text, r"^\d of 3 trials within ΔE00 ≤ 2\nΔE00: mean \d\.\d\d, largest ")

    def test_judges_by_any_formula(self):
        done = self.report("--tolerance", "1", "--formula", "cmc:1:1")
        self.assertEqual(done["formula"], "cmc:1:1")
        self.assertLess(done["trials"][1]["deltaE"], done["trials"][1]["deltaEab"])
        self.assertIn("ΔE<sub>cmc(1:1)</sub>", self.page.read_text())

    def test_compares_with_another_file(self):
        master = self.folder / "master.json"
        entry = {"kind": "standard", "name": "master", "lab": {"L": 50, "a": 60, "b": 30}}
        master.write_text(json.dumps({"illuminant": "D65", "observer": 10, "entries": [entry]}))
        done = self.report("--standard", master)
        self.assertEqual([t["standard"] for t in done["trials"]], ["master"] * 4)
        self.assertEqual(done["trials"][0]["deltaEab"], 0)
        self.refused("report", self.batch, "--output", self.page, "--standard", master,
                     "--illuminant", "A", status=1, says="no spectrum to compute them for A/10°")

    def test_says_where_it_comes_from(self):
        for name in ("s.csv", "s.json", "s.cgats"):
            exported = self.folder / name
            self.cq("samples", "export", "--output", exported,
                    "--virtual-options", "--standards 1 --samples 2 --serial SN-42")
            self.cq("report", exported, "--output", self.page)
            self.assertRegex(self.page.read_text(), "2023-11-14 22:13:50 to 2023-11-14 22:14:50 UTC.*"
                             "<dd>VIRTUAL-31, SN-42</dd>")

    def test_takes_percents(self):
        titles = ",".join(f"R{nm}" for nm in range(400, 701, 10))
        self.batch.write_text(f"{titles}\n{','.join(['50'] * 31)}\n{','.join(['50'] * 31)}\n")
        self.assertEqual(self.report("--standard", 0)["largest"], 0)  # they tell themselves
        self.assertIn("<td>76.07</td>", self.page.read_text())
        self.assertEqual(self.report("--percent", "--standard", 0)["largest"], 0)
        self.assertIn("<th>D65/10°</th><td>76.07</td>", self.page.read_text())

    def test_bad_input_leaves_no_page(self):
        report = ("report", self.batch, "--output", self.page)
        self.refused(*report, "--standard", 9, status=1, says="no measurement with the index 9")
        self.refused(*report, "--tolerance", 0, status=2, says="--tolerance")
        self.refused(*report, "--formula", "95", status=2, says="76, 94, 94t, cmc, 2000, 99, 99o")
        self.batch.write_text(BATCH.replace("60.1", "x"))
        self.refused(*report, status=1, says="batch.csv line 3: a must be a number, not 'x'")
        self.batch.write_text(BATCH.splitlines()[0])
        self.refused(*report, status=1, says="holds no measurements")
        self.assertFalse(self.page.exists())

    def test_judges_by_limits_and_tells_scripts(self):
        done = self.report("--tolerance", "dE00<=3,|dL|<=1", "--warn", "0.5", "--check", status=3)
        self.assertEqual([t["verdict"]["grade"] for t in done["trials"]], ["pass", "warn", "fail"])
        self.assertEqual((done["passed"], done["warned"], done["failed"]), (2, 1, 1))
        self.assertIn("|ΔL*| 2.00 &gt; 1 (D65)", self.page.read_text())
        self.report("--tolerance", "5", "--check")
        self.refused("report", self.batch, "--output", self.page, "--check", status=2, says="needs tolerances")
        self.refused("report", self.batch, "--output", self.page, "--illuminants", "D65,A", status=1,
                     says="no spectrum to compute them for A/10°")


class JobReport(CqTest):
    def setUp(self):
        super().setUp()
        self.job = self.folder / "lot.cqjob"
        self.events = []
        self.event("created", format="cq job", version=1, title="Lot 12", operator="Night shift",
                   illuminants=["D65", "A"], observer=10, tolerances=["dE00<=1"], warnings=[])
        self.measurement("standard", "Master 7", 0)
        for i in range(1, 4):
            self.measurement("trial", f"12-{i}", 0.01 * i, standard=2)
        self.event("struckOut", measurement=5)

    def event(self, what, **members):
        number = len(self.events) + 1
        self.events.append({"number": number, "time": "2026-05-01T10:00:00Z", "event": what, **members})
        self.job.write_text("".join(json.dumps(event, separators=(",", ":")) + "\n" for event in self.events))

    def measurement(self, kind, name, lighter, **members):
        values = [0.1 + 0.02 * i + lighter for i in range(31)]
        self.event("measurement", kind=kind, name=name, program="cq",
                   spectrum={"start": 400, "step": 10, "values": values}, **members)

    def test_every_format_by_its_name(self):
        for name in ("lot.html", "lot.json", "lot.csv", "lot.cgats", "lot.qtx", "lot.cxf"):
            done = self.json("report", self.job, "--output", self.folder / name)
            self.assertEqual((done["passed"], done["failed"], done["struckOut"]), (1, 1, 1))
            self.assertEqual([d["illuminant"] for d in done["trials"][0]["differences"]], ["D65", "A"])
        for name in ("lot.qtx", "lot.json"):
            done = self.cq("report", self.job, "--output", self.folder / name)
            self.assertEqual("not the tolerances" in done.stderr, name == "lot.qtx")
        page = (self.folder / "lot.html").read_text()
        for part in ("<h1>Lot 12</h1>", "Night shift", "1 of 2 within", "<del>12-3</del>"):
            self.assertIn(part, page)
        for name in ("lot.json", "lot.csv", "lot.cgats", "lot.qtx", "lot.cxf"):  # and is read back without what is struck out
            again = self.json("report", self.folder / name, "--output", self.folder / "again.html")
            self.assertEqual([(t["standard"], t["name"]) for t in again["trials"]],
                             [("Master 7", "12-1"), ("Master 7", "12-2")])
        self.cq("report", self.job, "--output", self.folder / "lot.html", "--check", status=3)
        self.refused("report", self.job, "--output", self.folder / "x.html", "--percent", status=2,
                     says="for exported files")

    def test_a_line_that_is_being_written_is_left_out(self):
        with self.job.open("a") as file:
            file.write('{"number":7,"ti')
        done = self.cq("report", self.job, "--output", self.folder / "lot.html")
        self.assertIn("the last line of", done.stderr)
        self.assertIn("1 of 2 trials", done.stdout)

    def test_a_trial_without_a_spectrum_is_not_judged_but_shown(self):
        self.events.pop()
        self.events[3:] = []  # the first trial passes
        self.event("measurement", kind="trial", name="typed in", lab={"L": 60, "a": 1, "b": 2}, standard=2, program="cq")
        report = ("report", self.job, "--output", self.folder / "lot.html")
        self.refused(*report, "--check", status=1,
                     says=["not all trials could be judged", "'typed in' has no spectrum"])
        self.assertIn("<b>not judged</b>", (self.folder / "lot.html").read_text())
        self.refused(*report, "--illuminant", "A", status=1, says="no spectrum to compute them for A/10°")

    def test_pdf_through_a_browser(self):
        tools, temporary = self.folder / "tools", self.folder / "tmp"
        tools.mkdir()
        temporary.mkdir()
        environment = {"PATH": str(tools), "TMPDIR": str(temporary)}
        pdf = self.folder / "lot.pdf"
        report = ("report", self.job, "--output", pdf)
        self.refused(*report, status=1, says=["there is no Chromium", "install chromium"], env=environment)
        browser = tools / "chromium"
        for script, status in (("exit 1", 1), (COPIES, 0)):
            browser.write_text(f"#!/bin/sh\nPATH=/bin:/usr/bin\n{script}\n")
            browser.chmod(0o755)
            done = self.cq(*report, status=status, env=environment)
            self.assertEqual(pdf.exists(), status == 0, done.stderr)
            self.assertEqual(list(temporary.iterdir()), [])
        self.assertIn("<h1>Lot 12</h1>", pdf.read_text())
