#include <memory>
#include <ostream>

#include "commands/Commands.h"
#include "commands/Options.h"
#include "Failure.h"
#include "text/JsonObject.h"
#include "text/TextTable.h"

namespace cqtool {
namespace {

constexpr std::uint32_t kMostByte = 255;

struct ParameterOptions {
    std::vector<std::string> numbers;
    std::uint32_t number = 0;
    std::uint32_t value = 0;
    ConnectionOptions connection;
    OutputOptions output;
};

std::uint32_t numberNamed(const std::string& text) {
    return wholeNumberOf(text, "a parameter's number", 0, kMostByte);
}

std::uint32_t valueNamed(const std::string& text) {
    return wholeNumberOf(text, "a parameter's value", 0, kMostByte);
}

std::uint32_t readParameter(const Connection& connection, std::uint32_t number) {
    std::uint32_t value = 0;
    connection.check(
        cqGetMeasurementParameter(connection.handle(), static_cast<std::uint8_t>(number), &value),
        Operation::readParameter);
    return value;
}

void print(const ParameterOptions& options, const Environment& environment, const std::string& port,
           const std::vector<std::pair<std::uint32_t, std::uint32_t>>& parameters) {
    const TextTable table({{"", TextTable::Align::left, 13}, {"", TextTable::Align::right, 3}});
    JsonObject values;
    for (const auto& [number, value] : parameters) {
        values[std::to_string(number)] = value;
        if (!options.output.json) {
            environment.out << table.line(
                                   {"parameter " + std::to_string(number), std::to_string(value)})
                            << '\n';
        }
    }
    if (options.output.json) {
        environment.out << pageOfJson({{"port", port}, {"parameters", values}});
    }
}

void get(const ParameterOptions& options, const Environment& environment) {
    std::vector<std::uint32_t> numbers;
    numbers.reserve(options.numbers.size());
    for (const std::string& text : options.numbers) {
        numbers.push_back(numberNamed(text));
    }
    const Connection connection(options.connection, environment.interrupt);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> parameters;
    parameters.reserve(numbers.size());
    for (const std::uint32_t number : numbers) {
        parameters.emplace_back(number, readParameter(connection, number));
    }
    print(options, environment, connection.portName(), parameters);
}

void set(const ParameterOptions& options, const Environment& environment) {
    const Connection connection(options.connection, environment.interrupt);
    connection.check(
        cqSetMeasurementParameter(connection.handle(), static_cast<std::uint8_t>(options.number),
                                  static_cast<std::uint8_t>(options.value)),
        Operation::writeParameter);
    const std::uint32_t stored = readParameter(connection, options.number);
    if (stored != options.value) {
        throw Failure("the instrument holds " + std::to_string(stored) + " as parameter " +
                          std::to_string(options.number) + ", not " + std::to_string(options.value),
                      "the instrument may not accept this value; nothing else was changed");
    }
    print(options, environment, connection.portName(), {{options.number, stored}});
}

}  // namespace

void addParameter(Program& program, const Environment& environment) {
    CommandLine group = program.add("parameter", "Read or write measurement parameters");
    group.setExamples(
        "The instrument defines what a parameter means. A wireless instrument has none.\n\n"
        "Examples:\n"
        "  cq parameter get 0 1 2\n"
        "  cq parameter set 7 1");

    CommandLine getting = group.addCommand("get", "Read parameters by number");
    const auto getOptions = std::make_shared<ParameterOptions>();
    getting.addArguments({.name = "numbers",
                          .valueName = "N",
                          .description = "Numbers from 0 to 255",
                          .isRequired = true},
                         getOptions->numbers);
    addOptions(getting, getOptions->connection);
    addOptions(getting, getOptions->output);
    getting.setExamples("Examples:\n  cq parameter get 7\n  cq parameter get 0 1 2 --json");
    getting.setAction([getOptions, environment] { get(*getOptions, environment); });

    CommandLine setting = group.addCommand("set", "Write a parameter and read it back");
    const auto setOptions = std::make_shared<ParameterOptions>();
    addNamed(setting,
             {.name = "number",
              .valueName = "N",
              .description = "The parameter's number, 0 to 255",
              .isRequired = true},
             setOptions->number, numberNamed);
    addNamed(setting,
             {.name = "value",
              .valueName = "VALUE",
              .description = "Its new value, 0 to 255",
              .isRequired = true},
             setOptions->value, valueNamed);
    addOptions(setting, setOptions->connection);
    addOptions(setting, setOptions->output);
    setting.setExamples("Examples:\n  cq parameter set 7 1");
    setting.setAction([setOptions, environment] { set(*setOptions, environment); });
}

}  // namespace cqtool
