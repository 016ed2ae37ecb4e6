#pragma once

#include <windows.h>

#include <string>

/// \file
/// What a port that is a named pipe does differently from a communications device: it has no
/// settings, no queues of its own and no event mask. Programs that stand in for an instrument serve
/// one.

namespace ovk::namedpipe {

/// How long to wait for a pipe whose server is still busy with its last host.
inline constexpr DWORD kTurnTimeMs = 500;

/// For the opening of this path: whoever serves a pipe learns who opens it, and may not act for them.
inline DWORD extraFlags(const std::string& path) {
    return path.starts_with(R"(\\.\pipe\)") ? SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION : 0;
}

inline bool isPipe(HANDLE handle) {
    return GetFileType(handle) == FILE_TYPE_PIPE;
}

/// A pipe whose other end has gone counts as a removed device.
inline DWORD toPortError(DWORD error) {
    const bool isGone =
        error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED || error == ERROR_NO_DATA;
    return isGone ? ERROR_FILE_NOT_FOUND : error;
}

/// How many bytes wait to be read. Returns the error; 0 if the pipe has told.
inline DWORD countReceived(HANDLE handle, DWORD& count) {
    return PeekNamedPipe(handle, nullptr, 0, nullptr, &count, nullptr) == FALSE
               ? toPortError(GetLastError())
               : ERROR_SUCCESS;
}

}  // namespace ovk::namedpipe
