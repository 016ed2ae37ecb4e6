// The colour functions with arbitrary numbers, not-a-numbers and infinities among them.
//
// Held to be true:
//
// - the result is 0 for the assigned colour spaces and 18 for all others, which leave the output as
//   it was; the same input gives the same bits;
// - a colour whose tristimulus values are of a possible size gives finite numbers, but for those
//   that docs/compatibility.md names;
// - hue is 0 to 360, sRGB 0 to 1, chromaticities are 0 to 1, lightness is the same in all spaces;
// - the ways from a spectrum, from XYZ and from Lab to a space agree, and Lab leads back to XYZ.
//
// An input is the function (0 spectrum, 1 XYZ, 2 Lab), the colour space (FF: four bytes follow), the
// illuminant, the observer, then the numbers as they lie in memory; bit 7 of the function says that
// they are 16-bit fractions in place of floats: of 1 in a spectrum, of 128 elsewhere, Lab's a and b
// less 64.

#include <array>
#include <cmath>
#include <cstring>

#include "cqapi/CQApi.h"
#include "fuzz/Script.h"

namespace ovk::fuzz {
namespace {

using Numbers = std::array<float, 3>;

constexpr std::size_t kSamples = 31;
constexpr unsigned kSpectrum = 0;
constexpr unsigned kXyz = 1;

struct Question {
    unsigned function;
    std::int32_t illuminant;
    std::int32_t observer;
    std::array<float, kSamples> input;
};

struct Answer {
    std::uint32_t code;
    Numbers color;
};

/// Asks with an output that lies at an odd address and ends where its memory does.
Answer ask(const Question& question, std::uint32_t space) {
    constexpr std::uint8_t kUntouched = 0xA5;
    Bytes memory(1 + sizeof(ColorData), kUntouched);
    auto* const color = reinterpret_cast<ColorData*>(memory.data() + 1);
    const float* const input = question.input.data();
    Answer answer{};
    if (question.function == kSpectrum) {
        answer.code = cqGetColorDataFromSpectralData(input, space, question.illuminant,
                                                     question.observer, color);
    } else {
        const auto convert =
            question.function == kXyz ? cqGetColorDataFromXyz : cqGetColorDataFromLab;
        answer.code = convert(question.illuminant, question.observer, input, space, color);
    }
    std::memcpy(answer.color.data(), memory.data() + 1, sizeof answer.color);
    const bool isUntouched =
        std::all_of(memory.begin(), memory.end(), [](std::uint8_t b) { return b == kUntouched; });
    require(memory[0] == kUntouched, "the output's place alone is written");
    require(answer.code == CQ_NO_ERROR || isUntouched, "a refusal leaves the output as it was");
    return answer;
}

bool isSame(const Numbers& left, const Numbers& right) {
    return std::memcmp(left.data(), right.data(), sizeof left) == 0;
}

bool areWithin(const Numbers& numbers, float low, float high) {
    return std::all_of(numbers.begin(), numbers.end(),
                       [=](float number) { return number >= low && number <= high; });
}

/// What must hold of a possible colour, in the colour space that is asked for.
void checkPossible(const Question& question, const Numbers& xyz, std::uint32_t space,
                   const Numbers& color) {
    const auto [x, y, z] = xyz;
    const Numbers lab = ask(question, ColorSpaceLab).color;
    constexpr float kVanishing = 1e-30f;  // the square root of Y / Yn is, or is next to, zero
    if (space == ColorSpaceHunterLab && y < kVanishing && x + y + z > 0.0f) {
        return;
    }
    if (space == ColorSpaceDin99 && std::fabs(lab[1]) + std::fabs(lab[2]) < 1e-15f) {
        return require(std::isfinite(color[0]), "a neutral has a DIN99 lightness");
    }
    require(std::isfinite(color[0]) && std::isfinite(color[1]) && std::isfinite(color[2]),
            "a possible colour has finite numbers");
    switch (space) {
        case ColorSpaceYxy:
        case ColorSpaceYxyUnit:
            require(color[1] >= 0.0f && color[2] >= 0.0f && color[1] + color[2] <= 1.0001f,
                    "chromaticities are fractions");
            break;
        case ColorSpaceLch:
            require(color[1] >= 0.0f && color[2] >= 0.0f && color[2] <= 360.0f,
                    "a hue is 0 to 360 degrees");
            require(color[0] == lab[0], "the lightness of LCh is that of Lab");
            break;
        case ColorSpaceLuv:
            require(question.function > kXyz || color[0] == lab[0],
                    "the lightness of Luv is that of Lab");
            break;
        case ColorSpaceSrgb:
            require(areWithin(color, 0.0f, 1.0f), "sRGB is 0 to 1");
            break;
        default:
            break;
    }
}

/// A colour space is reached by more than one way.
void checkWays(const Question& question, const Numbers& xyz, std::uint32_t space,
               const Numbers& color) {
    Question fromXyz = question;
    fromXyz.function = kXyz;
    std::copy(xyz.begin(), xyz.end(), fromXyz.input.begin());
    if (question.function == kSpectrum) {
        require(isSame(ask(fromXyz, space).color, color),
                "a spectrum's colour is that of its tristimulus values");
    }
    Question fromLab = fromXyz;
    fromLab.function = 2;
    const Numbers lab = ask(fromXyz, ColorSpaceLab).color;
    std::copy(lab.begin(), lab.end(), fromLab.input.begin());
    for (const std::uint32_t way : {ColorSpaceLch, ColorSpaceSrgb, ColorSpaceDin99}) {
        require(isSame(ask(fromXyz, way).color, ask(fromLab, way).color),
                "LCh, sRGB and DIN99 are those of the Lab values");
    }
    const Numbers back = ask(fromLab, ColorSpaceXyz).color;
    for (std::size_t i = 0; i < back.size(); ++i) {
        require(std::fabs(back[i] - xyz[i]) <= 1e-3f + 1e-4f * xyz[i], "Lab leads back to XYZ");
    }
}

Question readQuestion(Script& script, std::uint32_t& space) {
    const std::uint8_t function = script.byte();
    Question question{};
    question.function = (function & 0x7FU) % 3;
    space = script.byte();
    if (space == 0xFF) {
        space = script.doubleWord();
    }
    question.illuminant = script.byte() % 18;
    question.observer = script.byte() % 2;
    const float full = question.function == kSpectrum ? 1.0f : 128.0f;
    for (std::size_t i = 0; i < question.input.size(); ++i) {
        if ((function & 0x80U) == 0) {
            const std::uint32_t bits = script.doubleWord();
            std::memcpy(&question.input[i], &bits, sizeof bits);
        } else {
            const bool isSigned = question.function == 2 && i > 0;
            question.input[i] =
                full * static_cast<float>(script.word()) / 65536.0f - (isSigned ? 64.0f : 0.0f);
        }
    }
    return question;
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ovk::fuzz;
    Script script({data, size});
    std::uint32_t space = 0;
    const Question question = readQuestion(script, space);

    const Answer answer = ask(question, space);
    const bool isAssigned = space <= ColorSpaceDin99 && space != 7;
    require(answer.code == (isAssigned ? CQ_NO_ERROR : CQ_HAS_CONNECTED),
            "assigned colour spaces succeed, all others give 18");
    require(isSame(ask(question, space).color, answer.color), "the same input, the same bits");

    constexpr float kBrightest = 1000.0f;
    const Numbers xyz = ask(question, ColorSpaceXyz).color;
    if (isAssigned && areWithin(xyz, 0.0f, kBrightest)) {
        checkPossible(question, xyz, space, answer.color);
        checkWays(question, xyz, space, answer.color);
    }
    return 0;
}
