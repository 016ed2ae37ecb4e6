"""What receives measurements made with the instrument's button: how long it lives, and what may happen
inside it."""

import gc
import sys
import weakref

from cqapi import Instrument
from support import InstrumentTest


class Handler(InstrumentTest):
    def test_receives_until_it_is_removed(self):
        peer, instrument = self.connected("--calibrated")
        received = []
        instrument.set_measurement_handler(lambda *measurement: received.append(measurement))
        gc.collect()  # what the library calls must be kept
        peer.press("sts")
        self.wait_until(lambda: len(received) == 3, "the measurements")
        self.assertEqual([is_standard for is_standard, _ in received], [True, False, True])
        self.assertEqual([bytes(record)[6] for _, record in received], [0, 1, 0])
        self.assertEqual(self.ask(instrument.upload_standards), [received[0][1], received[2][1]])

        instrument.set_measurement_handler(None)
        peer.press("s")
        self.wait_until(lambda: self.ask(instrument.total_standards) == 3, "the third standard")
        self.assertEqual(len(received), 3)
        with self.assertRaises(TypeError):
            instrument.set_measurement_handler("print")

    def test_what_it_raises_is_reported_and_goes_no_further(self):
        peer, instrument = self.connected("--calibrated")
        reported = []
        self.addCleanup(setattr, sys, "unraisablehook", sys.unraisablehook)
        sys.unraisablehook = lambda seen: reported.append(seen.exc_type)

        def handler(*_):
            raise LookupError("raised inside")

        instrument.set_measurement_handler(handler)
        peer.press("st")
        self.wait_until(lambda: len(reported) == 2, "both reports")
        self.assertEqual(reported, [LookupError, LookupError])
        self.assertEqual(self.ask(instrument.total_standards), 1)

    def test_an_instrument_that_its_handler_knows_is_closed_when_forgotten(self):
        peer = self.virtual_instrument("--calibrated")
        instrument = Instrument.open(peer.port)
        instrument.set_measurement_handler(lambda *_: instrument.is_open)
        gone = weakref.ref(instrument)
        instrument = None
        gc.collect()
        self.assertIsNone(gone())
        Instrument.open(peer.port).close()  # the port is free
