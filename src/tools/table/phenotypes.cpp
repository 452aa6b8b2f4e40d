// The table that everybody has, a row an individual below a header, as the phenotype file of the scans: a row a
// phenotype, its name and then a value for each individual of the genotype file, in its order.
#include "main/console.h"
#include "main/nearest.h"
#include "text/fields.h"
#include "text/readnumber.h"
#include "tools/table/individuals.h"
#include "tools/table/input.h"
#include "tools/table/turner.h"
#include "tools/table/verbs.h"

#include <algorithm>
#include <cmath>

namespace table {

static constexpr TextOption columnsOption = {"-columns", "all others", "names of the phenotypes, parted by commas"};
static constexpr TextOption missingOption
    = {"-missing", "NA", "words for \"no value\", parted by commas; the first one is written, also for empty fields"};
static constexpr WordOption scanDelimOption
    = {"-outdelim", "space", "space tab comma semicolon colon", "between the fields of the result"};
static constexpr const Option *options[]
    = {&fileOption,  &individualsOption, &outOption,    &idOption,     &columnsOption, &listOption,
       &delimOption, &scanDelimOption,   &quotesOption, &absentOption, &missingOption, &memoryOption};

namespace {
// Of all phenotypes that are asked for.
struct Columns {
    std::vector<size_t> places;      // in the table
    std::vector<std::string> names;  // of the phenotypes
};
}  // namespace

static Columns findColumns(const std::vector<std::string_view> &header, size_t idPlace, const Table &table)
{
    Columns columns;
    if (columnsOption.given()) {
        columns.places = placesOf(columnsOption.read(), header, table);
    } else {
        refuseTwins(header, table);
        for (size_t i = 0; i < header.size(); ++i) {
            if (i != idPlace)
                columns.places.push_back(i);
        }
    }
    for (const size_t place : columns.places) {
        if (place == idPlace)
            fatal("The column %s holds the individuals and is no phenotype\n", quoted(header[place]).c_str());
        if (header[place].empty())
            fatal("Column %zu of '%s' has no name\n", place + 1, table.name().c_str());
        columns.names.emplace_back(header[place]);
    }
    return columns;
}

namespace {

// Takes the values of an individual out of its row. Ends the run at what is neither a number nor missing, which the
// scans would take for 0.
class Values {
public:
    Values(const Columns &columns, const Format &format, const Table &table)
        : m_columns(columns), m_delimiter(1, format.out), m_table(table), m_missing(missingOption.read())
    {
        text::splitFields(m_missing, ",", m_words);
        requireField(m_words[0], format);
        for (size_t i = 0; i < columns.places.size(); ++i)
            append(m_allMissing, m_words[0]);
    }

    // Valid until the next call.
    std::string_view take(std::string_view row);
    std::string_view allMissing() const { return m_allMissing; }
    // Tells of values that are likely to mean something else.
    void finish() const;

private:
    void append(std::string &row, std::string_view value) const;
    std::string_view checked(std::string_view field, size_t column);

    const Columns &m_columns;
    const std::string m_delimiter;
    const Table &m_table;
    const std::string m_missing;
    std::vector<std::string_view> m_words;  // of m_missing
    std::vector<std::string_view> m_fields;
    std::string m_allMissing, m_row;
    size_t m_minusNines = 0;
};

}  // namespace

void Values::append(std::string &row, std::string_view value) const
{
    row += (row.empty() ? "" : m_delimiter);
    row += value;
}

std::string_view Values::checked(std::string_view field, size_t column)
{
    if (field.empty() || std::ranges::count(m_words, field))
        return m_words[0];
    const text::Real real = text::readReal(field);
    if (!real.isNumber || !std::isfinite(real.value))
        fatal("Line %zu of '%s': %s is %s, which is no number; name missing values by -missing\n", m_table.line(),
              m_table.name().c_str(), quoted(m_columns.names[column]).c_str(), quoted(field).c_str());
    m_minusNines += field == "-9";
    return field;
}

std::string_view Values::take(std::string_view row)
{
    text::splitFields(row, m_delimiter, m_fields);
    m_row.clear();
    for (size_t i = 0; i < m_columns.places.size(); ++i)
        append(m_row, checked(m_fields[m_columns.places[i]], i));
    return m_row;
}

void Values::finish() const
{
    if (m_minusNines > 0)
        print("%s of -9 taken as a number; where it means no value: -missing %s,-9\n",
              counted(m_minusNines, "value").c_str(), m_missing.c_str());
}

static void phenotypes()
{
    const std::string name = inputName(fileOption.require()), outName = readOutName();
    const std::string list = inputName(individualsOption.require());
    const Format format = readFormat(scanDelimOption);
    refuseSameFiles({name, list}, {outputName(outName)});
    const Individuals individuals = readIndividuals(list);
    Table table(name, format);
    std::string_view row;
    table.readHeader(row);
    const std::string header(row), delimiter(1, format.out);
    const size_t idPlace = idPlaceOf(header, format.out, table);
    std::vector<std::string_view> names;
    text::splitFields(header, delimiter, names);
    const Columns columns = findColumns(names, idPlace, table);

    Matching matching(individuals, name);
    Values values(columns, format, table);
    RowStore rows(individuals.names.size(), allowedMemory() / 2);
    while (table.next(row)) {
        const uint32_t place = matching.placeOf(text::findFieldByText(row, delimiter, idPlace), table.line());
        if (place != noNumber)
            rows.put(place, values.take(row));
    }
    matching.finish();
    values.finish();

    Turner turner(columns.names.size(), format.out, allowedMemory() / 2);
    std::string title;
    for (const std::string &column : columns.names)
        title += (title.empty() ? "" : delimiter) + column;
    turner.add(title);
    for (uint32_t place = 0; place < individuals.names.size(); ++place)
        turner.add(matching.isFound(place) ? rows.get(place) : values.allMissing());
    text::Writer out;
    openOutput(out, outName);
    turner.write(out);
    out.close();
}

constinit const Mode phenotypesVerb = {
    {"phenotypes"}, phenotypes, options, "makes the phenotype file of the scans from a table with a row an individual"};

}  // namespace table
