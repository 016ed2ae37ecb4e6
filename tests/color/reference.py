#!/usr/bin/env python3
"""Computes reference colours in double precision and writes them as CSV.

  reference.py DATA_FOLDER OUTPUT_FILE

One line for each of 25 patches, 18 illuminants, 2 observers and 3 kinds of input:
kind, patch, illuminant, observer, the input (31 or 3 numbers), then three numbers for each colour
space, in the order of their selectors. Inputs are rounded to single precision first, as the library
gets them. The patches are those of the chart, and one so dark that the formulas' linear parts count.

Nothing here comes from the library or from the script that generates its tables. Where a formula
can be written in more than one way, the other way is taken.
"""

import csv
import math
import struct
import sys
from pathlib import Path

HUNTER = {  # published Ka, Kb at 2 and at 10 degrees
    "D65": ((172.3, 67.2), (172.1, 66.7)),
    "D50": ((173.51, 58.48), (173.82, 58.13)),
    "A": ((185.2, 38.4), (186.3, 38.2)),
    "C": ((175.0, 70.0), (174.3, 69.4)),
    "D75": ((172.22, 71.3), (171.76, 70.76)),
    "F2": ((175.0, 52.9), (178.6, 53.6)),
    "F11": ((178.0, 52.3), (180.1, 52.7)),
    "F12": ((183.7, 37.5), (186.3, 38.2)),
}

D50_2_DEGREES = (96.422, 100.0, 82.521)
RED = (3.13405134140307, -1.61702771078607, -0.49065220978742)
GREEN = (-0.97876272987415, 1.91614222843468, 0.03344962851486)
BLUE = (0.07194257711719, -0.22897117960925, 1.40521830532745)


def single(value):
    return struct.unpack("<f", struct.pack("<f", value))[0]


def natural_spline(values):
    """Second derivatives at knots one apart, by Gaussian elimination of the full matrix."""
    n = len(values) - 2
    rows = [[1.0 if abs(i - j) == 1 else 4.0 if i == j else 0.0 for j in range(n)]
            + [6.0 * (values[i] - 2.0 * values[i + 1] + values[i + 2])] for i in range(n)]
    for i in range(n):
        for k in range(n):
            if k != i and rows[k][i]:
                factor = rows[k][i] / rows[i][i]
                rows[k] = [a - factor * b for a, b in zip(rows[k], rows[i])]
    return [0.0] + [row[n] / row[i] for i, row in enumerate(rows)] + [0.0]


def evaluate_spline(values, second, position):
    """Taylor's series about the knot to the left, the first or last but one at the least or most."""
    i = min(max(math.floor(position), 0), len(values) - 2)
    d = position - i
    slope = values[i + 1] - values[i] - (2.0 * second[i] + second[i + 1]) / 6.0
    return values[i] + d * (slope + d * (second[i] / 2.0 + d * (second[i + 1] - second[i]) / 6.0))


def every_5nm(spectrum):
    second = natural_spline(spectrum)
    return [evaluate_spline(spectrum, second, (nm - 400) / 10) for nm in range(360, 781, 5)]


def fold_10nm(weights):
    """31 weights for 400 to 700 nm: those beyond either end are added to the end's own."""
    return [sum(weights[:5]), *weights[5:34], sum(weights[34:])]


def dot(a, b):
    return math.fsum(x * y for x, y in zip(a, b, strict=True))


def lab_of(xyz, white):
    def f(ratio):
        return ratio ** (1 / 3) if ratio > (6 / 29) ** 3 else (ratio * 24389 / 27 + 16) / 116
    x, y, z = (f(value / reference) for value, reference in zip(xyz, white))
    return 116 * y - 16, 500 * (x - y), 200 * (y - z)


def xyz_of(lab, white):
    def g(value):
        return value ** 3 if value > 6 / 29 else 3 * (6 / 29) ** 2 * (value - 4 / 29)
    lightness, a, b = lab
    y = (lightness + 16) / 116
    return tuple(w * g(value) for w, value in zip(white, (y + a / 500, y, y - b / 200)))


def yxy_of(xyz):
    total = sum(xyz)
    return xyz[1], xyz[0] / total, xyz[1] / total


def lch_of(lab):
    return lab[0], math.hypot(lab[1], lab[2]), math.degrees(math.atan2(lab[2], lab[1])) % 360


