#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "text/Json.h"

namespace station {

using cqtool::Json;

/// What each instrument is doing, as listeners are told. For any thread.
class States {
  public:
    /// \param changed is called after each change. It must neither wait nor call back.
    explicit States(std::function<void()> changed) : changed_(std::move(changed)) {}

    void set(const std::string& name, Json state) {
        {
            const std::scoped_lock lock(mutex_);
            states_[name] = {++version_, std::move(state)};
        }
        changed_();
    }

    /// The latest state of those that have changed since, by their names.
    /// \param version 0 at first; afterwards the one to go on with.
    std::vector<Json> changedSince(std::uint64_t& version) const {
        const std::scoped_lock lock(mutex_);
        std::vector<Json> list;
        for (const auto& [name, state] : states_) {
            if (state.first > version) {
                list.push_back(state.second);
            }
        }
        version = version_;
        return list;
    }

  private:
    std::function<void()> changed_;
    mutable std::mutex mutex_;
    std::uint64_t version_ = 0;
    std::map<std::string, std::pair<std::uint64_t, Json>> states_;
};

}  // namespace station
