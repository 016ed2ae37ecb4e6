#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace cqbench {

/// What is known of a built CQApi.dll.
struct DllFacts {
    std::uint64_t size = 0;  ///< stripped, in bytes; 0 when there is none
    std::vector<std::string> imports;
};

void addDllResults(const DllFacts& dll);

}  // namespace cqbench
