#pragma once

#include <string>

/// \file
/// The operating system's view of the library itself. One implementation per system.

namespace ovk::module {

/// Full path of the library's own file, as found when it was loaded; empty if unknown.
std::string path();

/// Writes to the debugger of the process if there is one, else to standard error.
void writeToDebugger(const char* text) noexcept;

/// True once the system has begun to end the process and has stopped its other threads: nothing may
/// wait for a thread or a lock from then on.
bool isProcessEnding() noexcept;

/// Has the function called in every child that this process forks, where there is such a thing.
void callInForkedChild(void (*function)());

/// On Windows hands an argument that is out of bounds to the run-time library's invalid-parameter
/// handler, which may end the process; elsewhere does nothing.
void raiseInvalidParameter();

}  // namespace ovk::module
