// A table with a header and a row an individual: its rows in the order of a list of individuals.
#include "main/console.h"
#include "text/fields.h"
#include "tools/table/individuals.h"
#include "tools/table/input.h"
#include "tools/table/rows.h"
#include "tools/table/verbs.h"

namespace table {

static constexpr TextOption missingOption = {"-missing", "NA", "what stands in the rows that -absent fills"};
static constexpr const Option *options[]
    = {&fileOption,     &individualsOption, &outOption,    &idOption,      &listOption,  &delimOption,
       &outDelimOption, &quotesOption,      &absentOption, &missingOption, &memoryOption};

static std::string filledRow(std::string_view name, size_t idPlace, size_t width, char delimiter)
{
    std::string row;
    for (size_t i = 0; i < width; ++i) {
        row += i == idPlace ? std::string(name) : missingOption.read();
        row += i + 1 < width ? delimiter : '\n';
    }
    return row;
}

static void reorder()
{
    const std::string name = inputName(fileOption.require()), outName = readOutName();
    const std::string list = inputName(individualsOption.require());
    const Format format = readFormat();
    const std::string delimiter(1, format.out);
    refuseSameFiles({name, list}, {outputName(outName)});
    const Individuals individuals = readIndividuals(list);
    Table table(name, format);
    std::string_view row;
    table.readHeader(row);
    const std::string header(row);
    const size_t idPlace = idPlaceOf(header, format.out, table);

    Matching matching(individuals, name);
    RowStore rows(individuals.names.size(), allowedMemory());
    while (table.next(row)) {
        const uint32_t place = matching.placeOf(text::findFieldByText(row, delimiter, idPlace), table.line());
        if (place != noNumber)
            rows.put(place, row);
    }
    matching.finish();
    requireField(missingOption.read(), format);
    for (uint32_t place = 0; place < individuals.names.size(); ++place)
        requireField(individuals.names.name(place), format);

    text::Writer out;
    openOutput(out, outName);
    out.put(header + '\n');
    for (uint32_t place = 0; place < individuals.names.size(); ++place) {
        if (matching.isFound(place)) {
            out.put(rows.get(place));
            out.put('\n');
        } else {
            out.put(filledRow(individuals.names.name(place), idPlace, table.width(), format.out));
        }
    }
    out.close();
}

constinit const Mode reorderVerb
    = {{"reorder"}, reorder, options, "puts the rows into the order of a genotype file's individuals"};

}  // namespace table
