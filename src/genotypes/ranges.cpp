#include "genotypes/ranges.h"
#include "genotypes/columns.h"
#include "genotypes/shortnumbers.h"
#include "processors/wide.h"

FieldRange chosenFields(const FormatOptions &chosen, int64_t fieldsPerIndividual)
{
    int64_t first = chosen.lastbeforegeno + fieldsPerIndividual * (chosen.beg - 1);
    int64_t individuals = chosen.end - chosen.beg + 1;
    if (first < 0) {
        const int64_t leftOut = (fieldsPerIndividual - 1 - first) / fieldsPerIndividual;
        first += fieldsPerIndividual * leftOut;
        individuals -= leftOut;
    }
    return {first, fieldsPerIndividual * individuals};
}

RangeWalker::RangeWalker(std::string_view line, FieldRange range)
    : FieldWalker(range.count > 0 ? fieldsFrom(line, range.first) : std::string_view())
    , m_left(rest().data() ? size_t(range.count) : 0)
{
}

MORVEL_WIDE static size_t readBatch(RangeWalker &walker, double *values)
{
    const size_t fields = walker.next();
    readNumbers<false>(walker.marks(), fields, values);
    return fields;
}

size_t NumberReader::next()
{
    return readBatch(m_walker, m_values);
}
