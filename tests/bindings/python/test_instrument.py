"""A wired instrument through the Python binding."""

import pickle
import threading
import time

import cqapi
from cqapi import Instrument, MeasurementRecord, ResultCode
from support import InstrumentTest


def numbered(value):
    return MeasurementRecord.from_bytes(bytes([value]) * 256)


class Identity(InstrumentTest):
    def test_tells_what_it_is(self):
        peer, instrument = self.connected("--serial", "123456789012345", "--capacity", "300",
                                          "--battery", "55", "--standards", "7")
        self.assertEqual(instrument.port_name, peer.port)
        info = instrument.device_info()
        self.assertEqual(
            (info.info_text3, info.info_text11, info.info_text4, info.info_text7, info.info_text6,
             info.info_text12, info.standard_capacity),
            ("VIRTUAL-31", "HW 1.0", "123456789012345", "Virtual spectrophotometer", "FW 1.0",
             "WT-0001", 300))
        self.assertIn("info_text4='123456789012345'", repr(info))
        status = instrument.status()
        self.assertEqual((status.item14, status.item17, status.total_standards, status.item0),
                         (55, 8, 7, 0))

    def test_is_closed_once_and_forgets_its_handle(self):
        peer = self.virtual_instrument()
        with Instrument.open(peer.port) as instrument:
            self.assertTrue(instrument.is_open)
            self.assertIn(peer.port, repr(instrument))
        self.assertFalse(instrument.is_open)
        # A later instrument may be given the same handle: the closed one must not reach it.
        with Instrument.open(peer.port) as later:
            instrument.close()
            self.assertTrue(later.is_open)
            self.assertFalse(instrument.is_open)
            with self.assertRaises(cqapi.CQNotSupportedError):
                instrument.status()

    def test_opening_fails_with_the_reason(self):
        for call, words in ((lambda: Instrument.open("/dev/no-such-port"), "opening an instrument on"),
                            (lambda: Instrument.open_wireless("/dev/no-such-port"), "a wireless")):
            with self.assertRaises(cqapi.CQConnectionError) as caught:
                call()
            self.assertIn(words, str(caught.exception))
            self.assertTrue(str(caught.exception).endswith("fail to open (2)"))
            self.assertIsInstance(caught.exception, ConnectionError)
        with self.assertRaises(ValueError):
            Instrument.open("COM1\0")
        with self.assertRaisesRegex(TypeError, 'such as "COM5" .*, not 5'):
            Instrument.open(5)


class Measuring(InstrumentTest):
    def test_measures_once_calibrated(self):
        _, instrument = self.connected()
        with self.assertRaises(cqapi.CQRefusedError) as caught:
            instrument.measure_trial()
        error = caught.exception
        self.assertEqual((error.code, error.text, error.call),
                         (ResultCode.EXECUTE_COMMAND_FAILED, "execute command failed",
                          "cqMeasureTrial"))
        self.assertEqual(str(error), "cqMeasureTrial: execute command failed (8)")
        self.assertEqual(str(pickle.loads(pickle.dumps(error))), str(error))

        instrument.calibrate_white()
        instrument.calibrate_black()
        standard = instrument.measure_standard()
        trial = instrument.measure_trial()
        self.assertEqual((bytes(standard)[6], bytes(trial)[6]), (0, 1))
        lab = cqapi.color_from_spectrum(standard.spectrum(64))
        self.assertAlmostEqual(lab[0], 37.5, delta=0.5)  # the chart's first patch
        self.assertEqual(len(standard.spectrum(132)), 31)
        for offset in (-1, 133):
            with self.assertRaises(ValueError):
                standard.spectrum(offset)

    def test_other_threads_run_while_it_measures(self):
        _, instrument = self.connected("--calibrated", "--measure-time", "1000")
        measuring = threading.Thread(target=instrument.measure_standard)
        measuring.start()
        turns = 0  # a call that kept the interpreter's lock would leave one or two
        while measuring.is_alive():
            turns += 1
            time.sleep(0.001)
        self.assertGreater(turns, 10)


class Stored(InstrumentTest):
    def test_uploads_as_many_as_there_are(self):
        _, instrument = self.connected("--standards", "7", "--samples", "5")
        self.assertEqual(instrument.sample_count(3), 5)
        upload = instrument.upload_standards
        for records, numbers in (
            (upload(5), [6, 7]),
            (upload(1, 3), [2, 3, 4]),
            (upload(first=6, count=100), [7]),
            (upload(7), []),
            (instrument.upload_samples(0, 3), [4, 5]),
            (instrument.upload_samples(0, 0, 2), [1, 2]),
        ):
            self.assertEqual([bytes(record)[8] for record in records], numbers)

    def test_writes_and_deletes(self):
        _, instrument = self.connected("--standards", "2", "--samples", "3", "--capacity", "5")
        instrument.download_standards([numbered(1), numbered(2)])
        instrument.download_standards(bytes(numbered(3)))
        self.assertEqual(instrument.upload_standards(2), [numbered(1), numbered(2), numbered(3)])
        with self.assertRaises(cqapi.CQRefusedError) as caught:
            instrument.download_standards([numbered(4)])
        self.assertEqual(caught.exception.text, "no enough storage")
        for wrong, kind in ((b"\0" * 257, ValueError), ([b"\0" * 256], TypeError), (3, TypeError)):
            with self.assertRaises(kind):
                instrument.download_standards(wrong)

        instrument.delete_standard(3)
        self.assertEqual(instrument.upload_standards(2), [numbered(1), numbered(3)])
        instrument.delete_sample(0, 0)
        self.assertEqual(instrument.total_samples(), 2)
        for wrong in (-1, 0x7FFFFFFF, 0xFFFFFFFF, 1 << 32):  # each would be "all records" to the instrument
            with self.assertRaises(ValueError):
                instrument.delete_standard(wrong)
        self.assertEqual(instrument.total_standards(), 4)
        instrument.delete_all_records()
        self.assertEqual(instrument.total_standards() + instrument.total_samples(), 0)

    def test_keeps_parameters(self):
        _, instrument = self.connected()
        instrument.set_measurement_parameter(200, 255)
        self.assertEqual(instrument.measurement_parameter(200), 255)
        for number, value in ((256, 0), (-1, 0), (0, 256), (0, -1)):
            with self.assertRaises(ValueError):
                instrument.set_measurement_parameter(number, value)

        parameter = instrument.white_board_parameter()
        self.assertEqual(parameter.text, "WT-0001")
        parameter.text = "WT-2"
        parameter.second_block[123] ^= 0x55
        instrument.set_white_board_parameter(parameter)
        self.assertEqual(bytes(instrument.white_board_parameter()), bytes(parameter))
        with self.assertRaises(ValueError):
            parameter.text = "sixteen letters!"
