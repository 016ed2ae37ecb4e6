"""Finds the library and declares its functions, as CQApi.h does."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import pathlib
import sys
import threading
from collections.abc import Iterator

from ._errors import LibraryNotFoundError, error_of
from ._records import (
    BleSlave,
    ColorData,
    ColorDifference,
    DeviceInfo,
    InstrumentStatus,
    MeasurementRecord,
    WhiteBoardParameter,
)

_ENVIRONMENT = "CQAPI_LIBRARY"

_Handle = ctypes.c_void_p
_Code = ctypes.c_uint32
_U8, _U32, _I32 = ctypes.c_uint8, ctypes.c_uint32, ctypes.c_int32
_Floats = ctypes.POINTER(ctypes.c_float)
_Records = ctypes.POINTER(MeasurementRecord)
_Color = ctypes.POINTER(ColorData)

#: void (*)(bool isStandard, const CqMeasurementRecord* record, void* user)
Callback = ctypes.CFUNCTYPE(None, ctypes.c_bool, _Records, ctypes.c_void_p)

# Of each function the result and the parameters.
PROTOTYPES: dict[str, tuple[type | None, ...]] = {
    "cqOpen": (_Handle, ctypes.c_char_p),
    "cqOpenByBleDongle": (_Handle, ctypes.c_char_p, ctypes.c_char_p),
    "cqScanBleSlaves": (_Code, ctypes.c_char_p, ctypes.POINTER(ctypes.POINTER(BleSlave))),
    "cqClose": (None, _Handle),
    "cqIsValidHandle": (ctypes.c_bool, _Handle),
    "cqGetPortName": (_Code, _Handle, ctypes.c_char_p, _I32),
    "cqFree": (None, ctypes.c_void_p),
    "cqEnableDebugLog": (ctypes.c_bool,),
    "cqDiableDebugLog": (ctypes.c_bool,),
    "cqGetDeviceInfo": (_Code, _Handle, ctypes.POINTER(DeviceInfo)),
    "cqGetInstrumentStatus": (_Code, _Handle, ctypes.POINTER(InstrumentStatus)),
    "cqCalibrateWhite": (_Code, _Handle),
    "cqCalibrateBlack": (_Code, _Handle),
    "cqMeasureStandard": (_Code, _Handle, _Records),
    "cqMeasureTrial": (_Code, _Handle, _Records),
    "cqSetMeasurementResultReceivedCallback": (_Code, _Handle, Callback, ctypes.c_void_p),
    "cqGetTotalStandards": (_Code, _Handle, ctypes.POINTER(_U32)),
    "cqGetTotalSamples": (_Code, _Handle, ctypes.POINTER(_U32)),
    "cqGetSampleCount": (_Code, _Handle, _U32, ctypes.POINTER(_U32)),
    "cqUploadStandards": (_Code, _Handle, _Records, _U32, _U32),
    "cqUploadSamples": (_Code, _Handle, _Records, _U32, _U32, _U32),
    "cqDownloadStandards": (_Code, _Handle, _Records, _U32),
    "cqDeleteStandard": (_Code, _Handle, _U32),
    "cqDeleteAllRecords": (_Code, _Handle),
    "cqDeleteSample": (_Code, _Handle, _U32, _U32),
    "cqGetWhiteBoardParameter": (_Code, _Handle, ctypes.POINTER(WhiteBoardParameter)),
    "cqSetWhiteBoardParameter": (_Code, _Handle, ctypes.POINTER(WhiteBoardParameter)),
    "cqGetMeasurementParameter": (_Code, _Handle, _U8, ctypes.POINTER(_U32)),
    "cqSetMeasurementParameter": (_Code, _Handle, _U8, _U8),
    "cqGetColorDataFromSpectralData": (_Code, _Floats, _U32, _I32, _I32, _Color),
    "cqGetColorDataFromXyz": (_Code, _I32, _I32, _Floats, _U32, _Color),
    "cqGetColorDataFromLab": (_Code, _I32, _I32, _Floats, _U32, _Color),
    "cqGetResultText": (ctypes.c_char_p, _U32),
    "cqGetVersion": (ctypes.c_char_p,),
    "cqGetColorDifference":
        (_Code, _U32, _Floats, _Color, _Color, ctypes.POINTER(ColorDifference)),
    "cqGetColorIndex":
        (_Code, _U32, _I32, _I32, _Color, _Floats, ctypes.POINTER(ctypes.c_bool)),
    "cqGetColorStrength": (_Code, _U32, _I32, _I32, _Floats, _Floats, _Floats),
    "cqGetMetamerismIndex":
        (_Code, _U32, _U32, _I32, _I32, _I32, _Floats, _Floats, _Floats),
    "cqGetGreyScaleRating": (_Code, _U32, _Color, _Color, _Floats, _Floats),
}

_loaded: ctypes.CDLL | None = None
_loading = threading.Lock()


def _file_names() -> list[str]:
    if sys.platform == "win32":
        return ["CQApi.dll"]
    return ["libCQApi.so", "libCQApi.so.1"]


def _candidates() -> Iterator[str]:
    """Where to look when no path is given: beside this package, then where the system looks."""
    for name in _file_names():
        beside = pathlib.Path(__file__).parent / name
        if beside.exists():
            yield str(beside)
    if sys.platform == "win32":  # its loader does not search PATH for ctypes; find_library does
        found = ctypes.util.find_library("CQApi")
        if found:
            yield found
    yield from _file_names()


def _open(candidates: list[str]) -> ctypes.CDLL:
    failures = []
    for candidate in candidates:
        try:
            return ctypes.CDLL(candidate)
        except OSError as error:
            failures.append(f"  {candidate}: {error}")
    raise LibraryNotFoundError(
        "the library CQApi cannot be loaded:\n" + "\n".join(failures) + "\nName its file with "
        f"load_library() or the environment variable {_ENVIRONMENT}, or put it beside the package"
    )


def _declare(library: ctypes.CDLL) -> None:
    for name, (result, *parameters) in PROTOTYPES.items():
        try:
            function = getattr(library, name)
        except AttributeError:
            raise LibraryNotFoundError(
                f"{library._name} has no function {name}: it is not CQApi 1.0 or newer") from None
        function.restype = result
        function.argtypes = parameters


def load_library(path: str | os.PathLike[str] | None = None) -> ctypes.CDLL:
    """Loads the library, once in a process. Other functions do so by themselves; call this before
    them only to name the file.

    Without a path the library is searched for at the path in the environment variable CQAPI_LIBRARY,
    beside this package, and in the system's library path. Raises LibraryNotFoundError if it is not
    found, and RuntimeError if another file is already loaded.
    """
    global _loaded
    with _loading:
        if _loaded is None:
            named = os.fspath(path) if path is not None else os.environ.get(_ENVIRONMENT)
            library = _open([named] if named else list(_candidates()))
            _declare(library)
            _loaded = library
        elif path is not None and os.fspath(path) != _loaded._name:
            raise RuntimeError(f"{_loaded._name} is loaded already; name the library before its first use")
        return _loaded


def check(code: int, call: str) -> None:
    """Raises what the code means, unless it is 0."""
    if code != 0:
        raise error_of(code, call)


def library_version() -> str:
    """The version of the library that is loaded; `__version__` is that of this package."""
    return load_library().cqGetVersion().decode("ascii")


def enable_debug_log() -> None:
    """Starts the debug log: a file beside the library, with the library's name and ".log" appended,
    emptied at every start. Raises OSError if the file cannot be opened."""
    library = load_library()
    if not library.cqEnableDebugLog():
        raise OSError(f"the debug log cannot be opened: is the folder of {library._name} writable?")


def disable_debug_log() -> None:
    """Stops the debug log and closes its file."""
    load_library().cqDiableDebugLog()
