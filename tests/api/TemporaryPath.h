#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace ovk::test {

/// A path of its own for a file or a folder, however many tests run beside each other. What is
/// there at the end is removed.
class TemporaryPath {
  public:
    explicit TemporaryPath(const std::string& name)
        : path_(std::filesystem::temp_directory_path() /
                (name + "-" + std::to_string(std::random_device()()))) {}
    ~TemporaryPath() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryPath(const TemporaryPath&) = delete;
    TemporaryPath& operator=(const TemporaryPath&) = delete;

    const std::filesystem::path& get() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace ovk::test
