#include "tables/numbertable.h"
#include "main/console.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"

#include <cmath>
#include <limits>

void failAt(const std::string &file, int64_t line, size_t column, const std::string &reason)
{
    fatal("'%s', line %lld, column %zu: %s\n", file.c_str(), static_cast<long long>(line), column, reason.c_str());
}

// A field as messages show it: the first bytes of a long one.
static std::string quoted(std::string_view field)
{
    constexpr size_t most = 50;
    return "'" + std::string(field.substr(0, most)) + (field.size() > most ? "...'" : "'");
}

static double readValue(const NumberTable &table, std::string_view field, size_t column, const std::string &missing)
{
    if (field == missing)
        return std::numeric_limits<double>::quiet_NaN();
    const text::Real real = text::readReal(field);
    if (!real.isNumber || !std::isfinite(real.value))
        failAt(table.file, table.lastLine, column, quoted(field) + " is neither a number nor missing");
    return real.value;
}

static void addRow(NumberTable &table, const std::vector<std::string_view> &fields, const std::string &missing)
{
    const size_t before = table.names.size();
    if (table.names.number(fields[0]) < before)
        failAt(table.file, table.lastLine, 1, "identifier " + quoted(fields[0]) + " occurs twice");
    for (size_t i = 1; i < fields.size(); ++i)
        table.values.push_back(readValue(table, fields[i], i + 1, missing));
}

NumberTable readNumberTable(const std::string &file, const std::string &delimiter, bool hasHeader,
                            const std::string &missing)
{
    NumberTable table;
    table.file = file;
    text::LineReader in;
    if (!in.open(file))
        fatal("Cannot open '%s'\n", file.c_str());
    std::string_view line;
    std::vector<std::string_view> fields;
    while (in.next(line)) {
        ++table.lastLine;
        if (line.empty())
            continue;
        text::splitFields(line, delimiter, fields);
        const bool isFirst = table.firstLine == 0;
        if (isFirst) {
            table.firstLine = table.lastLine;
            table.columnCount = fields.size() - 1;
        } else if (fields.size() - 1 != table.columnCount) {
            failAt(file, table.lastLine, std::min(fields.size() - 1, table.columnCount) + 2,
                   std::to_string(fields.size()) + " columns where the first line has "
                       + std::to_string(table.columnCount + 1));
        }
        if (isFirst && hasHeader)
            table.headings.assign(fields.begin() + 1, fields.end());
        else
            addRow(table, fields, missing);
    }
    return table;
}
