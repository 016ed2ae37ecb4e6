"""An open instrument, and the search for wireless ones."""

from __future__ import annotations

import ctypes
import math
import weakref
from collections.abc import Callable, Sequence
from types import TracebackType
from typing import Any, Optional, TypeVar, Union

from ._errors import ResultCode, error_of
from ._library import Callback, check, load_library
from ._records import (
    BleSlave,
    DeviceInfo,
    InstrumentStatus,
    MeasurementRecord,
    Record,
    WhiteBoardParameter,
)

#: Receives (is_standard, record) of a measurement made with the instrument's own button.
MeasurementHandler = Callable[[bool, MeasurementRecord], object]

_ALL_RECORDS = 0xFFFFFFFF
_NO_LIMIT = 0xFFFFFFFF  # milliseconds
_LAST_STANDARD = 0x7FFFFFFE  # that can be deleted: bit 31 is set on a wired line, and all bits are "all"
_RECORD_SIZE = ctypes.sizeof(MeasurementRecord)
_PORT_NAME_SIZE = 4096  # longer than any path
_AnyRecord = TypeVar("_AnyRecord", bound=Record)


def _encoded(text: str | None) -> bytes | None:
    if text is None:
        return None
    if not isinstance(text, str):
        raise TypeError(f"a name is a text such as \"COM5\" or \"/dev/ttyACM0\", not {text!r}")
    if "\0" in text:
        raise ValueError(f"a NUL in the name {text!r}")
    return text.encode("utf-8", "surrogateescape")


def _number(value: int, what: str, last: int = _ALL_RECORDS - 1) -> int:
    """The value, if it is in range: ctypes would truncate larger ones, and -1 as an index would
    mean all records."""
    if not 0 <= value <= last:
        raise ValueError(f"{what} is 0 to {last}, not {value}")
    return value


def _milliseconds(seconds: float | None) -> int:
    """A time as the library takes it; None is no limit."""
    if seconds is None:
        return _NO_LIMIT
    return min(max(math.ceil(seconds * 1000), 0), _NO_LIMIT - 1)


class _HandlerSlot:
    """Holds the handler behind the one function that the library is given. A handler may replace
    itself: the call keeps the running one alive."""

    def __init__(self) -> None:
        self.handler: Optional[MeasurementHandler] = None
        self.function = Callback(self._receive)

    def _receive(self, is_standard: bool, record: Any, _user: Any) -> None:
        handler = self.handler
        if handler is not None:
            handler(is_standard, MeasurementRecord.from_buffer_copy(record.contents))


