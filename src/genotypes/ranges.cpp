#include "genotypes/ranges.h"
#include "genotypes/columns.h"

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

FieldNumbers numbersIn(std::string_view line, FieldRange range)
{
    return range.count > 0 ? FieldNumbers(fieldsFrom(line, range.first), size_t(range.count)) : FieldNumbers({});
}
