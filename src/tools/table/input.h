// The tables that come in: their options, and their rows as they go out.
#pragma once

#include "main/options.h"
#include "main/progress.h"
#include "text/lines.h"
#include "text/writer.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace table {

inline constexpr InputOption fileOption = {"-file", Use::Required, "table; - is standard input"};
inline constexpr OutputOption outOption = {"-out", "", "result, in place of standard output, which - is too"};
inline constexpr DelimiterOption delimOption = {"-delim", "tab", "tab space comma semicolon colon blanks", "",
                                                "between the fields of the table; blanks: runs of blanks and tabs"};
inline constexpr WordOption outDelimOption
    = {"-outdelim", "as -delim", "tab space comma semicolon colon", "between the fields of the result"};
inline constexpr WordOption quotesOption
    = {"-quotes", "refuse", "refuse remove keep",
       "fields in double quotes end the run, are freed of them, or stay as they are"};
inline constexpr IntegerOption memoryOption
    = {"-memory", std::nullopt, "megabytes of data to hold at most, instead of half of the machine's memory"};

// What -memory allows, in bytes.
size_t allowedMemory();

// Opens `name`, or standard output for "-"; ends the run where that fails.
void openOutput(text::Writer &out, const std::string &name);

// The value of -out.
std::string readOutName();

// A name for the system's calls and for messages: "-" is the standard stream.
std::string inputName(const std::string &name);
std::string outputName(const std::string &name);

// A number and its unit: "1 row", "2 rows".
std::string counted(size_t count, const std::string &unit);

// Opens the file and takes a byte order mark from its first line; ends the run where it cannot be read as text.
class InputLines {
public:
    explicit InputLines(const std::string &name);

    // The next line that is not empty, valid until the next call; false after the last one. Ends the run at a
    // return within a line.
    bool next(std::string_view &line);
    size_t number() const { return m_number; }  // of that line, from 1, empty ones counted
    const std::string &name() const { return m_name; }

private:
    void takeMark(std::string_view &line);

    std::string m_name;
    text::LineReader m_lines;
    Progress m_progress;
    size_t m_number = 0;
};

// How the rows come in, and the byte that stands between their fields where they go out.
struct Format {
    std::string in;  // one byte; empty: runs of blanks and tabs
    char out;
    int quotes = 0;  // place among the words of quotesOption
};

// By the options above; where `outDelim` has no value, `out` is as `in`, and a tab for blanks.
Format readFormat(const WordOption &outDelim = outDelimOption);

// Ends the run where the text, which comes from elsewhere than the table, would not be one field of the result.
void requireField(std::string_view text, const Format &format);

// The rows of a table, all with as many fields as the first one; any other ends the run.
class Table {
public:
    Table(const std::string &name, const Format &format);

    // The next row, its fields parted by Format::out, valid until the next call; false after the last one.
    bool next(std::string_view &row);
    // As next(), of a table that must have a row of at least two fields.
    void readHeader(std::string_view &row);

    size_t line() const { return m_lines.number(); }  // of that row
    size_t width() const { return m_width; }
    const std::string &name() const { return m_lines.name(); }
    // "; with -delim comma it would have 3", if the first row looks like that; else nothing.
    const std::string &delimiterHint() const { return m_hint; }

private:
    std::string_view takeRow(std::string_view line);
    void checkWidth(std::string_view row, std::string_view line);
    std::string_view convert(std::string_view line);
    size_t takeField(std::string_view line, size_t first);
    size_t takeQuoted(std::string_view line, size_t first);
    bool endsField(std::string_view line, size_t i) const;
    bool hasQuotes(std::string_view line) const;
    [[noreturn]] void failOneField(std::string_view line);
    void findHint(std::string_view line);

    InputLines m_lines;
    const Format m_format;
    std::string m_row;
    std::string m_hint;
    size_t m_width = 0;  // 0 before the first row
};

// The 0-based place of the name among the header's fields; a name that is not there, or twice, ends the run.
size_t placeOf(std::string_view name, const std::vector<std::string_view> &header, const Table &table);

// Ends the run where a name comes twice in the header.
void refuseTwins(const std::vector<std::string_view> &header, const Table &table);

// Names parted by commas, each with its place in the header; one that is given twice ends the run.
std::vector<size_t> placesOf(std::string_view names, const std::vector<std::string_view> &header, const Table &table);

}  // namespace table
