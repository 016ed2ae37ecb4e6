"""A virtual instrument to test against."""

import os
import pathlib
import subprocess
import tempfile
import time
import unittest

import cqapi

PATIENCE = 10


class VirtualInstrument:
    """An instrument without noise that measures at once; a context manager that ends it."""

    def __init__(self, *options):
        self._folder = tempfile.TemporaryDirectory(prefix="cqapi-python-")
        self._log = pathlib.Path(self._folder.name, "line.log")
        self._process = subprocess.Popen(
            [os.environ["CQ_VIRTUAL_INSTRUMENT"], "--until-eof", "--noise", "0", "--log", self._log,
             *(() if "--measure-time" in options else ("--measure-time", "0")), *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = self._process.stdout.readline().strip()[len("port: "):]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.stdin.close()
        self._process.stdout.close()
        self._process.wait(timeout=PATIENCE)
        self._folder.cleanup()

    def press(self, keys):
        """"s" presses the button for a standard, "t" the one for a trial."""
        self._process.stdin.write(keys)
        self._process.stdin.flush()

    def line_log(self):
        return self._log.read_text(encoding="utf-8")


class InstrumentTest(unittest.TestCase):
    def virtual_instrument(self, *options):
        instrument = VirtualInstrument(*options)
        self.addCleanup(instrument.__exit__)
        return instrument

    def connected(self, *options):
        """A virtual instrument and the binding's connection to it."""
        peer = self.virtual_instrument(*options)
        instrument = cqapi.Instrument.open(peer.port)
        self.addCleanup(instrument.close)
        return peer, instrument

    def wait_until(self, condition, what):
        deadline = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), deadline, f"waited in vain for {what}")
            time.sleep(0.005)

    def ask(self, call):
        """The result of a call that a transfer of the instrument's may stand in the way of: it answers
        that it is busy then, and is asked again."""
        deadline = time.monotonic() + PATIENCE
        while True:
            try:
                return call()
            except cqapi.CQBusyError:
                self.assertLess(time.monotonic(), deadline, "busy for too long")
