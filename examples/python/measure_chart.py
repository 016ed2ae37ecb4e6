"""Measures the 24 patches of a colour chart and plots their spectra: measure_chart.py PORT PICTURE"""
import sys

import matplotlib
matplotlib.use("Agg")  # draws into a file, without a window
from matplotlib import patheffects, pyplot

import cqapi
from cqapi import ColorSpace

SPECTRUM_OFFSET = 64  # in the virtual instrument's records
OUTLINE = [patheffects.Stroke(linewidth=2.8, foreground="0.4"), patheffects.Normal()]  # or white is not seen

if len(sys.argv) != 3:
    sys.exit(__doc__)
pyplot.figure(figsize=(9, 5))
with cqapi.Instrument.open(sys.argv[1]) as instrument:
    instrument.calibrate_white()
    instrument.calibrate_black()
    for patch in range(24):
        spectrum = instrument.measure_standard().spectrum(SPECTRUM_OFFSET)
        srgb = cqapi.color_from_spectrum(spectrum, ColorSpace.SRGB)
        pyplot.plot(range(400, 701, 10), spectrum, color=[min(max(c, 0), 1) for c in srgb],
                    label=patch + 1, path_effects=OUTLINE)
        print("patch %2d  L* %6.2f  a* %6.2f  b* %6.2f" % (patch + 1, *cqapi.color_from_spectrum(spectrum)))

pyplot.title("Patches of the chart, in their colours")
pyplot.xlabel("wavelength in nm")
pyplot.ylabel("reflectance factor")
pyplot.legend(title="patch", ncol=2, loc="center left", bbox_to_anchor=(1, 0.5))
pyplot.savefig(sys.argv[2], bbox_inches="tight")
