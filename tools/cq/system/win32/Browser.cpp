#include "system/Browser.h"

#include <windows.h>

namespace cqtool {
namespace {

std::filesystem::path folderIn(const wchar_t* variable) {
    wchar_t folder[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(variable, folder, MAX_PATH);
    return length > 0 && length < MAX_PATH ? std::filesystem::path(folder)
                                           : std::filesystem::path();
}

}  // namespace

std::optional<Browser> findBrowser() {
    for (const wchar_t* program :
         {L"Microsoft/Edge/Application/msedge.exe", L"Google/Chrome/Application/chrome.exe",
          L"Chromium/Application/chrome.exe"}) {
        for (const wchar_t* variable : {L"ProgramFiles", L"ProgramFiles(x86)", L"LOCALAPPDATA"}) {
            const auto folder = folderIn(variable);
            std::error_code error;
            if (!folder.empty() && std::filesystem::is_regular_file(folder / program, error)) {
                return Browser{folder / program, {}};
            }
        }
    }
    return std::nullopt;
}

}  // namespace cqtool
