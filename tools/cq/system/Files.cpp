#include "system/Files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Failure.h"

namespace cqtool {
namespace {

std::string systemText(int error) {
    return std::generic_category().message(error);
}

/// A file that is removed again unless it takes the place it was written for.
class FileAside {
  public:
    explicit FileAside(const std::filesystem::path& target) : target_(target), path_(target) {
        path_ += ".partial";
    }
    ~FileAside() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    FileAside(const FileAside&) = delete;
    FileAside& operator=(const FileAside&) = delete;

    void write(std::string_view content) {
        errno = 0;
        std::ofstream stream(path_, std::ios::binary);
        stream.write(content.data(), static_cast<std::streamsize>(content.size()));
        stream.close();
        if (!stream) {
            throw Failure("cannot write " + target_.string() + ": " + systemText(errno),
                          "check that the folder exists, may be written to and has room");
        }
    }

    void takePlace() {
        std::error_code error;
        std::filesystem::rename(path_, target_, error);
        if (error) {
            throw Failure("cannot write " + target_.string() + ": " + error.message(),
                          "check that it is not a folder and that no other program holds it open");
        }
    }

  private:
    std::filesystem::path target_;
    std::filesystem::path path_;
};

}  // namespace

std::string readFile(const std::filesystem::path& file) {
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    // A folder opens like a file and then yields nothing.
    const bool isReadable = stream.is_open() && !std::filesystem::is_directory(file);
    std::string content =
        isReadable ? std::string(std::istreambuf_iterator<char>(stream), {}) : std::string();
    if (!isReadable || stream.bad()) {
        throw Failure("cannot read " + file.string() + ": " +
                          (stream.is_open() ? "it is a folder" : systemText(errno)),
                      "check the file's name and that you may read it");
    }
    return content;
}

void writeFile(const std::filesystem::path& file, std::string_view content) {
    std::error_code error;
    // Through a link, so that what it leads to is replaced and not the link.
    const auto target = std::filesystem::weakly_canonical(file, error);
    const auto kind = std::filesystem::status(file, error).type();
    if (kind != std::filesystem::file_type::not_found &&
        kind != std::filesystem::file_type::regular) {
        throw Failure("cannot write " + file.string() + ": it is not an ordinary file",
                      "name a file that is new or may be replaced");
    }
    FileAside aside(target.empty() ? file : target);
    aside.write(content);
    aside.takePlace();
}

}  // namespace cqtool
