#pragma once

#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>

namespace cqtest {

/// How often a test repeats what may go wrong by chance: a few times in the usual run, as often as
/// the environment variable CQAPI_TEST_ROUNDS says when somebody has the time.
inline int roundsOr(int usual) {
    const char* const text = std::getenv("CQAPI_TEST_ROUNDS");
    if (text == nullptr) {
        return usual;
    }
    const std::string value = text;
    int rounds = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), rounds);
    if (error != std::errc() || end != value.data() + value.size() || rounds < 1) {
        throw std::runtime_error("CQAPI_TEST_ROUNDS must be a whole number from 1 on, not \"" +
                                 value + "\"");
    }
    return rounds;
}

}  // namespace cqtest
