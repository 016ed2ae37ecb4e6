"""The records of CQApi.h. They are ctypes structures: packed, little-endian, and writable buffers."""

from __future__ import annotations

import ctypes
from typing import Any, TypeVar

from ._arrays import FloatArray, floats_of_bytes

_SPECTRUM_SIZE = 31 * 4
_AnyRecord = TypeVar("_AnyRecord", bound="Record")


class Text:
    """A NUL-terminated text in a field of characters: UTF-8, other bytes as surrogate escapes."""

    def __init__(self, field: str) -> None:
        self._field = field

    def __get__(self, record: Any, owner: type | None = None) -> str:
        if record is None:
            return self  # type: ignore[return-value]  # as descriptors do, asked of the class
        raw: bytes = getattr(record, self._field)
        return raw.decode("utf-8", "surrogateescape")

    def __set__(self, record: Any, text: str) -> None:
        raw = text.encode("utf-8", "surrogateescape")
        room = getattr(type(record), self._field).size - 1
        if len(raw) > room or b"\0" in raw:
            raise ValueError(f"a text of at most {room} bytes, without NUL, is needed: {text!r}")
        setattr(record, self._field, raw)


class Record(ctypes.LittleEndianStructure):
    """Base of the records: they compare by their bytes, and bytes(record) gives those."""

    _pack_ = 1
    _layout_ = "ms"  # what packing implies; newer Pythons want it said
    _fields_: Any = []
    _shown: tuple[str, ...] = ()

    @classmethod
    def from_bytes(cls: type[_AnyRecord], data: Any) -> _AnyRecord:
        """A record from a buffer of exactly its size."""
        data = memoryview(data).cast("B")
        if len(data) != ctypes.sizeof(cls):
            raise ValueError(f"a {cls.__name__} has {ctypes.sizeof(cls)} bytes, not {len(data)}")
        return cls.from_buffer_copy(data)

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Record) or type(other) is not type(self):
            return NotImplemented
        return bytes(memoryview(self)) == bytes(memoryview(other))

    __hash__ = None  # type: ignore[assignment]  # records can be changed

    def __repr__(self) -> str:
        values = ", ".join(f"{name}={getattr(self, name)!r}" for name in self._shown)
        return f"{type(self).__name__}({values})"


class DeviceInfo(Record):
    """The device information. The content of each text is up to the instrument."""

    _fields_ = [
        ("_info_text3", ctypes.c_char * 16),
        ("_info_text11", ctypes.c_char * 16),
        ("_info_text4", ctypes.c_char * 16),
        ("_info_text7", ctypes.c_char * 32),
        ("_info_text6", ctypes.c_char * 16),
        ("_info_text12", ctypes.c_char * 16),
        ("_reserved", ctypes.c_uint8 * 16),
        ("trailing_value", ctypes.c_uint64),
    ]
    info_text3 = Text("_info_text3")
    info_text11 = Text("_info_text11")
    info_text4 = Text("_info_text4")
    info_text7 = Text("_info_text7")
    info_text6 = Text("_info_text6")
    info_text12 = Text("_info_text12")
    trailing_value: int
    _shown = ("info_text3", "info_text11", "info_text4", "info_text7", "info_text6", "info_text12",
              "standard_capacity")

    @property
    def standard_capacity(self) -> int:
        """How many standards a wired instrument can store; 0 for a wireless one."""
        return self.trailing_value & 0xFFFFFFFF


class InstrumentStatus(Record):
    """The instrument's status. Items are numbered as the instrument numbers them."""

    _fields_ = [
        ("item16", ctypes.c_uint8),
        ("_reserved1", ctypes.c_uint8 * 2),
        ("item17", ctypes.c_uint8),
        ("_reserved4", ctypes.c_uint8),
        ("item15", ctypes.c_uint8),
        ("item14", ctypes.c_uint8),
        ("item18", ctypes.c_uint8),
        ("item20", ctypes.c_uint8),
        ("item19", ctypes.c_uint8),
        ("total_standards", ctypes.c_uint16),
        ("_reserved12", ctypes.c_uint8 * 2),
        ("item0", ctypes.c_uint8),
        ("_reserved15", ctypes.c_uint8 * 5),
    ]
    item0: int
    item14: int
    item15: int
    item16: int
    item17: int
    item18: int
    item19: int
    item20: int
    total_standards: int
    _shown = ("item0", "item14", "item15", "item16", "item17", "item18", "item19", "item20",
              "total_standards")


class MeasurementRecord(Record):
    """One measurement, 256 bytes: the unit of stored standards and samples. Its inner layout is the
    instrument's."""

    _fields_ = [("data", ctypes.c_uint8 * 256)]

    def spectrum(self, offset: int) -> FloatArray:
        """The 31 reflectance factors at 400, 410 ... 700 nm that begin at this byte (0 to 132), as
        little-endian 32-bit floats. The instrument's manual says where they begin; 64 for the
        virtual instrument."""
        data = bytes(self)
        if not 0 <= offset <= len(data) - _SPECTRUM_SIZE:
            raise ValueError(f"a spectrum begins at byte 0 to {len(data) - _SPECTRUM_SIZE} of a record")
        return floats_of_bytes(data[offset:offset + _SPECTRUM_SIZE])

    def __repr__(self) -> str:
        return f"MeasurementRecord({bytes(self)[:8].hex()}...)"


class WhiteBoardParameter(Record):
    """Reference values of the white calibration tile."""

    _fields_ = [
        ("_text", ctypes.c_char * 16),
        ("reserved", ctypes.c_uint8 * 16),
        ("first_block", ctypes.c_uint8 * 124),
        ("second_block", ctypes.c_uint8 * 124),
    ]
    text = Text("_text")
    first_block: ctypes.Array[ctypes.c_uint8]
    second_block: ctypes.Array[ctypes.c_uint8]
    _shown = ("text",)


class BleSlave(Record):
    """A wireless instrument within reach of the adapter. `rssi` is in dBm: negative, nearer to 0 is
    stronger. A name longer than 15 bytes is empty."""

    _fields_ = [
        ("_name", ctypes.c_char * 16),
        ("_address", ctypes.c_char * 16),
        ("rssi", ctypes.c_int32),
    ]
    name = Text("_name")
    address = Text("_address")
    rssi: int
    _shown = ("name", "address", "rssi")


class ColorData(Record):
    """Three numbers whose meaning the colour space gives."""

    _fields_ = [("values", ctypes.c_float * 3)]


class ColorDifference(Record):
    """How a trial differs from a standard, as the library writes it."""

    _fields_ = [(name, ctypes.c_float) for name in
                ("deltaE", "deltaL", "deltaA", "deltaB", "deltaC", "deltaH")]
