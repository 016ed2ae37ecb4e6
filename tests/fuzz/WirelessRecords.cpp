// Calls: 0 calibrate, 1 measure, 2 total, 3 samples of a standard, 4 and 5 upload standards and
// samples (byte first, byte count, of which FF means all), 6 download (byte), 7 and 8 delete,
// 9 status, 10 device information, 11 and 12 read and write the white board.

#include <algorithm>
#include <string>

#include "api/CommunicationException.h"
#include "ble/SpectrophotometerBle.h"
#include "fuzz/RecordPeers.h"
#include "fuzz/Records.h"
#include "protocol/WireBytes.h"

namespace ovk::fuzz {
namespace {

using namespace std::chrono_literals;
using cq::MeasurementRecords;
using cq::RECORD_TYPE;

constexpr std::size_t kBlockSize = 248;

bool isText(const Bytes& bytes, std::string_view text) {
    return std::equal(bytes.begin(), bytes.end(), text.begin(), text.end());
}

std::uint32_t refusalOf(const Bytes& reply) {
    return isText(reply, "FAIL")    ? CQ_EXECUTE_COMMAND_FAILED
           : isText(reply, "INVAL") ? CQ_INVALID_PARAMETER
                                    : CQ_NO_ERROR;
}

/// What a call must return whose reply is refused, too short, or right.
std::uint32_t resultOf(const Exchange& exchange, std::size_t least, std::size_t most) {
    const std::uint32_t refusal = refusalOf(exchange.reply);
    const bool isRight = exchange.reply.size() >= least && exchange.reply.size() <= most;
    return refusal != CQ_NO_ERROR ? refusal : isRight ? CQ_NO_ERROR : CQ_INVALID_PACKET;
}

/// The field holds the reply up to its first NUL, or nothing if that has no place.
void checkText(const Bytes& reply, std::span<const char> field) {
    const std::string text(reply.begin(), std::find(reply.begin(), reply.end(), std::uint8_t{0}));
    const auto end = std::find(field.begin(), field.end(), '\0');
    require(end != field.end(), "a text ends within its field");
    require(std::string(field.begin(), end) == (text.size() < field.size() ? text : std::string()),
            "a text is the instrument's, or empty if it has no place");
}

class Host {
  public:
    explicit Host(Script& script) : script_(script), peer_(script) {
        setPortPeer(&peer_);
        require(port_->open(), "the port opens");
        driver_.attach(port_);
        peer_.takeExchanges();
    }

