#include "text/Csv.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Failure.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Takes one row after another from the text.
class RowReader {
  public:
    RowReader(std::string_view text, const std::string& source) : rest_(text), source_(source) {}

    bool isAtEnd() const { return rest_.empty(); }
    std::size_t line() const { return line_; }
    std::string_view rest() const { return rest_; }
    std::string_view currentLine() const { return rest_.substr(0, rest_.find('\n')); }

    void skipLine() {
        rest_.remove_prefix(std::min(currentLine().size() + 1, rest_.size()));
        ++line_;
    }

    CsvRow row(char delimiter) {
        CsvRow result{line_, {}};
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        do {
            result.fields.push_back(field(delimiter));
        } while (takeDelimiter(delimiter));
        skipLine();
        return result;
    }

  private:
    std::string field(char delimiter) {
        skipBlanks(delimiter);
        if (rest_.starts_with('"')) {
            return quotedField(delimiter);
        }
        const std::string_view text =
            rest_.substr(0, std::min(currentLine().size(), rest_.find(delimiter)));
        rest_.remove_prefix(text.size());
        return std::string(trimmed(text));
    }

    std::string quotedField(char delimiter) {
        const std::size_t firstLine = line_;
        std::string text;
        rest_.remove_prefix(1);
        for (;;) {
            const std::size_t mark = rest_.find('"');
            if (mark == std::string_view::npos) {
                throw Failure(source_ + " line " + std::to_string(firstLine) +
                                  ": a field that begins with \" does not end",
                              "close the quotation with another \"");
            }
            text += rest_.substr(0, mark);
            rest_.remove_prefix(mark + 1);
            if (!rest_.starts_with('"')) {
                break;
            }
            text += '"';
            rest_.remove_prefix(1);
        }
        for (const char c : text) {
            line_ += c == '\n' ? 1 : 0;
        }
        skipBlanks(delimiter);
        const std::string_view following = rest_.substr(0, 1);
        if (!following.empty() && following != "\r" && following != "\n" &&
            following.front() != delimiter) {
            throw Failure(source_ + " line " + std::to_string(line_) + ": text after a closing \"",
                          "write a quotation mark inside a field as \"\"");
        }
        return text;
    }

    bool takeDelimiter(char delimiter) {
        skipBlanks(delimiter);
        if (!rest_.starts_with(delimiter)) {
            return false;
        }
        if (delimiter == ' ') {
            // A run of spaces is one delimiter; those at the end of a line are none.
            rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
            return !trimmed(currentLine()).empty();
        }
        rest_.remove_prefix(1);
        return true;
    }

    void skipBlanks(char delimiter) {
        while (!rest_.empty() && rest_.front() != delimiter &&
               (rest_.front() == ' ' || rest_.front() == '\t')) {
            rest_.remove_prefix(1);
        }
    }

    std::string_view rest_;
    const std::string& source_;
    std::size_t line_ = 1;
};

/// \param text from the first row on.
char delimiterOf(std::string_view text) {
    std::string unquoted;
    bool isQuoted = false;
    for (const char c : text) {
        isQuoted = isQuoted != (c == '"');
        if (c == '\n' && !isQuoted) {
            break;
        }
        if (!isQuoted) {
            unquoted += c;
        }
    }
    const std::string_view row = trimmed(unquoted);
    for (const char delimiter : {';', '\t', ','}) {
        if (row.find(delimiter) != std::string_view::npos) {
            return delimiter;
        }
    }
    return ' ';
}

}  // namespace

CsvTable readCsv(std::istream& input, const std::string& source) {
    const std::string content(std::istreambuf_iterator<char>(input), {});
    if (input.bad()) {
        throw Failure(source + " cannot be read");
    }
    std::string_view text = content;
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    CsvTable table;
    RowReader reader(text, source);
    while (!reader.isAtEnd()) {
        const std::string_view line = trimmed(reader.currentLine());
        if (line.empty() || line.starts_with('#')) {
            reader.skipLine();
            continue;
        }
        if (table.rows.empty()) {
            table.delimiter = delimiterOf(reader.rest());
        }
        table.rows.push_back(reader.row(table.delimiter));
    }
    return table;
}

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string result = "\"";
    for (const char c : text) {
        result += c == '"' ? "\"\"" : std::string(1, c);
    }
    return result + '"';
}

}  // namespace cqtool
