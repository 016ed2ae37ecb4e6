#!/usr/bin/env python3
"""Computes the weighting tables anew from the CIE's data and compares them with data/weights_*.csv.

Exits with 1 and names the cells when the files hold anything else than what the method gives.
data/README.md describes the method and the eight cells that follow a published figure instead.
"""

import csv
import math
import sys
from pathlib import Path

DATA = Path(__file__).resolve().parent.parent / "data"
FIRST, LAST = 360, 780

# What is published for a cell (illuminant, observer, nm, axis) of the 10-nm tables whose last digit
# the method gives one higher or lower.
PUBLISHED = {
    ("D50", "2", 440, "Z"): "12.309",
    ("D50", "2", 480, "Y"): "1.239",
    ("D50", "2", 550, "X"): "4.207",
    ("D50", "2", 570, "Y"): "8.902",
    ("D50", "2", 610, "X"): "9.469",
    ("A", "10", 610, "X"): "12.337",
    ("A", "10", 780, "X"): "0.001",
    ("A", "2", 780, "X"): "0.001",
}


def read(name):
    with open(DATA / name, newline="", encoding="ascii") as file:
        return list(csv.DictReader(file))


def lagrange(nodes, x):
    """The weight of each node's value in the polynomial through all of them, at x."""
    return [math.prod((x - other) / (node - other) for other in nodes if other != node)
            for node in nodes]


def nodes_around(x, step, first, last):
    """The grid points whose polynomial is used at x: four, or three beside an end."""
    left = min(first + (x - first) // step * step, last - step)
    return [node for node in range(left - step, left + 3 * step, step) if first <= node <= last]


def power_at_1nm(illuminant, rows):
    """Relative power at each nm of the range from the 5-nm values."""
    if illuminant == "A":
        # CIE 15:2004, 3.1: a Planckian radiator at 2848 K, c2 = 1.435e7 nm K; 100 at 560 nm.
        def planck(nm):
            return nm ** -5.0 / (math.exp(1.435e7 / (2848.0 * nm)) - 1.0)
        return {nm: 100.0 * planck(nm) / planck(560) for nm in range(FIRST, LAST + 1)}
    values = {int(row["wavelength_nm"]): float(row[illuminant]) for row in rows if row[illuminant]}
    start = min(values)
    power = {}
    for nm in range(FIRST, LAST + 1):
        if nm < start:
            power[nm] = 0.0
        elif illuminant == "D65":
            # CIE 15:2004, table T.1: D65 is linear between its 5-nm values by definition.
            left = min(nm - nm % 5, LAST - 5)
            power[nm] = values[left] + (values[left + 5] - values[left]) * (nm - left) / 5
        else:
            nodes = nodes_around(nm, 5, start, LAST)
            power[nm] = sum(w * values[n] for w, n in zip(lagrange(nodes, nm), nodes))
    return power


def shared_out(products):
    """ASTM E2022: the product of each nm goes to the 10-nm points whose values would give it."""
    sums = dict.fromkeys(range(FIRST, LAST + 1, 10), 0.0)
    for nm, product in products.items():
        nodes = nodes_around(nm, 10, FIRST, LAST)
        for weight, node in zip(lagrange(nodes, nm), nodes):
            sums[node] += weight * product
    return sums


def decimals(value):
    """Three decimals, rounded half away from zero, without a negative zero."""
    thousandths = math.floor(abs(value) * 1000.0 + 0.5)
    return f"{'-' if value < 0 and thousandths else ''}{thousandths // 1000}.{thousandths % 1000:03}"


def scaled(columns):
    factor = 100.0 / sum(columns["Y"].values())
    return {axis: {nm: decimals(value * factor) for nm, value in column.items()}
            for axis, column in columns.items()}


def weights_10nm(illuminant, observer, powers, functions):
    power = power_at_1nm(illuminant, powers)
    columns = scaled({
        axis: shared_out({nm: power[nm] * functions[nm][axis, observer] for nm in power})
        for axis in "XYZ"})
    for (name, angle, nm, axis), value in PUBLISHED.items():
        if (name, angle) == (illuminant, observer):
            columns[axis][nm] = value
    return columns


def weights_5nm(illuminant, observer, powers, functions):
    power = {int(row["wavelength_nm"]): float(row[illuminant] or 0.0) for row in powers}
    return scaled({
        axis: {nm: value * functions[nm][axis, observer] if nm >= 380 else 0.0
               for nm, value in power.items()}
        for axis in "XYZ"})


def main():
    powers = read("illuminants_5nm.csv")
    functions = {
        int(row["wavelength_nm"]): {(axis, observer): float(row[f"{axis.lower()}_{observer}deg"])
                                    for axis in "XYZ" for observer in ("2", "10")}
        for row in read("cmf_1nm.csv")}
    compared = 0
    wrong = []
    for step, compute in ((10, weights_10nm), (5, weights_5nm)):
        tables = {}
        for row in read(f"weights_{step}nm.csv"):
            key = row["illuminant"], row["observer"]
            if key not in tables:
                tables[key] = compute(*key, powers, functions)
            nm = int(row["wavelength_nm"])
            for axis in "XYZ":
                compared += 1
                expected, found = tables[key][axis][nm], row[f"w{axis.lower()}"]
                if expected != found:
                    wrong.append(f"weights_{step}nm.csv: {'/'.join(key)} {nm} nm {axis} is {found}, "
                                 f"the method gives {expected}")
    print("\n".join(wrong + [f"{compared} cells compared, {len(wrong)} differ"]))
    return 1 if wrong or not compared else 0


if __name__ == "__main__":
    sys.exit(main())
