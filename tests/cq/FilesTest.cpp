#ifndef _WIN32
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <filesystem>

#include "Samples.h"
#include "system/Files.h"

namespace cqtool {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Files : public testing::Test {
  protected:
    Files() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::temp_directory_path() / (std::string("cq-files-") + test->name());
        fs::remove_all(folder_);
        fs::create_directory(folder_);
    }
    ~Files() override { fs::remove_all(folder_); }

    std::size_t filesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
    }

    fs::path folder_;
};

TEST_F(Files, AreReplacedWhole) {
    const fs::path file = folder_ / "report.html";
    const std::string content("line\r\n\0end", 10);
    writeFile(file, "something longer than what comes after it");
    writeFile(file, content);
    EXPECT_EQ(readFile(file), content);
    EXPECT_EQ(filesInFolder(), 1U);
}

TEST_F(Files, ThatCannotBeWrittenLeaveNothing) {
    fs::create_directory(folder_ / "taken");
    EXPECT_THAT(thrownBy<Failure>([&] { writeFile(folder_ / "taken", "x"); }),
                HasSubstr("not an ordinary file"));
    EXPECT_THAT(thrownBy<Failure>([&] { writeFile(folder_ / "none" / "file", "x"); }),
                HasSubstr("cannot write"));
    EXPECT_EQ(filesInFolder(), 1U);
}

#ifndef _WIN32
TEST_F(Files, AreReplacedThroughALink) {
    writeFile(folder_ / "real", "old");
    fs::create_symlink(folder_ / "real", folder_ / "link");
    writeFile(folder_ / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
    EXPECT_EQ(readFile(folder_ / "real"), "new");
    if (::geteuid() == 0) {
        ASSERT_EQ(::lchown((folder_ / "link").c_str(), 12345, 12345), 0);
        EXPECT_THAT(thrownBy<Failure>([&] { writeFile(folder_ / "link", "x"); }),
                    HasSubstr("another user's link"));
    }
}

TEST_F(Files, KeepTheirModeAndTouchNothingBesides) {
    writeFile(folder_ / "page", "old");
    fs::permissions(folder_ / "page", fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("page.victim", folder_ / "page.partial");
    writeFile(folder_ / "page", "new");
    EXPECT_EQ(fs::status(folder_ / "page").permissions(),
              fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_TRUE(fs::is_symlink(folder_ / "page.partial"));
    EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(Files, ThatAreDevicesAndPipesAreWrittenTo) {
    writeFile("/dev/null", "x");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    const fs::path pipe = folder_ / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(thrownBy<Failure>([&] { writeFile(pipe, "x"); }), HasSubstr("nobody reads"));
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    writeFile(pipe, "x");
    char read = 0;
    EXPECT_EQ(::read(reader, &read, 1), 1);
    EXPECT_EQ(read, 'x');
    ::close(reader);
}
#endif

}  // namespace
}  // namespace cqtool
