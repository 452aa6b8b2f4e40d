#include "genotypes/markers.h"
#include "genotypes/shortnumbers.h"
#include "main/console.h"
#include "processors/wide.h"
#include "text/fields.h"

#include <algorithm>

using Walker = text::FieldWalker<text::Separator::WhiteSpace>;

size_t countWords(std::string_view line)
{
    size_t words = 0;
    Walker walker(line);
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i)
            words += walker.size(i) > 0;
    }
    return words;
}

bool hasWord(std::string_view line)
{
    return !std::ranges::all_of(line, text::isWhiteSpace);
}

MORVEL_WIDE size_t readDosages(std::string_view line, std::string_view &marker, std::span<double> dosages)
{
    Walker walker(line);
    marker = {};
    size_t columns = 0;
    while (columns < leadingColumns) {
        if (walker.next(1) == 0)
            return columns;
        if (walker.size(0) > 0 && ++columns == 2)
            marker = walker.field(0);
    }
    size_t individual = 0;
    while (const size_t fields = walker.next(Walker::batchSize)) {
        double values[Walker::batchSize];
        for (size_t first = 0; first < fields; ++first) {  // past an empty field
            const size_t count = readNumbers<true>(walker.marks() + first, fields - first, values);
            if (count > dosages.size() - individual)
                return wrongColumns;
            std::copy_n(values, count, dosages.data() + individual);
            individual += count;
            first += count;
        }
    }
    return columns + individual;
}

void refuseMarker()
{
    fatal("Inconsistent number of columns in geno file\n");
}
