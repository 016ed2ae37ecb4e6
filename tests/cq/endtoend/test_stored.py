"""Stored records, parameters and ports: what moves between instruments and files arrives whole, or
not at all and with a word about it."""

import json
import os
import pty
import re
import select
import signal
import subprocess
import time

from support import COMMAND, CqTest, PATIENCE

# Slow enough to be caught half-way: 1,000 records take about three seconds.
SLOW = ("--line-rate", 921600, "--max-packet", 1024)


class Terminal:
    """A command whose standard error (and input, if asked for) is a terminal."""

    def __init__(self, test, *arguments, asks=False):
        self.master, slave = pty.openpty()
        self.process = subprocess.Popen(
            [*COMMAND, *map(str, arguments)],
            stdin=slave if asks else subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=slave, encoding="utf-8",
        )
        os.close(slave)
        self.shown = ""
        test.addCleanup(os.close, self.master)
        test.addCleanup(test._end, self.process)

    def read_until(self, pattern):
        deadline = time.monotonic() + PATIENCE
        while not re.search(pattern, self.shown):
            assert time.monotonic() < deadline, f"no {pattern} in {self.shown!r}"
            self.shown += self._read()
        return self.shown

    def end(self):
        out = self.process.stdout.read()
        self.process.wait(timeout=PATIENCE)
        while piece := self._read():
            self.shown += piece
        return self.process.returncode, out

    def _read(self):
        try:
            return os.read(self.master, 4096).decode()
        except OSError:  # everything was read and nobody writes any more
            return ""


class Stored(CqTest):
    def stored(self, port):
        return self.json("status", "--port", port)["totalStandards"]

    def exported(self, what, port, name, *options):
        file = self.folder / name
        self.cq(what, "export", "--output", file, "--port", port, *options)
        return file


class Lists(Stored):
    def test_list(self):
        port, _ = self.instrument("--standards", 60, "--samples", 3)
        listed = self.json("standards", "list", "--port", port, "--space", "lch")
        self.assertEqual(listed["list"], "standards")
        self.assertEqual([r["index"] for r in listed["records"]], list(range(60)))
        self.assertEqual(listed["records"][24]["lch"], listed["records"][0]["lch"])
        part = self.json("standards", "list", "--port", port, "--first", 55, "--count", 2)
        self.assertEqual(
            [(r["index"], r["record"]) for r in part["records"]],
            [(i, listed["records"][i]["record"]) for i in (55, 56)],
        )
        text = self.cq("samples", "list", "--port", port).stdout
        self.assertRegex(text, r"^index  name +measured +for D65/10°\n( +\d  \w+ \w+ +2023-\S+Z  #[0-9a-f]{6}  L\* .*\n){3}$")
        self.assertIn("no samples are stored", self.cq("samples", "list", "--virtual").stdout)
        beyond = ("--port", port, "--first", 60)
        self.assertIn("no index 60: 60 standards", self.cq("standards", "list", *beyond).stdout)
        file = self.folder / "none.csv"
        for stored, says in ((beyond, "no index 60"), (("--virtual",), "no standards are stored")):
            self.refused("standards", "export", "--output", file, *stored, status=1,
                         says=[says, "nothing was written"])
        self.assertFalse(file.exists())

    def test_delete(self):
        port, _ = self.instrument("--standards", 12, "--samples", 4)
        before = self.exported("standards", port, "before.bin").read_bytes()
        records = [before[i:i + 256] for i in range(0, len(before), 256)]
        self.refused(
            "standards", "delete", "3", "12", "--yes", "--port", port, status=1,
            says=["no index 12: the instrument holds 12 standards; nothing was deleted"],
        )
        deleted = self.json("standards", "delete", "3", "7-9", "8", "--yes", "--port", port)["deleted"]
        self.assertEqual(deleted, {"standards": 4, "samples": 0})
        kept = [r for i, r in enumerate(records) if i not in (3, 7, 8, 9)]
        self.assertEqual(self.exported("standards", port, "after.bin").read_bytes(), b"".join(kept))
        self.assertEqual(self.cq("samples", "delete", "0", "--yes", "--port", port).stdout, "1 sample deleted\n")
        self.assertEqual(len(self.json("samples", "list", "--port", port)["records"]), 3)
        for arguments in ((), ("0", "--all"), ("x",)):
            self.refused("samples", "delete", *arguments, "--port", port, status=2, says="--help")

    def test_delete_all_asks(self):
        port, _ = self.instrument("--standards", 2, "--samples", 5)
        delete = ("samples", "delete", "--all", "--port", port)
        self.refused(*delete, status=2, says=["every standard AND every sample", "--yes"])
        for answer, status in (("no", 1), ("", 1), ("yes", 0)):
            self.assertEqual(self.stored(port), 2)
            asked = Terminal(self, *delete, asks=True)
            asked.read_until(r"all 2 standards AND all 5 samples(.|\n)*Type yes")
            os.write(asked.master, (answer + "\n").encode())
            self.assertEqual(asked.end()[0], status)
        self.assertEqual(self.stored(port), 0)
        self.refused("standards", "delete", "0", "--virtual", status=2, says="confirm with --yes")
        asked = Terminal(self, "standards", "delete", "1", "0", "--virtual-options", "--standards 3", asks=True)
        asked.read_until(r"deletes 2 standards \(1, 0\)(.|\n)*Type yes")
        os.write(asked.master, b"yes\n")
        self.assertEqual(asked.end(), (0, "2 standards deleted\n"))
        interrupted = Terminal(self, "standards", "delete", "--all", "--virtual", asks=True)
        interrupted.read_until("Type yes")
        interrupted.process.send_signal(signal.SIGINT)
        self.assertEqual(interrupted.end()[0], 130)
        self.assertIn("nothing was deleted", interrupted.shown)
        self.assertIn("0 standards", self.cq("standards", "delete", "--all", "--yes", "--virtual").stdout)


