#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "serial/posix/PseudoTerminal.h"

namespace ovk::bletest {

/// The first command of a module's configuration.
inline const std::string kExCode = "AT+EX=3C9A0E57B21D4F8861A7C5E09D2B74F1\r\n";

/// The module or the instrument at the far end of a pseudo-terminal: a thread that waits for the
/// bytes that each step awaits and then sends its answers, with a pause between them. Unlike a
/// terminal without a thread behind it, it stays usable while ports come and go.
class ScriptedPeer {
  public:
    struct Step {
        std::string awaited;
        std::vector<std::string> answers;
    };
    using Script = std::vector<Step>;

    explicit ScriptedPeer(Script script = {});
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    const std::string& portName() const { return terminal_.path(); }
    /// Sends by itself. Not while a step is under way.
    void send(const std::string& bytes) const { terminal_.send(bytes); }
    /// Waits until so many steps are done.
    void awaitSteps(std::size_t count) const;
    /// Goes on with another script; what the port has sent so far is forgotten.
    void play(Script script);
    /// Waits for the line to be idle; returns all that the port has sent since the script began.
    std::string received();
    /// Ends the thread and returns the same.
    std::string finish();
    /// Ends the thread; the device is gone.
    void unplug();

    /// What finish() should return: what the steps await.
    static std::string awaitedBy(const Script& script);

  private:
    void run();
    void playSteps();

    std::mutex mutex_;  // guards the script and what has been received
    Script script_;
    test::PseudoTerminal terminal_;
    const int portsSide_;  // without one open nothing could be received
    std::string received_;
    std::size_t answered_ = 0;  // so many bytes of these belong to steps that are done
    std::atomic<std::size_t> stepsDone_{0};
    std::atomic<std::size_t> idleRounds_{0};
    std::atomic<bool> mustStop_{false};
    std::thread thread_;
};

}  // namespace ovk::bletest
