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
        self.assert_near(cqapi.color_from_spectrum(white, ColorSpace.XYZ, *a2),
                         (109.85, 100, 35.58), 0.05)
        self.assert_near(cqapi.color_from_xyz((109.85, 100, 35.585), ColorSpace.LAB, *a2),
                         (100, 0, 0), 0.05)
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

        record = cqapi.MeasurementRecord.from_bytes(
            numpy.concatenate([numpy.zeros(16), spectra[0, 0], numpy.zeros(17)]).astype("<f4"))
        numpy.testing.assert_array_equal(record.spectrum(64), spectra[0, 0].astype("f4"))
        record.spectrum(64)[0] = 2  # a copy, and one that may be changed

    def test_differences_and_the_rest_reach_the_library(self):
        standard, trial = (50, 2.6772, -79.7751), (50, 0, -82.7485)
        difference = cqapi.color_difference(standard, trial)
        self.assertAlmostEqual(difference.delta_e, 2.0425, places=4)
        vivid, dark = (100, -50, 50), (20, 10, -20)
        cmc = cqapi.DifferenceFormula.DELTA_E_CMC
        self.assertAlmostEqual(
            cqapi.color_difference(vivid, dark, cmc, (1, 1, 0)).delta_e, 66.320207, places=4)
        for wrong in ((standard, trial, 7), (standard[:2], trial)):
            with self.assertRaises(ValueError):
                cqapi.color_difference(*wrong)
        with self.assertRaises(cqapi.CQError):
            cqapi.color_difference(standard, trial, cmc, (1, 0, 1))

        yellowness = cqapi.color_index(cqapi.ColorIndex.YELLOWNESS_E313, (95, 100, 105),
                                       Illuminant.D65, Observer.DEGREE_2)
        self.assertAlmostEqual(yellowness.value, 4.34, places=4)
        self.assertIs(yellowness.is_within_limits, True)
        self.assertFalse(cqapi.color_index(cqapi.ColorIndex.TINT_CIE, (50, 40, 30)).is_within_limits)
        with self.assertRaises(cqapi.CQNotSupportedError):
            cqapi.color_index(cqapi.ColorIndex.YELLOWNESS_D1925, (95, 100, 105))
        grey, darker = [0.5] * 31, [0.25] * 31
        self.assertAlmostEqual(
            cqapi.color_strength(grey, darker, cqapi.StrengthMethod.SUM), 450, places=3)
        self.assertAlmostEqual(cqapi.metamerism_index(grey, darker), 0, places=3)
        rating, step = cqapi.grey_scale_rating(cqapi.GreyScale.CHANGE, (40, 0, 0), (41.7, 0, 0))
        self.assertAlmostEqual(rating, 4, places=4)
        self.assertEqual(step, 4)
        self.assertEqual(cqapi.library_version(), cqapi.__version__)

    @unittest.skipIf(numpy is None, "numpy is not installed")
    def test_one_standard_goes_with_an_array_of_trials(self):
        trials = numpy.array([[[50, 1, 0], [50, 0, 2]], [[53, 0, 0], [50, 0, 0]]])
        difference = cqapi.color_difference((50, 0, 0), trials, cqapi.DifferenceFormula.DELTA_E_76)
        numpy.testing.assert_array_equal(difference.delta_e, [[1, 2], [3, 0]])
        numpy.testing.assert_array_equal(difference.delta_l, [[0, 0], [3, 0]])
        self.assertEqual(difference.delta_h.dtype, numpy.float32)
        within = cqapi.color_index(cqapi.ColorIndex.WHITENESS_CIE,
                                   [[94.8, 100, 107.3], [50, 40, 30]]).is_within_limits
        self.assertEqual(within.tolist(), [True, False])
        self.assertEqual(cqapi.color_strength(numpy.empty((0, 31)), [0.5] * 31).shape, (0,))

    def test_lists_without_numpy(self):
        program = """
import sys
sys.modules["numpy"] = None
import cqapi
one = cqapi.color_from_spectrum([1.0] * 31)
assert type(one) is list and abs(one[0] - 100) < 0.01, one
many = cqapi.color_from_lab([[50, 30, 40], [50, 0, 0]], cqapi.ColorSpace.LCH)
assert [round(row[1]) for row in many] == [50, 0], many
difference = cqapi.color_difference([50, 0, 0], [[53, 0, 0], [50, 4, 3]], 0)
assert (difference.delta_e, difference.delta_l) == ([3, 5], [3, 0]), difference
assert cqapi.color_strength([0.5] * 31, [0.5] * 31) == 100
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
