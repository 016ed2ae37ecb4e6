#include "CQCommProtocol/TxContext.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <streambuf>

#include "CQCommProtocol/WireBytes.h"

namespace ovk {
namespace {

using test::Bytes;
using test::dataPacket;
using test::joined;
using test::kLast;
using test::kMore;
using test::kSession;
using testing::ElementsAre;

constexpr auto kFromHost = "55 AA";

std::shared_ptr<std::stringstream> streamOf(const Bytes& bytes) {
    return std::make_shared<std::stringstream>(std::string(bytes.begin(), bytes.end()));
}

/// A stream that can only be read on, such as a pipe.
class ForwardBuffer : public std::streambuf {
  public:
    explicit ForwardBuffer(const Bytes& bytes) : bytes_(bytes.begin(), bytes.end()) {
        setg(bytes_.data(), bytes_.data(), bytes_.data() + bytes_.size());
    }

  private:
    std::string bytes_;
};

class TxContextTest : public testing::Test {
  protected:
    /// The payload sizes of all the packets to come; checks each packet but for its payload.
    std::vector<std::size_t> payloadSizes() {
        constexpr std::size_t kOverhead = 12;
        std::vector<std::size_t> sizes;
        payload.clear();
        while (context.hasMore()) {
            const auto packet = context.buildPacket(kSession)->bytes();
            const Bytes content(packet.begin() + 10, packet.end() - 2);
            const std::uint8_t flag = context.hasMore() ? kMore : kLast;
            const auto sequence = static_cast<std::uint32_t>(sizes.size());
            EXPECT_TRUE(std::ranges::equal(packet, dataPacket(sequence, flag, content, kFromHost)));
            payload.insert(payload.end(), content.begin(), content.end());
            sizes.push_back(packet.size() - kOverhead);
        }
        return sizes;
    }

    TxContext context;
    Bytes payload;
};

TEST_F(TxContextTest, FillsPacketsWithTheDataAndThenTheStreamFromItsPosition) {
    struct Case {
        std::uint32_t maxPacket;
        std::size_t dataSize;
        std::optional<std::size_t> streamSize;  // none without a stream
        std::size_t position;
        std::vector<std::size_t> payloads;
    };
    for (const Case& item : {
             Case{64, 0, {}, 0, {1}},
             Case{64, 51, {}, 0, {52}},
             Case{64, 52, {}, 0, {52, 1}},
             Case{64, 104, {}, 0, {52, 52, 1}},
             Case{13, 3, {}, 0, {1, 1, 1, 1}},
             // Sizes without room for a payload count as 64.
             Case{0, 52, {}, 0, {52, 1}},
             Case{12, 52, {}, 0, {52, 1}},
             Case{0xFFFF, 0xFFFF - 13, {}, 0, {0xFFFF - 12}},
             Case{0xFFFF, 0xFFFF - 12, {}, 0, {0xFFFF - 12, 1}},
             Case{64, 0, 0, 0, {1}},
             Case{64, 0, 51, 0, {52}},  // ends with the packet: no empty one follows
             Case{64, 0, 52, 0, {52, 1}},
             Case{64, 0, 200, 150, {51}},
             Case{64, 3, 100, 4, {52, 48}},
             Case{64, 60, 100, 0, {52, 52, 52, 5}},
             Case{64, 103, 1, 0, {52, 52, 1}},
         }) {
        SCOPED_TRACE(testing::Message() << item.maxPacket << ", " << item.dataSize << " + "
                                        << item.streamSize.value_or(0));
        const Bytes data = test::pattern(item.dataSize);
        const Bytes content = test::pattern(item.streamSize.value_or(0), 50);
        const Bytes rest(content.begin() + static_cast<std::ptrdiff_t>(item.position),
                         content.end());
        const auto stream = item.streamSize ? streamOf(content) : nullptr;
        if (stream) {
            stream->seekg(static_cast<std::streamoff>(item.position));
        }
        context.setMaxPacket(item.maxPacket);
        context.start(0x2E, data, stream);
        EXPECT_EQ(context.totalSize(), static_cast<std::int32_t>(data.size() + rest.size()));
        EXPECT_EQ(payloadSizes(), item.payloads);
        EXPECT_EQ(payload, joined({{0x2E}, data, rest}));
    }
}

TEST_F(TxContextTest, ReadsAStreamThatCannotTellItsLength) {
    const Bytes content = test::pattern(100);
    ForwardBuffer buffer(content);
    context.start(0x2E, test::hex("01 02"), std::make_shared<std::istream>(&buffer));
    EXPECT_EQ(context.totalSize(), 2);
    EXPECT_THAT(payloadSizes(), ElementsAre(52, 51));
    EXPECT_EQ(payload, joined({test::hex("2E 01 02"), content}));
}

}  // namespace
}  // namespace ovk
