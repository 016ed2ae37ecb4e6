#include "text/Csv.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "Failure.h"
#include "text/Text.h"

namespace cqtool {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kFormulaSigns = "=+-@\t\r";

/// Whether a spreadsheet would take the text for a formula; after apostrophes, whether it would
/// without them.
bool looksLikeFormula(std::string_view text) {
    const std::size_t first = text.find_first_not_of('\'');
    return first != std::string_view::npos && kFormulaSigns.find(text[first]) != kFormulaSigns.npos;
}

/// What csvField() was given.
std::string withoutMark(std::string text) {
    if (text.starts_with('\'') && looksLikeFormula(text)) {
        text.erase(0, 1);
    }
    return text;
}

/// Takes one row after another from the text.
class RowReader {
  public:
    RowReader(std::string_view text, const std::string& source) : rest_(text), source_(&source) {}

    bool isAtEnd() const { return rest_.empty(); }
    std::size_t line() const { return line_; }
    std::string_view rest() const { return rest_; }
    std::string_view currentLine() const { return rest_.substr(0, rest_.find('\n')); }

    void skipLine() {
        rest_.remove_prefix(std::min(currentLine().size() + 1, rest_.size()));
        ++line_;
    }

    /// Whether there is a row after empty lines and remarks.
    bool skipToRow() {
        while (!isAtEnd()) {
            const std::string_view line = trimmed(currentLine());
            if (!line.empty() && !line.starts_with('#')) {
                return true;
            }
            skipLine();
        }
        return false;
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
        const char ends[] = {delimiter, '\n'};
        const std::string_view text =
            rest_.substr(0, rest_.find_first_of(std::string_view(ends, sizeof ends)));
        rest_.remove_prefix(text.size());
        return withoutMark(std::string(trimmed(text)));
    }

    std::string quotedField(char delimiter) {
        const std::size_t firstLine = line_;
        std::string text;
        rest_.remove_prefix(1);
        for (;;) {
            const std::size_t mark = rest_.find('"');
            if (mark == std::string_view::npos) {
                throw Failure(*source_ + " line " + std::to_string(firstLine) +
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
            throw Failure(*source_ + " line " + std::to_string(line_) + ": text after a closing \"",
                          "write a quotation mark inside a field as \"\"");
        }
        return withoutMark(std::move(text));
    }

    bool takeDelimiter(char delimiter) {
        skipBlanks(delimiter);
        if (!rest_.starts_with(delimiter)) {
            return false;
        }
        if (delimiter == ' ') {
            // A run of spaces is one delimiter; those at the end of a line are none.
            rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
            const std::size_t next = rest_.find_first_not_of(" \t\r");
            return next != std::string_view::npos && rest_[next] != '\n';
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
    const std::string* source_;
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

/// The reader before the header; as it was given if there is none.
RowReader atHeader(const RowReader& reader, const IsCsvHeader& isHeader) {
    static constexpr int kMostRowsAbove = 64;
    RowReader line = reader;
    for (int i = 0; i < kMostRowsAbove && line.skipToRow(); ++i) {
        try {
            RowReader trial = line;
            if (isHeader(trial.row(delimiterOf(trial.rest())).fields)) {
                return line;
            }
        } catch (const Failure&) {
            // Above a table there may be any text.
        }
        line.skipLine();
    }
    return reader;
}

}  // namespace

CsvTable readCsv(std::istream& input, const std::string& source) {
    const std::string content(std::istreambuf_iterator<char>(input), {});
    if (input.bad()) {
        throw Failure(source + " cannot be read");
    }
    return readCsv(content, source, {});
}

CsvTable readCsv(std::string_view text, const std::string& source, const IsCsvHeader& isHeader) {
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    CsvTable table;
    RowReader reader(text, source);
    if (isHeader) {
        reader = atHeader(reader, isHeader);
    }
    while (reader.skipToRow()) {
        if (table.rows.empty()) {
            table.delimiter = delimiterOf(reader.rest());
        }
        table.rows.push_back(reader.row(table.delimiter));
    }
    return table;
}

std::string csvField(const std::string& text) {
    std::string safe = (looksLikeFormula(text) ? "'" : "") + text;
    const bool isPlain = safe.find_first_of(",;\t\"\r\n") == std::string::npos &&
                         !safe.starts_with('#') && trimmed(safe) == safe;
    if (isPlain) {
        return safe;
    }
    std::string result = "\"";
    for (const char c : safe) {
        result += c == '"' ? "\"\"" : std::string(1, c);
    }
    return result + '"';
}

}  // namespace cqtool
