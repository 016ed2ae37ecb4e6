"""Jobs: one file that is appended to, by several programs at once, and survives them."""

import fcntl
import json
import os
import random
import resource
import signal
import subprocess
import time
import unittest

from support import COMMAND, CqTest

ROUNDS = int(os.environ.get("CQAPI_TEST_ROUNDS", "6"))

MASTERS = """kind,name,illuminant,observer,L,a,b
standard,Master 7,D65,10,50,10,10
standard,Master 8,D65,10,60,0,0
"""


def spectra(**factors):
    """A table of ramps from 0.2 to 0.5, each times its factor beyond 600 nm."""
    header = "kind,name," + ",".join(f"R{400 + 10 * i}" for i in range(31))
    rows = [
        f"standard,{name}," + ",".join(str((0.2 + 0.01 * i) * (factor if i > 20 else 1)) for i in range(31))
        for name, factor in factors.items()
    ]
    return "\n".join([header, *rows, ""])


class JobTest(CqTest):
    def setUp(self):
        super().setUp()
        self.job = self.folder / "lot12.cqjob"
        self.masters = self.folder / "masters.csv"
        self.masters.write_text(MASTERS)

    def new(self, *arguments):
        return self.cq("job", "new", self.job, *arguments)

    def append_event(self, event, **members):
        """As another program would."""
        number = len(self.job.read_bytes().splitlines()) + 1
        line = {"number": number, "time": "2026-05-01T10:00:00Z", "event": event, **members}
        with self.job.open("a", encoding="utf-8") as file:
            file.write(json.dumps(line) + "\n")
        return number

    def trial(self, name, standard, lightness):
        lab = {"L": lightness, "a": 10, "b": 10}
        return self.append_event("measurement", kind="trial", name=name, lab=lab, standard=standard)

    def events(self):
        return [json.loads(line) for line in self.job.read_text("utf-8").splitlines()]

    def show(self):
        return self.json("job", "show", self.job)


