"""Comparing, judging and keeping measurements as they are made: measure and monitor, with and without a job."""

import json
import pathlib
import re
import subprocess
import time

from support import CQ, CqTest

CALIBRATED = ("--virtual-options", "--calibrated --measure-time 1")
PRESSING = ("--virtual-options", "--calibrated --measure-time 1 --press-every 0.05:trial")


class Against(CqTest):
    def trial(self, against, *options, **keywords):
        return self.json("measure", "trial", *CALIBRATED, "--against", against, *options, **keywords)

    def test_takes_names_indices_and_numbers(self):
        table = self.folder / "t.csv"
        table.write_text("kind,name,L,a,b\nstandard,one,37,12,13\ntrial,two: b,38,11,12\n")
        for against, lab in ((f"{table}:one", (37, 12, 13)), (f"{table}:two: b", (38, 11, 12)),
                             (f"{table}:1", (38, 11, 12)), (table, (37, 12, 13)),
                             ("37.5,-12,1e1", (37.5, -12, 10))):
            with self.subTest(against):
                trial = self.trial(against, "--formula", "2000")
                given = ",".join(map(str, lab))
                own = ",".join(str(trial["lab"][key]) for key in "Lab")
                known = self.json("difference", "--from", "lab", given, own)["trials"][0]
                for key in ("deltaL", "deltaA", "deltaB", "deltaC", "deltaH"):
                    self.assertAlmostEqual(trial[key], known[key], places=4)
                self.assertAlmostEqual(trial["deltaE"], known["deltaE"]["2000"], places=4)
        for against, status, says in ((f"{table}:three", 1, "no measurement called 'three'"),
                                      ("37,12,999", 1, "no surface has b* 999"),
                                      (self.folder / "none.csv", 1, "there is no file")):
            self.refused("measure", "trial", *CALIBRATED, "--against", against, status=status, says=says)
        self.refused("measure", "trial", *CALIBRATED, "--against", f"{table}:one", "--output", table,
                     status=2, says="replaced")

    def test_judges(self):
        for limits, sign, grade, status in (
                (("--tolerance", "dE00<=9"), "✓ pass", "pass", 0),
                (("--tolerance", "dE00<=9", "--warn", "dE00<=0.01"), "! warn: ΔE00 ", "warn", 0),
                (("--tolerance", "|dL|<=50,dE00<=0.01"), "✗ fail: ΔE00 ", "fail", 3)):
            with self.subTest(grade):
                measure = ("measure", "trial", *CALIBRATED, "--against", "37,12,13", "--check", *limits)
                text = self.cq(*measure, status=status).stdout
                line, = (line for line in text.splitlines() if "ΔL*" in line)
                self.assertRegex(line, r"ΔL\* [+-].* ΔH\* .* ΔE\*ab \d\.\d\d  " + re.escape(sign))
                if status:
                    self.assertRegex(line, r"ΔE00 \d\.\d\d+ > 0.01 under D65$")
                self.assertEqual(self.json(*measure, status=status)["verdict"]["grade"], grade)
        # A limit between the value and what two decimals show of it: the same measurement as before.
        value = self.trial("37,12,13", "--formula", "2000")["deltaE"]
        limit = round((value + round(value, 2)) / 2, 6)
        text = self.cq("measure", "trial", *CALIBRATED, "--against", "37,12,13", "--formula", "2000",
                       "--tolerance", f"dE00<={limit}").stdout
        shown, grade = re.search(r"ΔE00 (\S+)  . (pass|fail)", text).groups()
        self.assertEqual(grade, "fail" if value > limit else "pass")
        self.assertEqual(float(shown) > limit, value > limit)
        self.refused("measure", "trial", *CALIBRATED, "--tolerance", "dE00<=1", status=2, says="--against")
        self.refused("measure", "trial", *CALIBRATED, "--check", status=2, says="--tolerance")
        self.refused("measure", "trial", *CALIBRATED, "--against", "37,12,13", "--tolerance",
                     "dE00<=1@A", status=1, says="spectrum")

    def test_a_colored_terminal_shows_a_large_verdict(self):
        shown = self.cq("measure", "trial", *CALIBRATED, "--against", "37,12,13", "--tolerance",
                        "dE00<=0.01", "--color", "always").stdout
        plain = re.sub(r"\x1b\[[\d;]*m", "", shown).splitlines()
        panel = [line for line in plain if not line.strip()]
        self.assertEqual(len(panel), 7)
        self.assertTrue(all(60 < len(line) <= 80 for line in panel))
        self.assertTrue(any(line.startswith("✗ fail: ΔE00 ") for line in plain))

    def test_an_average_is_one_measurement(self):
        table = self.folder / "a.csv"
        saved = self.json("measure", "trial", *CALIBRATED, "--average", 5, "--output", table)
        self.assertEqual(saved["averaged"], 5)
        self.assertNotIn("record", saved)
        self.assertGreater(saved["largestDeltaEabFromAverage"], saved["meanDeltaEabFromAverage"])
        self.assertLess(self.trial(table)["deltaEab"], 2)
        text = self.cq("measure", "trial", *CALIBRATED, "--average", 3, "--count", 2,
                       "--against", table).stdout
        self.assertRegex(text, r"\n2  #.*ΔE\*ab \d\.\d\d\naverage of 3: ΔE\*ab from it mean \S+, largest ")
        self.refused("measure", "trial", *CALIBRATED, "--average", 2, "--output",
                     self.folder / "a.record", status=2, says="no record")


