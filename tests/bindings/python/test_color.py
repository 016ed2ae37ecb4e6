"""The colour functions: lists and arrays, one colour and many, and what is refused."""

import os
import subprocess
import sys
import unittest

import cqapi
from cqapi import ColorSpace, Illuminant, Observer

try:
    import numpy
except ImportError:
    numpy = None


class Color(unittest.TestCase):
    def assert_near(self, color, expected, delta):
        self.assertEqual(len(color), 3)
        for value, right in zip(color, expected):
            self.assertAlmostEqual(value, right, delta=delta)

    def test_arguments_reach_their_places(self):
        # White points: CIE 15:2018, for each illuminant and observer.
        white = [1.0] * 31
        a2 = (Illuminant.A, Observer.DEGREE_2)
        self.assert_near(cqapi.color_from_spectrum(white), (100, 0, 0), 0.01)
        self.assert_near(cqapi.color_from_spectrum(white, ColorSpace.XYZ), (94.81, 100, 107.32), 0.05)
        self.assert_near(cqapi.color_from_spectrum(white, ColorSpace.XYZ, *a2),
                         (109.85, 100, 35.58), 0.05)
        self.assert_near(cqapi.color_from_xyz((94.811, 100, 107.304)), (100, 0, 0), 0.05)
        self.assert_near(cqapi.color_from_xyz((109.85, 100, 35.585), ColorSpace.LAB, *a2),
                         (100, 0, 0), 0.05)
        self.assert_near(cqapi.color_from_lab((50, 30, 40), ColorSpace.LCH), (50, 50, 53.13), 0.01)
        self.assert_near(
            cqapi.color_from_lab((100, 0, 0), ColorSpace.YXY, Illuminant.D50, Observer.DEGREE_2),
            (100, 0.3457, 0.3585), 0.001)

    def test_refuses_what_the_library_would_not_check(self):
        for count, *arguments in (
            (30,), (32,), (0,), (31, 7), (31, 10), (31, ColorSpace.LAB, 18), (31, ColorSpace.LAB, -1),
            (31, ColorSpace.LAB, Illuminant.A, 2),
        ):
            with self.subTest(count, arguments=arguments), self.assertRaises(ValueError):
                cqapi.color_from_spectrum((1.0,) * count, *arguments)
        with self.assertRaises(ValueError):
            cqapi.color_from_lab((50, 0, 0, 0), ColorSpace.XYZ)

    @unittest.skipIf(numpy is None, "numpy is not installed")
    def test_arrays(self):
        spectra = numpy.linspace(0.1, 0.9, 2 * 4 * 31).reshape(2, 4, 31)
        colors = cqapi.color_from_spectrum(spectra)
        self.assertEqual((colors.shape, colors.dtype), ((2, 4, 3), numpy.float32))
        numpy.testing.assert_array_equal(colors[1, 2], cqapi.color_from_spectrum(list(spectra[1, 2])))
        # A view with strides, and no spectrum at all.
        numpy.testing.assert_array_equal(cqapi.color_from_spectrum(spectra[:, ::2]), colors[:, ::2])
        self.assertEqual(cqapi.color_from_spectrum(numpy.empty((0, 31))).shape, (0, 3))
        back = cqapi.color_from_lab(colors, ColorSpace.XYZ)
        numpy.testing.assert_allclose(cqapi.color_from_xyz(back), colors, atol=1e-3)

        record = cqapi.MeasurementRecord.from_bytes(
            numpy.concatenate([numpy.zeros(16), spectra[0, 0], numpy.zeros(17)]).astype("<f4"))
        numpy.testing.assert_array_equal(record.spectrum(64), spectra[0, 0].astype("f4"))
        record.spectrum(64)[0] = 2  # a copy, and one that may be changed

    def test_lists_without_numpy(self):
        program = """
import sys
sys.modules["numpy"] = None
import cqapi
one = cqapi.color_from_spectrum([1.0] * 31)
assert type(one) is list and abs(one[0] - 100) < 0.01, one
many = cqapi.color_from_lab([[50, 30, 40], [50, 0, 0]], cqapi.ColorSpace.LCH)
assert [round(row[1]) for row in many] == [50, 0], many
assert cqapi.MeasurementRecord().spectrum(64) == [0.0] * 31
for wrong in ([1.0] * 30, [[1.0] * 31, [1.0]]):
    try:
        cqapi.color_from_spectrum(wrong)
    except ValueError:
        continue
    raise AssertionError(wrong)
print("done")
"""
        done = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True,
                              env=os.environ, check=False)
        self.assertEqual(done.stdout, "done\n", done.stderr)
