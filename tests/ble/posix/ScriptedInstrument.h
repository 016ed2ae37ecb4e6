#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>

#include "../PacketBytes.h"
#include "api/CommunicationException.h"
#include "ble/SpectrophotometerBle.h"
#include "ScriptedPeer.h"

namespace ovk::bletest {

/// A driver attached to an instrument that has answered its hello.
class ScriptedInstrument {
  public:
    ScriptedInstrument() {
        EXPECT_TRUE(port->open());
        driver.attach(port);
    }

    ScriptedPeer peer{{{packetBytes(1, 1), {packetBytes(1, 1)}}}};
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>(peer.portName());
    cq::SpectrophotometerBle driver;
};

/// The result of an operation that returns one or throws it.
template <class Operation>
ResultCode codeOf(const Operation& operation) {
    try {
        if constexpr (std::is_void_v<decltype(operation())>) {
            operation();
            return CQ_NO_ERROR;
        } else {
            return operation();
        }
    } catch (const CommunicationException& exception) {
        return exception.code();
    }
}

inline CqMeasurementRecord record(std::size_t seed) {
    CqMeasurementRecord made;
    std::memcpy(made.bytes, pattern(sizeof(made.bytes), seed).data(), sizeof(made.bytes));
    return made;
}

/// A record's or a parameter's bytes.
template <class Record>
std::string image(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

}  // namespace ovk::bletest
