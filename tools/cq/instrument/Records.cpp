#include "instrument/Records.h"

#include "text/Text.h"

namespace cqtool {

std::vector<std::pair<std::string, std::string>> textsOf(const CqDeviceInfo& info) {
    return {
        {"infoText3", printableText(info.infoText3, sizeof info.infoText3)},
        {"infoText11", printableText(info.infoText11, sizeof info.infoText11)},
        {"infoText4", printableText(info.infoText4, sizeof info.infoText4)},
        {"infoText7", printableText(info.infoText7, sizeof info.infoText7)},
        {"infoText6", printableText(info.infoText6, sizeof info.infoText6)},
        {"infoText12", printableText(info.infoText12, sizeof info.infoText12)},
    };
}

std::string instrumentName(const CqDeviceInfo& info) {
    std::string name;
    for (const auto& [field, text] : textsOf(info)) {
        if (!text.empty()) {
            name += (name.empty() ? "" : " · ") + text;
        }
    }
    return name.empty() ? "an instrument without a name" : name;
}

std::uint32_t standardCapacity(const CqDeviceInfo& info) {
    return static_cast<std::uint32_t>(info.trailingValue);
}

std::vector<std::pair<int, unsigned>> itemsOf(const CqInstrumentStatus& status) {
    return {
        {0, status.item0},   {14, status.item14}, {15, status.item15}, {16, status.item16},
        {17, status.item17}, {18, status.item18}, {19, status.item19}, {20, status.item20},
    };
}

}  // namespace cqtool