def luv_of(xyz, white):
    def uniform(colour):
        _, x, y = yxy_of(colour)
        return 4 * x / (-2 * x + 12 * y + 3), 9 * y / (-2 * x + 12 * y + 3)
    lightness = lab_of(xyz, white)[0]
    (u, v), (un, vn) = uniform(xyz), uniform(white)
    return lightness, 13 * lightness * (u - un), 13 * lightness * (v - vn)


def hunter_of(xyz, white, illuminant, observer):
    if illuminant in HUNTER:
        ka, kb = HUNTER[illuminant][observer]
    else:
        ka, kb = 0.8836599 * (white[0] + white[1]), 0.32093897 * (white[1] + white[2])
    x, y, z = (value / reference for value, reference in zip(xyz, white))
    return 100 * math.sqrt(y), ka * (x - y) / math.sqrt(y), kb * (y - z) / math.sqrt(y)


def srgb_of(lab):
    xyz = xyz_of(lab, D50_2_DEGREES)
    def encode(linear):
        if linear <= 0.04045 / 12.92:
            return max(12.92 * linear, 0.0)
        return min(1.055 * linear ** (1 / 2.4) - 0.055, 1.0)
    return tuple(encode(dot(row, xyz) / 100) for row in (RED, GREEN, BLUE))


def din99_of(lab):
    lightness, a, b = lab
    hue = math.atan2(b, a) - math.radians(16)
    chroma = math.hypot(a, b)
    redness, yellowness = chroma * math.cos(hue), 0.7 * chroma * math.sin(hue)
    angle = math.atan2(yellowness, redness)
    c99 = math.log1p(0.045 * math.hypot(redness, yellowness)) / 0.045
    return 105.51 * math.log1p(0.0158 * lightness), c99 * math.cos(angle), c99 * math.sin(angle)


def all_spaces(xyz, lab, white, illuminant, observer):
    yxy = yxy_of(xyz)
    return (lab, xyz, yxy, lch_of(lab), luv_of(xyz, white),
            hunter_of(xyz, white, illuminant, observer), srgb_of(lab),
            (yxy[0] / 100, *yxy[1:]), din99_of(lab))


def read(path):
    with open(path, newline="", encoding="ascii") as file:
        return list(csv.DictReader(file))


def read_weights(path):
    tables = {}
    for row in read(path):
        columns = tables.setdefault((row["illuminant"], row["observer"]), ([], [], []))
        for column, name in zip(columns, ("wx", "wy", "wz")):
            column.append(float(row[name]))
    return tables


def lines(data):
    patches = {row.pop("patch"): [single(float(value)) for value in row.values()]
               for row in read(data / "colorchecker24.csv")}
    patches["near black"] = [single(value / 20) for value in patches["dark skin"]]
    splines = {patch: every_5nm(spectrum) for patch, spectrum in patches.items()}
    tables10 = read_weights(data / "weights_10nm.csv")
    tables5 = read_weights(data / "weights_5nm.csv")
    for number, row in enumerate(read(data / "whitepoints.csv")):
        illuminant = row["illuminant"]
        for observer, angle in enumerate(("2", "10")):
            white = tuple(float(row[f"{axis}n_{angle}deg"]) for axis in "XYZ")
            for patch, spectrum in patches.items():
                if illuminant[0] == "F" and illuminant != "F1":
                    xyz = tuple(dot(splines[patch], w) for w in tables5[illuminant, angle])
                else:
                    xyz = tuple(dot(spectrum, fold_10nm(w)) for w in tables10[illuminant, angle])
                lab = lab_of(xyz, white)
                xyz_input, lab_input = tuple(map(single, xyz)), tuple(map(single, lab))
                for kind, given, colour in (
                        ("spectrum", spectrum, (xyz, lab)),
                        ("xyz", xyz_input, (xyz_input, lab_of(xyz_input, white))),
                        ("lab", lab_input, (xyz_of(lab_input, white), lab_input))):
                    results = all_spaces(*colour, white, illuminant, observer)
                    numbers = [*given, *(value for result in results for value in result)]
                    yield ",".join([kind, patch, str(number), str(observer),
                                    *(f"{value:.9g}" for value in numbers)])


def main():
    data, output = map(Path, sys.argv[1:])
    text = "\n".join(lines(data)) + "\n"
    output.write_text(text, encoding="ascii", newline="\n")


if __name__ == "__main__":
    main()
