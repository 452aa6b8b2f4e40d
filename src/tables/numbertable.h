// Tables of numbers: an identifier, then the same number of columns in every line.
#pragma once

#include "tables/identifiers.h"

#include <string>
#include <vector>

struct NumberTable {
    std::string file;
    std::vector<std::string> headings;  // of the columns of numbers; empty without a header
    Identifiers names;                  // [row]
    size_t columnCount = 0;             // of numbers
    std::vector<double> values;         // [row][column], all finite, or NaN for a missing one
    int64_t firstLine = 0;              // from 1, as below: the first one that is not empty
    int64_t lastLine = 0;
};

// Ends the run with a message that names the place, both from 1, before the reason.
[[noreturn]] void failAt(const std::string &file, int64_t line, size_t column, const std::string &reason);

// Ends the run where the file cannot be opened, an identifier comes twice, a line has another number of fields than the
// first one, or a field is neither a finite number nor the text that means missing.
NumberTable readNumberTable(const std::string &file, const std::string &delimiter, bool hasHeader,
                            const std::string &missing);
