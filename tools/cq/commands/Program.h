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

/// How an option or argument is shown in a command's help.
struct OptionText {
    const char* name;       ///< "--port", or a word for an argument without a dash
    const char* valueName;  ///< what stands for the value: "FILE", "white|black"
    std::string description;
    const char* group = "Options";
    bool isRequired = false;
};

/// The command line of one command, to be filled when the program starts. Values and functions are
/// used during Program::run, so what they refer to must live until then; functions may throw
/// UsageError.
class CommandLine {
  public:
    using TakeText = std::function<void(const std::string&)>;
    using TakeTexts = std::function<void(const std::vector<std::string>&)>;

    explicit CommandLine(CLI::App& command) : command_(command) {}

    /// A command within this one, as list is in "cq standards list". A command that has some does
    /// nothing by itself.
    CommandLine addCommand(const char* name, const char* description);

    void addFlag(const OptionText& text, bool& value);
    void addOption(const OptionText& text, std::string& value);
    void addOption(const OptionText& text, const TakeText& take);
    /// Takes one of the words in the value's name, which are divided by '|'.
    void addChoice(const OptionText& text, std::string& value);
    /// Takes texts divided by commas, or from several uses of the option.
    void addList(const OptionText& text, const TakeTexts& take);
    /// Takes all arguments that belong to no option.
    void addArguments(const OptionText& text, std::vector<std::string>& values);
    /// The two options cannot be given together.
    void exclude(const char* one, const char* other);

    /// What the help ends with.
    void setExamples(const std::string& text);
    /// What the command does; may throw UsageError, Failure or Interrupted.
    void setAction(std::function<void()> action);

  private:
    CLI::App& command_;
};

/// The program's commands, and what becomes of a command that fails.
class Program {
  public:
    /// \param helpEnd what the program's own help ends with.
    Program(const std::string& description, const std::string& version, const std::string& helpEnd);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    CommandLine add(const char* name, const char* description);

    /// What has been defined so far.
    CommandOutline outline() const;

    /// Does what the arguments say. Prints help and version on standard output; problems, with what
    /// to try, on standard error.
    ExitStatus run(int argc, char** argv);

  private:
    void parse(int argc, char** argv);
    std::string helpCommand() const;

    std::unique_ptr<CLI::App> app_;
};

}  // namespace cqtool
