#include "instrument/Labels.h"

#include <cstring>

#include "Failure.h"
#include "system/Files.h"
#include "text/Json.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr const char* kMember = "labels";
constexpr const char* kVirtualModel = "VIRTUAL-31";

const Labels& virtualLabels() {
    static const Labels kLabels{
        {"infoText3", "model"},         {"infoText11", "hardware"}, {"infoText4", "serial number"},
        {"infoText7", "description"},   {"infoText6", "firmware"},  {"infoText12", "white tile"},
        {"item0", "ready to measure"},  {"item14", "battery %"},    {"item15", "powered by host"},
        {"item16", "geometry"},         {"item17", "aperture mm"},  {"item18", "white calibrated"},
        {"item19", "black calibrated"}, {"item20", "memory used %"}};
    return kLabels;
}

}  // namespace

Labels labelsFor(const std::filesystem::path& file, const CqDeviceInfo& info) {
    if (file.empty()) {
        const bool isVirtual =
            std::strncmp(info.infoText3, kVirtualModel, sizeof info.infoText3) == 0;
        return isVirtual ? virtualLabels() : Labels{};
    }
    try {
        return Json::parse(readFile(file)).at(kMember).get<Labels>();
    } catch (const Json::exception&) {
        throw Failure(sourceName(file) + " gives no labels",
                      "describe them like this: {\"labels\": {\"infoText3\": \"model\", "
                      "\"item14\": \"battery\"}}");
    }
}

std::string labelOf(const Labels& labels, const std::string& name) {
    const auto found = labels.find(name);
    return found == labels.end() ? name : shown(found->second);
}

}  // namespace cqtool
