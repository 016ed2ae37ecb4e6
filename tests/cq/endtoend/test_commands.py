"""What the commands print, write and return, with an instrument that does what it is asked."""

import re

from support import CqTest

CALIBRATED = ("--virtual-options", "--calibrated --measure-time 1")


class Identity(CqTest):
    def test_info(self):
        info = self.json("info", "--virtual-options", "--serial SN-42 --capacity 77")
        self.assertRegex(info["port"], "^/dev/")
        self.assertIn("SN-42", info.values())
        self.assertEqual(info["standardCapacity"], 77)
        self.assertEqual(
            set(info),
            {"port", "labels", "standardCapacity"} | {f"infoText{n}" for n in (3, 4, 6, 7, 11, 12)},
        )
        text = self.cq("info", "--virtual-options", "--serial SN-42 --capacity 77").stdout
        self.assertRegex(text, r"\nserial number +SN-42\n(.*\n)+standard capacity +77\n")
        labels = self.folder / "labels.json"
        labels.write_text('{"offset": 64, "labels": {"infoText4": "Seriennummer", "item14": "Akku"}}')
        text = self.cq("info", "--virtual", "--labels", labels).stdout
        self.assertRegex(text, r"\ninfoText3 +VIRTUAL-31\n(.*\n)+Seriennummer +VI-000001\n")
        self.assertRegex(self.cq("status", "--virtual", "--labels", labels).stdout, r"\nAkku +100\n")
        labels.write_text("[1e400]")
        self.refused("info", "--virtual", "--labels", labels, status=1, says="labels.json gives no labels")

    def test_status(self):
        status = self.json("status", "--virtual-options", "--standards 3")
        self.assertEqual(status["totalStandards"], 3)
        self.assertEqual(list(status["items"]), ["0", "14", "15", "16", "17", "18", "19", "20"])
        text = self.cq("status", "--virtual-options", "--standards 3").stdout
        self.assertRegex(text, r"stored standards +3\nready to measure +0\n")

    def test_calibrate(self):
        for target in ("white", "black"):
            self.assertEqual(self.json("calibrate", target, "--virtual")["calibrated"], target)
        self.assertIn("calibrated on white", self.cq("calibrate", "white", "--virtual").stdout)


