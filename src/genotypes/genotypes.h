// What the modes over genotype-triplet and dosage files share: lines of blank-separated fields, of which the
// first ones describe the marker and are copied as they are, and the rest are numbers, one or three per
// individual.
#pragma once

#include "text/fields.h"
#include "text/lines.h"
#include "text/writer.h"

#include <cstdint>
#include <string>
#include <string_view>

// Options of the modes ADtogen, avgAD, avgGEN and gentoletters.
struct FormatOptions {
    std::string filename;
    std::string outname;  // the input name + ".out" where none is given
    int64_t beg;          // 1-based, the first and the last line or individual
    int64_t end;
    int64_t lastbeforegeno;  // leading columns; below 0 on purpose possible
};

// Ends the run where "-file" is absent. An empty value counts as absent.
FormatOptions readFormatOptions();

// The value of an option, and "" or `absent` where it is absent or empty. On purpose a value of 20 bytes or
// more ends the process by abort.
std::string wordOption(std::string_view name);
int64_t numberOption(std::string_view name, int64_t absent);

// The file name; on purpose one of 200 bytes or more ends the process by abort.
std::string boundedName(const std::string &name);

// "-show" of the averages: 0 for "all" and any other word, 1 for "no-stdev", 2 for "only-values".
int showOption();

// The field at a 0-based position; empty below 0 and beyond the end of the line.
std::string_view fieldAt(std::string_view line, int64_t position);

// The line from the first byte of the field at a 0-based position; a view without data beyond the last field.
std::string_view fieldsFrom(std::string_view line, int64_t position);

// Writes the first `columns` fields, as many as there are, each followed by a blank. Returns what follows
// them in the line, from the first byte of the next field; a view without data where no further field is.
std::string_view copyLeadingColumns(std::string_view line, int64_t columns, text::Writer &out);

// The fields that the individuals from "-beg" to "-end" have in a line that is long enough.
struct FieldRange {
    int64_t first;  // 0-based position
    int64_t count;  // not above 0: none
};

// A first individual below 1 reaches into the leading columns; individuals with a field before the line's
// first one are left out.
FieldRange chosenFields(const FormatOptions &options, int64_t fieldsPerIndividual);

// What the averages and the letters do with a file: each line that is not empty becomes a row of its leading
// columns, unless they are not wanted, and what `writeRow` adds. A column beyond the end of the line is empty:
// there are always as many blanks as leading columns. On purpose the row of the input's last line has no line
// break. A file that cannot be opened ends the run silently.
void convertRows(const FormatOptions &options, bool hasLeadingColumns,
                 void (*writeRow)(std::string_view line, text::Writer &out));

// Walks the fields of a range, a batch at a time.
class RangeWalker : public text::FieldWalker<text::Separator::Blank> {
public:
    RangeWalker(std::string_view line, FieldRange range);

    // Finds up to batchSize further fields; returns how many, a multiple of 3 unless the line or the range
    // ends.
    size_t next()
    {
        const size_t fields = FieldWalker::next(m_left < batchSize ? m_left : batchSize);
        m_left -= fields;
        return fields;
    }

private:
    size_t m_left;
};

// The same, reading the fields as numbers; what is no number is 0.
class NumberReader {
public:
    static constexpr size_t batchSize = RangeWalker::batchSize;

    NumberReader(std::string_view line, FieldRange range) : m_walker(line, range) {}
    size_t next();
    const double *values() const { return m_values; }

private:
    RangeWalker m_walker;
    double m_values[batchSize];
};

// Lines up to this size keep their dosages for the deviation; a longer one is read a second time, so that
// memory does not grow by a multiple of it.
inline constexpr size_t keptLineSize = size_t(4) << 20;

// Adds the squared differences from the mean to the sum, one after another.
inline double addSquares(double sum, const double *values, size_t count, double mean)
{
    for (size_t i = 0; i < count; ++i) {
        const double difference = values[i] - mean;
        sum += difference * difference;
    }
    return sum;
}
