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


def columns_converted(inputs: list[Any], width: int, results: int,
                      convert: Callable[..., tuple[Any, ...]]) -> tuple[Any, ...]:
    """Applies a function of one row of `width` numbers from each input, which gives `results`
    values, to the rows that correspond; a single row goes with each row of the others. Gives for
    each result a value, or an array where an input is one (a list without numpy). Raises ValueError
    when a row has another length, or the inputs do not fit together."""
    if numpy is not None:
        arrays = [numpy.asarray(values, dtype=numpy.float32) for values in inputs]
        for given in arrays:
            if given.ndim == 0 or given.shape[-1] != width:
                raise ValueError(f"{width} numbers are needed, not an array of shape {given.shape}")
        arrays = numpy.broadcast_arrays(*arrays)
        shape = arrays[0].shape[:-1]
        rows = [convert(*row) for row in zip(*(a.reshape(-1, width).tolist() for a in arrays))]
        if not shape:
            return rows[0]
        columns = list(zip(*rows)) or [()] * results
        return tuple(
            numpy.array(column, dtype=bool if column and isinstance(column[0], bool)
                        else numpy.float32).reshape(shape) for column in columns)
    lists = [list(values) for values in inputs]
    several = [bool(each) and not isinstance(each[0], (int, float)) for each in lists]
    if any(several):
        lengths = {len(each) for each, is_several in zip(lists, several) if is_several}
        if len(lengths) > 1:
            raise ValueError(f"inputs of the same length are needed, not of {sorted(lengths)}")
        done = [columns_converted([each[i] if is_several else each
                                   for each, is_several in zip(lists, several)],
                                  width, results, convert) for i in range(lengths.pop())]
        return tuple(map(list, zip(*done)))
    for each in lists:
        if len(each) != width:
            raise ValueError(f"{width} numbers are needed, not {len(each)}")
    return convert(*lists)
