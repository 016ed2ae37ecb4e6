#include "Publisher.h"

#include <mosquitto.h>
#include <poll.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <system_error>
#include <thread>
#include <vector>

#include "BrokerClient.h"
#include "Failure.h"
#include "Outbox.h"
#include "text/Time.h"

namespace station {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds kEventInterval{100};  // for new events
constexpr milliseconds kShortestDelay{500};
constexpr milliseconds kLongestDelay{10000};
constexpr seconds kFarewellTime{2};
constexpr std::size_t kNewClientsAtOnce = 20;

/// Each client has a connection and the two ends of a wake-up line.
void allowManyConnections() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace

struct Publisher::Impl {
    /// An instrument that is there.
    struct Instrument {
        std::string serial;
        BrokerClient::Presence presence;
    };

    Impl(const Broker& toBroker, std::string ofStation, const fs::path& inFolder, Jobs& allJobs,
         const States& allStates)
        : broker(toBroker),
          login(loginOf(toBroker)),
          station(std::move(ofStation)),
          folder(inFolder),
          jobs(allJobs),
          states(allStates) {
        checkFiles(broker);
        allowManyConnections();
        mosquitto_lib_init();
        thread = std::thread([this] { run(); });
    }

    ~Impl() {
        isEnding = true;
        thread.join();
        mosquitto_lib_cleanup();
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void run() {
        attempt([this] { openUnfinished(); });
        milliseconds delay = kShortestDelay;
        while (!isEnding) {
            try {
                stayConnected(delay);
            } catch (const std::exception& error) {
                tell(error);
            }
            hangUp();
            const auto end = Clock::now() + delay;
            while (!isEnding && Clock::now() < end) {
                std::this_thread::sleep_for(kEventInterval);
            }
            delay = std::min(2 * delay, kLongestDelay);
        }
    }

    /// Jobs of other days that the broker has not got whole.
    void openUnfinished() {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const fs::path& mark = entry.path();
            if (Outbox::isMark(mark) && Outbox::isBehind(mark)) {
                attempt([&] { jobs.openFile(Outbox::jobOf(mark)); });
            }
        }
    }

    /// Until the connection is lost, which throws, or the end.
    void stayConnected(milliseconds& delay) {
        client = std::make_unique<BrokerClient>(broker, login, "cq-" + station, ownPresence());
        Clock::time_point end = Clock::time_point::max();
        while (Clock::now() < end) {
            wait();
            if (client->isConnected()) {
                delay = kShortestDelay;
                sayConnected();
                publishEvents();
                attempt([this] { publishPresence(); });
            }
            if (isEnding) {
                end = std::min(end, Clock::now() + kFarewellTime);
                if (!client->isConnected() || isAllSent()) {
                    break;
                }
            }
        }
        for (auto& [name, instrument] : instruments) {
            attempt([&instrument = instrument] { instrument->leave(); });
        }
        client->leave();
    }

    /// Waits for the broker, or until it is time to look for events, and does what the broker wants.
    void wait() {
        std::vector<pollfd> polled{client->wanted()};
        for (const auto& [serial, instrument] : instruments) {
            polled.push_back(instrument->wanted());
        }
        ::poll(polled.data(), polled.size(), static_cast<int>(kEventInterval.count()));
        client->work(polled.front().revents);
        for (const int id : client->takeAcknowledged()) {
            if (const auto sent = onTheirWay.extract(id)) {
                sent.mapped().first->acknowledge(sent.mapped().second);
            }
        }
        // Those that nothing has come for are looked after once a second.
        const bool isTime = Clock::now() >= nextCare;
        nextCare = isTime ? Clock::now() + seconds(1) : nextCare;
        std::size_t place = 0;
        std::erase_if(instruments, [&](auto& instrument) {
            const short ready = polled[++place].revents;
            return (ready != 0 || isTime) && !attempt([&] { instrument.second->work(ready); });
        });
    }

    void publishEvents() {
        for (const auto& journal : jobs.opened()) {
            auto& outbox = outboxes[journal->name()];
            std::vector<Outbox::Message> messages;
            attempt([&] {
                if (outbox == nullptr) {
                    outbox = std::make_unique<Outbox>(journal, station, broker.settleTime);
                }
                outbox->keep(Clock::now());
                messages = outbox->next();
            });
            for (const Outbox::Message& message : messages) {
                const int id = client->publish(message.topic, message.payload);
                onTheirWay[id] = {outbox.get(), message.number};
            }
        }
    }

