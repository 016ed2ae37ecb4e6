"""The colour functions. They need no instrument and may run on any number of threads at once."""

from __future__ import annotations

import ctypes
import enum
from collections.abc import Callable
from typing import Any

from ._arrays import FloatArray, rows_converted
from ._library import check, load_library
from ._records import ColorData


class ColorSpace(enum.IntEnum):
    """A colour space, and the meaning of a colour's three values in it."""

    LAB = 0  #: CIE 1976 L*, a*, b*
    XYZ = 1  #: tristimulus values X, Y, Z; the perfect white has Y = 100
    YXY = 2  #: Y, and the chromaticity coordinates x, y
    LCH = 3  #: L*, C*ab, hue angle hab in degrees, 0 to 360
    LUV = 4  #: CIE 1976 L*, u*, v*
    HUNTER_LAB = 5  #: Hunter L, a, b
    SRGB = 6  #: R, G, B, each 0 to 1
    YXY_UNIT = 8  #: as YXY with Y / 100
    DIN99 = 9  #: L99, a99, b99; a99 and b99 of a neutral are not-a-number


class Illuminant(enum.IntEnum):
    """A CIE illuminant."""

    D65 = 0
    D50 = 1
    A = 2
    C = 3
    D55 = 4
    D75 = 5
    F1 = 6
    F2 = 7
    F3 = 8
    F4 = 9
    F5 = 10
    F6 = 11
    F7 = 12
    F8 = 13
    F9 = 14
    F10 = 15
    F11 = 16
    F12 = 17


class Observer(enum.IntEnum):
    """A CIE standard observer."""

    DEGREE_2 = 0  #: CIE 1931
    DEGREE_10 = 1  #: CIE 1964


def _convert(values: Any, width: int, call: Callable[[Any, Any], Any], name: str) -> FloatArray:
    color = ColorData()
    source_type = ctypes.c_float * width

    def convert(row: Any) -> list[float]:
        check(call(source_type(*row), ctypes.byref(color)), name)
        return list(color.values)

    return rows_converted(values, width, convert)


def color_from_spectrum(
    spectrum: Any,
    space: ColorSpace = ColorSpace.LAB,
    illuminant: Illuminant = Illuminant.D65,
    observer: Observer = Observer.DEGREE_10,
) -> FloatArray:
    """Colour of a spectrum: 31 reflectance factors at 400, 410 ... 700 nm; 1.0 is the perfect
    white. An array of several spectra, with 31 as its last dimension, gives as many colours. Raises
    ValueError for another length and for an unknown space, illuminant or observer."""
    function = load_library().cqGetColorDataFromSpectralData
    viewing = (ColorSpace(space), Illuminant(illuminant), Observer(observer))
    return _convert(spectrum, 31, lambda values, color: function(values, *viewing, color),
                    "cqGetColorDataFromSpectralData")


def _from_triple(name: str, values: Any, space: int, illuminant: int, observer: int) -> FloatArray:
    function = getattr(load_library(), name)
    to, light, eye = ColorSpace(space), Illuminant(illuminant), Observer(observer)
    return _convert(values, 3, lambda triple, color: function(light, eye, triple, to, color), name)


def color_from_xyz(
    xyz: Any,
    space: ColorSpace = ColorSpace.LAB,
    illuminant: Illuminant = Illuminant.D65,
    observer: Observer = Observer.DEGREE_10,
) -> FloatArray:
    """Colour of tristimulus values under this illuminant and observer; the perfect white has
    Y = 100. One colour or an array of several, as with color_from_spectrum()."""
    return _from_triple("cqGetColorDataFromXyz", xyz, space, illuminant, observer)


def color_from_lab(
    lab: Any,
    space: ColorSpace,
    illuminant: Illuminant = Illuminant.D65,
    observer: Observer = Observer.DEGREE_10,
) -> FloatArray:
    """Colour of L*, a*, b* under this illuminant and observer. One colour or an array of several, as
    with color_from_spectrum()."""
    return _from_triple("cqGetColorDataFromLab", lab, space, illuminant, observer)
