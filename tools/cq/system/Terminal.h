#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "terminal/Palette.h"

namespace cqtool {

/// Makes standard output take UTF-8, bytes as they are and, where it is a console, colours. Takes the
/// places of standard streams that are closed, or a port would get one. Call once, first of all.
void prepareTerminal();

/// The signals that ask a program to end.
const std::vector<int>& endingSignals();

/// Whether the reader of standard output has gone, as in cq ... | head.
bool isOutputAbandoned();

/// What standard output is, and the variables that decide about colours.
TerminalFacts terminalFacts();

/// Its width; 80 if it is not a terminal.
std::size_t terminalColumns();

enum class StandardStream { input, error };

/// Whether a person is at the other end of the stream.
bool isTerminal(StandardStream stream);

/// The folder of the running program.
std::filesystem::path executableFolder();

/// False if the operating system knows no such port (any more).
bool portExists(const std::string& port);

/// What a port is to be used for, for messages about it.
enum class PortUse { instrument, adapter };

/// Why this port cannot be opened, if this can be told without opening it, and what to do about it.
std::string adviceForPort(const std::string& port, PortUse use);

}  // namespace cqtool
