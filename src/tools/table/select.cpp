// Columns by the names in the header, in the order in which they are asked for.
#include "main/console.h"
#include "text/fields.h"
#include "tools/table/input.h"
#include "tools/table/verbs.h"

namespace table {

static constexpr TextOption columnsOption
    = {"-columns", "", "names in the header, parted by commas", "", {.use = Use::Required}};
static constexpr const Option *options[]
    = {&fileOption, &columnsOption, &outOption, &delimOption, &outDelimOption, &quotesOption};

static void writeFields(const std::vector<std::string_view> &fields, const std::vector<size_t> &places, char delimiter,
                        text::Writer &out)
{
    for (size_t i = 0; i < places.size(); ++i) {
        if (i > 0)
            out.put(delimiter);
        out.put(fields[places[i]]);
    }
    out.put('\n');
}

static void selectColumns()
{
    const std::string name = inputName(fileOption.require()), outName = readOutName();
    const Format format = readFormat();
    const std::string delimiter(1, format.out);
    refuseSameFiles({name}, {outputName(outName)});
    Table table(name, format);
    std::string_view row;
    std::vector<std::string_view> fields;
    table.readHeader(row);
    text::splitFields(row, delimiter, fields);
    const std::vector<size_t> places = placesOf(columnsOption.read(), fields, table);
    text::Writer out;
    openOutput(out, outName);
    do {
        text::splitFields(row, delimiter, fields);
        writeFields(fields, places, format.out, out);
    } while (table.next(row));
    out.close();
}

constinit const Mode selectVerb = {{"select"}, selectColumns, options, "takes columns by their names"};

}  // namespace table