class Commands(JobTest):
    def test_a_job_from_its_beginning_to_its_list(self):
        begun = self.new("--title", "Lot 12", "--operator", "Night shift", "--tolerance", "dEab<=1.0",
                         "--tolerance", "-0.6<=dL<=0.6", "--warn", "dEab<=0.5", "--illuminants", "D65")
        self.assertIn("-0.6 ≤ ΔL* ≤ 0.6", begun.stdout)
        standard = self.json("job", "standard", self.job, f"{self.masters}:Master 7")["number"]
        for name, lightness in {"fine": 50.2, "near": 50.55, "beyond": 50.604, "wrong": 58}.items():
            self.trial(name, standard, lightness)
        self.cq("job", "undo", self.job)
        self.cq("job", "remark", self.job, "streaks", "--on", "near")
        self.cq("job", "remark", self.job, "a new lamp")

        shown = self.show()
        grades = {trial["name"]: trial["verdict"]["grade"] for trial in shown["trials"]}
        self.assertEqual(grades, {"fine": "pass", "near": "warn", "beyond": "fail", "wrong": "fail"})
        self.assertEqual([trial.get("struckOutBy") for trial in shown["trials"]], [None, None, None, 7])
        self.assertEqual(shown["trials"][1]["remarks"], ["streaks"])
        self.assertEqual(shown["remarks"][0]["text"], "a new lamp")
        self.assertAlmostEqual(shown["trials"][3]["difference"]["deltaL"], 8, 4)

        page = self.cq("job", "show", self.job).stdout
        lines = {line.split()[1]: line for line in page.splitlines() if len(line.split()) > 8}
        self.assertIn("✓ pass", lines["fine"])
        self.assertIn("! warn: ΔE*ab 0.55 > 0.5 under D65", lines["near"])
        self.assertIn("✗ fail: ΔL* +0.604 > 0.6 under D65", lines["beyond"])
        self.assertEqual(lines["beyond"].split()[2], "+0.604")  # not "+0.60", which would be within
        self.assertIn("struck out", lines["wrong"])

        (listed,) = self.json("job", "list", self.folder)["jobs"]
        self.assertEqual([listed[name] for name in ("standards", "trials", "passed", "warned", "failed")],
                         [1, 3, 1, 1, 1])
        self.assertIn("9 events, 1 standard, 3 trials", self.cq("job", "check", self.job).stdout)

    def test_tolerances_are_changed_and_judge_everything(self):
        self.new("--tolerance", "dEab<=1", "--warn", "dEab<=0.5")
        standard = self.json("job", "standard", self.job, f"{self.masters}:0")["number"]
        self.trial("t", standard, 50.8)
        self.assertEqual(self.show()["trials"][0]["verdict"]["grade"], "warn")
        changed = self.json("job", "tolerance", self.job, "--add", "dEab<=0.7,|dL|<=2", "--remove", "dEab<=0.5",
                            "--add-warn", "|da|<=0.1")
        self.assertEqual(changed["tolerances"], ["dEab<=0.7", "|dL|<=2"])
        self.assertEqual(changed["warnings"], ["|da|<=0.1"])
        self.assertEqual(self.json("job", "tolerance", self.job), changed)
        self.assertEqual(self.show()["trials"][0]["verdict"]["grade"], "fail")
        before = self.job.read_bytes()
        self.refused("job", "tolerance", self.job, "--remove", "dE00", status=1, says="no tolerance dE00")
        self.refused("job", "tolerance", self.job, "--add", "MI<=1", status=2, says="second illuminant")
        self.refused("job", "tolerance", self.job, "--add", "dEab<=1@A", status=1,
                     says="'Master 7' has no spectrum")
        self.assertEqual(self.job.read_bytes(), before)

    def test_a_standard_is_found_in_a_file(self):
        self.new("--tolerance", "dE00<=1", "--illuminants", "D65,A")
        table = self.folder / "with:colon.csv"
        table.write_text(spectra(one=1.0, two=1.1))
        take = lambda text, **how: self.cq("job", "standard", self.job, text, **how)
        take(f"{table}:two")
        take(f"{table}:0")
        take(f"{self.job}:two")
        self.assertEqual([event.get("name") for event in self.events()[1:]], ["two", "one", "two"])
        spectrum = [event["spectrum"] for event in self.events()[1:]]
        self.assertEqual(spectrum[0], spectrum[2])
        for text, says in {
            str(table): "2 measurements",
            f"{table}:three": ["no measurement called 'three'", "one, two"],
            f"{self.folder}/none.csv:one": "there is no file",
            f"{self.masters}:Master 7": "cannot be judged under A",
        }.items():
            self.refused("job", "standard", self.job, text, status=1, says=says)
        other = self.folder / "other.csv"
        other.write_text(MASTERS.replace("D65,10", "A,2"))
        self.refused("job", "standard", self.job, f"{other}:0", status=1, says="for A/2°, not for D65/10°")

    def test_wrong_uses_are_refused(self):
        self.new()
        for arguments, status, says in [
            (["new", self.job], 1, "already"),
            (["new", self.folder / "x.cqjob", "--tolerance", "dE00<1"], 2, "is no tolerance"),
            (["new", self.folder / "x.cqjob", "--illuminants", "D65,D65"], 2, "twice"),
            (["new", self.folder / "none" / "x.cqjob"], 1, "No such file"),
            (["new", "/dev/full"], 1, "already"),
            (["undo", self.job], 1, "no measurement to strike out"),
            (["undo", self.job, "--on", "1"], 1, "no measurement called '1'"),
            (["remark", self.job, " "], 2, "empty"),
            (["show", self.folder], 1, "is a folder"),
            (["show", "/dev/full"], 1, "no ordinary file"),
            (["remark", "/dev/null", "x"], 1, "no ordinary file"),
            (["show", self.masters], 1, "is no job"),
        ]:
            self.refused("job", *arguments, status=status, says=says)
        self.assertFalse((self.folder / "x.cqjob").exists())
        pipe = self.folder / "pipe.cqjob"
        os.mkfifo(pipe)
        self.refused("job", "show", pipe, status=1, says="no ordinary file")
        if os.geteuid() != 0:
            self.job.chmod(0o444)
            self.refused("job", "remark", self.job, "x", status=1, says="Permission denied")


