#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace cqbench {

/// What the goal is for: the ratio of the figure to its peer's, or the figure itself.
enum class Bound { atMost, atLeast, figureAtLeast };

/// One line of the closing table: a figure of the library beside its peer's, or a limit.
struct Result {
    std::string what;
    std::string unit;
    double figure = 0;
    std::string peerName;
    double peer = 0;
    Bound bound = Bound::atMost;
    double goal = 0;

    double ratio() const { return figure / peer; }
    bool isMet() const;
};

/// The results of this run, in the order in which they came. One thread at a time.
std::vector<Result>& results();

enum class TableStyle { terminal, markdown };
void printTable(std::ostream& out, const std::vector<Result>& rows, TableStyle style);

/// \throw std::runtime_error if the file cannot be written.
void writeJson(const std::string& path, const std::vector<Result>& rows);

}  // namespace cqbench
