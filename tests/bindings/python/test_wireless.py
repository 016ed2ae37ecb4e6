"""A wireless instrument through the Python binding."""

import json
import tempfile

import cqapi
from support import InstrumentTest

QUICK = ("--adapter", "--at-delay", "2", "--scan-ready", "--calibrated")


class Wireless(InstrumentTest):
    def within_reach(self, *slaves):
        with tempfile.NamedTemporaryFile("w", suffix=".json") as file:
            json.dump([dict(zip(("name", "address", "rssi"), slave)) for slave in slaves], file)
            file.flush()
            return self.virtual_instrument(*QUICK, "--slaves", file.name)

    def test_scans_who_is_there(self):
        peer = self.within_reach(("Far", "AA01", -90), ("A name of twenty-six letters", "AA02", -41))
        self.assertEqual(
            [(slave.name, slave.address, slave.rssi) for slave in cqapi.scan(peer.port)],
            [("Far", "AA01", -90), ("", "AA02", -41)])

    def test_nobody_is_no_error(self):
        self.assertEqual(cqapi.scan(self.within_reach().port), [])
        with self.assertRaises(cqapi.CQConnectionError) as caught:
            cqapi.scan("/dev/no-such-port")
        self.assertEqual(caught.exception.code, 2)

    def test_is_used_like_a_wired_one(self):
        peer = self.virtual_instrument(*QUICK)
        with cqapi.Instrument.open_wireless(peer.port, "C4BE84A1B2C5") as instrument:
            self.assertEqual(instrument.device_info().info_text4, "VI-000003")
            self.assertEqual(instrument.device_info().standard_capacity, 0)
            self.assertEqual(instrument.status().item18, 1)
            self.assertEqual(bytes(instrument.measure_trial())[6], 1)
            with self.assertRaises(cqapi.CQNotSupportedError):
                instrument.measurement_parameter(1)

    def test_takes_the_strongest(self):
        peer = self.virtual_instrument(*QUICK)
        with cqapi.Instrument.open_wireless(peer.port) as instrument:
            self.assertEqual(instrument.device_info().info_text4, "VI-000002")