class Instrument:
    """An open instrument; a context manager that closes it. Made by open() and open_wireless().

    An instrument handles one request at a time: give each one thread, or a lock. Different
    instruments run in parallel. Each call can raise CQError; CQApi.h lists the codes and the longest
    wait of each call.
    """

    def __init__(self, handle: int) -> None:
        """Takes ownership of a handle from cqOpen or cqOpenByBleDongle."""
        self._library = load_library()
        self._handle: Optional[int] = handle
        self._slot: Optional[_HandlerSlot] = None
        self._closer = weakref.finalize(self, self._library.cqClose, handle)

    @classmethod
    def open(cls, port: str | None = None, timeout: float | None = None) -> Instrument:
        """Opens a wired instrument on a port such as "COM5" or "/dev/ttyACM0", or on the first port
        with the instrument's USB identity that answers.

        `timeout` in seconds is for all of it; without one it waits as long as a port stays silent.
        Raises CQError with the reason: CQTimeoutError when the time was up, CQConnectionError for
        CANNOT_FOUND_DEVICE and FAIL_TO_OPEN."""
        return cls._opened("an instrument", port, "cqOpenWithin", _encoded(port),
                           _milliseconds(timeout))

    @classmethod
    def open_wireless(cls, adapter: str | None = None, slave: str | None = None,
                      timeout: float | None = None) -> Instrument:
        """Opens a wireless instrument through the Bluetooth LE adapter on a port, by default the first
        port of an adapter that answers. Opens the instrument with this address, by default the one
        with the strongest signal. Takes 2 to 5 s, with a scan about 2 s more. `timeout` and what it
        raises as open()."""
        return cls._opened("a wireless instrument", adapter, "cqOpenByBleDongleWithin",
                           _encoded(adapter), _encoded(slave), _milliseconds(timeout))

    @classmethod
    def _opened(cls, what: str, port: str | None, name: str, *arguments: Any) -> Instrument:
        handle = ctypes.c_void_p()
        code = getattr(load_library(), name)(*arguments, ctypes.byref(handle))
        check(code, f"opening {what} on {port}" if port else f"searching the ports for {what}")
        return cls(handle.value or 0)

    def close(self) -> None:
        """Says goodbye and closes; does nothing the second time. May be called while another thread's
        call runs, which then raises. Do not call it from within the instrument's own handler."""
        self._handle = None
        self._closer()

    def __enter__(self) -> Instrument:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<Instrument on {self.port_name}>" if self.is_open else "<Instrument, closed>"

    @property
    def is_open(self) -> bool:
        """False once closed. Does not ask the instrument whether it is still there."""
        return bool(self._library.cqIsValidHandle(self._handle))

    @property
    def port_name(self) -> str:
        """The port of the connection."""
        name = ctypes.create_string_buffer(_PORT_NAME_SIZE + 1)
        self._call("cqGetPortName", name, _PORT_NAME_SIZE)
        return name.value.decode("utf-8", "surrogateescape")

    def _call(self, name: str, *arguments: Any) -> None:
        check(getattr(self._library, name)(self._handle, *arguments), name)

    def _read(self, name: str, kind: type[_AnyRecord]) -> _AnyRecord:
        record = kind()
        self._call(name, ctypes.byref(record))
        return record

    def _count(self, name: str, *arguments: Any) -> int:
        count = ctypes.c_uint32()
        self._call(name, *arguments, ctypes.byref(count))
        return count.value

    def device_info(self) -> DeviceInfo:
        return self._read("cqGetDeviceInfo", DeviceInfo)

    def status(self) -> InstrumentStatus:
        """Bytes that a wireless instrument does not report are 0."""
        return self._read("cqGetInstrumentStatus", InstrumentStatus)

    def calibrate_white(self) -> None:
        self._call("cqCalibrateWhite")

    def calibrate_black(self) -> None:
        self._call("cqCalibrateBlack")

    def measure_standard(self) -> MeasurementRecord:
        return self._read("cqMeasureStandard", MeasurementRecord)

    def measure_trial(self) -> MeasurementRecord:
        return self._read("cqMeasureTrial", MeasurementRecord)

    def set_measurement_handler(self, handler: MeasurementHandler | None) -> None:
        """Sets the handler of measurements made with the instrument's own button, replacing any
        earlier one; None removes it.

        It runs on a thread of the library, with a record of its own, should return soon, and must
        not call this instrument, except to set another handler. An exception that it raises goes to
        sys.unraisablehook. When the call returns, an earlier handler has ended and will not be
        called again, unless the call is made from within it."""
        if handler is not None and not callable(handler):
            raise TypeError(f"a function is needed, or None, not {handler!r}")
        if self._slot is None:
            self._slot = _HandlerSlot()
        self._slot.handler = handler
        function = self._slot.function if handler is not None else Callback(0)
        self._call("cqSetMeasurementResultReceivedCallback", function, None)

    def total_standards(self) -> int:
        return self._count("cqGetTotalStandards")

    def total_samples(self) -> int:
        return self._count("cqGetTotalSamples")

    def sample_count(self, standard: int) -> int:
        """A wired instrument counts the samples of all standards, whatever the index."""
        return self._count("cqGetSampleCount", _number(standard, "the index of a standard"))

    def upload_standards(self, first: int = 0, count: int | None = None) -> list[MeasurementRecord]:
        """Reads up to `count` standards from index `first` on, by default all; asks first how many
        there are."""
        return self._upload(self.total_standards, "cqUploadStandards", (), first, count)

    def upload_samples(self, standard: int, first: int = 0,
                       count: int | None = None) -> list[MeasurementRecord]:
        """Reads up to `count` samples of a standard from index `first` on, by default all; asks first
        how many there are. All of them must arrive within 5 s: over a slow link read them in
        portions."""
        return self._upload(lambda: self.sample_count(standard), "cqUploadSamples", (standard,),
                            first, count)

    def _upload(self, total: Callable[[], int], name: str, of: tuple[int, ...], first: int,
                count: int | None) -> list[MeasurementRecord]:
        _number(first, "the first index")
        if count is not None:
            _number(count, "a number of records")
        # The number is fixed here: one that the instrument gains meanwhile must not be written beyond
        # the array's end.
        size = max(0, total() - first)
        size = size if count is None else min(size, count)
        records = (MeasurementRecord * size)()
        if size:
            self._call(name, records, *of, first, size)
        return list(records)

    def download_standards(
            self, records: Union[Sequence[MeasurementRecord], bytes, bytearray, memoryview, Any]
    ) -> None:
        """Appends standards to those that the instrument holds. Takes records, or a buffer of whole
        records such as bytes or a numpy array. Does nothing if there are none."""
        data = self._bytes_of(records)
        count, rest = divmod(len(data), _RECORD_SIZE)
        if rest:
            raise ValueError(f"whole records of {_RECORD_SIZE} bytes are needed, not {len(data)} bytes")
        if count:
            self._call("cqDownloadStandards", (MeasurementRecord * count).from_buffer_copy(data), count)

    @staticmethod
    def _bytes_of(records: Any) -> bytes:
        try:
            return memoryview(records).tobytes()
        except TypeError:  # not a buffer
            records = list(records)
        if not all(isinstance(record, MeasurementRecord) for record in records):
            raise TypeError("records are needed, or a buffer of them")
        return b"".join(bytes(record) for record in records)

    def delete_standard(self, standard: int) -> None:
        self._call("cqDeleteStandard",
                   _number(standard, "the index of a standard", _LAST_STANDARD))

    def delete_all_records(self) -> None:
        """Deletes every stored standard and sample."""
        self._call("cqDeleteAllRecords")

    def delete_sample(self, standard: int, sample: int) -> None:
        self._call("cqDeleteSample", _number(standard, "the index of a standard"),
                   _number(sample, "the index of a sample"))

    def white_board_parameter(self) -> WhiteBoardParameter:
        return self._read("cqGetWhiteBoardParameter", WhiteBoardParameter)

    def set_white_board_parameter(self, parameter: WhiteBoardParameter) -> None:
        """For wired instruments; a wireless one accepts only the text."""
        self._call("cqSetWhiteBoardParameter", ctypes.byref(parameter))

    def measurement_parameter(self, number: int) -> int:
        """The value, 0 to 255, of a parameter, 0 to 255. Wired instruments only, as is setting one;
        others raise CQNotSupportedError."""
        return self._count("cqGetMeasurementParameter", _number(number, "a parameter's number", 255))

    def set_measurement_parameter(self, number: int, value: int) -> None:
        self._call("cqSetMeasurementParameter", _number(number, "a parameter's number", 255),
                   _number(value, "a parameter's value", 255))


def scan(adapter: str) -> list[BleSlave]:
    """Lists the wireless instruments within reach of the adapter on this port, which must not be in
    use. Takes about 2 to 5 s. An empty list is not an error."""
    library = load_library()
    found = ctypes.POINTER(BleSlave)()
    code = library.cqScanBleSlaves(_encoded(adapter), ctypes.byref(found))
    try:
        check(code, "cqScanBleSlaves")
        slaves: list[BleSlave] = []
        end = BleSlave()
        while found and found[len(slaves)] != end:
            slaves.append(BleSlave.from_buffer_copy(found[len(slaves)]))
        return slaves
    finally:
        library.cqFree(found)
