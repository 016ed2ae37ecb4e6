"""Judges a batch of trials against its standard by two formulas, and a white paper by its index."""
import cqapi
from cqapi import ColorIndex, DifferenceFormula

standard = (52.1, 38.4, 21.7)  # L*, a*, b* for D65 and 10 degrees
trials = [(52.4, 38.1, 21.5), (51.6, 39.2, 22.9), (52.0, 36.3, 20.2)]

by_2000 = cqapi.color_difference(standard, trials)
by_cmc = cqapi.color_difference(standard, trials, DifferenceFormula.DELTA_E_CMC)  # 2:1
for i in range(len(trials)):
    print("trial %d  dE00 %.2f  CMC %.2f  dL* %+.2f  dC* %+.2f  dH* %+.2f  %s" % (
        i + 1, by_2000.delta_e[i], by_cmc.delta_e[i], by_2000.delta_l[i], by_2000.delta_c[i],
        by_2000.delta_h[i], "pass" if by_2000.delta_e[i] <= 1 else "FAIL"))

paper = (84.6, 88.3, 104.1)  # X, Y, Z
whiteness = cqapi.color_index(ColorIndex.WHITENESS_CIE, paper)
print("whiteness %.1f%s" % (whiteness.value, "" if whiteness.is_within_limits else ", beyond its limits"))
