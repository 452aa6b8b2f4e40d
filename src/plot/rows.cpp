#include "plot/rows.h"
#include "main/console.h"
#include "plot/results.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <limits>

namespace plot {

double numberIn(std::string_view field)
{
    const text::Real real = text::readReal(field);
    return real.isNumber ? real.value : std::numeric_limits<double>::quiet_NaN();
}

Rows::Rows(const std::string &name, std::string_view delimiter) : file(name)
{
    text::LineReader in;
    openInput(in, name);
    std::vector<std::string_view> fields;
    for (std::string_view line; in.nextNonEmpty(line);) {
        text::splitFields(line, delimiter, fields);
        rows.emplace_back(fields.begin(), fields.end());
    }
    if (rows.empty())
        fatal("'%s' is empty\n", name.c_str());
}

size_t Rows::find(std::string_view heading) const
{
    const auto found = std::ranges::find(rows[0], heading);
    return found == rows[0].end() ? npos : size_t(found - rows[0].begin());
}

size_t Rows::require(std::string_view heading) const
{
    const size_t column = find(heading);
    if (column == npos)
        fatal("'%s' has no column %s in its header\n", file.c_str(), std::string(heading).c_str());
    return column;
}

std::string_view Rows::at(size_t row, size_t column) const
{
    return row < rows.size() && column < rows[row].size() ? std::string_view(rows[row][column]) : std::string_view();
}

double Rows::number(size_t row, size_t column) const
{
    return numberIn(at(row, column));
}

}  // namespace plot
