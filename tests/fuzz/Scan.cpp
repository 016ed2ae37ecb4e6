// cqScanBleSlaves with an adapter whose module replies, or stays silent, as it likes.
//
// Time is the fuzzer's own: a wait in vain takes its whole time-out, nothing else takes any. Held to
// be true:
//
// - the result is one of those that the call documents, and a list comes with 0 alone;
// - the list ends with an element of zeros within its memory; its texts end within their fields;
//   name, address and signal strength of an element are in what the module has sent;
// - a scan is over within its documented 5 s and the time-outs of the module's set-up.
//
// An input is the module's replies one after the other, separated by 1E: each line that the host
// sends gets the next. A byte 1F and the next byte are a pause of so many times 10 ms.

#include <chrono>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "cqapi/CQApi.h"
#include "fuzz/Script.h"
#include "fuzz/ScriptedPort.h"

namespace {

std::chrono::steady_clock::time_point virtualNow;

}  // namespace

// Takes the place of the run-time library's clock in this program.
std::chrono::steady_clock::time_point std::chrono::steady_clock::now() noexcept {
    return virtualNow;
}

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;

class Module : public PortPeer {
  public:
    explicit Module(BytesView replies) : replies_(replies) {}

    Bytes answer(BytesView written) override {
        require(written.size() > 4 && written[0] == 'A' && written[1] == 'T' &&
                    written[written.size() - 2] == '\r' && written.back() == '\n',
                "the host sends AT commands");
        reply_.clear();
        place_ = 0;
        while (!replies_.isAtEnd()) {
            const std::uint8_t byte = replies_.byte();
            if (byte == kReplyEnd) {
                break;
            }
            reply_.push_back(byte);
        }
        return piece();
    }

    Bytes duringWait(std::chrono::milliseconds timeout) override {
        if (place_ == reply_.size() || pause_ > timeout) {
            pause_ -= std::min(pause_, timeout);
            virtualNow += timeout;
            return {};
        }
        virtualNow += std::exchange(pause_, 0ms);
        return piece();
    }

  private:
    static constexpr std::uint8_t kReplyEnd = 0x1E;
    static constexpr std::uint8_t kPause = 0x1F;

    /// What comes up to the next pause.
    Bytes piece() {
        Bytes bytes;
        while (place_ < reply_.size()) {
            const std::uint8_t byte = reply_[place_++];
            if (byte == kPause) {
                const unsigned length = place_ < reply_.size() ? reply_[place_++] : 0U;
                pause_ = length * 10ms;
                break;
            }
            bytes.push_back(byte);
        }
        return bytes;
    }

    Script replies_;
    Bytes reply_;
    std::size_t place_ = 0;
    std::chrono::milliseconds pause_{0};
};

bool endsWithin(const char* field, std::size_t size) {
    return std::memchr(field, 0, size) != nullptr;
}

void checkSlave(const CqBleSlave& slave, std::string_view sent) {
    require(endsWithin(slave.name, sizeof slave.name) &&
                endsWithin(slave.address, sizeof slave.address),
            "texts end within their fields");
    require(slave.rssi <= 0, "a signal strength is not positive");
    const std::string_view address = slave.address;
    require(address.find_first_not_of("0123456789ABCDEFabcdef") == address.npos,
            "an address is hexadecimal digits");
    require(sent.find(slave.name) != sent.npos && sent.find(address) != sent.npos,
            "name and address have been sent");
}

bool isZero(const CqBleSlave& slave) {
    static constexpr CqBleSlave kNone{};
    return std::memcmp(&slave, &kNone, sizeof slave) == 0;
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ovk::fuzz;
    // Pauses are taken out where they stand, so that a text that one interrupts is found whole.
    std::string sent;
    for (std::size_t i = 0; i < size; ++i) {
        if (data[i] == 0x1F) {
            ++i;
        } else {
            sent += static_cast<char>(data[i]);
        }
    }
    Module module({data, size});
    setPortPeer(&module);
    virtualNow = {};
    CqBleSlave* slaves = nullptr;
    const std::uint32_t code = cqScanBleSlaves("adapter", &slaves);
    setPortPeer(nullptr);
    require(code == CQ_NO_ERROR || code == CQ_SYSTEM_ERROR, "the result is a documented one");
    require(code == CQ_NO_ERROR || slaves == nullptr, "a failure gives no list");
    require(virtualNow.time_since_epoch() < 15s, "a scan ends");
    if (slaves != nullptr) {
        std::size_t count = 0;
        for (; count <= size && !isZero(slaves[count]); ++count) {
            checkSlave(slaves[count], sent);
        }
        require(count <= size, "the list ends");
        cqFree(slaves);
    }
    return 0;
}