    ~Host() {
        driver_.detach();
        port_->close();
        setPortPeer(nullptr);
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void call() {
        const std::uint8_t number = script_.byte() % 13;
        switch (number) {
            case 0:
                run([&] { driver_.calibrate(true); });
                return require(
                    code_ == (isText(only().reply, "OK") ? CQ_NO_ERROR : CQ_EXECUTE_COMMAND_FAILED),
                    "a calibration succeeds with OK alone");
            case 1:
                return measure();
            case 2:
            case 3:
                return count(number == 3);
            case 4:
            case 5:
                return upload(number == 5);
            case 6:
                return download();
            case 7:
            case 8:
                run([&] { number == 7 ? driver_.deleteStandard(1) : driver_.deleteSample(1, 2); });
                return require(code_ == refusalOf(only().reply), "a refusal alone is a failure");
            case 9:
                return getStatus();
            case 10:
                return getDeviceInfo();
            case 11:
                return getWhiteBoard();
            default:
                return setWhiteBoard();
        }
    }

  private:
    /// Lets nothing pass but what the driver documents.
    template <class Call>
    void run(const Call& call) {
        code_ = CQ_NO_ERROR;
        try {
            call();
        } catch (const CommunicationException& failure) {
            code_ = failure.code();
        }
        exchanges_ = peer_.takeExchanges();
    }

    const Exchange& only() const {
        require(exchanges_.size() == 1, "a call is one exchange");
        return exchanges_.front();
    }

    void measure() {
        CqMeasurementRecord record{};
        run([&] { record = driver_.measure(RECORD_TYPE::trial); });
        const bool isRight = only().reply.size() == kRecordSize;
        require(code_ == (isRight ? CQ_NO_ERROR : CQ_EXECUTE_COMMAND_FAILED),
                "a measurement is a record, anything else a failure");
        require(!isRight || isSame(record.bytes, only().reply),
                "the record is what the instrument has sent");
    }

    void count(bool areSamples) {
        std::uint32_t value = 0;
        run([&] { value = areSamples ? driver_.getSampleCount(1) : driver_.getTotalStandards(); });
        require(code_ == resultOf(only(), sizeof value, 0xFFFF), "a number has four bytes or more");
        require(code_ != CQ_NO_ERROR || value == Script(only().reply).doubleWord(),
                "the number is what the instrument has sent");
    }

    void upload(bool areSamples) {
        const auto first = static_cast<std::int32_t>(script_.byte()) - 4;
        const std::uint8_t asked = script_.byte();
        const bool isAll = asked == 0xFF;
        const std::int32_t wanted = isAll ? -1 : asked;
        MeasurementRecords records;
        run([&] {
            areSamples ? driver_.uploadSamples(records, 3, first, wanted)
                       : driver_.uploadStandards(records, first, wanted);
        });
        // One exchange a record, after that for the total; the first that fails is the last.
        std::size_t place = 0;
        std::uint32_t expected = CQ_NO_ERROR;
        if (isAll) {
            expected = resultOf(exchanges_.at(place++), sizeof(std::uint32_t), 0xFFFF);
        }
        std::size_t taken = 0;
        for (; place < exchanges_.size(); ++place) {
            require(expected == CQ_NO_ERROR, "nothing is read after a failure");
            const Exchange& exchange = exchanges_[place];
            expected = resultOf(exchange, kRecordSize, kRecordSize);
            if (expected == CQ_NO_ERROR) {
                require(taken < records.size() && isSame(records[taken].bytes, exchange.reply),
                        "the records are those that the instrument has sent");
                ++taken;
            }
        }
        require(code_ == expected && taken == records.size(),
                "the result is what the replies give");
        require(isAll || code_ != CQ_NO_ERROR || taken == asked, "as many records as asked for");
    }

    void download() {
        const MeasurementRecords records(script_.byte() % 8U);
        run([&] { driver_.downloadStandards(records); });
        std::uint32_t expected = CQ_NO_ERROR;
        for (const Exchange& exchange : exchanges_) {
            require(expected == CQ_NO_ERROR, "nothing is written after a failure");
            require(exchange.request.size() == 2 + kRecordSize, "a packet holds one record");
            expected = refusalOf(exchange.reply);
        }
        require(
            code_ == expected && (expected != CQ_NO_ERROR || exchanges_.size() == records.size()),
            "every record is written");
    }

    void getStatus() {
        const GuardedRecord<CqInstrumentStatus> status;
        run([&] { driver_.getInstrumentStatus(*status.get()); });
        require(status.isUntouched(1, 2) && status.isUntouched(4, 1) && status.isUntouched(12, 2) &&
                    status.isUntouched(15, 5),
                "what a wireless instrument cannot tell stays as it was");
        std::uint32_t expected = CQ_NO_ERROR;
        for (const Exchange& exchange : exchanges_) {
            const bool isTotal = exchange.request[1] == 1;
            expected = resultOf(exchange, isTotal ? sizeof(std::uint32_t) : 1, 0xFFFF);
        }
        require(code_ == expected, "the result is what the last reply gives");
        require(code_ != CQ_NO_ERROR || status.get()->item0 <= 1, "item 0 is no or yes");
    }

    void getDeviceInfo() {
        const GuardedRecord<CqDeviceInfo> info;
        run([&] { driver_.getDeviceInfo(*info.get()); });
        for (const Exchange& exchange : exchanges_) {
            checkText(exchange.reply, fieldOf(*info.get(), exchange.request.at(1)));
        }
        require(info.get()->trailingValue == 0 &&
                    code_ == (exchanges_.size() == 6 && !hasLongText() ? CQ_NO_ERROR
                                                                       : CQ_INVALID_PACKET),
                "texts that have their place are the only success");
    }

    static std::span<const char> fieldOf(const CqDeviceInfo& info, std::uint8_t item) {
        switch (item) {
            case 3:
                return info.infoText3;
            case 4:
                return info.infoText4;
            case 6:
                return info.infoText6;
            case 7:
                return info.infoText7;
            case 11:
                return info.infoText11;
            default:
                return info.infoText12;
        }
    }

    /// True when the last text was too long for its field, and so the last.
    bool hasLongText() const {
        const Exchange& last = exchanges_.back();
        const auto end = std::find(last.reply.begin(), last.reply.end(), std::uint8_t{0});
        const auto size = static_cast<std::size_t>(end - last.reply.begin());
        return size >= (last.request[1] == 7 ? 32U : 16U);
    }

    void getWhiteBoard() {
        const GuardedRecord<CqWhiteBoardParameter> parameter;
        run([&] { driver_.getWhiteBoardParameter(*parameter.get()); });
        require(parameter.isUntouched(16, 16), "what a wireless instrument cannot tell stays");
        checkText(exchanges_.at(0).reply, parameter.get()->text);
        if (exchanges_.size() == 1) {
            return require(hasLongText() && code_ == CQ_INVALID_PACKET, "a long text is a failure");
        }
        const Exchange& block = exchanges_.at(1);
        require(code_ == resultOf(block, kBlockSize, 0xFFFF), "the result is what the reply gives");
        require(code_ == CQ_NO_ERROR ? isSame(parameter.bytes().subspan(32),
                                              BytesView(block.reply).first(kBlockSize))
                                     : parameter.isUntouched(32, kBlockSize),
                "the block is what the instrument has sent");
    }

    void setWhiteBoard() {
        const GuardedRecord<CqWhiteBoardParameter> parameter;  // whose text does not end
        run([&] { driver_.setWhiteBoardParameter(*parameter.get()); });
        require(exchanges_.at(0).request.size() == 2 + sizeof(parameter.get()->text),
                "a text without an end is as long as its field");
        const std::uint32_t refusal = refusalOf(exchanges_[0].reply);
        if (refusal != CQ_NO_ERROR) {
            return require(code_ == refusal && exchanges_.size() == 1, "a refusal is the end");
        }
        const Bytes& reply = exchanges_.at(1).reply;
        require(code_ == (isText(reply, "OK")      ? CQ_NO_ERROR
                          : isText(reply, "INVAL") ? CQ_INVALID_PARAMETER
                                                   : CQ_EXECUTE_COMMAND_FAILED),
                "the block is accepted with OK alone");
    }

    Script& script_;
    WirelessPeer peer_;
    std::shared_ptr<SerialPort> port_ = std::make_shared<SerialPort>("port");
    cq::SpectrophotometerBle driver_{cq::BleAttachTiming{0ms, 0ms}};
    std::uint32_t code_ = 0;
    std::vector<Exchange> exchanges_;
};

}  // namespace

void runWireless(Script& script) {
    Host host(script);
    playCalls(host, script);
}

}  // namespace ovk::fuzz
