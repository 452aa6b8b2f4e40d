// Tables of association results: a marker a line, with its p-value, and with chromosome, position and name where they
// are wanted. Columns are found by their headers or given by number.
#pragma once

#include "main/options.h"
#include "main/progress.h"
#include "tables/columns.h"
#include "text/lines.h"

#include <optional>
#include <string>
#include <string_view>

namespace plot {

inline constexpr DelimiterOption delimOption
    = {"-delim", "", tenDelimiters, asItStands,
       "between the fields: one of the words, or any other text as it stands; by itself a tab, comma or blank that the "
       "first line has"};
inline constexpr WordOption headerOption
    = {"-header", "auto", "auto yes no", "whether the first line is a header; auto: where its p-value is no number"};
inline constexpr IntegerOption chromosomeColumnOption
    = {"-chrcolumn", std::nullopt, "column of the chromosome, from 1, in place of the one that the header names"};
inline constexpr IntegerOption positionColumnOption = {"-lcolumn", std::nullopt, "column of the position, likewise"};
inline constexpr IntegerOption pColumnOption
    = {"-pcolumn", std::nullopt, "column of the p-value, from 1, in place of the one that the header names"};
inline constexpr IntegerOption nameColumnOption
    = {"-namecolumn", std::nullopt, "column of the marker's name, likewise"};
inline constexpr TextOption phenotypeOption
    = {"-phenotype", "", "only rows with this in the column Pheno, where a file has several phenotypes"};

// The delimiter that the line suggests: a tab, a comma, a semicolon or a blank, the first of these that it has.
std::string delimiterOf(std::string_view line);

// Opens an input file; ends the run where that fails.
void openInput(text::LineReader &in, const std::string &name);

struct Result {
    std::string_view chromosome, name;  // the name may be without data
    double position;
    double p;  // from 0 to 1
};

// Infinity for 0.
double minusLog10(double p);

struct Wanted {
    bool place = true;  // chromosome and position; a single chromosome may go without its column
    bool name = true;
};

// What the options tell of a table. Columns are from 1; 0: named by the header.
struct Layout {
    std::string delimiter;  // empty: by the first line
    int header = 0;         // by itself, yes, no
    size_t chromosome = 0, position = 0, p = 0, name = 0;
    std::string phenotype;          // empty: all rows
    std::string_view dropped = {};  // a text behind which nothing of a line counts
};
Layout readLayout(bool hasPlace = true);

class ResultReader {
public:
    // Opens the file and finds the columns. Ends the run where there is none of p-values.
    ResultReader(const std::string &file, const Layout &layout, Wanted wanted);

    // The next row with a p-value and, where wanted, a place; valid until the next call. False behind the last one.
    bool next(Result &result);

    size_t rows() const { return m_rows; }        // read so far, all
    size_t without() const { return m_without; }  // of them without p-value or place

private:
    void findColumns(std::string_view line);
    bool read(std::string_view line, Result &result) const;

    std::string m_file;
    Layout m_layout;  // columns are 0 where there is none
    Wanted m_wanted;
    size_t m_phenotype = 0;  // column, from 1
    text::LineReader m_in;
    Progress m_progress;
    std::string_view m_first;  // the first line, where it is a row
    size_t m_rows = 0, m_without = 0;
};

}  // namespace plot
