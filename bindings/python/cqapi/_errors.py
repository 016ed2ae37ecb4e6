"""Result codes as exceptions."""

from __future__ import annotations

import enum


class ResultCode(enum.IntEnum):
    """What a function of the library returns; see CqResult in CQApi.h."""

    NO_ERROR = 0
    CANNOT_FOUND_DEVICE = 1
    FAIL_TO_OPEN = 2
    DEVICE_IS_CLOSED = 3
    NO_SESSION = 4
    DEVICE_IS_BUSY = 5
    SENDING_TIMEOUT = 6
    RECEIVING_TIMEOUT = 7
    EXECUTE_COMMAND_FAILED = 8
    SYSTEM_ERROR = 9
    INVALID_PACKET = 10
    UNEXPECTED_COMMAND = 11
    UNCALIBRATED = 12
    THE_STORAGE_IS_FULL = 13
    FAIL_TO_CALIBRATE = 14
    NO_ENOUGH_STORAGE = 15
    INVALID_PARAMETER = 16
    NOT_SUPPORTED = 17
    HAS_CONNECTED = 18
    UNKNOWN_ERROR = 19


def result_text(code: int) -> str:
    """The text of a code; codes beyond the table share that of UNKNOWN_ERROR."""
    try:
        code = ResultCode(code)
    except ValueError:
        code = ResultCode.UNKNOWN_ERROR
    return code.name.lower().replace("_", " ")


class LibraryNotFoundError(OSError):
    """The library CQApi was not found or cannot be loaded; the message lists where it was searched for."""


class CQError(Exception):
    """A call that failed. `code` is a ResultCode number, `text` its text, `call` the function's name."""

    def __init__(self, code: int, text: str | None = None, call: str = "") -> None:
        self.code = code
        self.text = result_text(code) if text is None else text
        self.call = call
        super().__init__(code, self.text, call)

    def __str__(self) -> str:
        return f"{self.call}: {self.text} ({self.code})" if self.call else f"{self.text} ({self.code})"


class CQConnectionError(CQError, ConnectionError):
    """No instrument or adapter, or the link to it was lost: open again (codes 1 to 4, 9 and 18)."""


class CQBusyError(CQError):
    """Another transfer is running: ask again (code 5)."""


class CQTimeoutError(CQError, TimeoutError):
    """Not answered in time (codes 6 and 7)."""


class CQRefusedError(CQError):
    """The instrument refused, often because it is uncalibrated or full (codes 8, 12 to 15)."""


class CQProtocolError(CQError):
    """A reply of the wrong size, form or command (codes 10 and 11)."""


class CQNotSupportedError(CQError):
    """Not supported by this instrument; also any call on a closed one (code 17)."""


_CLASSES: dict[int, type[CQError]] = {
    **dict.fromkeys((1, 2, 3, 4, 9, 18), CQConnectionError),
    5: CQBusyError,
    **dict.fromkeys((6, 7), CQTimeoutError),
    **dict.fromkeys((8, 12, 13, 14, 15), CQRefusedError),
    **dict.fromkeys((10, 11), CQProtocolError),
    17: CQNotSupportedError,
}


def error_of(code: int, call: str) -> CQError:
    """The exception for a code other than NO_ERROR."""
    return _CLASSES.get(code, CQError)(code, call=call)