class Files(Stored):
    def test_round_trips(self):
        port, _ = self.instrument("--standards", 120, "--capacity", 120)
        original = self.exported("standards", port, "original.bin").read_bytes()
        self.assertEqual(len(original), 120 * 256)
        for name in ("s.csv", "s.json", "s.cgats", "s.cxf", "s.bin"):
            with self.subTest(name):
                file = self.exported("standards", port, name)
                self.refused("standards", "import", file, "--port", port, status=1, says="nothing was written")
                self.cq("standards", "delete", "--all", "--yes", "--port", port)
                done = self.json("standards", "import", file, "--port", port)
                self.assertEqual((done["written"], done["firstIndex"]), (120, 0))
                self.assertEqual(
                    self.exported("standards", port, "again.bin").read_bytes(), original
                )
        self.assertIn(b"<html", self.exported("standards", port, "s.html").read_bytes())
        commas = self.exported("standards", port, "commas.csv", "--decimal", "comma")
        self.assertRegex(commas.read_text().splitlines()[1], r"^0;standard;.*;D65;10;\d+,\d+;")
        self.refused("standards", "import", commas, "--port", port, status=1, says="nothing was written")
        self.refused("standards", "import", self.exported("standards", port, "s.qtx"), "--port", port,
                     status=1, says="no instrument's record")
        part = self.cq("standards", "export", "--output", "-", "--format", "json", "--count", 2,
                       "--port", port, "--first", 7).stdout
        self.assertEqual([e["index"] for e in json.loads(part)["entries"]], [7, 8])

    def test_what_cannot_be_imported(self):
        port, _ = self.instrument("--standards", 8, "--samples", 2, "--capacity", 10)
        three = self.exported("standards", port, "three.csv", "--count", 3)
        self.refused(
            "standards", "import", three, "--port", port, status=1,
            says=["room for 2 more standards, the file holds 3; nothing was written"],
        )
        samples = self.exported("samples", port, "samples.json")
        self.refused("standards", "import", samples, "--port", port, status=1, says="entry 1 is a trial")
        (self.folder / "none.bin").write_bytes(b"")
        (self.folder / "torn.bin").write_bytes(three.read_bytes()[:300])
        for name in ("none.bin", "torn.bin", "missing.csv"):
            self.refused("standards", "import", self.folder / name, "--port", port, status=1, says=name)
        self.refused("standards", "import", self.folder / "x.doc", "--virtual", status=2, says="x.doc")
        self.refused("standards", "export", "--output", "-", "--virtual", status=2, says="--format")
        self.assertEqual(self.stored(port), 8)

    def test_export_shows_progress_and_leaves_files_whole(self):
        port, _ = self.instrument("--standards", 1000, *SLOW)
        file = self.folder / "records.csv"
        file.write_text("what was there")
        for ending, status in ((signal.SIGINT, 130), (signal.SIGKILL, -signal.SIGKILL)):
            export = Terminal(self, "standards", "export", "--output", file, "--port", port)
            export.read_until(r"reading standards  \[#+-+\]  [3-9]\d\d of 1000")
            export.process.send_signal(ending)
            self.assertEqual(export.end()[0], status)
            self.assertEqual(file.read_text(), "what was there")
        export = Terminal(self, "standards", "export", "--output", file, "--port", port)
        status, out = export.end()
        self.assertEqual((status, out), (0, f"1000 standards written to {file}\n"))
        self.assertEqual(len(file.read_text().splitlines()[-1001:]), 1001)
        self.assertEqual({p.name for p in self.folder.iterdir()}, {"port0", "records.csv"})
        self.assertRegex(export.shown, r"\r *[\b]*\r$")  # the line is gone

    def test_an_interrupted_import_says_what_arrived(self):
        port, _ = self.instrument("--standards", 600, "--capacity", 2000, *SLOW)
        file = self.exported("standards", port, "many.bin")
        importing = Terminal(self, "standards", "import", file, "--port", port)
        importing.read_until(r"writing standards  \[#+-+\]  [1-5]\d\d of 600")
        importing.process.send_signal(signal.SIGINT)
        self.assertEqual(importing.end()[0], 130)
        arrived = re.search(r"(\d+) of 600 standards arrived \(600 to (\d+)\)", importing.shown)
        self.assertEqual(self.stored(port), 600 + int(arrived[1]))
        self.assertEqual(int(arrived[2]), 599 + int(arrived[1]))
        self.assertLess(int(arrived[1]), 600)

    def test_a_broken_connection_says_what_arrived(self):
        """The instrument ends the connection as the second portion arrives: of the first it is known
        that it has arrived, of the second it is not. How large that is depends on the machine."""
        source, _ = self.instrument("--standards", 120)
        file = self.exported("standards", source, "many.bin")
        port, _ = self.instrument("--max-packet", 20000, "--fault", "disconnect:20",
                                  "--log", self.folder / "log")
        message = self.cq("standards", "import", file, "--port", port, status=1).stderr
        arrived = re.search(r"(\d+) of 120 standards arrived.* any of the next (\d+) did", message)
        self.assertIsNotNone(arrived, message)
        known, unknown = int(arrived[1]), int(arrived[2])
        log = (self.folder / "log").read_text()
        sent = [int(size) // 256 for size in re.findall(r"host > .*write standards\) payload=(\d+)", log)]
        self.assertEqual(([known, unknown], known), (sent, 1))
        self.assertTrue(known <= self.stored(port) <= known + unknown)


class Lines(Stored):
    def test_a_slow_line(self):
        """At 9600 baud 22 records take longer than the library waits for one portion."""
        file = self.folder / "22.raw"
        file.write_bytes(b"x" * 256 * 22)
        port, _ = self.instrument("--line-rate", 9600, "--max-packet", 1024)
        self.assertEqual(self.json("standards", "import", file, "--port", port)["written"], 22)

    def test_an_instrument_that_claims_more_than_it_has(self):
        for claimed in (4_000_000, 0xFFFFFFFF):
            self.refused(
                "standards", "list", "--virtual-options", f"--standards 60 --fault claim:{claimed}",
                status=1, says=f"gave 60 of {claimed} records")


class Wireless(Stored):
    def test_samples_of_a_standard_and_a_full_instrument(self):
        port, _ = self.instrument("--adapter", "--standards", 6, "--samples", 4, "--capacity", 8)
        chosen = ("--adapter", port)
        of_second = self.json("samples", "list", "--standard", 1, *chosen)["records"]
        everything = self.json("samples", "list", *chosen)["records"]
        self.assertEqual([r["record"] for r in of_second], [everything[1]["record"]])
        for command in ("list", "delete 0 --yes"):
            self.refused("samples", *command.split(), "--standard", 6, *chosen, status=1,
                         says="no stored standard 6: the instrument holds 6 standards")
        file = self.folder / "six.json"
        self.cq("standards", "export", "--output", file, *chosen)
        # It does not tell its capacity: the third of six finds no room.
        self.refused(
            "standards", "import", file, *chosen, status=1,
            says=["execute command failed (8); 2 of 6 standards arrived (6 to 7)", "delete 6-7"],
        )
        self.assertEqual(self.json("status", *chosen)["totalStandards"], 8)


class Backups(Stored):
    def backed_up(self, name, *connection):
        file = self.folder / name
        self.cq("backup", file, *connection)
        return file, json.loads(file.read_text())

    def restore(self, file, port, *options, **keywords):
        return self.cq("restore", file, "--port", port, "--yes", *options, **keywords)

    def test_a_new_instrument_becomes_the_old_one(self):
        old, _ = self.instrument("--standards", 30, "--samples", 4)  # six standards twice
        tile = self.folder / "tile.bin"
        tile.write_bytes(bytes(range(140)) * 2)
        self.cq("whiteboard", "set", tile, "--port", old)
        self.cq("parameter", "set", 7, 200, "--port", old)
        file, before = self.backed_up("old.json", "--port", old)
        self.assertEqual((len(before["standards"]), len(before["samples"])), (30, 4))
        new, _ = self.instrument("--standards", 2)
        done = self.restore(file, new, "--json")
        self.assertIn("4 samples stay in the file", done.stderr)
        written = json.loads(done.stdout)
        self.assertEqual((written["standards"], written["parameters"], written["whiteBoard"]), (28, 1, True))
        _, after = self.backed_up("new.json", "--port", new)
        for what in ("standards", "parameters", "whiteBoard"):
            self.assertEqual(after[what], before[what])
        self.assertIn("nothing was written", self.restore(file, new).stdout)

    def test_another_instrument_gets_standards_alone(self):
        port, _ = self.instrument("--standards", 3, "--serial", "SN-1")
        self.cq("parameter", "set", 7, 200, "--port", port)
        file, _ = self.backed_up("one.json", "--port", port)
        other, _ = self.instrument("--serial", "SN-2", "--capacity", 3)
        self.refused("restore", file, "--port", other, "--yes", status=1,
                     says=["backup of VIRTUAL-31 SN-1, this is VIRTUAL-31 SN-2; nothing was written",
                           "--other-instrument"])
        self.assertEqual(self.stored(other), 0)
        self.restore(file, other, "--other-instrument")
        self.assertEqual(self.stored(other), 3)
        self.assertEqual(self.json("parameter", "get", 7, "--port", other)["parameters"], {"7": 0})

    def test_it_asks_first_and_goes_on_after_ctrl_c(self):
        source, _ = self.instrument("--standards", 600)
        file, _ = self.backed_up("many.json", "--port", source)
        port, _ = self.instrument(*SLOW)
        self.refused("restore", file, "--port", port, status=2, says="confirm with --yes")
        asked = Terminal(self, "restore", file, "--port", port, asks=True)
        asked.read_until(r"writes 600 standards to VIRTUAL-31(.|\n)*Type yes")
        os.write(asked.master, b"no\n")
        self.assertEqual((asked.end()[0], self.stored(port)), (1, 0))
        broken = Terminal(self, "restore", file, "--port", port, "--yes")
        broken.read_until(r"writing standards  \[#+-+\]  [1-5]\d\d of 600")
        broken.process.send_signal(signal.SIGINT)
        self.assertEqual(broken.end()[0], 130)
        self.assertIn(f"{self.stored(port)} of 600 standards arrived", broken.shown)
        self.assertLess(self.stored(port), 600)
        self.restore(file, port)
        self.assertEqual(self.exported("standards", port, "after.bin").read_bytes(),
                         self.exported("standards", source, "before.bin").read_bytes())

    def test_wireless_samples_keep_their_standard(self):
        _, backup = self.backed_up("w.json", "--wireless", "--virtual-options", "--standards 3 --samples 5")
        self.assertEqual([s["standard"] for s in backup["samples"]], [0, 0, 1, 1, 2])
        self.assertEqual(backup["parameters"], {})

    def test_what_is_no_backup(self):
        file, backup = self.backed_up("b.json", "--virtual-options", "--standards 1")
        good = file.read_text()
        for text, says in ((good[:-100], "no whole backup"), ("{}", "is no backup"),
                           (good.replace('"version": 1', '"version": 2'), "version 2"),
                           (good.replace(backup["standards"][0], "00"), "standards[0] must be 512 hexa"),
                           (good.replace('"7": 0', '"7": 256'), "parameter 7 must be")):
            file.write_text(text)
            self.refused("restore", file, "--virtual", "--yes", status=1, says=["b.json", says])


class Parameters(CqTest):
    def test_white_board(self):
        port, _ = self.instrument()
        changed, raw = self.folder / "changed.json", self.folder / "changed.bin"
        changed.write_text(
            self.cq("whiteboard", "get", "--port", port).stdout.replace("WT-0001", "WT-2").replace("0.88", "0.5")
        )
        self.cq("whiteboard", "set", changed, "--port", port)
        self.cq("whiteboard", "get", raw, "--port", port)
        self.assertEqual((raw.stat().st_size, raw.read_bytes()[:5]), (280, b"WT-2\0"))
        raw.write_bytes(bytes(range(140)) * 2)
        self.cq("whiteboard", "set", raw, "--port", port)
        again = self.folder / "again.bin"
        self.cq("whiteboard", "get", again, "--port", port)
        self.assertEqual(again.read_bytes(), raw.read_bytes())
        for options in (("--wireless", "--virtual"), ("--adapter", port)):
            self.refused(
                "whiteboard", "set", changed, *options, status=2,
                says="the address of the data in this machine's memory",
            )

    def test_parameters(self):
        port, _ = self.instrument()
        self.cq("parameter", "set", 7, 200, "--port", port)
        self.assertEqual(
            self.json("parameter", "get", 7, 8, "--port", port)["parameters"], {"7": 200, "8": 0}
        )
        self.refused("parameter", "set", 256, 0, "--port", port, status=2, says="0 to 255, not '256'")
        self.refused("parameter", "get", 1, "--wireless", "--virtual", status=1, says="not supported (17)")


class Ports(CqTest):
    def test_named_ports_are_asked(self):
        port, _ = self.instrument("--serial", "SN-42")
        silent, _ = self.silent_port()
        asked = self.json("list", port, silent, "--ask")["ports"]
        self.assertLessEqual({"port", "kind", "usb", "accessible", "heldBy"}, set(asked[0]))
        self.assertEqual(asked[0]["instrument"]["infoText4"], "SN-42")
        self.assertIn("cq-virtual-inst", asked[0]["heldBy"])
        self.assertEqual(asked[1]["problem"], "it has not answered")
        self.refused("list", self.folder / "none", status=1, says="there is no port")

    def test_adapters_are_scanned(self):
        port, _ = self.instrument("--adapter")
        text = self.cq("list", port, "--scan").stdout
        self.assertRegex(text, rf"other +{port} .*held by cq-virtual")
        self.assertRegex(text, r"\n +Virtual 31 B  C4BE84A1B2C4 .*strongest\n")


class Farewell(CqTest):
    def test_monitor_notices_it(self):
        port, keys = self.instrument("--calibrated")
        process = self.start("monitor", "--port", port)
        self.assertIn("listening", process.stderr.readline())
        # A terminal passes bytes on in its own time: the instrument may hear of the host later.
        deadline = time.monotonic() + PATIENCE
        while not select.select([process.stderr], [], [], 0.1)[0] and time.monotonic() < deadline:
            keys.write(b"d")
            keys.flush()
        self.assertIn("no session; waiting for the instrument to come back", process.stderr.readline())
        self.assertIn("back on", process.stderr.readline())
        self.interrupt(process, status=0)
