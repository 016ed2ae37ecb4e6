"""Debug logs, decoded."""

import os
import pathlib
import shutil
import subprocess

from support import CQ, CqTest


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

    def test_faults_and_other_files(self):
        log = self.log_of("info", "--virtual-options", "--fault bad-crc:1")
        shown = self.json("log", "decode", log)["entries"]
        self.assertIn("again", [e.get("flag") for e in shown if e["direction"] == "sent"])
        whole = log.read_bytes()
        log.write_bytes(whole[: len(whole) * 2 // 3 - 1])
        self.assertIn("the log ends within", self.cq("log", "decode", log).stdout)
        log.write_bytes(os.urandom(4096))
        self.refused("log", "decode", log, status=1, says="is not a debug log")
