#include "api/Module.h"

#include <windows.h>

#include <array>
#include <cstring>

namespace {

constexpr DWORD kMaxModulePath = 260;

std::array<char, kMaxModulePath> modulePath{};
bool processIsEnding = false;

}  // namespace

// Thread attach and detach do nothing, yet are not disabled: the compiler's run-time library,
// linked in, frees its per-thread data there.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        GetModuleFileNameA(instance, modulePath.data(), kMaxModulePath);
    } else if (reason == DLL_PROCESS_DETACH) {
        processIsEnding = reserved != nullptr;
    }
    return TRUE;
}

namespace ovk::module {

std::string path() {
    return modulePath.data();
}

void writeToDebugger(const char* text) noexcept {
    OutputDebugStringA(text);
}

bool isProcessEnding() noexcept {
    return processIsEnding;
}

void callInForkedChild(void (* /*function*/)()) {}

void raiseInvalidParameter() {
    // The handler cannot be called portably, but a bounded copy that does not fit calls it.
    std::array<char, 1> field{};
    strcpy_s(field.data(), field.size(), "?");
}

}  // namespace ovk::module
