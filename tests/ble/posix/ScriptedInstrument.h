#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "../PacketBytes.h"
#include "api/CommunicationException.h"
#include "ble/SpectrophotometerBle.h"
#include "ScriptedPeer.h"

namespace ovk::bletest {

/// A driver attached to an instrument that has answered its hello and then plays the script.
class ScriptedInstrument {
  public:
    explicit ScriptedInstrument(ScriptedPeer::Script script = {})
        : peer(greeted(std::move(script))) {
        EXPECT_TRUE(port->open());
        driver.attach(port);
    }
    /// What the driver has sent since its hello.
    std::string finish() { return peer.finish().substr(packetBytes(1, 1).size()); }

    ScriptedPeer peer;
    std::shared_ptr<SerialPort> port = std::make_shared<SerialPort>(peer.portName());
    cq::SpectrophotometerBle driver{{std::chrono::milliseconds(0), std::chrono::milliseconds(0)}};

  private:
    static ScriptedPeer::Script greeted(ScriptedPeer::Script script) {
        script.insert(script.begin(), {packetBytes(1, 1), {packetBytes(1, 1)}});
        return script;
    }
};

inline ResultCode codeOf(const std::function<void()>& operation) {
    try {
        operation();
        return CQ_NO_ERROR;
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
