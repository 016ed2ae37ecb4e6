#include "system/Files.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <random>
#include <system_error>

#include "Failure.h"
#include "system/Interrupt.h"
#include "system/OutputFile.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostMebibytes = 256;
constexpr std::size_t kMostBytes = kMostMebibytes << 20;
constexpr std::size_t kPieceSize = 65536;

/// A name that is not there yet and cannot be put there beforehand.
fs::path nameAside() {
    std::random_device random;
    char name[64];
    std::snprintf(name, sizeof name, ".cq-%08x%08x.partial", static_cast<unsigned>(random()),
                  static_cast<unsigned>(random()));
    return name;
}

void replaceFile(const fs::path& target, std::string_view content) {
    const fs::path aside = target.parent_path() / nameAside();
    writeNewFile(aside, content, target);
    std::error_code error;
    fs::rename(aside, target, error);
    if (error) {
        std::error_code ignored;
        fs::remove(aside, ignored);
        throw std::system_error(error);
    }
}

std::string contentOf(std::istream& input, const std::string& source) {
    std::string content;
    std::array<char, kPieceSize> piece;
    while (input.read(piece.data(), piece.size()) || input.gcount() > 0) {
        content.append(piece.data(), static_cast<std::size_t>(input.gcount()));
        if (content.size() > kMostBytes) {
            throw Failure(source + " has more than " + std::to_string(kMostMebibytes) + " MiB",
                          "check that it is the right file, or divide it");
        }
    }
    return content;
}

}  // namespace

std::string sourceName(const fs::path& file) {
    return file == kStandardStream ? "standard input" : file.string();
}

std::string readFile(const fs::path& file) {
    const Interrupt::EndsProcess whileItWaits;
    if (file == kStandardStream) {
        return contentOf(std::cin, sourceName(file));
    }
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    // A folder opens like a file and then yields nothing.
    const bool isReadable = stream.is_open() && !fs::is_directory(file);
    std::string content = isReadable ? contentOf(stream, sourceName(file)) : std::string();
    if (!isReadable || stream.bad()) {
        throw Failure(
            "cannot read " + file.string() + ": " +
                (stream.is_open() ? "it is a folder" : std::generic_category().message(errno)),
            "check the file's name and that you may read it");
    }
    return content;
}

void writeFile(const fs::path& file, std::string_view content) {
    if (isStandardOutput(file)) {
        // Program tells when it cannot be written to.
        std::cout.write(content.data(), static_cast<std::streamsize>(content.size()));
        return;
    }
    try {
        const OutputTarget target = outputTarget(file);
        std::error_code ignored;
        const auto type = fs::status(target.file, ignored).type();
        if (target.isStream) {
            writeStream(target.file, content);
        } else if (type == fs::file_type::not_found || type == fs::file_type::regular) {
            replaceFile(target.file, content);
        } else {
            throw Failure("cannot write " + file.string() + ": it is not an ordinary file",
                          "name a file that is new or may be replaced");
        }
    } catch (const std::system_error& error) {
        throw Failure("cannot write " + file.string() + ": " + error.code().message(),
                      "check that the folder exists, may be written to and has room, and that no "
                      "other program holds the file open");
    }
}

bool isStandardOutput(const fs::path& file) {
    return file == kStandardStream || leadsToStandardOutput(file);
}

bool isStream(const fs::path& file) {
    return isStandardOutput(file) || outputTarget(file).isStream;
}

bool areSameFile(const fs::path& one, const fs::path& other) {
    std::error_code error;
    return fs::is_regular_file(one, error) && fs::equivalent(one, other, error);
}

}  // namespace cqtool
