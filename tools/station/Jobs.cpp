#include "Jobs.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "Failure.h"

namespace station {
namespace {

namespace fs = std::filesystem;

constexpr const char* kExtension = ".cqjob";
constexpr std::size_t kLongestName = 80;

}  // namespace

Jobs::Jobs(fs::path folder, std::function<void()> changed)
    : folder_(std::move(folder)), changed_(std::move(changed)) {}

bool Jobs::isName(const std::string& name) {
    return !name.empty() && name.size() <= kLongestName && name.front() != '.' &&
           name.front() != ' ' && name.back() != ' ' && name.back() != '.' &&
           std::all_of(name.begin(), name.end(), [](char letter) {
               return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
                      (letter >= '0' && letter <= '9') || letter == '-' || letter == '_' ||
                      letter == '.' || letter == ' ';
           });
}

fs::path Jobs::fileOf(const std::string& name) const {
    if (!isName(name)) {
        throw cqtool::Failure("a job's name has letters, digits, blanks, '-', '_' and '.'");
    }
    return folder_ / (name + kExtension);
}

std::vector<std::string> Jobs::names() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& file : fs::directory_iterator(folder_, error)) {
        if (file.path().extension() == kExtension && isName(file.path().stem().string())) {
            names.push_back(file.path().stem().string());
        }
    }
    const std::scoped_lock lock(mutex_);
    for (const auto& [name, journal] : opened_) {
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::shared_ptr<Journal> Jobs::keep(const std::string& name, const fs::path& file) {
    const std::scoped_lock lock(mutex_);
    auto& place = opened_[name];
    if (place == nullptr) {
        try {
            place = std::make_shared<Journal>(name, file, changed_);
        } catch (...) {
            opened_.erase(name);
            throw;
        }
    }
    return place;
}

std::shared_ptr<Journal> Jobs::open(const std::string& name) {
    {
        const std::scoped_lock lock(mutex_);
        const auto found = opened_.find(name);
        if (found != opened_.end()) {
            return found->second;
        }
    }
    return keep(name, fileOf(name));
}

std::shared_ptr<Journal> Jobs::create(const std::string& name, const cqtool::Job& job) {
    const fs::path file = fileOf(name);
    cqtool::JobFile::create(file, job);
    return keep(name, file);
}

std::shared_ptr<Journal> Jobs::openFile(const fs::path& file) {
    return keep(file.stem().string(), file);
}

std::vector<std::shared_ptr<Journal>> Jobs::opened() const {
    const std::scoped_lock lock(mutex_);
    std::vector<std::shared_ptr<Journal>> list;
    for (const auto& [name, journal] : opened_) {
        list.push_back(journal);
    }
    return list;
}

void Jobs::refresh() {
    for (const auto& journal : opened()) {
        try {
            journal->refresh();
        } catch (const std::exception&) {
            // Whoever writes to it next is told.
        }
    }
}

}  // namespace station
