// Small tables that the modes write, read as a whole.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace plot {

// A file's lines without the empty ones, each parted into its fields. Ends the run where the file cannot be opened or
// holds none.
struct Rows {
    std::string file;
    std::vector<std::vector<std::string>> rows;

    explicit Rows(const std::string &name, std::string_view delimiter = "\t");

    // The place of the column with this heading in the first row; npos where there is none.
    size_t find(std::string_view heading) const;
    // The same, or the end of the run.
    size_t require(std::string_view heading) const;
    // The field, empty beyond the end of its row.
    std::string_view at(size_t row, size_t column) const;
    // As a number; nan where it is none.
    double number(size_t row, size_t column) const;

    static constexpr size_t npos = size_t(-1);
};

// The field as a number, nan where it is none.
double numberIn(std::string_view field);

}  // namespace plot
