// Calls: 0 device information, 1 status, 2 and 3 measure, 4 white board, 5 and 6 totals, 7 samples of
// a standard (word), 8 a parameter (byte), 9 and 10 upload standards and samples, 11 download (byte),
// 12 the port's name (byte), 13 to 19 calls that are acknowledged (word).

#include <algorithm>
#include <string>

#include "cqapi/CQApi.h"
#include "fuzz/RecordPeers.h"
#include "fuzz/Records.h"
#include "protocol/WireBytes.h"

namespace ovk::fuzz {
namespace {

constexpr std::uint8_t kUntouched = 0xA5;
constexpr std::uint32_t kStandardIndex = 5;

/// What a call that is one exchange must return.
std::uint32_t resultOf(const Exchange& exchange, std::size_t rightSize) {
    using Kind = ReplyPlan::Kind;
    if (exchange.plan.kind == Kind::refused || exchange.plan.kind == Kind::rejected) {
        return CQ_EXECUTE_COMMAND_FAILED;
    }
    return exchange.reply.size() == rightSize ? CQ_NO_ERROR : CQ_INVALID_PACKET;
}

std::uint32_t resultOfSend(const Exchange& exchange) {
    return exchange.plan.kind == ReplyPlan::Kind::rejected ? CQ_EXECUTE_COMMAND_FAILED
                                                           : CQ_NO_ERROR;
}

Bytes request(std::uint8_t operation, std::initializer_list<std::uint32_t> numbers) {
    Bytes bytes{operation};
    for (const std::uint32_t number : numbers) {
        test::append(bytes, number, 4);
    }
    return bytes;
}

/// An open instrument, and the host that uses it.
class Host {
  public:
    explicit Host(Script& script) : script_(script), peer_(script) {
        setPortPeer(&peer_);
        handle_ = cqOpen("port");
        require(handle_ != nullptr, "an instrument that gives a session is opened");
        cqSetMeasurementResultReceivedCallback(handle_, &Host::received, this);
    }

