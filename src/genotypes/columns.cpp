#include "genotypes/columns.h"

#include <algorithm>

std::string_view fieldsFrom(std::string_view line, int64_t position)
{
    for (; position > 0; --position) {
        const size_t blank = line.find(' ');
        if (blank == line.npos)
            return {};
        line.remove_prefix(blank + 1);
    }
    return line;
}

std::string_view fieldAt(std::string_view line, int64_t position)
{
    if (position < 0)
        return {};
    const std::string_view fields = fieldsFrom(line, position);
    return fields.substr(0, fields.find(' '));
}

std::string_view copyLeadingColumns(std::string_view line, int64_t columns, text::Writer &out)
{
    size_t size = 0;
    for (int64_t column = 0; column < columns; ++column) {
        const size_t blank = line.find(' ', size);
        if (blank == line.npos) {
            out.put(line);
            out.put(' ');
            return {};
        }
        size = blank + 1;
    }
    out.put(line.substr(0, size));
    return line.substr(size);
}

void copyPaddedColumns(std::string_view line, int64_t columns, text::Writer &out)
{
    for (int64_t column = 0; column < columns; ++column) {
        const size_t blank = std::min(line.find(' '), line.size());
        out.put(line.substr(0, blank));
        out.put(' ');
        line.remove_prefix(std::min(blank + 1, line.size()));
    }
}
