"""Reports, debug logs, the doctor, and the texts that are made from the command line's definitions."""

import ctypes
import ctypes.util
import json
import os
import pathlib
import re
import shutil
import subprocess

from support import CQ, CqTest

# A standard and three trials, the last of which is far off.
BATCH = """index,kind,name,illuminant,observer,L,a,b
0,standard,red,D65,10,50,60,30
1,trial,one,D65,10,50.2,60.1,30
2,trial,two,D65,10,50,60,30.9
3,trial,off,D65,10,52,63,30
"""


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
                       "--formula", "00", "--standard", 3).stdout
        self.assertRegex(text, r"^\d of 3 trials within ΔE00 2\nΔE00: mean \d\.\d\d, largest ")

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
            self.assertIn("VIRTUAL-31, SN-42, measured 2023-11-14T22:13:50Z to 2023-11-14T22:14:50Z",
                          self.page.read_text())

    def test_takes_percents(self):
        titles = ",".join(f"R{nm}" for nm in range(400, 701, 10))
        self.batch.write_text(f"{titles}\n{','.join(['50'] * 31)}\n{','.join(['50'] * 31)}\n")
        self.refused("report", self.batch, "--output", self.page, status=1, says="--percent")
        self.assertEqual(self.report("--percent", "--standard", 0)["largest"], 0)
        self.assertIn("L* 76.07", self.page.read_text())

    def test_bad_input_leaves_no_page(self):
        report = ("report", self.batch, "--output", self.page)
        self.refused(*report, "--standard", 9, status=1, says="no measurement with the index 9")
        self.refused(*report, "--tolerance", 0, status=2, says="--tolerance")
        self.refused(*report, "--formula", "94", status=2, says="ab (CIE 1976) or 00")
        self.batch.write_text(BATCH.replace("60.1", "x"))
        self.refused(*report, status=1, says="batch.csv line 3: a must be a number, not 'x'")
        self.batch.write_text(BATCH.splitlines()[0])
        self.refused(*report, status=1, says="holds no measurements")
        self.assertFalse(self.page.exists())


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


class Log(CqTest):
    def log_of(self, *command):
        """The log of a command that a copy of the program writes: others may be running."""
        programs = pathlib.Path(CQ).parent
        for file in (CQ, programs / "cq-virtual-instrument", *programs.parent.glob("libCQApi.so*")):
            shutil.copy(file, self.folder)
        done = subprocess.run(
            [self.folder / "cq", *command, "--debug-log"], capture_output=True, text=True,
            env={**os.environ, "LD_LIBRARY_PATH": str(self.folder)}, timeout=30)
        self.assertEqual(done.returncode, 0, done.stderr)
        (log,) = self.folder.glob("*.log")
        return log

    def test_a_measurement(self):
        log = self.log_of("measure", "standard", "--virtual-options",
                          "--calibrated --measure-time 1")
        shown = self.json("log", "decode", log)["entries"]
        self.assertEqual([e["text"] for e in shown if not e["known"] or e["problem"]], [])
        self.assertEqual(shown[0]["packet"], "A2")
        request = next(e for e in shown if e["direction"] == "sent" and e["packet"] == "A6")
        self.assertEqual((request["operation"], request["operationName"]),
                         (0x23, "measure a standard"))
        reply = [e for e in shown if e["direction"] == "received" and e["packet"] == "A6"]
        self.assertEqual(sum(e["size"] for e in reply), 256)
        self.assertEqual([e["last"] for e in reply][-1], True)
        text = self.cq("log", "decode", log).stdout
        self.assertRegex(text, r"\n\d\d:\d\d:\d\d\.\d{3}  +>  A6 data  #0  23 measure a standard")

    def test_a_wireless_instrument(self):
        log = self.log_of("info", "--wireless", "--virtual")
        shown = self.json("log", "decode", log)["entries"]
        self.assertEqual([e["text"] for e in shown if not e["known"]], [])
        commands = [e["command"] for e in shown if e["layer"] == "at" and "command" in e]
        self.assertIn("AT+SC", commands)
        self.assertTrue(any(c.startswith("AT+CT=") for c in commands))
        requests = [e.get("name") for e in shown
                    if e["layer"] == "wireless" and e["direction"] == "sent"]
        self.assertEqual(requests[0], "hello")
        self.assertIn("text 7", requests)

    def test_faults_and_other_files(self):
        log = self.log_of("info", "--virtual-options", "--fault bad-crc:1")
        shown = self.json("log", "decode", log)["entries"]
        self.assertIn("again", [e.get("flag") for e in shown if e["direction"] == "sent"])
        whole = log.read_bytes()
        log.write_bytes(whole[: len(whole) * 2 // 3 - 1])
        self.assertIn("the log ends within", self.cq("log", "decode", log).stdout)
        log.write_bytes(os.urandom(4096))
        self.refused("log", "decode", log, status=1, says="is not a debug log")


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


def completions(line):
    """What bash proposes at the end of the line."""
    script = (
        f'source <("{CQ}" completion bash); COMP_LINE="$1"; read -ra COMP_WORDS <<< "$1"; '
        '[[ $1 == *" " ]] && COMP_WORDS+=(""); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); '
        'COMPREPLY=(); _cq; printf "%s\\n" "${COMPREPLY[@]}"'
    )
    done = subprocess.run(["bash", "-c", script, "bash", line], capture_output=True, text=True,
                          timeout=30)
    if done.returncode != 0 or done.stderr:
        raise AssertionError(done.stderr)
    return done.stdout.split()


class Manual(CqTest):
    def test_bash_proposes_commands_options_and_values(self):
        self.assertIn("measure", completions("cq "))
        self.assertEqual(completions("cq calibrate w"), ["white"])
        self.assertEqual(completions("cq measure trial --observer "), ["2", "10"])
        self.assertIn("--tolerance", completions("cq report --"))
        self.assertEqual(completions("cq log d"), ["decode"])
        self.assertNotIn("measure", completions("cq info "))

    def test_shells_take_their_scripts(self):
        for shell, check in (("bash", "-n"), ("zsh", "-n"), ("fish", "--no-execute")):
            script = self.folder / shell
            script.write_text(self.cq("completion", shell).stdout)
            if shutil.which(shell) is not None:
                done = subprocess.run([shell, check, script], capture_output=True, text=True)
                self.assertEqual((done.returncode, done.stderr), (0, ""), shell)

    def test_fish_proposes_the_same(self):
        if shutil.which("fish") is None:
            self.skipTest("fish is not installed")
        script = self.folder / "cq.fish"
        script.write_text(self.cq("completion", "fish").stdout)
        for line, proposal in (("cq ca", "calibrate"), ("cq measure trial --observer 1", "10"),
                               ("cq log d", "decode"), ("cq report --tol", "--tolerance")):
            done = subprocess.run(["fish", "-c", f"source {script}; complete -C '{line}'"],
                                  capture_output=True, text=True, timeout=30)
            self.assertEqual(done.stderr, "")
            self.assertEqual([p.split("\t")[0] for p in done.stdout.splitlines()], [proposal])

    def test_man_page(self):
        page = self.cq("man").stdout
        for command in ("measure", "log decode", "color"):
            self.assertIn(f".SS \\fBcq {command}\\fR", page)
        self.assertEqual(len(re.findall(r"\.TP\n\\fB\\-\\-port\\fR", page)), 1)
        if shutil.which("groff") is None:
            self.skipTest("groff is not installed")
        done = subprocess.run(["groff", "-man", "-ww", "-z", "-Tutf8", "-k"], input=page,
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
