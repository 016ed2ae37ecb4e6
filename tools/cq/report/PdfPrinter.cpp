#include "report/PdfPrinter.h"

#include <chrono>
#include <filesystem>
#include <random>
#include <system_error>

#include "Failure.h"
#include "system/Browser.h"
#include "system/ChildProcess.h"
#include "system/Files.h"
#include "terminal/StatusLine.h"

namespace cqtool {
namespace {

constexpr std::chrono::seconds kMostTime{120};
constexpr std::chrono::milliseconds kPrinterRound{200};

constexpr const char* kPrintYourself = "write the report as .html and print that from a browser";

/// A folder that nobody else can enter, removed with this object.
class PrivateFolder {
  public:
    PrivateFolder() {
        std::random_device random;
        for (int attempt = 0; attempt < 10; ++attempt) {
            path_ = std::filesystem::temp_directory_path() /
                    ("cq-print-" + std::to_string(random()) + "-" + std::to_string(random()));
            if (std::filesystem::create_directory(path_)) {
                std::filesystem::permissions(path_, std::filesystem::perms::owner_all);
                return;
            }
        }
        throw Failure("no folder can be made in " + path_.parent_path().string(),
                      "free space there, or name another folder in TMPDIR");
    }
    ~PrivateFolder() {
        // A browser that was ended may still be writing for a moment.
        for (int attempt = 0; attempt < 5; ++attempt) {
            std::error_code error;
            std::filesystem::remove_all(path_, error);
            if (!std::filesystem::exists(path_, error)) {
                return;
            }
        }
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    std::filesystem::path operator/(const char* name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

/// Runs the browser to its end, and ends it when it takes too long or on Ctrl-C.
void run(const Browser& browser, std::vector<std::string> arguments, const Interrupt& interrupt) {
    arguments.insert(arguments.begin(), browser.arguments.begin(), browser.arguments.end());
    const StatusLine status("printing");
    ChildProcess process(browser.program, arguments, ChildProcess::Errors::dropped);
    const auto deadline = std::chrono::steady_clock::now() + kMostTime;
    while (!process.hasOutputEnded() && std::chrono::steady_clock::now() < deadline) {
        process.readLine(kPrinterRound);
        interrupt.throwIfHappened();
    }
    if (!process.hasOutputEnded()) {
        throw Failure(browser.program.string() + " has not printed the page within " +
                          std::to_string(kMostTime.count()) + " s",
                      kPrintYourself);
    }
}

}  // namespace

std::string pdfOf(const std::string& page, const Interrupt& interrupt) {
    const auto browser = findBrowser();
    if (!browser) {
        throw Failure("a PDF is printed by a browser, and there is no Chromium, Chrome or Edge",
                      std::string("install chromium; or ") + kPrintYourself);
    }
    try {
        const PrivateFolder folder;
        const auto source = folder / "report.html";
        const auto printed = folder / "report.pdf";
        writeFile(source, page);
        run(*browser,
            {"--headless", "--disable-gpu", "--no-first-run", "--disable-extensions",
             "--user-data-dir=" + (folder / "profile").string(), "--no-pdf-header-footer",
             "--print-to-pdf=" + printed.string(), source.string()},
            interrupt);
        if (!std::filesystem::exists(printed)) {
            throw Failure(browser->program.string() + " has printed nothing", kPrintYourself);
        }
        return readFile(printed);
    } catch (const std::system_error& error) {
        throw Failure(
            "printing with " + browser->program.string() + " failed: " + error.code().message(),
            kPrintYourself);
    }
}

}  // namespace cqtool
