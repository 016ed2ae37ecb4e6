"""Floats in and out: numpy arrays where numpy is installed, lists where it is not."""

from __future__ import annotations

import array
import sys
from collections.abc import Callable
from typing import TYPE_CHECKING, Any, Union

try:
    import numpy
except ImportError:
    numpy = None  # type: ignore[assignment]

if TYPE_CHECKING:
    #: An array of float32 where numpy is installed, else a list.
    FloatArray = Union["numpy.ndarray[Any, numpy.dtype[numpy.float32]]", list[float]]
else:
    FloatArray = Any


def floats_of_bytes(data: bytes) -> FloatArray:
    """Little-endian 32-bit floats."""
    if numpy is not None:
        return numpy.frombuffer(data, dtype="<f4").astype(numpy.float32)
    values = array.array("f", data)
    if sys.byteorder == "big":
        values.byteswap()
    return values.tolist()


def rows_converted(values: Any, width: int, convert: Callable[[Any], list[float]]) -> FloatArray:
    """Applies a function from `width` numbers to three to one row of numbers, or to each of several
    rows. Raises ValueError if a row has another length."""
    if numpy is not None:
        given = numpy.asarray(values, dtype=numpy.float32)
        if given.ndim == 0 or given.shape[-1] != width:
            raise ValueError(f"{width} numbers are needed, not an array of shape {given.shape}")
        rows = given.reshape(-1, width).tolist()
        converted = numpy.array([convert(row) for row in rows], dtype=numpy.float32)
        return converted.reshape(*given.shape[:-1], 3)
    rows = list(values)
    if rows and not isinstance(rows[0], (int, float)):
        return [rows_converted(row, width, convert) for row in rows]
    if len(rows) != width:
        raise ValueError(f"{width} numbers are needed, not {len(rows)}")
    return convert(rows)
