#include "exchange/CgatsTable.h"

#include <algorithm>
#include <optional>

#include "Failure.h"
#include "text/Numbers.h"
#include "text/Text.h"

namespace cqtool {
namespace {

struct Token {
    std::string text;
    std::size_t line = 0;
    bool isQuoted = false;

    bool is(std::string_view word) const { return !isQuoted && text == word; }
};

class Reader {
  public:
    Reader(std::string_view content, const std::string& source) : source_(source) {
        split(content);
    }

    CgatsTable table() {
        checkIdentifier();
        CgatsTable table;
        readKeywords(table);
        readFields(table);
        while (!current("BEGIN_DATA").is("BEGIN_DATA")) {
            readKeyword(table);
        }
        ++at_;
        readRows(table);
        return table;
    }

  private:
    [[noreturn]] void refuse(std::size_t line, const std::string& problem,
                             const std::string& advice = {}) const {
        throw Failure(source_ + " line " + std::to_string(line) + ": " + problem, advice);
    }

    void split(std::string_view content) {
        std::size_t line = 1;
        while (!content.empty()) {
            const char first = content.front();
            if (first == '\n') {
                ++line;
            }
            if (std::string_view(" \t\r\n").find(first) != std::string_view::npos) {
                content.remove_prefix(1);
            } else if (first == '#') {
                content.remove_prefix(std::min(content.find('\n'), content.size()));
            } else if (first == '"') {
                const std::size_t end = content.find_first_of("\"\n", 1);
                if (end == std::string_view::npos || content[end] == '\n') {
                    refuse(line, "a text that begins with \" does not end on its line");
                }
                tokens_.push_back({std::string(content.substr(1, end - 1)), line, true});
                content.remove_prefix(end + 1);
            } else {
                const std::string_view word = content.substr(0, content.find_first_of(" \t\r\n\""));
                tokens_.push_back({std::string(word), line, false});
                content.remove_prefix(word.size());
            }
        }
        lastLine_ = line;
    }

    void checkIdentifier() const {
        static constexpr std::string_view kBeginnings[] = {"CGATS", "ISO", "IT8", "CTI"};
        const auto begins = [this](std::string_view text) {
            return tokens_.front().text.starts_with(text);
        };
        if (tokens_.empty() ||
            std::none_of(std::begin(kBeginnings), std::end(kBeginnings), begins)) {
            throw Failure(
                source_ + " is not a CGATS file: its first word is not CGATS.17 or the like",
                "name the file's format with --format");
        }
    }

    const Token& current(const char* expected) const {
        if (at_ >= tokens_.size()) {
            refuse(lastLine_, std::string("the file ends where ") + expected + " is expected",
                   "it may be truncated: export it again");
        }
        return tokens_[at_];
    }

    void readKeywords(CgatsTable& table) {
        at_ = 1;
        // The rest of the identifier's line belongs to it.
        while (at_ < tokens_.size() && tokens_[at_].line == tokens_[0].line) {
            ++at_;
        }
        while (!current("BEGIN_DATA_FORMAT").is("BEGIN_DATA_FORMAT")) {
            readKeyword(table);
        }
        table.formatLine = tokens_[at_].line;
        ++at_;
    }

    void readKeyword(CgatsTable& table) {
        const Token& keyword = tokens_[at_];
        if (keyword.isQuoted) {
            refuse(keyword.line, "a keyword is expected, not \"" + keyword.text + "\"");
        }
        ++at_;
        std::string value;
        for (bool isFirst = true; at_ < tokens_.size() && tokens_[at_].line == keyword.line;
             ++at_) {
            value = isFirst ? tokens_[at_].text : value;
            isFirst = false;
        }
        table.keywords.emplace(keyword.text, value);
    }

    void readFields(CgatsTable& table) {
        for (; !current("END_DATA_FORMAT").is("END_DATA_FORMAT"); ++at_) {
            table.fields.push_back(tokens_[at_].text);
        }
        ++at_;
        if (table.fields.empty()) {
            refuse(table.formatLine, "the data format names no field");
        }
        checkCount(table, "NUMBER_OF_FIELDS", table.fields.size(), "fields");
    }

    void readRows(CgatsTable& table) {
        while (!current("END_DATA").is("END_DATA")) {
            CgatsTable::Row row{tokens_[at_].line, {}};
            while (row.cells.size() < table.fields.size() && !current("END_DATA").is("END_DATA")) {
                row.cells.push_back(tokens_[at_].text);
                ++at_;
            }
            // A row may continue on the next line, but always begins on a new one.
            const bool hasMore =
                !current("END_DATA").is("END_DATA") && tokens_[at_].line == tokens_[at_ - 1].line;
            if (row.cells.size() < table.fields.size() || hasMore) {
                refuse(row.line, "a row of " + std::to_string(table.fields.size()) +
                                     " fields is expected; this or a row before it has " +
                                     (hasMore ? "more" : "fewer"));
            }
            table.rows.push_back(std::move(row));
        }
        checkCount(table, "NUMBER_OF_SETS", table.rows.size(), "rows");
    }

    void checkCount(const CgatsTable& table, const std::string& keyword, std::size_t count,
                    const char* what) const {
        const std::string text = table.value(keyword);
        if (!text.empty() && parseNumber(text) != static_cast<double>(count)) {
            refuse(
                tokens_[std::min(at_, tokens_.size() - 1)].line,
                keyword + " is " + text + ", but there are " + std::to_string(count) + ' ' + what);
        }
    }

    const std::string& source_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    std::size_t lastLine_ = 1;
};

}  // namespace

std::string CgatsTable::value(const std::string& keyword) const {
    const auto found = keywords.find(keyword);
    return found == keywords.end() ? std::string() : found->second;
}

CgatsTable readCgats(std::string_view content, const std::string& source) {
    return Reader(content, source).table();
}

std::string cgatsText(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        const bool isControl = static_cast<unsigned char>(c) < 0x20;
        quoted += c == '"' ? '\'' : isControl ? ' ' : c;
    }
    return quoted + '"';
}

}  // namespace cqtool