    ~Host() {
        cqClose(handle_);
        setPortPeer(nullptr);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void call() {
        const std::uint8_t number = script_.byte() % 20;
        switch (number) {
            case 0:
                return get<CqDeviceInfo>(&cqGetDeviceInfo);
            case 1:
                return get<CqInstrumentStatus>(&cqGetInstrumentStatus);
            case 2:
                return get<CqMeasurementRecord>(&cqMeasureStandard);
            case 3:
                return get<CqMeasurementRecord>(&cqMeasureTrial);
            case 4:
                return get<CqWhiteBoardParameter>(&cqGetWhiteBoardParameter);
            case 5:
                return get<std::uint32_t>(&cqGetTotalStandards);
            case 6:
                return get<std::uint32_t>(&cqGetTotalSamples);
            case 7:
                return getSampleCount();
            case 8:
                return getParameter();
            case 9:
            case 10:
                return upload(number == 10);
            case 11:
                return download();
            case 12:
                return getPortName();
            default:
                return send(number);
        }
    }

    /// The callback runs on a thread of the library, but not after closing.
    void close() {
        cqClose(handle_);
        handle_ = nullptr;
        require(received_ == peer_.takeMeasurements(),
                "measurements of the right size reach the callback once");
    }

  private:
    template <class Record>
    void get(std::uint32_t (*function)(CqHandle, Record*)) {
        const GuardedRecord<Record> record;
        const std::uint32_t code = function(handle_, record.get());
        check(code, record, sizeof(Record));
    }

    template <class Record>
    void check(std::uint32_t code, const GuardedRecord<Record>& record, std::size_t replySize) {
        const auto exchanges = peer_.takeExchanges();
        require(exchanges.size() == 1, "a call is one exchange");
        require(code == resultOf(exchanges[0], replySize), "the result is what the reply gives");
        if (code != CQ_NO_ERROR) {
            return require(record.isUntouched(), "a failure leaves the output as it was");
        }
        Bytes expected = exchanges[0].reply;
        expected.resize(sizeof(Record));  // a byte is widened to a number
        require(isSame(record.bytes(), expected), "the output is what the instrument has sent");
    }

    void getSampleCount() {
        const GuardedRecord<std::uint32_t> count;
        const std::uint32_t code = cqGetSampleCount(handle_, script_.word(), count.get());
        check(code, count, sizeof(std::uint32_t));
    }

    void getParameter() {
        const GuardedRecord<std::uint32_t> value;
        const std::uint32_t code = cqGetMeasurementParameter(handle_, script_.byte(), value.get());
        check(code, value, 1);
    }

    /// A word of first index and a byte of count, of which FF means all.
    void upload(bool areSamples) {
        constexpr std::uint32_t kMost = 63;
        const std::uint32_t first = script_.word();
        const std::uint8_t asked = script_.byte();
        const bool isAll = asked == 0xFF;
        peer_.mostTotal = isAll ? kMost : 0xFFFFFFFF;
        const std::uint32_t room = isAll ? kMost : asked & kMost;
        Bytes memory(room * kRecordSize, kUntouched);
        auto* const records = reinterpret_cast<CqMeasurementRecord*>(memory.data());
        const std::uint32_t count = isAll ? CQ_ALL_RECORDS : room;
        const std::uint32_t code =
            areSamples ? cqUploadSamples(handle_, records, kStandardIndex, first, count)
                       : cqUploadStandards(handle_, records, first, count);

        auto exchanges = peer_.takeExchanges();
        std::uint32_t expectedCount = room;
        if (isAll) {
            const std::uint32_t result = resultOf(exchanges.at(0), sizeof(std::uint32_t));
            if (result != CQ_NO_ERROR) {
                require(code == result && exchanges.size() == 1, "without a total nothing is read");
                return;
            }
            const std::uint32_t total = Script(exchanges[0].reply).doubleWord();
            expectedCount = total - std::min(total, first);
            exchanges.erase(exchanges.begin());
        }
        require(exchanges.size() == 1, "records are read in one exchange");
        require(exchanges[0].request == (areSamples
                                             ? request(0x2D, {first, expectedCount, kStandardIndex})
                                             : request(0x2C, {first, expectedCount})),
                "the request is what the caller asks for");
        checkUpload(code, exchanges[0], expectedCount, areSamples, memory);
    }

    static void checkUpload(std::uint32_t code, const Exchange& exchange, std::size_t count,
                            bool isRestZeroed, const Bytes& memory) {
        const Bytes& reply = exchange.reply;
        const bool isRight = reply.size() % kRecordSize == 0 && reply.size() <= count * kRecordSize;
        require(code == resultOf(exchange, isRight ? reply.size() : reply.size() + 1),
                "the result is what the reply gives");
        Bytes expected(memory.size(), kUntouched);
        if (code == CQ_NO_ERROR) {
            const auto rest = std::copy(reply.begin(), reply.end(), expected.begin());
            const auto end = expected.begin() + static_cast<std::ptrdiff_t>(count * kRecordSize);
            std::fill(rest, isRestZeroed ? end : rest, std::uint8_t{0});
        }
        require(memory == expected, "the records are those that the instrument has sent");
    }

    void download() {
        const std::size_t count = script_.byte() % 8U;
        const Bytes content = test::pattern(count * kRecordSize, count);
        const std::uint32_t code = cqDownloadStandards(
            handle_, reinterpret_cast<const CqMeasurementRecord*>(content.data()),
            static_cast<std::uint32_t>(count));
        const auto exchanges = peer_.takeExchanges();
        std::uint32_t expected = resultOf(exchanges.at(0), sizeof(CqDeviceInfo));
        std::size_t steps = 1;
        if (expected == CQ_NO_ERROR) {
            expected = resultOf(exchanges.at(steps++), sizeof(std::uint32_t));
        }
        if (expected == CQ_NO_ERROR) {
            constexpr std::size_t kCapacityPlace = 128;
            const auto capacity =
                Script(BytesView(exchanges[0].reply).subspan(kCapacityPlace)).doubleWord();
            const std::uint64_t stored = Script(exchanges[1].reply).doubleWord();
            if (stored + count > capacity) {
                expected = CQ_NO_ENOUGH_STORAGE;
            } else {
                const Exchange& sent = exchanges.at(steps++);
                expected = resultOfSend(sent);
                require(sent.request == test::joined({{0x2E}, content}),
                        "the records are sent as the caller gave them");
            }
        }
        require(exchanges.size() == steps && code == expected,
                "the result is what the replies give");
    }

    void getPortName() {
        const std::string name = "port";
        const std::size_t size = script_.byte() % 16;
        Bytes buffer(std::max<std::size_t>(size, 4), kUntouched);
        const auto code = cqGetPortName(handle_, reinterpret_cast<char*>(buffer.data()),
                                        static_cast<std::int32_t>(size));
        require(code == CQ_NO_ERROR, "an open instrument has a port");
        Bytes expected(buffer.size(), kUntouched);
        std::fill_n(expected.begin(), 4, std::uint8_t{0});
        if (name.size() <= size) {
            std::copy(name.begin(), name.end(), expected.begin());
        }
        require(buffer == expected, "the port's name is written as it is documented");
    }

    /// The calls that end with the acknowledgement.
    void send(std::uint8_t number) {
        const std::uint32_t first = script_.word();
        const auto low = static_cast<std::uint8_t>(first);
        std::uint32_t code = 0;
        Bytes wanted;
        if (number == 13 || number == 14) {
            code = number == 13 ? cqCalibrateWhite(handle_) : cqCalibrateBlack(handle_);
            wanted = {0x25, static_cast<std::uint8_t>(number == 13 ? 1 : 0)};
        } else if (number == 15) {
            const GuardedRecord<CqWhiteBoardParameter> parameter;
            code = cqSetWhiteBoardParameter(handle_, parameter.get());
            wanted = {0x27};
            wanted.insert(wanted.end(), parameter.bytes().begin(), parameter.bytes().end());
        } else if (number == 16) {
            code = cqSetMeasurementParameter(handle_, low, 7);
            wanted = {0xB4, low, 7};
        } else if (number == 17) {
            code = cqDeleteStandard(handle_, first);
            wanted = request(0x35, {first | 0x80000000});
        } else if (number == 18) {
            code = cqDeleteAllRecords(handle_);
            wanted = request(0x35, {0xFFFFFFFF});
        } else {
            code = cqDeleteSample(handle_, first, 3);
            wanted = request(0x36, {first, 3});
        }
        const auto exchanges = peer_.takeExchanges();
        require(exchanges.size() == 1 && exchanges[0].request == wanted,
                "what is sent is what the caller gave");
        require(code == resultOfSend(exchanges[0]), "the result is what the acknowledgement gives");
    }

    static void received(bool /*isStandard*/, const CqMeasurementRecord* record, void* user) {
        auto& self = *static_cast<Host*>(user);
        self.received_.emplace_back(std::begin(record->bytes), std::end(record->bytes));
    }

    Script& script_;
    WiredPeer peer_;
    CqHandle handle_ = nullptr;
    std::vector<Bytes> received_;
};

}  // namespace

void runWired(Script& script) {
    Host host(script);
    playCalls(host, script);
    host.close();
}

}  // namespace ovk::fuzz
