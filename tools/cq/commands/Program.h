#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Failure.h"
#include "manual/Outline.h"

namespace CLI {
class App;
}

namespace cqtool {

/// An option or argument in a command's help.
struct OptionText {
    const char* name;       ///< "--port", or a word for an argument without a dash
    const char* valueName;  ///< placeholder of the value: "FILE", "white|black"
    std::string description;
    const char* group = "Options";
    bool isRequired = false;
};

/// The command line of one command, defined when the program starts. Values and functions are used
/// during Program::run, so what they refer to must live until then; functions may throw UsageError.
class CommandLine {
  public:
    using TakeText = std::function<void(const std::string&)>;
    using TakeTexts = std::function<void(const std::vector<std::string>&)>;

    explicit CommandLine(CLI::App& command) : command_(command) {}

    /// A subcommand, such as list in "cq standards list". A command with subcommands does nothing
    /// by itself.
    CommandLine addCommand(const char* name, const char* description);

    void addFlag(const OptionText& text, bool& value);
    void addOption(const OptionText& text, std::string& value);
    void addOption(const OptionText& text, const TakeText& take);
    /// Takes one of the words in the value's name, which are separated by '|'.
    void addChoice(const OptionText& text, std::string& value);
    /// Takes texts separated by commas, or from several uses of the option.
    void addList(const OptionText& text, const TakeTexts& take);
    /// Takes all arguments that do not belong to an option.
    void addArguments(const OptionText& text, std::vector<std::string>& values);
    /// The two options cannot be given together.
    void exclude(const char* one, const char* other);

    /// The end of the help.
    void setExamples(const std::string& text);
    /// The command's action; may throw UsageError, Failure or Interrupted.
    void setAction(std::function<void()> action);

  private:
    CLI::App& command_;
};

/// The program's commands, and the handling of a failed command.
class Program {
  public:
    /// \param helpEnd the end of the program's own help.
    Program(const std::string& description, const std::string& version, const std::string& helpEnd);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    CommandLine add(const char* name, const char* description);

    /// The definitions so far.
    CommandOutline outline() const;

    /// Carries out the arguments. Prints help and version on standard output; problems, with
    /// advice, on standard error.
    ExitStatus run(int argc, char** argv);

  private:
    void parse(int argc, char** argv);
    std::string helpCommand() const;

    std::unique_ptr<CLI::App> app_;
};

}  // namespace cqtool
