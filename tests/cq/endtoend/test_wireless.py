"""The adapter for wireless instruments: who is within reach, and what is done with one of them."""

import json

from support import CqTest

# An adapter that keeps nobody waiting: opening has pauses enough of its own.
QUICK = "--scan-ready --at-delay 0 --measure-time 1"
WIRELESS = ("--wireless", "--virtual-options")


class Scan(CqTest):
    def within_reach(self, *slaves):
        """Options for a virtual adapter that has heard these already: (name, address, signal)."""
        file = self.folder / "slaves.json"
        file.write_text(json.dumps([dict(zip(("name", "address", "rssi"), s)) for s in slaves]))
        return "--virtual-options", f"--scan-ready --slaves {file}"

    def test_lists_the_strongest_first(self):
        options = self.within_reach(
            ("Far", "AA01", -90), ("A name of twenty-six letters", "AA02", -41), ("Near", "AA03", -56)
        )
        found = self.json("scan", *options)
        self.assertEqual(set(found), {"adapter", "slaves"})
        self.assertRegex(found["adapter"], "^/dev/")
        self.assertEqual(
            [tuple(slave.values()) for slave in found["slaves"]],
            [(None, "AA02", -41, True), ("Near", "AA03", -56, False), ("Far", "AA01", -90, False)],
        )
        text = self.cq("scan", *options).stdout
        self.assertRegex(text, r"\n\(name too long\)  AA02 +-41  ▂▄▆█ +strongest\n")

    def test_nobody_is_no_failure(self):
        options = self.within_reach()
        self.assertEqual(self.json("scan", *options)["slaves"], [])
        shown = self.cq("scan", *options)
        self.assertIn("no wireless instrument is within reach", shown.stdout)
        self.assertIn("wake the instrument", shown.stderr)

    def test_failures(self):
        nothing = self.folder / "ttyNONE"
        self.refused(
            "scan", "--adapter", nothing, status=1,
            says=["fail to open (2)", f"there is no {nothing}: plug the adapter in"],
        )
        self.refused(
            "scan", "--virtual-options", "--fault at-silent", status=1,
            says=["system error (9)", "no adapter answers"],
        )

    def test_ctrl_c_counts_when_the_scan_is_over(self):
        log = self.folder / "log"
        process = self.start("scan", "--virtual-options", f"--log {log}")
        self.wait_for(lambda: log.exists() and "AT+SC" in log.read_text(), "the scan")
        out, message = self.interrupt(process, status=130)
        self.assertEqual(out, "")
        self.assertIn("ended by Ctrl-C", message)
        self.assertEqual(log.read_text().count("AT+SC"), 2)  # the second one stops the module


class Instrument(CqTest):
    def test_the_strongest_or_the_one_that_is_named(self):
        strongest = self.json("info", *WIRELESS, QUICK)
        # The second of the virtual adapter's three has the strongest signal.
        self.assertEqual(strongest["infoText4"], "VI-000002")
        self.assertIsNone(strongest["standardCapacity"])
        named = self.cq("info", "--slave", "C4:BE:84:A1:B2:C5", "--virtual").stdout
        self.assertIn("VI-000003", named)
        self.assertNotIn("capacity", named)

    def test_measures(self):
        measured = self.json("measure", "standard", *WIRELESS, QUICK + " --calibrated")
        self.assertAlmostEqual(measured["lab"]["L"], 37.5, delta=0.3)

    def test_ctrl_c_ends_a_measurement(self):
        log = self.folder / "log"
        process = self.start(
            "measure", "standard", *WIRELESS, f"--calibrated --measure-time 14000 --log {log}",
        )
        self.wait_for(lambda: log.exists() and "measure" in log.read_text(), "the request")
        self.interrupt(process, status=130)
        self.assertIn("AT+DC", log.read_text())  # the link is given up

    def test_a_kept_adapter_is_named(self):
        """What one command sets the next one finds, over a link of its own."""
        link, _ = self.instrument("--adapter")
        slaves = self.json("scan", "--adapter", link)["slaves"]
        chosen = ("--adapter", link, "--slave", slaves[-1]["address"])
        self.cq("calibrate", "white", *chosen)
        items = self.json("status", *chosen)["items"]
        self.assertEqual((items["18"], items["19"]), (1, 0))


class Trouble(CqTest):
    def test_no_link(self):
        nothing = self.folder / "ttyNONE"
        self.refused(
            "info", "--adapter", nothing, status=1,
            says=[f"no wireless instrument was linked through the adapter on {nothing}",
                  f"there is no {nothing}"],
        )
        self.refused(
            "info", "--slave", "ABCDEF", "--virtual", status=1,
            says=["the instrument ABCDEF was not linked through the adapter on /dev/", "cq scan"],
        )
        self.refused(
            "info", *WIRELESS, QUICK + " --fault ble-silent:0", status=1,
            says=["reading the device information failed: receiving timeout (7)", "bring it near"],
        )

    def test_wrong_usage(self):
        for arguments, says in (
            (("scan",), "name the adapter's port with --adapter"),
            (("scan", "--adapter", ""), "name the adapter's port with --adapter"),
            (("scan", "--adapter", "x", "--virtual"), "cannot be given together"),
            (("measure", "trial", "--slave", "AA", "--port", "x"), "cannot be given together"),
            (("calibrate", "white", "--slave", "meter"), "hexadecimal digits"),
        ):
            with self.subTest(arguments):
                self.refused(*arguments, status=2, says=[says, "--help"])