class Instrument(JobTest):
    def test_stored_records_and_a_calibration_come_into_the_job(self):
        self.new("--tolerance", "dE00<=1")
        port, _ = self.instrument("--standards", "2", "--samples", "3")
        self.cq("calibrate", "white", "--port", port, "--job", self.job)
        self.assertIn("2 standards", self.cq("standards", "export", "--port", port, "--job", self.job).stdout)
        table = self.folder / "samples.csv"
        both = self.json("samples", "export", "--port", port, "--job", self.job, "--output", table)
        self.assertEqual((both["records"], both["job"], both["file"]), (3, str(self.job), str(table)))
        events = self.events()
        self.assertEqual((events[1]["event"], events[1]["target"]), ("calibrated", "white"))
        self.assertEqual([event["kind"] for event in events[2:]], ["standard"] * 2 + ["trial"] * 3)
        self.assertTrue(all(event["standard"] == 4 and "record" in event for event in events[4:]))
        self.assertEqual(events[2]["instrument"], events[1]["instrument"])
        self.refused("samples", "export", "--port", port, status=2, says="--job")
        self.cq("job", "check", self.job)


class Damage(JobTest):
    def setUp(self):
        super().setUp()
        self.new()
        self.cq("job", "standard", self.job, f"{self.masters}:0")

    def test_a_torn_last_line_is_cut_off_with_a_remark(self):
        whole = self.job.read_bytes()
        self.job.write_bytes(whole + b'{"number":3,"time":"20')
        self.refused("job", "check", self.job, status=1, says="1 of 1 job is wrong")
        self.assertEqual(len(self.show()["standards"]), 1)
        self.assertIn("22 bytes are cut off", self.cq("job", "remark", self.job, "x").stderr)
        self.assertTrue(self.job.read_bytes().startswith(whole))
        self.cq("job", "check", self.job)

    def test_a_wrong_line_is_named_and_nothing_is_written(self):
        self.append_event("struckOut", measurement=9)
        before = self.append_event("remark", text="x") and self.job.read_bytes()
        for command in (["show"], ["undo"], ["tolerance"], ["standard"]):
            arguments = [f"{self.masters}:0"] if command == ["standard"] else []
            self.refused("job", *command, self.job, *arguments, status=1, says="lot12.cqjob line 3: ")
        self.assertIn("line 3", self.cq("job", "check", self.job, status=1).stdout)
        self.assertIn("problem", self.json("job", "list", self.job, status=1)["jobs"][0])
        self.assertEqual(self.job.read_bytes(), before)

    def test_a_full_disk_leaves_the_job_as_it_was(self):
        before = self.job.read_bytes()

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (len(before) + 20, len(before) + 20))

        done = subprocess.run([*COMMAND, "job", "remark", str(self.job), "x" * 100], preexec_fn=limit,
                              restore_signals=False, capture_output=True, encoding="utf-8")
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn("cannot write", done.stderr)
        self.assertEqual(self.job.read_bytes(), before)

    def test_a_writer_waits_for_another_and_goes_on_from_there(self):
        with self.job.open("a") as other:
            fcntl.flock(other, fcntl.LOCK_EX)
            waiting = self.start("job", "remark", self.job, "second")
            with self.assertRaises(subprocess.TimeoutExpired):
                waiting.wait(1)
            self.append_event("remark", text="first")
        waiting.communicate(timeout=30)
        self.assertEqual(waiting.returncode, 0)
        self.assertEqual([(event["number"], event["text"]) for event in self.events()[2:]],
                         [(3, "first"), (4, "second")])

    def test_many_writers_leave_no_gap(self):
        many = [self.start("job", "remark", self.job, f"remark {i}") for i in range(12)]
        for process in many:
            process.communicate(timeout=30)
            self.assertEqual(process.returncode, 0)
        events = self.events()
        self.assertEqual([event["number"] for event in events], list(range(1, 15)))
        self.assertEqual(len({event["text"] for event in events[2:]}), 12)

    def test_what_was_told_survives_sigkill(self):
        chance = random.Random(7)
        told = {}
        for turn in range(ROUNDS):
            writers = [self.start("job", "standard", self.job, f"{self.masters}:0", "--name", f"{turn}-{i}", "--json")
                       for i in range(2)]
            for i, process in enumerate(writers):
                time.sleep(chance.uniform(0, 0.1))
                process.kill()
                output = process.communicate()[0]
                if output.strip():
                    told[f"{turn}-{i}"] = json.loads(output)["number"]
        self.cq("job", "remark", self.job, "the end")  # cuts a torn line off
        written = {event.get("name"): event["number"] for event in self.events()}
        self.assertEqual({name: written.get(name) for name in told}, told)
        self.cq("job", "check", self.job)
        print(f"{len(told)} of {2 * ROUNDS} killed writers had told of their event")


if __name__ == "__main__":
    unittest.main()
