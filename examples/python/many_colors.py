"""Colours of many spectra at once, as arrays of numpy."""
import numpy

import cqapi
from cqapi import ColorSpace, Illuminant, Observer

wavelengths = numpy.arange(400, 701, 10)
peaks = numpy.linspace(420, 680, 14)
spectra = numpy.exp(-((wavelengths - peaks[:, None]) / 60) ** 2)  # one spectrum a row

lab = cqapi.color_from_spectrum(spectra)  # D65 and 10 degrees by default
lab_a = cqapi.color_from_spectrum(spectra, ColorSpace.LAB, Illuminant.A, Observer.DEGREE_2)
hue = cqapi.color_from_lab(lab, ColorSpace.LCH)[:, 2]
print(spectra.shape, lab.shape, "largest shift under A: %.1f" % numpy.linalg.norm(lab - lab_a, axis=1).max())
print("hues:", hue.round().astype(int))
