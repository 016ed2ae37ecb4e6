"""Drives a spectrophotometer over USB or Bluetooth LE and computes colour data.

    import cqapi

    with cqapi.Instrument.open() as instrument:
        instrument.calibrate_white()
        instrument.calibrate_black()
        record = instrument.measure_standard()

The library CQApi does the work; its header CQApi.h is the manual for each operation. A failed call
raises CQError, or a subclass for its kind of failure. Calls release the interpreter lock, so that
other threads run while an instrument measures.
"""

from ._color import (
    ColorSpace,
    Illuminant,
    Observer,
    color_from_lab,
    color_from_spectrum,
    color_from_xyz,
)
from ._errors import (
    CQBusyError,
    CQConnectionError,
    CQError,
    CQNotSupportedError,
    CQProtocolError,
    CQRefusedError,
    CQTimeoutError,
    LibraryNotFoundError,
    ResultCode,
    result_text,
)
from ._instrument import Instrument, MeasurementHandler, scan
from ._library import disable_debug_log, enable_debug_log, load_library
from ._records import (
    BleSlave,
    DeviceInfo,
    InstrumentStatus,
    MeasurementRecord,
    WhiteBoardParameter,
)
from ._version import VERSION as __version__

__all__ = [
    "BleSlave",
    "CQBusyError",
    "CQConnectionError",
    "CQError",
    "CQNotSupportedError",
    "CQProtocolError",
    "CQRefusedError",
    "CQTimeoutError",
    "ColorSpace",
    "DeviceInfo",
    "Illuminant",
    "Instrument",
    "InstrumentStatus",
    "LibraryNotFoundError",
    "MeasurementHandler",
    "MeasurementRecord",
    "Observer",
    "ResultCode",
    "WhiteBoardParameter",
    "__version__",
    "color_from_lab",
    "color_from_spectrum",
    "color_from_xyz",
    "disable_debug_log",
    "enable_debug_log",
    "load_library",
    "result_text",
    "scan",
]
