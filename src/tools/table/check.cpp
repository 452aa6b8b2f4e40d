// Tells whether a file is what it should be, and whether its individuals are those of a list, in its order: a line on
// standard output where all is well, an error elsewhere.
#include "main/console.h"
#include "main/nearest.h"
#include "text/fields.h"
#include "tools/table/individuals.h"
#include "tools/table/input.h"
#include "tools/table/verbs.h"

#include <algorithm>

namespace table {

enum Content { TableOfRows, Phenotypes, Dosages, Triplets };  // the words of contentOption

static constexpr WordOption contentOption
    = {"-content", "table", "table phenotypes dosages triplets",
       "what the file holds: a header and a row an individual, or lines of the scans' input"};
static constexpr InputOption wantedOption
    = {"-individuals", Use::Optional, "the individuals that the file should have, as for the other verbs"};
static constexpr DelimiterOption contentDelimOption
    = {"-delim", "", "tab space comma semicolon colon blanks", "",
       "between the fields, in place of a tab in tables and of a blank elsewhere"};
static constexpr IntegerOption leadingOption
    = {"-last-bef-geno", 5, "number of leading columns of dosages and triplets"};
static constexpr const Option *options[] = {&fileOption, &contentOption,      &wantedOption, &idOption,
                                            &listOption, &contentDelimOption, &quotesOption, &leadingOption};

static Format formatOf(Content content)
{
    Format format = {contentDelimOption.read(), '\t', quotesOption.read()};
    if (!contentDelimOption.given())
        format.in = content == TableOfRows ? "\t" : " ";
    if (!format.in.empty())
        format.out = format.in[0];
    return format;
}

// Row number `row`, from 0, against the list.
static void checkOrder(uint32_t row, std::string_view name, const Individuals &wanted, const Table &table)
{
    if (row >= wanted.names.size())
        fatal("Line %zu of '%s' has %s, but '%s' ends with %s\n", table.line(), table.name().c_str(),
              quoted(name).c_str(), wanted.file.c_str(),
              quoted(wanted.names.name(uint32_t(wanted.names.size() - 1))).c_str());
    if (wanted.names.name(row) != name)
        fatal("Line %zu of '%s' has %s, where '%s' has %s\n", table.line(), table.name().c_str(), quoted(name).c_str(),
              wanted.file.c_str(), quoted(wanted.names.name(row)).c_str());
}

static size_t checkRows(Table &table, char delimiter, const Individuals *wanted)
{
    std::string_view row;
    table.readHeader(row);
    std::vector<std::string_view> names;
    text::splitFields(row, {&delimiter, 1}, names);
    refuseTwins(names, table);
    const size_t idPlace = idPlaceOf(row, delimiter, table);
    Identifiers seen;
    while (table.next(row)) {
        const std::string_view name = text::findFieldByText(row, {&delimiter, 1}, idPlace);
        const size_t count = seen.size();
        if (wanted)
            checkOrder(uint32_t(count), name, *wanted, table);
        if (seen.number(name) != count)
            fatal("Individual %s stands in '%s' again, in line %zu\n", quoted(name).c_str(), table.name().c_str(),
                  table.line());
    }
    return seen.size();
}

// Lines of some leading fields and then `each` fields for every individual; how many these are.
static size_t countIndividuals(const Table &table, size_t leading, size_t each)
{
    if (table.width() <= leading || (table.width() - leading) % each != 0)
        fatal("Line 1 of '%s' has %s, which is not %zu and %s an individual%s\n", table.name().c_str(),
              counted(table.width(), "field").c_str(), leading, each == 3 ? "three" : "one",
              table.delimiterHint().c_str());
    return (table.width() - leading) / each;
}

static void check()
{
    const std::string name = inputName(fileOption.require());
    const Content content = Content(contentOption.read());
    const Format format = formatOf(content);
    Individuals individuals;
    const Individuals *const wanted = wantedOption.given() ? &individuals : nullptr;
    if (wanted)
        individuals = readIndividuals(wantedOption.require());
    Table table(name, format);
    size_t count = 0, lines = 0;
    if (content == TableOfRows) {
        count = checkRows(table, format.out, wanted);
    } else {
        for (std::string_view row; table.next(row);)
            ++lines;
        const size_t leading = content == Phenotypes ? 1 : size_t(leadingOption.read());
        count = countIndividuals(table, leading, content == Triplets ? 3 : 1);
    }
    if (wanted && count != wanted->names.size())
        fatal("'%s' has %s, '%s' has %zu\n", name.c_str(), counted(count, "individual").c_str(), wanted->file.c_str(),
              wanted->names.size());

    text::Writer out;
    openOutput(out, "-");
    out.put(counted(count, "individual") + ", ");
    if (content == TableOfRows)
        out.put(counted(table.width(), "column") + (wanted ? ": those of the list, in its order" : ""));
    else
        out.put(counted(lines, content == Phenotypes ? "phenotype" : "marker")
                + (wanted ? ": as many as in the list; such a file does not name them" : ""));
    out.put('\n');
    out.close();
}

constinit const Mode checkVerb
    = {{"check"}, check, options, "tells whether a file is whole, and has the individuals of a list in its order"};

}  // namespace table
