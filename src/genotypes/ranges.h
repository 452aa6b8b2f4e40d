// The numbers of chosen individuals in a line of fields between single blanks, one or three for each.
#pragma once

#include "genotypes/options.h"
#include "text/fields.h"

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

// Walks the fields of a range, a batch at a time.
class RangeWalker : public text::FieldWalker<text::Separator::Blank> {
public:
    RangeWalker(std::string_view line, FieldRange range);

    // Finds up to batchSize further fields; returns how many, a multiple of 3 unless the line or the range ends.
    size_t next()
    {
        const size_t fields = FieldWalker::next(m_left < batchSize ? m_left : batchSize);
        m_left -= fields;
        return fields;
    }

private:
    size_t m_left;
};

// Reads the fields of a range as numbers, a batch at a time; what is no number is 0.
class NumberReader {
public:
    static constexpr size_t batchSize = RangeWalker::batchSize;

    NumberReader(std::string_view line, FieldRange range) : m_walker(line, range) {}
    // Reads up to batchSize further numbers; returns how many, as RangeWalker::next() does.
    size_t next();
    const double *values() const { return m_values; }

private:
    RangeWalker m_walker;
    double m_values[batchSize];
};
