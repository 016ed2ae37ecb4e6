#pragma once

#include <fstream>
#include <string>

namespace cqtest {

/// The first of the usual instruments within an adapter's reach.
inline constexpr const char* kFirstAddress = "C4BE84A1B2C3";

/// A virtual instrument that a test talks to: a program of its own at the other end of a serial
/// line. It starts uncalibrated, empty, without noise, and measures at once. With the option
/// --adapter it is a wireless adapter, which answers soon, with such instruments within reach.
class VirtualInstrument {
  public:
    /// \param options added to its command line; with --log the line's log goes elsewhere.
    /// \param slaves JSON list of what is within an adapter's reach; empty for the usual three.
    /// \throw std::runtime_error with what it printed, when it does not start.
    explicit VirtualInstrument(const std::string& options = {}, const std::string& slaves = {});
    /// Ends it and waits until it is gone.
    ~VirtualInstrument();
    VirtualInstrument(const VirtualInstrument&) = delete;
    VirtualInstrument& operator=(const VirtualInstrument&) = delete;

    /// To open it by.
    const char* portName() const { return portName_.c_str(); }

    void pressStandard() { press('s'); }
    void pressTrial() { press('t'); }
    void unplug() { press('u'); }
    void plugIn() { press('p'); }

    /// What has gone over the line, a packet a line.
    std::string lineLog() const;
    /// Waits until the line's log has the text after its first `from` characters; false after ten
    /// seconds.
    bool waitUntilLogged(const std::string& text, std::size_t from = 0) const;

  private:
    void press(char key);
    std::string printed() const;

    std::string directory_;
    std::string portName_;
    std::fstream keys_;  // both ways: opening waits for nobody then
};

}  // namespace cqtest
