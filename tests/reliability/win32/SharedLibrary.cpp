#include "reliability/SharedLibrary.h"

#include <windows.h>

#include <tlhelp32.h>
#include <stdexcept>

namespace cqtest {

SharedLibrary::SharedLibrary(const std::string& path) : module_(LoadLibraryA(path.c_str())) {
    if (module_ == nullptr) {
        throw std::runtime_error("cannot load " + path + ": error " +
                                 std::to_string(GetLastError()));
    }
}

SharedLibrary::~SharedLibrary() {
    FreeLibrary(static_cast<HMODULE>(module_));
}

void* SharedLibrary::symbol(const char* name) const {
    const FARPROC found = GetProcAddress(static_cast<HMODULE>(module_), name);
    if (found == nullptr) {
        throw std::runtime_error(std::string("no export ") + name);
    }
    return reinterpret_cast<void*>(found);
}

bool SharedLibrary::isLoaded(const std::string& path) {
    return GetModuleHandleA(path.c_str()) != nullptr;
}

std::size_t countThreads() {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE) {
        throw std::runtime_error("no snapshot of the threads");
    }
    std::size_t count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL hasEntry = Thread32First(snapshot, &entry); hasEntry != FALSE;
         hasEntry = Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    }
    CloseHandle(snapshot);
    return count;
}

}  // namespace cqtest
