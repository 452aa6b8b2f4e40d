// The fields of chosen individuals in a line of fields between single blanks, one or three for each.
#pragma once

#include "genotypes/numberwalker.h"
#include "genotypes/options.h"

#include <cstdint>
#include <string_view>

// The fields that the individuals from "-beg" to "-end" have in a line that is long enough.
struct FieldRange {
    int64_t first;  // 0-based position
    int64_t count;  // not above 0: none
};

// A first individual below 1 reaches into the leading columns; individuals with a field before the line's first one
// are left out.
FieldRange chosenFields(const FormatOptions &chosen, int64_t fieldsPerIndividual);

// The numbers of a range.
FieldNumbers numbersIn(std::string_view line, FieldRange range);
