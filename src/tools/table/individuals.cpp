#include "tools/table/individuals.h"
#include "main/console.h"
#include "main/nearest.h"
#include "text/bytes.h"
#include "text/fields.h"
#include "tools/table/input.h"

#include <algorithm>

using std::string_view;

namespace table {

namespace {

enum Kind { Auto, Names, Fam, Psam, Sample, Vcf };  // the words of listOption

// Reads the lines of one kind of file after another's fashion.
class ListReader {
public:
    ListReader(const std::string &name, Individuals &individuals) : m_lines(name), m_individuals(individuals) {}
    void read(Kind kind);

private:
    Kind kindOf(string_view firstLine) const;
    void add(string_view name);
    void addColumn(size_t column);
    size_t columnOf(std::initializer_list<string_view> names) const;
    bool next();
    void splitWords();
    void readVcf();
    [[noreturn]] void failKind(const char *what) const;

    InputLines m_lines;
    Individuals &m_individuals;
    string_view m_line;
    std::vector<string_view> m_words;
};

}  // namespace

static bool endsIn(string_view name, string_view suffix)
{
    for (const string_view packed : {".gz", ".bgz", ".zst"}) {
        if (name.ends_with(packed))
            name.remove_suffix(packed.size());
    }
    return name.ends_with(suffix);
}

void ListReader::failKind(const char *what) const
{
    fatal("Line %zu of '%s' %s\n", m_lines.number(), m_lines.name().c_str(), what);
}

void ListReader::splitWords()
{
    m_words.clear();
    for (size_t i = 0; i < m_line.size();) {
        const size_t first = i;
        while (i < m_line.size() && !text::isWhiteSpace(m_line[i]))
            ++i;
        if (i > first)
            m_words.push_back(m_line.substr(first, i - first));
        else
            ++i;
    }
}

bool ListReader::next()
{
    do {
        if (!m_lines.next(m_line))
            return false;
        splitWords();
    } while (m_words.empty());
    return true;
}

Kind ListReader::kindOf(string_view firstLine) const
{
    if (firstLine.starts_with("##fileformat=VCF") || firstLine.starts_with("#CHROM\t"))
        return Vcf;
    if (firstLine.starts_with("#"))
        return Psam;
    if (endsIn(m_lines.name(), ".fam"))
        return Fam;
    if (firstLine.starts_with("ID_1") || firstLine.starts_with("ID ") || endsIn(m_lines.name(), ".sample"))
        return Sample;
    return Names;
}

void ListReader::add(string_view name)
{
    Identifiers &names = m_individuals.names;
    const size_t count = names.size();
    if (names.number(name) != count)
        fatal("Individual %s stands twice in '%s'\n", quoted(name).c_str(), m_lines.name().c_str());
}

size_t ListReader::columnOf(std::initializer_list<string_view> names) const
{
    for (const string_view name : names) {
        const auto found = std::ranges::find(m_words, name);
        if (found != m_words.end())
            return size_t(found - m_words.begin());
    }
    failKind("names no column of individuals");
}

// From the current line on.
void ListReader::addColumn(size_t column)
{
    do {
        if (column >= m_words.size())
            failKind("is too short to name an individual");
        add(m_words[column]);
    } while (next());
}

void ListReader::readVcf()
{
    while (!m_line.starts_with("#CHROM\t")) {
        if (!m_line.starts_with("##") || !next())
            failKind("is none of a VCF's header, which names the individuals behind #CHROM");
    }
    text::splitFields(m_line, "\t", m_words);
    for (size_t i = 9; i < m_words.size(); ++i)
        add(m_words[i]);
}

void ListReader::read(Kind kind)
{
    if (!next())
        return;
    if (kind == Auto)
        kind = kindOf(m_line);
    size_t column = 0;
    if (kind == Vcf)
        return readVcf();
    if (kind == Fam) {
        column = 1;
    } else if (kind == Psam) {
        while (m_line.starts_with("##") && next()) {
        }
        column = columnOf({"#IID", "IID"});
        if (!next())
            return;
    } else if (kind == Sample) {
        column = columnOf({"ID_2", "ID", "ID_1"});
        // Below the names of the columns stand their types.
        if (!next() || m_words[0] != "0")
            failKind("is not the line of types that begins with 0");
        if (!next())
            return;
    } else {
        do {
            if (m_words.size() > 1)
                failKind("has more than a name; -list tells another kind of file");
            add(m_words[0]);
        } while (next());
        return;
    }
    addColumn(column);
}

Individuals readIndividuals(const std::string &name)
{
    Individuals individuals;
    individuals.file = inputName(name);
    ListReader(name, individuals).read(Kind(listOption.read()));
    if (individuals.names.size() == 0)
        fatal("'%s' names no individuals\n", individuals.file.c_str());
    return individuals;
}

size_t idPlaceOf(string_view header, char delimiter, const Table &table)
{
    const auto name = idOption.given();
    if (!name)
        return 0;
    std::vector<string_view> names;
    text::splitFields(header, {&delimiter, 1}, names);
    return placeOf(*name, names, table);
}

static constexpr size_t shownNames = 10;

// The first names, and a sign that there are more.
static std::string listOf(const std::vector<std::string> &names, size_t count)
{
    std::string list;
    for (const std::string &name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list + (count > names.size() ? ", ..." : "");
}

Matching::Matching(const Individuals &individuals, const std::string &table)
    : m_individuals(individuals), m_table(table), m_lines(individuals.names.size())
{
}

uint32_t Matching::placeOf(string_view name, size_t line)
{
    const uint32_t place = m_individuals.names.find(name);
    if (place == noNumber) {
        if (++m_extraCount <= shownNames)
            m_extras.emplace_back(name);
        return noNumber;
    }
    if (m_lines[place] != 0)
        fatal("Individual %s stands in the lines %zu and %zu of '%s'\n", quoted(name).c_str(), m_lines[place], line,
              m_table.c_str());
    m_lines[place] = line;
    return place;
}

void Matching::finish() const
{
    std::vector<std::string> absent;
    size_t absentCount = 0;
    for (uint32_t place = 0; place < m_lines.size(); ++place) {
        if (!isFound(place) && ++absentCount <= shownNames)
            absent.emplace_back(m_individuals.names.name(place));
    }
    const std::string names = listOf(absent, absentCount);
    if (absentCount == m_lines.size())
        fatal("No individual of '%s' has a row in '%s': %s\n", m_individuals.file.c_str(), m_table.c_str(),
              names.c_str());
    const std::string how
        = counted(absentCount, "individual") + " of '" + m_individuals.file + "' without a row in '" + m_table + "'";
    if (absentCount > 0 && absentOption.read() == 0)
        fatal("%s: %s; -absent missing gives missing values\n", how.c_str(), names.c_str());
    if (absentCount > 0)
        print("%s, filled with missing values: %s\n", how.c_str(), names.c_str());
    if (m_extraCount > 0)
        print("%s of '%s' left out, not in '%s': %s\n", counted(m_extraCount, "row").c_str(), m_table.c_str(),
              m_individuals.file.c_str(), listOf(m_extras, m_extraCount).c_str());
}

}  // namespace table