class Jobs(CqTest):
    def setUp(self):
        super().setUp()
        self.port, _ = self.instrument("--calibrated", "--serial", "SN-1")
        self.job = self.folder / "lot.cqjob"
        self.cq("job", "new", self.job, "--tolerance", "dE00<=9", "--tolerance", "dE00<=0.01@A",
                "--illuminants", "D65,A")

    def events(self, kind="measurement"):
        events = map(json.loads, self.job.read_text(encoding="utf-8").splitlines())
        return [event for event in events if event["event"] == kind]

    def measure(self, *arguments, **keywords):
        return self.cq("measure", *arguments, "--port", self.port, "--job", self.job, **keywords)

    def test_takes_standards_and_trials(self):
        self.refused("measure", "trial", "--port", self.port, "--job", self.job, status=1,
                     says="has no standard")
        self.measure("standard", "--name", "Master 7")
        told = self.measure("trial", "--average", 3, "--check", status=3).stdout
        self.assertRegex(told, r"against Master 7\n#.*\naverage of 3: .*\n +ΔL\*.*ΔE00\nD65/10° .*✓\nA/10° .*✗\n"
                               r"✗ fail: ΔE00 \S+ > 0.01 under A\n")
        self.measure("standard", "--name", "Other")
        trial = json.loads(self.measure("trial", "--standard", "Master 7", "--json").stdout)
        self.assertEqual(trial["job"]["standard"], "Master 7")
        self.assertEqual(trial["verdict"]["decidedBy"].split(" ", 1)[0], "ΔE00")
        self.assertEqual(set(trial["illuminants"]), {"D65", "A"})
        master, first, other, second = self.events()
        self.assertEqual((master["name"], first["averaged"]), ("Master 7", 3))
        self.assertGreater(first["spread"], 0)
        self.assertNotEqual(first["name"], second["name"])
        self.assertEqual((first["standard"], second["standard"]), (master["number"], master["number"]))
        self.assertEqual(other["instrument"]["serial"], "SN-1")
        self.refused("measure", "trial", "--port", self.port, "--job", self.job, "--standard", "x",
                     status=1, says="no standard 'x'")
        self.refused("measure", "trial", "--job", self.job, "--against", 0, status=2, says="together")

    def test_counts_names_up(self):
        self.measure("standard")
        self.measure("trial", "--name", "12", "--count", 2)
        self.measure("trial", "--name", "12", "--count", 1)
        names = [event["name"] for event in self.events()]
        self.assertEqual(names[1:], ["12-1", "12-2", "12-3"])

    def test_tells_the_age_of_the_calibration(self):
        self.assertRegex(self.measure("standard").stdout, "of unknown age.*white calibrated: yes")
        self.cq("calibrate", "white", "--port", self.port, "--job", self.job)
        done = self.measure("standard")
        self.assertIn("calibrated less than a minute ago", done.stdout)
        self.assertEqual(done.stderr, "")
        time.sleep(1.1)
        self.assertRegex(self.measure("standard", "--calibration-age", 0).stderr,
                         r"^cq: the calibration is less than a minute old, more than 0 h\n  Try: cq calibrate")
        self.assertIn("calibrationAge", self.events()[-1])

    def test_monitors_into_it(self):
        self.measure("standard", "--name", "Master 7")
        done = self.cq("monitor", *PRESSING, "--job", self.job, "--count", 3, "--json", "--check", status=3)
        told = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([line["job"]["number"] for line in told],
                         [event["number"] for event in self.events()[1:]])
        self.assertEqual({line["standard"] for line in told}, {"Master 7"})


