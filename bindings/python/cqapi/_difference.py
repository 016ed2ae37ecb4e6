"""Differences, indices, strength, metamerism and grey scales. Each takes one colour or spectrum, or an
array of several: then results are arrays, and one standard goes with every trial. What is not
defined for an input raises CQError."""

from __future__ import annotations

import ctypes
import enum
from typing import Any, NamedTuple

from ._arrays import columns_converted
from ._color import Illuminant, Observer
from ._library import check, load_library
from ._records import ColorData
from ._records import ColorDifference as _Record


class DifferenceFormula(enum.IntEnum):
    """A formula for the difference of two colours."""

    DELTA_E_76 = 0  #: CIELAB (ISO/CIE 11664-4)
    DELTA_E_94 = 1  #: CIE94, graphic arts 1:1:1 (CIE 116)
    DELTA_E_94_TEXTILE = 2  #: CIE94, textiles 2:1:1
    DELTA_E_CMC = 3  #: CMC 2:1 (ISO 105-J03)
    DELTA_E_2000 = 4  #: CIEDE2000 1:1:1 (ISO/CIE 11664-6)
    DELTA_E_99 = 5  #: DIN99 (DIN 6176:2001)
    DELTA_E_99O = 6  #: DIN99o (DIN 6176:2018)


class ColorIndex(enum.IntEnum):
    """An index of nearly white colours, and what it is defined for."""

    WHITENESS_CIE = 0  #: CIE 15: D65, both observers
    TINT_CIE = 1  #: as its whiteness; above 0 greenish
    WHITENESS_E313 = 2  #: ASTM E313: C, D50, D65, both observers
    TINT_E313 = 3  #: as its whiteness
    YELLOWNESS_E313 = 4  #: ASTM E313: C, D65, both observers
    YELLOWNESS_D1925 = 5  #: ASTM D1925: C and 2 degrees


class StrengthMethod(enum.IntEnum):
    """What of K/S is compared."""

    SINGLE_WAVELENGTH = 0  #: where the standard's is largest
    SUM = 1
    WEIGHTED = 2  #: its sum, weighted by what the observer sees


class MetamerismCorrection(enum.IntEnum):
    """How the trial is made equal to the standard under the reference illuminant."""

    MULTIPLICATIVE = 0  #: X, Y and Z times a factor each
    ADDITIVE = 1  #: L*, a* and b* plus a number each


class GreyScale(enum.IntEnum):
    """A grey scale for colour fastness."""

    CHANGE = 0  #: ISO 105-A05
    STAINING = 1  #: ISO 105-A04


class ColorDifference(NamedTuple):
    """The trial's values less the standard's; all but the first are CIELAB's."""

    delta_e: Any
    delta_l: Any
    delta_a: Any
    delta_b: Any
    delta_c: Any
    delta_h: Any


class IndexValue(NamedTuple):
    """An index, and whether the colour is within the limits of its standard."""

    value: Any
    is_within_limits: Any


class GreyScaleRating(NamedTuple):
    """The formula's number and the scale's step: 5, 4.5, 4 ... 1."""

    rating: Any
    step: Any


def _color(row: list[float]) -> ColorData:
    return ColorData((ctypes.c_float * 3)(*row))


def _spectrum(row: list[float]) -> Any:
    return (ctypes.c_float * 31)(*row)


def color_difference(
    standard: Any,
    trial: Any,
    formula: DifferenceFormula = DifferenceFormula.DELTA_E_2000,
    factors: Any = None,
) -> ColorDifference:
    """How trials, as L*, a*, b*, differ from a standard. `factors` are kL, kC and kH (for CMC l, c and
    one that is not read), each above 0; the usual ones unless given."""
    function, by = load_library().cqGetColorDifference, DifferenceFormula(formula)
    given = None if factors is None else (ctypes.c_float * 3)(*factors)

    def convert(one: list[float], other: list[float]) -> tuple[float, ...]:
        result = _Record()
        check(function(by, given, _color(one), _color(other), result), "cqGetColorDifference")
        return tuple(getattr(result, name) for name, _ in _Record._fields_)

    return ColorDifference(*columns_converted([standard, trial], 3, 6, convert))


def color_index(
    index: ColorIndex,
    xyz: Any,
    illuminant: Illuminant = Illuminant.D65,
    observer: Observer = Observer.DEGREE_10,
) -> IndexValue:
    """Whiteness, tint or yellowness of X, Y, Z; the perfect white has Y = 100. Raises
    CQNotSupportedError where it is not defined for this illuminant and observer."""
    function = load_library().cqGetColorIndex
    arguments = (ColorIndex(index), Illuminant(illuminant), Observer(observer))

    def convert(row: list[float]) -> tuple[float, bool]:
        value, is_within = ctypes.c_float(), ctypes.c_bool()
        check(function(*arguments, _color(row), value, is_within), "cqGetColorIndex")
        return value.value, is_within.value

    return IndexValue(*columns_converted([xyz], 3, 2, convert))


def color_strength(
    standard: Any,
    trial: Any,
    method: StrengthMethod = StrengthMethod.WEIGHTED,
    illuminant: Illuminant = Illuminant.D65,
    observer: Observer = Observer.DEGREE_10,
) -> Any:
    """Relative colour strength of trials, in percent of the standard's, from spectra. Illuminant and
    observer count for WEIGHTED alone."""
    function = load_library().cqGetColorStrength
    arguments = (StrengthMethod(method), Illuminant(illuminant), Observer(observer))

    def convert(one: list[float], other: list[float]) -> tuple[float]:
        value = ctypes.c_float()
        check(function(*arguments, _spectrum(one), _spectrum(other), value), "cqGetColorStrength")
        return (value.value,)

    return columns_converted([standard, trial], 31, 1, convert)[0]


def metamerism_index(
    standard: Any,
    trial: Any,
    reference: Illuminant = Illuminant.D65,
    test: Illuminant = Illuminant.A,
    formula: DifferenceFormula = DifferenceFormula.DELTA_E_2000,
    correction: MetamerismCorrection = MetamerismCorrection.MULTIPLICATIVE,
    observer: Observer = Observer.DEGREE_10,
) -> Any:
    """Special metamerism index for a change of illuminant, from spectra."""
    function = load_library().cqGetMetamerismIndex
    arguments = (DifferenceFormula(formula), MetamerismCorrection(correction),
                 Illuminant(reference), Illuminant(test), Observer(observer))

    def convert(one: list[float], other: list[float]) -> tuple[float]:
        value = ctypes.c_float()
        check(function(*arguments, _spectrum(one), _spectrum(other), value), "cqGetMetamerismIndex")
        return (value.value,)

    return columns_converted([standard, trial], 31, 1, convert)[0]


def grey_scale_rating(scale: GreyScale, standard: Any, trial: Any) -> GreyScaleRating:
    """Rates a change of colour or a stain from L*, a*, b* before and after a test."""
    function, of = load_library().cqGetGreyScaleRating, GreyScale(scale)

    def convert(one: list[float], other: list[float]) -> tuple[float, float]:
        rating, step = ctypes.c_float(), ctypes.c_float()
        check(function(of, _color(one), _color(other), rating, step), "cqGetGreyScaleRating")
        return rating.value, step.value

    return GreyScaleRating(*columns_converted([standard, trial], 3, 2, convert))