class Measure(CqTest):
    def test_needs_calibration(self):
        for kind in ("standard", "trial"):
            self.refused(
                "measure", kind, "--virtual-options", "--seed 2", status=1,
                says=[f"measuring a {kind} failed: execute command failed (8)", "cq calibrate white",
                      "refuses while it is busy"],
            )

    def test_shows_a_color_at_once(self):
        for arguments in (("measure", "standard", "--virtual"), ("--virtual", "measure")):
            shown = self.cq(*arguments).stdout
            self.assertRegex(shown, r"^standard on /dev/\S+, D65/10°\n#[0-9a-f]{6}  L\* +37\.")

    def test_shows_color_and_spectrum(self):
        standard = self.json("measure", "standard", *CALIBRATED, "--space", "lch")
        # The first patch of the chart is a dark skin: L* 37.5, a* 12.4, b* 13.0 for D65/10.
        self.assertAlmostEqual(standard["lab"]["L"], 37.5, delta=0.3)
        self.assertAlmostEqual(standard["lab"]["a"], 12.35, delta=0.3)
        self.assertAlmostEqual(standard["lch"]["C"], 17.9, delta=0.3)
        text = self.cq("measure", "standard", *CALIBRATED, "--illuminant", "a").stdout
        self.assertRegex(text, r"^standard on /dev/\S+, A/10°\n#[0-9a-f]{6}  L\* ")
        self.assertRegex(text, r"\n400 nm( +0\.\d{4}){8}\n")

    def test_compares_with_a_saved_record(self):
        record = self.folder / "red.record"
        saved = self.json("measure", "standard", *CALIBRATED, "--output", record)
        self.assertEqual(record.read_bytes().hex(), saved["record"])
        trial = self.json("measure", "trial", *CALIBRATED, "--against", record)
        distance = sum((trial["lab"][k] - saved["lab"][k]) ** 2 for k in "Lab") ** 0.5
        self.assertAlmostEqual(trial["deltaEab"], distance, places=3)
        self.assertGreater(trial["deltaEab"], 0.1)
        text = self.cq("measure", "trial", *CALIBRATED, "--against", record).stdout
        self.assertRegex(text, rf", against {record}\n(.*\n)*ΔL.*ΔE\*ab \d\.\d\d\n")
        text = self.cq("measure", "trial", *CALIBRATED, "--against", record, "--formula", "cmc").stdout
        self.assertRegex(text, r"\nΔL.*ΔEcmc\(2:1\) \d\.\d\d\n")

    def test_measures_several_times(self):
        record = self.folder / "red.record"
        virtual = ("--virtual-options", "--calibrated --measure-time 1 --standards 3")
        measurements = self.json("measure", "trial", *virtual, "--count", 10, "--against", 0,
                                 "--output", record)["measurements"]
        self.assertEqual(
            [(self.folder / f"red-{i:02}.record").read_bytes().hex() for i in range(1, 11)],
            [m["record"] for m in measurements],
        )
        # The stored standard is the same patch, without noise.
        self.assertTrue(all(0.1 < m["deltaEab"] < 2 for m in measurements))
        text = self.cq("measure", "trial", *virtual, "--count", 2, "--against", 0).stdout
        self.assertRegex(text, r", against stored standard 0\n(.*\n)*2  #.* ΔE\*ab \d\.\d\d\n$")
        self.refused("measure", "trial", *virtual, "--against", 3, status=1,
                     says="no stored standard 3: the instrument holds 3")

    def test_bad_files(self):
        short = self.folder / "short.record"
        short.write_bytes(b"x" * 255)
        empty = self.folder / "empty.record"
        empty.write_bytes(b"\xff" * 256)
        measure = ("measure", "trial", *CALIBRATED)
        self.refused(*measure, "--against", short, status=1, says="255 bytes, but records have 256")
        self.refused(*measure, "--against", empty, status=1, says="no plausible spectrum")
        self.refused(*measure, "--output", self.folder / "no" / "r.raw", status=1, says="cannot write")
        self.assertEqual({p.name for p in self.folder.iterdir()}, {"short.record", "empty.record"})

    def test_record_layouts(self):
        layout = self.folder / "layout.json"
        measure = ("measure", "standard", *CALIBRATED, "--record-layout", layout)
        layout.write_text('{"offset": 0, "format": "float64"}')
        shown = self.cq(*measure)
        self.assertIn("no plausible spectrum at offset 0", shown.stderr)
        self.assertNotIn("L*", shown.stdout)
        layout.write_text('{"offset": 200, "format": "float32"}')
        self.refused(*measure, status=1, says=["offset as 200", "0 to 132", "layout.json"])


class Monitor(CqTest):
    PRESSING = "--calibrated --measure-time 1 --press-every 0.1:{}"

    def test_counts_measurements(self):
        done = self.cq("monitor", "--count", 3, "--virtual-options", self.PRESSING.format("standard"))
        self.assertRegex(done.stdout, r"^(\d\d:\d\d:\d\d  standard  #[0-9a-f]{6}  L\* .*\n){3}$")

    def test_prints_a_line_of_json_as_each_comes(self):
        process = self.start(
            "monitor", "--json", "--virtual-options", self.PRESSING.format("trial")
        )
        for number in (1, 2):
            line = process.stdout.readline()
            self.assertRegex(line, rf'^{{"number":{number},"time":"20[0-9T:-]+Z","kind":"trial",.*"record":"[0-9a-f]+"}}\n$')
        self.interrupt(process, status=0)

    def test_ends_when_nobody_reads(self):
        process = self.start("monitor", "--virtual-options", self.PRESSING.format("standard"))
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual(process.wait(timeout=10), 0)
        self.assertRegex(process.stderr.read(), r"\Alistening on .*\n\Z")
        process.stdout = None