class Monitor(CqTest):
    def start_instrument(self, link):
        """One that is killed and comes back under the same name."""
        process = subprocess.Popen(
            [pathlib.Path(CQ).with_name("cq-virtual-instrument"), "--until-eof", "--link", link,
             "--calibrated", "--measure-time", "1"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, encoding="utf-8")
        self.addCleanup(process.communicate)
        self.assertIn("port: ", process.stdout.readline())
        return process

    @staticmethod
    def press(process, keys):
        process.stdin.write(keys)
        process.stdin.flush()

    def test_waits_for_the_instrument_to_come_back(self):
        link, saved = self.folder / "port", self.folder / "day.csv"
        instrument = self.start_instrument(link)
        monitor = self.start("monitor", "--port", link, "--output", saved, "--json")
        self.assertIn("listening", monitor.stderr.readline())
        self.press(instrument, "s")
        self.assertEqual(json.loads(monitor.stdout.readline())["number"], 1)
        self.assertEqual(len(saved.read_text().splitlines()), 2)

        began = time.monotonic()
        instrument.kill()
        self.assertIn("waiting for the instrument to come back", monitor.stderr.readline())
        self.assertLess(time.monotonic() - began, 0.9)
        instrument = self.start_instrument(link)
        self.assertEqual(monitor.stderr.readline(), f"back on {link}\n")
        self.press(instrument, "t")
        trial = json.loads(monitor.stdout.readline())
        self.assertEqual((trial["number"], trial["standard"]), (2, "dark skin"))
        self.assertEqual(len(saved.read_text().splitlines()), 3)

        self.press(instrument, "up")  # unplugged, plugged in again
        self.assertIn("waiting", monitor.stderr.readline())
        self.assertIn("back on", monitor.stderr.readline())
        self.press(instrument, "u")
        self.assertIn("waiting", monitor.stderr.readline())
        self.interrupt(monitor, status=0)

    def test_takes_what_arrives_until_the_goodbye_is_answered(self):
        link, log = self.pressing_instrument()
        monitor = self.start("monitor", "--port", link, "--json")
        lines = [monitor.stdout.readline() for _ in range(3)]
        out, _ = self.interrupt(monitor, status=0)
        taken = [self.running_number(bytes.fromhex(json.loads(line)["record"]))
                 for line in [*lines, *out.splitlines()]]
        self.assertEqual(taken, list(range(taken[0], self.last_sent(log) + 1)))

    def test_saves_to_a_new_file_only(self):
        saved = self.folder / "day.json"
        self.cq("monitor", *PRESSING, "--count", 3, "--output", saved)
        self.assertEqual(len(json.loads(saved.read_text())["entries"]), 3)
        self.refused("monitor", *PRESSING, "--output", saved, status=2, says="there already")
        self.refused("monitor", *PRESSING, "--output", "-", "--format", "csv", status=2, says="is no file")

    def test_one_line_each(self):
        out = self.cq("monitor", *PRESSING, "--count", 2, "--against", "37,12,13", "--tolerance",
                      "dE00<=9").stdout
        self.assertRegex(out, r"^(\d\d:\d\d:\d\d  trial     #.* ΔL\* .* ΔE\*ab \d\.\d\d  ✓ pass\n){2}$")
