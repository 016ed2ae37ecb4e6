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
from ._difference import (
    ColorDifference,
    ColorIndex,
    DifferenceFormula,
    GreyScale,
    GreyScaleRating,
    IndexValue,
    MetamerismCorrection,
    StrengthMethod,
    color_difference,
    color_index,
    color_strength,
    grey_scale_rating,
    metamerism_index,
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
from ._library import disable_debug_log, enable_debug_log, library_version, load_library
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
    "ColorDifference",
    "ColorIndex",
    "ColorSpace",
    "DeviceInfo",
    "DifferenceFormula",
    "GreyScale",
    "GreyScaleRating",
    "Illuminant",
    "IndexValue",
    "Instrument",
    "InstrumentStatus",
    "LibraryNotFoundError",
    "MeasurementHandler",
    "MeasurementRecord",
    "MetamerismCorrection",
    "Observer",
    "ResultCode",
    "StrengthMethod",
    "WhiteBoardParameter",
    "__version__",
    "color_difference",
    "color_from_lab",
    "color_from_spectrum",
    "color_from_xyz",
    "color_index",
    "color_strength",
    "disable_debug_log",
    "enable_debug_log",
    "grey_scale_rating",
    "library_version",
    "load_library",
    "metamerism_index",
    "result_text",
    "scan",
]
