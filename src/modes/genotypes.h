// What the modes over genotype-triplet and dosage files share: lines of blank-separated fields, of which the first
// ones describe the marker and are copied as they are.
#pragma once

#include "text/writer.h"

#include <cstdint>
#include <string_view>

// The field at a 0-based position; empty below 0 and beyond the end of the line.
std::string_view fieldAt(std::string_view line, int64_t position);

// Writes the first `columns` fields, as many as there are, each followed by a blank. Returns what follows them in
// the line, from the first byte of the next field; a view without data where no further field is.
std::string_view copyLeadingColumns(std::string_view line, int64_t columns, text::Writer &out);
