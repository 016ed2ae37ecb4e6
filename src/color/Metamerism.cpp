#include "color/Metamerism.h"

#include "color/Integration.h"
#include "color/Lab.h"

namespace ovk::color {
namespace {

Lab labUnder(Viewing viewing, Spectrum spectrum) {
    return labOf(integrate(spectrum, viewing), whitePoint(viewing));
}

/// Each of X, Y and Z times what makes the trial the standard under the reference illuminant.
std::optional<Lab> correctedInXyz(Viewing reference, Viewing test, Spectrum standard,
                                  Spectrum trial) {
    const Tristimulus aim = integrate(standard, reference);
    const Tristimulus seen = integrate(trial, reference);
    Tristimulus corrected = integrate(trial, test);
    for (std::size_t i = 0; i < corrected.size(); ++i) {
        if (!(seen[i] > 0.0)) {
            return std::nullopt;
        }
        corrected[i] *= aim[i] / seen[i];
    }
    return labOf(corrected, whitePoint(test));
}

/// Each of L*, a* and b* less the difference under the reference illuminant.
Lab correctedInLab(Viewing reference, Viewing test, Spectrum standard, Spectrum trial) {
    const Components by = componentsOf(labUnder(reference, standard), labUnder(reference, trial));
    const Lab lab = labUnder(test, trial);
    return {lab.lightness - by.lightness, lab.a - by.a, lab.b - by.b};
}

}  // namespace

std::optional<double> metamerismIndex(DifferenceFormula formula, MetamerismCorrection correction,
                                      Viewing reference, Viewing test, Spectrum standard,
                                      Spectrum trial) {
    const std::optional<Lab> corrected = correction == MetamerismCorrection::additive
                                             ? correctedInLab(reference, test, standard, trial)
                                             : correctedInXyz(reference, test, standard, trial);
    if (!corrected) {
        return std::nullopt;
    }
    return difference(formula, labUnder(test, standard), *corrected);
}

}  // namespace ovk::color
