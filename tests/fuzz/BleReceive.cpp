// Bytes of a wireless instrument in arbitrary pieces at arbitrary times.
//
// Held to be true:
//
// - a packet is delivered when, and only when, the bytes since the last silence are as many as the
//   first four of them say, and it is these bytes;
// - whatever has come before, a packet after a silence is delivered.
//
// An input is steps of a tag and its arguments:
//
//     00..7F  so many bytes follow and arrive
//     80..BF  a packet: type, command and a word of size follow, then its payload; of its bytes
//             so many arrive at a time as the tag says, less 80 (0: all)
//     C0..EF  so many times 50 ms pass, less C0
//     F0..FF  1.001 s pass, and so many nanoseconds less 2, less F0

#include "ble/PacketAssembler.h"
#include "fuzz/Script.h"

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;

constexpr auto kSilence = 1'001ms;
constexpr std::size_t kHeader = 4;

std::size_t sizeSaidBy(BytesView bytes) {
    return kHeader + bytes[2] + 256U * bytes[3];
}

class Run {
  public:
    void step(Script& script) {
        const std::uint8_t tag = script.byte();
        if (tag < 0x80) {
            arrive(script.take(tag));
        } else if (tag < 0xC0) {
            packet(script, tag & 0x3FU);
        } else if (tag < 0xF0) {
            now_ += (tag - 0xC0) * 50ms;
        } else {
            now_ += kSilence + std::chrono::nanoseconds((tag - 0xF0) - 2);
        }
    }

    void finish() {
        now_ += kSilence;
        const Bytes hello{2, 1, 3, 0, 'a', 'b', 'c'};
        require(arrive(hello), "a packet after a silence is delivered");
    }

  private:
    bool arrive(BytesView bytes) {
        if (now_ - lastArrival_ >= kSilence) {
            gathered_.clear();
        }
        lastArrival_ = now_;
        gathered_.insert(gathered_.end(), bytes.begin(), bytes.end());
        const bool isWhole =
            gathered_.size() >= kHeader && gathered_.size() == sizeSaidBy(gathered_);

        const auto packet = assembler_.feed(bytes, now_);
        require((packet != nullptr) == isWhole,
                "a packet is as many bytes since the last silence as the first four say");
        if (isWhole) {
            const auto taken = packet->bytes();
            require(std::equal(taken.begin(), taken.end(), gathered_.begin(), gathered_.end()) &&
                        packet->payloadSize() + kHeader == gathered_.size() &&
                        packet->type() == gathered_[0] && packet->cmd() == gathered_[1],
                    "a packet is the bytes that came");
            gathered_.clear();
        }
        return isWhole;
    }

    void packet(Script& script, std::size_t pieceSize) {
        const auto header = script.take(kHeader);
        Bytes bytes(header.begin(), header.end());
        bytes.resize(kHeader);
        const std::size_t size = sizeSaidBy(bytes);
        const auto payload = script.take(size - kHeader);
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        Script pieces(bytes);
        while (!pieces.isAtEnd()) {
            arrive(pieceSize == 0 ? pieces.takeAll() : pieces.take(pieceSize));
        }
    }

    PacketAssembler assembler_;
    PacketAssembler::TimePoint now_{kSilence};
    PacketAssembler::TimePoint lastArrival_{};
    Bytes gathered_;
};

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ovk::fuzz::Script script({data, size});
    ovk::fuzz::Run run;
    while (!script.isAtEnd()) {
        run.step(script);
    }
    run.finish();
    return 0;
}
