#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "Instrument.h"
#include "Jobs.h"
#include "Ports.h"
#include "States.h"

namespace station {

/// One instrument: finds it, keeps it open, and does what it is asked, one thing after another, on a
/// thread of its own. What is measured is in the job's file before anybody hears of it.
class Worker {
  public:
    /// What came of a request.
    struct Outcome {
        bool isDone = true;
        std::string problem;  ///< why not
        Json answer = Json::object();
    };
    using Reply = std::function<void(const Outcome&)>;

    /// What all workers share.
    struct Shared {
        Jobs& jobs;
        States& states;
        Ports& ports;
    };

    Worker(Place place, Shared shared);
    /// Ends a running call; waits for an opening that is running, 2 s at most, wireless 8.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Asks it to end, without waiting.
    void end();

    // Requests, from any thread. Each is answered on the worker's thread.

    /// \param name of the measurement; empty: the one set before, or else the job's next one.
    void measure(bool isStandard, std::string name, Reply reply);
    void calibrate(bool isWhite, Reply reply);
    /// \param name of the next measurement; empty: as the job counts.
    void setNextName(std::string name, Reply reply);
    void setJob(std::string name, Reply reply);
    /// \param number of the standard that trials belong to; nothing: the job's latest.
    void setStandard(std::optional<std::uint64_t> number, Reply reply);

  private:
    using Task = std::function<Outcome()>;
    struct Pressed {
        bool isStandard;
        CqMeasurementRecord record;
    };

    void ask(Task task, Reply reply);
    void run();
    bool waitForWork();
    void work();
    void look();
    void find();
    bool tryPort(const std::string& port);
    void lose(const std::string& why);
    void writePressed();
    Outcome measureNow(bool isStandard, const std::string& name);
    std::uint64_t write(bool isStandard, const CqMeasurementRecord& record,
                        const std::string& name);
    Outcome calibrateNow(bool isWhite);
    void rememberCalibration();
    Instrument& opened();
    Journal& journal();
    void tell();
    void tell(const std::string& state);

    const Place place_;
    Shared shared_;

    std::mutex mutex_;  // of the four below, for requests and presses
    std::condition_variable wake_;
    std::deque<std::function<void()>> requests_;
    std::deque<Pressed> pressed_;
    bool isEnding_ = false;
    std::shared_ptr<Instrument> closable_;  // the open instrument, for end()

    // Of the worker's thread alone.
    std::unique_ptr<cqtool::VirtualInstrument> virtual_;
    Ports::Claim claim_;
    std::shared_ptr<Instrument> instrument_;
    cqtool::InstrumentIdentity identity_;  // of the last one that was open
    std::shared_ptr<Journal> journal_;
    std::string state_ = "searching";
    std::string problem_;
    std::string nextName_;
    std::optional<std::uint64_t> standard_;
    std::map<std::string, std::string> calibrated_;  // "white", "black": when
    int looks_ = 0;

    std::thread thread_;
};

}  // namespace station
