#include "peer/VirtualInstrument.h"

#include <atomic>
#include <filesystem>
#include <iterator>
#include <random>
#include <stdexcept>

#include "peer/StartShell.h"
#include "peer/WaitUntil.h"

namespace cqtest {
namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// In memory if the system has that: an instrument that writes its log to a busy disk answers late.
std::string makeDirectory() {
    std::random_device random;
    const std::string memory = "/dev/shm";
    std::string directory = (fs::is_directory(ownPath(memory)) ? memory : "/tmp") + "/cqapi-test-" +
                            std::to_string(random());
    fs::create_directories(ownPath(directory));
    return directory;
}

std::string withDefault(const std::string& options, const std::string& name,
                        const std::string& value) {
    return options.find(name) == std::string::npos ? name + " " + value + " " + options : options;
}

std::string withDefaults(std::string options, const std::string& logFile) {
    if (options.find("--adapter") != std::string::npos) {
        options = withDefault(options, "--at-delay", "2");
    }
    return withDefault(withDefault(options, "--measure-time", "0"), "--log", logFile);
}

}  // namespace

VirtualInstrument::VirtualInstrument(const std::string& options, const std::string& slaves)
    : directory_(makeDirectory()) {
    static std::atomic<int> count{0};
    const PortPlace place = makePortPlace(directory_, count++);
    portName_ = place.name;
    const std::string slavesFile = directory_ + "/slaves.json";
    if (!slaves.empty()) {
        std::ofstream(ownPath(slavesFile), std::ios::binary) << slaves;
    }
    std::ofstream(ownPath(directory_ + "/start.sh"), std::ios::binary)
        << "mkfifo " << directory_ << "/keys\n"
        << CQAPI_TEST_VIRTUAL_INSTRUMENT << " --until-eof --link " << place.link << " --noise 0 "
        << withDefaults(options, directory_ + "/line.log")
        << (slaves.empty() ? "" : " --slaves " + slavesFile) << " <" << directory_ << "/keys >"
        << directory_ << "/printed 2>&1\n"
        << "rm " << directory_ << "/keys\n"
        << "echo >" << directory_ << "/ended\n";
    startShell(directory_ + "/start.sh");

    const bool isReady =
        waitUntil([this] {
            keys_.open(ownPath(directory_ + "/keys"),
                       std::ios::in | std::ios::out | std::ios::binary);
            return keys_.is_open();
        }) &&
        waitUntil([this] { return printed().find("port: ") != std::string::npos; });
    if (!isReady) {
        throw std::runtime_error("the virtual instrument did not start: " + printed());
    }
}

VirtualInstrument::~VirtualInstrument() {
    press('q');  // closing the pipe would not do: other instruments' processes have it open, too
    waitUntil([this] { return fs::exists(ownPath(directory_ + "/ended")); });
    std::error_code error;
    fs::remove_all(ownPath(directory_), error);
}

void VirtualInstrument::press(char key) {
    keys_ << key << '\n' << std::flush;
}

std::string VirtualInstrument::printed() const {
    return readFile(ownPath(directory_ + "/printed"));
}

std::string VirtualInstrument::lineLog() const {
    return readFile(ownPath(directory_ + "/line.log"));
}

bool VirtualInstrument::waitUntilLogged(const std::string& text, std::size_t from) const {
    return waitUntil([&] { return lineLog().find(text, from) != std::string::npos; });
}

}  // namespace cqtest