    bool isAllSent() const {
        return std::all_of(outboxes.begin(), outboxes.end(),
                           [](const auto& one) { return !one.second || one.second->isDone(); });
    }

    /// Each instrument that is there has a client of its own, with a will of its own.
    void publishPresence() {
        for (const Json& state : states.changedSince(version)) {
            const std::string name = state.at("name");
            if (state.at("state") == "searching" || state.at("serial").is_null()) {
                present.erase(name);
            } else {
                present[name] = {state.at("serial"), presenceOf(state)};
            }
        }
        std::erase_if(instruments, [this](auto& instrument) {
            const bool isGone = std::none_of(present.begin(), present.end(), [&](const auto& one) {
                return one.second.serial == instrument.first;
            });
            if (isGone) {
                attempt([&] { instrument.second->leave(); });
            }
            return isGone;
        });
        if (Clock::now() < nextClients) {
            return;
        }
        std::size_t begun = 0;
        for (const auto& [name, instrument] : present) {
            if (begun < kNewClientsAtOnce && !instruments.contains(instrument.serial)) {
                ++begun;
                nextClients = Clock::now() + seconds(1);
                instruments[instrument.serial] = std::make_unique<BrokerClient>(
                    broker, login, "cq-" + station + "-" + topicLevel(instrument.serial),
                    instrument.presence);
            }
        }
    }

    BrokerClient::Presence ownPresence() const {
        Json online{{"station", station},
                    {"state", "online"},
                    {"since", cqtool::nowText()},
                    {"program", std::string("cq-station ") + CQAPI_VERSION_STRING}};
        const Json offline{{"station", station}, {"state", "offline"}};
        return {"cq/" + station + "/state", online.dump(), offline.dump()};
    }

    BrokerClient::Presence presenceOf(const Json& state) const {
        Json online{{"station", station},         {"serial", state.at("serial")},
                    {"state", "online"},          {"since", cqtool::nowText()},
                    {"name", state.at("name")},   {"kind", state.at("kind")},
                    {"model", state.at("model")}, {"firmware", state.at("firmware")}};
        const Json offline{
            {"station", station}, {"serial", state.at("serial")}, {"state", "offline"}};
        return {"cq/" + station + "/" + topicLevel(state.at("serial")) + "/state", online.dump(),
                offline.dump()};
    }

    void hangUp() {
        instruments.clear();
        client.reset();
        onTheirWay.clear();
        for (const auto& [name, outbox] : outboxes) {
            if (outbox != nullptr) {
                outbox->rewind();
            }
        }
    }

    /// Does what must not break the connection; says why it failed.
    bool attempt(const std::function<void()>& what) {
        try {
            what();
            return true;
        } catch (const std::exception& error) {
            tell(error);
            return false;
        }
    }

    /// Not the same twice in a row: it is tried again and again.
    void tell(const std::exception& error) {
        std::string text = std::string("cq: ") + error.what() + '\n';
        if (const auto* const failure = dynamic_cast<const cqtool::Failure*>(&error)) {
            text += failure->advice().empty() ? std::string() : failure->advice() + '\n';
        }
        if (text != told) {
            std::cerr << text << std::flush;
            told = text;
        }
    }

    void sayConnected() {
        if (!told.empty() || !hasSaidSo) {
            std::cerr << "cq: publishing to the broker " << nameOf(broker) << std::endl;
            told.clear();
            hasSaidSo = true;
        }
    }

    const Broker broker;
    const Login login;
    const std::string station;
    const fs::path folder;
    Jobs& jobs;
    const States& states;
    std::atomic<bool> isEnding = false;

    // Of the thread alone.
    std::unique_ptr<BrokerClient> client;
    std::map<std::string, std::unique_ptr<Outbox>> outboxes;           // by the job's name
    std::map<int, std::pair<Outbox*, std::uint64_t>> onTheirWay;       // by the message's id
    std::map<std::string, Instrument> present;                         // by the place's name
    std::map<std::string, std::unique_ptr<BrokerClient>> instruments;  // by serial number
    std::uint64_t version = 0;                                         // of the states
    Clock::time_point nextClients{};
    Clock::time_point nextCare{};
    std::string told;
    bool hasSaidSo = false;

    std::thread thread;
};

Publisher::Publisher(const Broker& broker, std::string station, const fs::path& folder, Jobs& jobs,
                     const States& states)
    : impl_(std::make_unique<Impl>(broker, std::move(station), folder, jobs, states)) {}

Publisher::~Publisher() = default;

}  // namespace station
