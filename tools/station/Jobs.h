#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Journal.h"

namespace station {

/// The jobs of a folder: its files NAME.cqjob. For any thread.
class Jobs {
  public:
    /// \param changed is called when a job has new events, on the thread that wrote or found them. It
    /// must neither wait nor call back.
    Jobs(std::filesystem::path folder, std::function<void()> changed);

    /// The names of those in the folder, as far as they are names, and of those that have been opened.
    std::vector<std::string> names() const;
    /// The job of this name, opened if need be; throws cqtool::Failure if there is none.
    std::shared_ptr<Journal> open(const std::string& name);
    /// Makes one; throws cqtool::Failure if there is one already or the name is none.
    std::shared_ptr<Journal> create(const std::string& name, const cqtool::Job& job);
    /// The job in a file, which may be in another folder.
    std::shared_ptr<Journal> openFile(const std::filesystem::path& file);

    /// Those that have been opened.
    std::vector<std::shared_ptr<Journal>> opened() const;
    /// Takes in what other programs have appended to them.
    void refresh();

    /// Letters, digits, blanks and "-_.", at most 80, and no dot in front: what is safe as the name of
    /// a file.
    static bool isName(const std::string& name);

  private:
    std::shared_ptr<Journal> keep(const std::string& name, const std::filesystem::path& file);
    std::filesystem::path fileOf(const std::string& name) const;

    std::filesystem::path folder_;
    std::function<void()> changed_;
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Journal>> opened_;
};

}  // namespace station
