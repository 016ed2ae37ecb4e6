#include "commands/SlaveList.h"

#include "terminal/SignalBars.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

std::string orTooLong(const std::string& text, const char* what) {
    return text.empty() ? "(" + std::string(what) + " too long)" : text;
}

}  // namespace

std::vector<std::string> slaveLines(const std::vector<Slave>& slaves, const Palette& palette) {
    using Align = TextTable::Align;
    TextTable table({{"name", Align::left},
                     {"address", Align::left},
                     {"dBm", Align::right},
                     {"signal", Align::left},
                     {"", Align::left}});
    std::vector<TextTable::Row> rows;
    for (const Slave& slave : slaves) {
        rows.push_back({orTooLong(slave.name, "name"), orTooLong(slave.address, "address"),
                        std::to_string(slave.rssi), signalBars(slave.rssi),
                        rows.empty() ? palette.strong("strongest") : std::string()});
        table.fit(rows.back());
    }
    std::vector<std::string> lines{palette.faint(table.titles())};
    for (const TextTable::Row& row : rows) {
        lines.push_back(table.line(row));
    }
    return lines;
}

JsonList slavesJson(const std::vector<Slave>& slaves) {
    JsonList list;
    for (const Slave& slave : slaves) {
        list.push_back({{"name", orNull(slave.name)},
                        {"address", orNull(slave.address)},
                        {"rssi", slave.rssi},
                        {"strongest", list.empty()}});
    }
    return list;
}

}  // namespace cqtool
