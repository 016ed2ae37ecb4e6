#include "operations/Contents.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace cqtest {
namespace {

template <std::size_t Size>
void put(char (&field)[Size], const std::string& text) {
    std::fill_n(field, Size, '\0');
    std::copy_n(text.begin(), std::min(text.size(), Size - 1), field);
}

void putReflectance(std::uint8_t* place, float level) {
    for (int band = 0; band < 31; ++band) {
        const float value = level - 0.06F / static_cast<float>(1 + band);
        std::memcpy(place, &value, sizeof(value));
        place += sizeof(value);
    }
}

std::uint8_t percentFull(const Model& model) {
    return static_cast<std::uint8_t>(100 * model.standards.size() / model.capacity);
}

}  // namespace

Texts expectedTexts(const Session& session) {
    Texts texts;
    texts.tile = session.model.whiteBoard.text;
    const std::string& fault = session.textFault;
    if (fault.empty()) {
        return texts;
    }
    const std::array<std::string*, 6> inOrder{&texts.serial,      &texts.model,    &texts.firmware,
                                              &texts.description, &texts.hardware, &texts.tile};
    std::string& struck = *inOrder.at(session.struckStep);
    struck = fault == "short" ? struck.substr(0, struck.size() - 1) : fault;
    return texts;
}

CqDeviceInfo expectedInfo(const Session& session) {
    const Texts texts = expectedTexts(session);
    CqDeviceInfo info{};
    put(info.infoText3, texts.model);
    put(info.infoText11, texts.hardware);
    put(info.infoText4, texts.serial);
    put(info.infoText7, texts.description);
    put(info.infoText6, texts.firmware);
    put(info.infoText12, texts.tile);
    info.trailingValue = session.isWired() ? session.model.capacity : 0;
    return info;
}

CqInstrumentStatus expectedStatus(const Session& session, std::uint8_t background) {
    CqInstrumentStatus status;
    std::memset(&status, session.isWired() ? 0 : background, sizeof(status));
    status.item16 = 0;
    status.item17 = 8;
    status.item15 = 1;
    status.item14 = 100;
    status.item18 = 1;
    status.item20 = percentFull(session.model);
    status.item19 = 1;
    status.totalStandards = static_cast<std::uint16_t>(session.model.standards.size());
    status.item0 = 1;
    return status;
}

CqWhiteBoardParameter expectedWhiteBoard(const Session& session, std::uint8_t background) {
    CqWhiteBoardParameter board = session.model.whiteBoard;
    std::string text = board.text;
    if (const std::string& fault = session.textFault; !fault.empty()) {
        text = fault == "short" ? text.substr(0, text.size() - 1) : fault;
    }
    if (!session.isWired()) {
        // A wireless text is copied with its NUL, what is behind it stays.
        std::memset(board.text, background, sizeof(board.text));
        std::memset(board.reserved, background, sizeof(board.reserved));
    }
    std::memcpy(board.text, text.c_str(), text.size() + 1);
    return board;
}

CqWhiteBoardParameter firstWhiteBoard() {
    CqWhiteBoardParameter board{};
    put(board.text, Texts().tile);
    putReflectance(board.firstBlock, 0.94F);
    putReflectance(board.secondBlock, 0.90F);
    return board;
}

}  // namespace cqtest
