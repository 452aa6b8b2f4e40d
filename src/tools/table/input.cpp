#include "tools/table/input.h"
#include "main/console.h"
#include "main/memory.h"
#include "main/nearest.h"
#include "tables/identifiers.h"
#include "text/delimiters.h"
#include "text/fields.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

using std::string_view;

namespace table {

enum Quotes { Refuse, Remove, Keep };  // the words of quotesOption

size_t allowedMemory()
{
    if (memoryOption.given())
        return size_t(memoryOption.read()) << 20;
    return halfOfMemory();
}

std::string readOutName()
{
    return outOption.given().value_or("-");
}

std::string inputName(const std::string &name)
{
    return name == "-" ? "/dev/stdin" : name;
}

std::string outputName(const std::string &name)
{
    return name == "-" ? "/dev/stdout" : name;
}

std::string counted(size_t count, const std::string &unit)
{
    return std::to_string(count) + " " + unit + (count == 1 ? "" : "s");
}

[[noreturn]] static void failOpen(const std::string &name)
{
    fatal("Cannot open '%s': %s\n", name.c_str(), std::strerror(errno ? errno : EISDIR));
}

void openOutput(text::Writer &out, const std::string &name)
{
    errno = 0;
    if (!(name == "-" ? out.openStandardOutput() : out.open(name)))
        failOpen(outputName(name));
}

InputLines::InputLines(const std::string &name) : m_name(inputName(name)), m_progress(m_name, "", "lines")
{
    errno = 0;
    if (!m_lines.open(m_name))
        failOpen(m_name);
}

void InputLines::takeMark(string_view &line)
{
    if (line.starts_with("\xff\xfe") || line.starts_with("\xfe\xff"))
        fatal("'%s' is UTF-16 text; save it as UTF-8\n", m_name.c_str());
    if (line.starts_with("\xef\xbb\xbf")) {
        print("'%s' begins with a byte order mark, which is left out\n", m_name.c_str());
        line.remove_prefix(3);
    }
}

bool InputLines::next(string_view &line)
{
    while (m_lines.next(line)) {
        m_progress.advance(line.size());
        if (++m_number == 1)
            takeMark(line);
        if (line.empty())
            continue;
        if (std::memchr(line.data(), '\r', line.size()))
            fatal("Line %zu of '%s' holds a return in its middle; lines must end in \\n or \\r\\n\n", m_number,
                  m_name.c_str());
        return true;
    }
    return false;
}

Format readFormat(const WordOption &outDelim)
{
    Format format = {delimOption.read(), '\t', quotesOption.read()};
    const std::string word = outDelim.given().value_or(outDelim.absentText);
    const string_view out = isOneOf(outDelim.words, word) ? text::delimiter(word) : format.in;
    if (!out.empty())
        format.out = out[0];
    return format;
}

void requireField(string_view text, const Format &format)
{
    if (text.empty() || text.find_first_of(std::string{format.out, '\n', '\r'}) != text.npos)
        fatal("%s cannot be a field of the result\n", quoted(text).c_str());
}

Table::Table(const std::string &name, const Format &format) : m_lines(name), m_format(format)
{
}

bool Table::hasQuotes(string_view line) const
{
    for (size_t i = 0; (i = line.find('"', i)) != line.npos; ++i) {
        if (i == 0 || endsField(line, i - 1))
            return true;
    }
    return false;
}

bool Table::next(string_view &row)
{
    string_view line;
    do {
        if (!m_lines.next(line))
            return false;
        row = takeRow(line);
    } while (row.empty() && m_format.in.empty());  // nothing but blanks
    checkWidth(row, line);
    return true;
}

string_view Table::takeRow(string_view line)
{
    const bool isQuoted = m_format.quotes != Keep && hasQuotes(line);
    if (isQuoted && m_format.quotes == Refuse)
        fatal("Line %zu of '%s' has a field in double quotes; -quotes remove takes them off\n", this->line(),
              name().c_str());
    return isQuoted || m_format.in != string_view(&m_format.out, 1) ? convert(line) : line;
}

void Table::checkWidth(string_view row, string_view line)
{
    const size_t width = size_t(std::count(row.begin(), row.end(), m_format.out)) + 1;
    if (m_width == 0) {
        m_width = width;
        if (width == 1)
            findHint(line);
    } else if (width != m_width) {
        fatal("Line %zu of '%s' has %s, the first one %zu\n", this->line(), name().c_str(),
              counted(width, "field").c_str(), m_width);
    }
}

void Table::readHeader(string_view &row)
{
    if (!next(row))
        fatal("'%s' is empty\n", name().c_str());
    if (m_width == 1)
        failOneField(row);
}

void Table::failOneField(string_view line)
{
    findHint(line);
    fatal("Line %zu of '%s' has one field%s\n", this->line(), name().c_str(), m_hint.c_str());
}

void Table::findHint(string_view line)
{
    for (const char *word : {"tab", "semicolon", "comma", "space"}) {
        const char byte = text::delimiter(word)[0];
        if (const auto count = std::count(line.begin(), line.end(), byte)) {
            m_hint = std::string("; with -delim ") + word + " it would have " + std::to_string(count + 1);
            return;
        }
    }
}

bool Table::endsField(string_view line, size_t i) const
{
    if (m_format.in.empty())
        return line[i] == ' ' || line[i] == '\t';
    return line[i] == m_format.in[0];
}

// Appends the content of the quoted field whose quote stands before `first`; returns what is behind its end.
size_t Table::takeQuoted(string_view line, size_t first)
{
    for (;;) {
        const size_t quote = line.find('"', first);
        if (quote == line.npos)
            fatal("A quoted field does not end in line %zu of '%s'\n", this->line(), name().c_str());
        m_row.append(line, first, quote - first);
        first = quote + 1;
        if (first == line.size() || line[first] != '"')
            break;
        m_row += '"';  // two in a row stand for one
        ++first;
    }
    if (first < line.size() && !endsField(line, first))
        fatal("Line %zu of '%s' has bytes between a closing quote and the delimiter\n", this->line(), name().c_str());
    return first;
}

// Appends the field that begins at `first`; returns what is behind its end.
size_t Table::takeField(string_view line, size_t first)
{
    const size_t before = m_row.size();
    size_t end = first;
    if (m_format.quotes == Remove && first < line.size() && line[first] == '"') {
        end = takeQuoted(line, first + 1);
    } else {
        while (end < line.size() && !endsField(line, end))
            ++end;
        m_row.append(line, first, end - first);
    }
    if (m_row.find(m_format.out, before) != m_row.npos) {
        if (first == 0 && end == line.size())
            failOneField(line);
        fatal("Line %zu of '%s': the field '%s' holds the delimiter of the result; -outdelim names another\n",
              this->line(), name().c_str(), m_row.c_str() + before);
    }
    return end;
}

string_view Table::convert(string_view line)
{
    const bool isBlanks = m_format.in.empty();
    m_row.clear();
    size_t i = 0;
    for (bool isFirst = true;; isFirst = false) {
        while (isBlanks && i < line.size() && endsField(line, i))
            ++i;
        if (isBlanks && i == line.size())
            return m_row;
        if (!isFirst)
            m_row += m_format.out;
        i = takeField(line, i);
        if (i == line.size())
            return m_row;
        ++i;
    }
}

size_t placeOf(string_view name, const std::vector<string_view> &header, const Table &table)
{
    const auto found = std::ranges::find(header, name);
    if (found == header.end())
        fatal("'%s' has no column %s%s\n", table.name().c_str(), quoted(name).c_str(),
              suggestion(name, header).c_str());
    if (std::find(found + 1, header.end(), name) != header.end())
        fatal("'%s' has two columns %s\n", table.name().c_str(), quoted(name).c_str());
    return size_t(found - header.begin());
}

void refuseTwins(const std::vector<string_view> &header, const Table &table)
{
    Identifiers seen;
    for (size_t i = 0; i < header.size(); ++i) {
        if (seen.number(header[i]) != i)
            fatal("'%s' has two columns %s\n", table.name().c_str(), quoted(header[i]).c_str());
    }
}

std::vector<size_t> placesOf(string_view names, const std::vector<string_view> &header, const Table &table)
{
    std::vector<string_view> list;
    text::splitFields(names, ",", list);
    std::vector<size_t> places;
    for (const string_view name : list) {
        places.push_back(placeOf(name, header, table));
        if (std::ranges::count(places, places.back()) > 1)
            fatal("The column %s is chosen twice\n", quoted(name).c_str());
    }
    return places;
}

}  // namespace table