class Demo(CqTest):
    def test_measures_the_chart(self):
        report = self.folder / "new" / "report.html"
        demo = self.json("demo", "--report", report)
        self.assertEqual(demo["report"], str(report))
        self.assertEqual(len(demo["patches"]), 24)
        self.assertEqual(demo["patches"][0]["name"], "dark skin")
        for patch in demo["patches"]:
            self.assertLess(patch["deltaEabFromChart"], 1, patch["name"])
            self.assertGreater(patch["deltaEabFromStandard"], 0, patch["name"])
        self.assertIn(demo["patches"][23]["hex"], report.read_text(encoding="utf-8"))
        self.assertEqual([p.name for p in report.parent.iterdir()], ["report.html"])

    def test_shows_colors_where_they_can_be_seen(self):
        plain = self.cq("demo", "--virtual-options", "--measure-time 1").stdout
        self.assertEqual(len(re.findall(r"^ ?\d+  \w.*#[0-9a-f]{6} ", plain, re.M)), 24)
        self.assertNotIn("\x1b", plain)
        self.assertIn("--report FILE", plain)
        coloured = self.cq("demo", "--virtual-options", "--measure-time 1", "--color", "always", env={"COLORTERM": "truecolor"}).stdout
        self.assertEqual(coloured.count("\x1b[48;2;"), 48)


class CommandLine(CqTest):
    def test_help_and_version(self):
        self.assertRegex(self.cq("--version").stdout, r"^cq \d+\.\d+\.\d+\n$")
        self.assertIn("Exit status", self.cq("--help").stdout)
        for command in ("import", "delete"):
            self.assertIn(f"  cq standards {command} ", self.cq("standards", command, "--help").stdout)
        for command in ("demo", "info", "status", "calibrate", "measure", "monitor", "scan", "color",
                        "list", "standards", "samples", "whiteboard", "parameter"):
            self.assertIn(f"  cq {command} ", self.cq(command, "--help").stdout + " ")

        for help_, options in ((("help",), ("--help",)), (("help", "log", "decode"), ("log", "decode", "--help"))):
            self.assertEqual(self.cq(*help_).stdout, self.cq(*options).stdout)

    def test_wrong_usage(self):
        for arguments, says in (
            ((), "give a command; there are: demo, list, info"),
            (("frobnicate",), "no command 'frobnicate'"),
            (("--virtual", "info", "extra"), "extra"),
            (("measure", "both"), "must be standard or trial, not 'both'"),
            (("calibrate", "red", "--virtual"), "must be white or black"),
            (("info", "--color", "maybe"), "auto, always or never"),
            (("info", "--open-timeout", "0"), "must be a number from 0.1 to 3600, not '0'"),
            (("info", "--virtual", "--port", "/dev/null"), "--port and --virtual cannot be given together"),
            (("help", "mesure"), "no command 'mesure'; did you mean measure?"),
            (("report", "x.csv", "--tolerence", "1"), "no option --tolerence; did you mean --tolerance?"),
            (("report", "x.csv", "--output"), "--output needs a value: --output FILE"),
            (("report",), "FILE is required"),
            (("info", "--port", "a", "--port", "b"), "--port is given more than once"),
            (("monitor", "--count", "0"), "must be a whole number from 1 to 999999, not '0'"),
            (("standards",), "give a command of cq standards; there are: list, export, import, delete"),
            (("samples", "import"), "no command 'import' of cq samples; there are: list, export"),
            (("--virtual", "standards", "list", "extra"), "cq standards list --help"),
            (("measure", "trial", "--average", "0", "--virtual"), "--average must be a whole number"),
        ):
            with self.subTest(arguments):
                self.refused(*arguments, status=2, says=[says, "--help"])
