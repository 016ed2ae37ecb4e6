#include "commands/PortList.h"

#include "commands/SlaveList.h"
#include "instrument/Records.h"
#include "text/Text.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr const char* kIndent = "    ";

std::vector<std::string> linesBelow(const ListedPort& listed, const Palette& palette) {
    std::vector<std::string> lines;
    if (listed.info) {
        lines.push_back(instrumentName(*listed.info));
    }
    if (listed.slaves && listed.slaves->empty()) {
        lines.push_back("no wireless instrument is within reach");
    } else if (listed.slaves) {
        lines = slaveLines(*listed.slaves, palette);
    }
    if (!listed.problem.empty()) {
        lines.push_back(shown(listed.problem));
    }
    return lines;
}

}  // namespace

std::vector<std::string> portLines(const std::vector<ListedPort>& ports, const Palette& palette) {
    using Align = TextTable::Align;
    TextTable table({{"kind", Align::left},
                     {"port", Align::left},
                     {"USB", Align::left},
                     {"what it is", Align::left},
                     {"driver", Align::left},
                     {"state", Align::left}});
    std::vector<TextTable::Row> rows;
    for (const ListedPort& listed : ports) {
        const PortInfo& port = listed.port;
        const std::string obstacle = obstacleOf(port);
        rows.push_back({std::string(nameOf(port.kind)), shown(port.name),
                        port.usb ? textOf(*port.usb) : "", port.description, port.driver,
                        obstacle.empty() ? "free" : obstacle});
        table.fit(rows.back());
    }
    std::vector<std::string> lines{palette.faint(table.titles())};
    for (std::size_t i = 0; i < ports.size(); ++i) {
        lines.push_back(table.line(rows[i]));
        for (const std::string& line : linesBelow(ports[i], palette)) {
            lines.push_back(kIndent + line);
        }
    }
    return lines;
}

JsonList portsJson(const std::vector<ListedPort>& ports) {
    JsonList list;
    for (const ListedPort& listed : ports) {
        const PortInfo& port = listed.port;
        JsonObject json{{"port", port.name},
                        {"kind", nameOf(port.kind)},
                        {"usb", port.usb ? JsonValue(textOf(*port.usb)) : JsonValue()},
                        {"description", orNull(port.description)},
                        {"driver", orNull(port.driver)},
                        {"accessible", port.isAccessible},
                        {"heldBy", orNull(port.heldBy)}};
        if (listed.info) {
            for (const auto& [name, text] : textsOf(*listed.info)) {
                json["instrument"][name] = text;
            }
        }
        if (listed.slaves) {
            json["slaves"] = slavesJson(*listed.slaves);
        }
        if (!listed.problem.empty()) {
            json["problem"] = listed.problem;
        }
        list.push_back(std::move(json));
    }
    return list;
}

}  // namespace cqtool
