#include "win32/Keys.h"

#include <algorithm>
#include <array>

namespace vi {

Keys::Keys() : input_(GetStdHandle(STD_INPUT_HANDLE)) {
    hasEnded_ = input_ == nullptr || input_ == INVALID_HANDLE_VALUE;
    isConsole_ = !hasEnded_ && GetConsoleMode(input_, &modeBefore_) != 0;
    if (isConsole_) {
        constexpr DWORD byLine = ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT;
        SetConsoleMode(input_, modeBefore_ & ~byLine);
    }
}

Keys::~Keys() {
    if (isConsole_) {
        SetConsoleMode(input_, modeBefore_);
    }
}

std::string Keys::poll() {
    if (hasEnded_) {
        return {};
    }
    return isConsole_ ? pollConsole() : pollOther();
}

std::string Keys::pollConsole() {
    std::string keys;
    DWORD waiting = 0;
    while (GetNumberOfConsoleInputEvents(input_, &waiting) != 0 && waiting > 0) {
        INPUT_RECORD record{};
        DWORD count = 0;
        if (ReadConsoleInputA(input_, &record, 1, &count) == 0 || count == 0) {
            break;
        }
        const char key = record.Event.KeyEvent.uChar.AsciiChar;
        if (record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown != 0 && key != 0) {
            keys += key;
        }
    }
    return keys;
}

std::string Keys::pollOther() {
    std::array<char, 256> keys{};
    auto wanted = static_cast<DWORD>(keys.size());
    if (GetFileType(input_) == FILE_TYPE_PIPE) {
        DWORD available = 0;
        if (PeekNamedPipe(input_, nullptr, 0, nullptr, &available, nullptr) == 0) {
            // Any other error: a pipe of another underlying system, which cannot be peeked at.
            hasEnded_ = GetLastError() == ERROR_BROKEN_PIPE;
            return {};
        }
        if (available == 0) {
            return {};
        }
        wanted = std::min(wanted, available);
    }
    DWORD count = 0;
    if (ReadFile(input_, keys.data(), wanted, &count, nullptr) == 0 || count == 0) {
        hasEnded_ = true;
        return {};
    }
    return std::string(keys.data(), count);
}

}  // namespace vi
