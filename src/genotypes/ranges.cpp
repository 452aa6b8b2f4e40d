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

MORVEL_WIDE size_t NumberReader::next()
{
    const size_t fields = m_walker.next();
    readNumbers<false>(m_walker.marks(), fields, m_values);
    return fields;
}
