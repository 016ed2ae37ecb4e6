#include "CQCommProtocol/TxContext.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <sstream>
#include <streambuf>

#include "protocol/WireBytes.h"

namespace ovk {
namespace {

using test::Bytes;
using test::dataPacket;
using test::hexText;
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
    std::string next() { return hexText(context.buildPacket(kSession)->bytes()); }

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

TEST_F(TxContextTest, storesTheCrcLeastSignificantByteFirst) {
    context.start(0x31, test::hex("32 33 34 35 36 37 38 39"), nullptr);
    EXPECT_EQ(next(), "55 AA A6 07 00 00 00 00 0B 00 31 32 33 34 35 36 37 38 39 B1 29");
    EXPECT_FALSE(context.hasMore());
}

TEST_F(TxContextTest, cutsAHundredBytesIntoTwoPackets) {
    Bytes data(99);
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<std::uint8_t>(i + 1);
    }
    context.start(0x2E, data, nullptr);
    EXPECT_EQ(context.totalSize(), 99);

    const auto first = context.buildPacket(kSession);
    EXPECT_EQ(hexText(first->bytes().first(12)), "55 AA A6 07 00 00 00 40 36 00 2E 01");
    EXPECT_EQ(hexText(first->bytes().last(4)), "32 33 DF 19");
    EXPECT_EQ(first->bytes().size(), 64U);
    EXPECT_TRUE(context.hasMore());

    const auto second = context.buildPacket(kSession);
    EXPECT_EQ(hexText(second->bytes().first(12)), "55 AA A6 07 01 00 00 00 32 00 34 35");
    EXPECT_EQ(hexText(second->bytes().last(4)), "62 63 F2 E9");
    EXPECT_EQ(second->bytes().size(), 60U);
    EXPECT_FALSE(context.hasMore());
    EXPECT_EQ(context.lastPacket(), second);
}

TEST_F(TxContextTest, fillsPacketsUpToTheLargestSize) {
    struct Case {
        std::uint32_t maxPacket;
        std::size_t dataSize;
        std::vector<std::size_t> payloads;
    };
    for (const Case& item : {
             Case{64, 0, {1}},
             Case{64, 51, {52}},
             Case{64, 52, {52, 1}},
             Case{64, 103, {52, 52}},
             Case{64, 104, {52, 52, 1}},
             Case{13, 3, {1, 1, 1, 1}},
             Case{20, 20, {8, 8, 5}},
             // Sizes without room for a payload count as 64.
             Case{0, 52, {52, 1}},
             Case{12, 52, {52, 1}},
             Case{0xFFFF, 0xFFFF - 13, {0xFFFF - 12}},
             Case{0xFFFF, 0xFFFF - 12, {0xFFFF - 12, 1}},
         }) {
        const Bytes data = test::pattern(item.dataSize);
        context.setMaxPacket(item.maxPacket);
        context.start(0x2E, data, nullptr);
        EXPECT_EQ(payloadSizes(), item.payloads) << item.maxPacket << ", " << item.dataSize;
        EXPECT_EQ(payload, joined({{0x2E}, data}));
    }
}

TEST_F(TxContextTest, appendsTheStreamFromItsPosition) {
    struct Case {
        std::size_t dataSize;
        std::size_t streamSize;
        std::size_t position;
        std::vector<std::size_t> payloads;
    };
    for (const Case& item : {
             Case{0, 0, 0, {1}},
             Case{5, 0, 0, {6}},
             Case{0, 51, 0, {52}},  // ends with the packet: no empty one follows
             Case{0, 52, 0, {52, 1}},
             Case{0, 200, 150, {51}},
             Case{3, 100, 4, {52, 48}},
             Case{60, 100, 0, {52, 52, 52, 5}},
             Case{103, 1, 0, {52, 52, 1}},
             Case{0, 9, 9, {1}},
         }) {
        const Bytes data = test::pattern(item.dataSize);
        const Bytes content = test::pattern(item.streamSize, 50);
        const auto stream = streamOf(content);
        stream->seekg(static_cast<std::streamoff>(item.position));
        context.start(0x2E, data, stream);

        const std::size_t left = item.streamSize - item.position;
        EXPECT_EQ(context.totalSize(), static_cast<std::int32_t>(item.dataSize + left));
        EXPECT_EQ(payloadSizes(), item.payloads) << item.dataSize << " + " << left;
        const Bytes rest(content.begin() + static_cast<std::ptrdiff_t>(item.position),
                         content.end());
        EXPECT_EQ(payload, joined({{0x2E}, data, rest}));
    }
}

TEST_F(TxContextTest, readsAStreamThatCannotTellItsLength) {
    const Bytes content = test::pattern(100);
    ForwardBuffer buffer(content);
    context.start(0x2E, test::hex("01 02"), std::make_shared<std::istream>(&buffer));
    EXPECT_EQ(context.totalSize(), 2);
    EXPECT_THAT(payloadSizes(), ElementsAre(52, 51));
    EXPECT_EQ(payload, joined({test::hex("2E 01 02"), content}));
}

TEST_F(TxContextTest, numbersEachTransferFromZero) {
    EXPECT_EQ(context.totalSize(), -1);
    EXPECT_EQ(context.lastPacket(), nullptr);
    context.setMaxPacket(13);
    context.start(0x27, test::hex("01 02"), nullptr);
    next();
    next();
    EXPECT_EQ(context.sequence(), 1U);

    context.clear();
    EXPECT_EQ(context.totalSize(), -1);
    EXPECT_EQ(context.lastPacket(), nullptr);
    EXPECT_FALSE(context.hasMore());

    // The size that the instrument has named outlives the transfer.
    context.start(0x25, test::hex("01"), nullptr);
    EXPECT_EQ(next(), "55 AA A6 07 00 00 00 40 03 00 25 37 95");
}

}  // namespace
}  // namespace ovk
