// Columns of a line of fields between single blanks, of which the first ones describe the marker.
#pragma once

#include "text/writer.h"

#include <cstdint>
#include <string_view>

// The field at a 0-based position; empty below 0 and beyond the end of the line.
std::string_view fieldAt(std::string_view line, int64_t position);

// The line from the first byte of the field at a 0-based position; a view without data beyond the last field.
std::string_view fieldsFrom(std::string_view line, int64_t position);

// Writes the first `columns` fields, as many as there are, each followed by a blank. Returns what follows them in the
// line, from the first byte of the next field; a view without data where no further field is.
std::string_view copyLeadingColumns(std::string_view line, int64_t columns, text::Writer &out);

// Writes as many fields and blanks whatever the line: a column beyond its end is empty.
void copyPaddedColumns(std::string_view line, int64_t columns, text::Writer &out);
