// Rows to columns: field j of row i becomes field i of row j, whatever the fields are.
#include "main/console.h"
#include "tools/table/input.h"
#include "tools/table/turner.h"
#include "tools/table/verbs.h"

namespace table {

static constexpr const Option *options[]
    = {&fileOption, &outOption, &delimOption, &outDelimOption, &quotesOption, &memoryOption};

// Empty lines would be passed over by whoever reads the result.
static void refuseEmptyLines(std::string_view onlyRow, char delimiter, const std::string &name)
{
    const std::string two(2, delimiter);
    if (onlyRow.empty() || onlyRow.front() == delimiter || onlyRow.back() == delimiter
        || onlyRow.find(two) != onlyRow.npos)
        fatal("An empty field in the only row of '%s' would become an empty line\n", name.c_str());
}

static void transpose()
{
    const std::string name = inputName(fileOption.require()), outName = readOutName();
    const Format format = readFormat();
    refuseSameFiles({name}, {outputName(outName)});
    Table table(name, format);
    std::string_view row;
    if (!table.next(row))
        fatal("'%s' is empty\n", name.c_str());
    if (!table.delimiterHint().empty())
        print("'%s' has one column%s\n", name.c_str(), table.delimiterHint().c_str());
    const std::string firstRow(row);
    size_t count = 1;
    Turner turner(table.width(), format.out, allowedMemory());
    turner.add(firstRow);
    for (; table.next(row); ++count)
        turner.add(row);
    if (count == 1)
        refuseEmptyLines(firstRow, format.out, name);
    text::Writer out;
    openOutput(out, outName);
    turner.write(out);
    out.close();
}

constinit const Mode transposeVerb = {{"transpose"}, transpose, options, "turns rows into columns"};

}  // namespace table
