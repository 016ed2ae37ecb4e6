"""A wireless instrument through the Python binding."""

import json
import tempfile

import cqapi
from support import InstrumentTest

QUICK = ("--adapter", "--at-delay", "2", "--scan-ready")


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
        self.assertEqual(cqapi.scan(self.within_reach().port), [])
        with self.assertRaises(cqapi.CQConnectionError) as caught:
            cqapi.scan("/dev/no-such-port")
        self.assertEqual(caught.exception.code, 2)

    def test_opens_the_one_that_is_named_or_the_strongest(self):
        peer = self.virtual_instrument(*QUICK)
        for slave, serial in (("C4BE84A1B2C5", "VI-000003"), (None, "VI-000002")):
            with cqapi.Instrument.open_wireless(peer.port, slave) as instrument:
                self.assertEqual(instrument.device_info().info_text4, serial)
