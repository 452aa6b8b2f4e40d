#include "plot/results.h"
#include "main/console.h"
#include "numbers/logarithm.h"
#include "plot/style.h"
#include "text/readnumber.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

namespace plot {

using std::string_view;

// Headers of the program's own files and of common others, in small letters.
static constexpr std::array<string_view, 6> chromosomeNames
    = {"chr", "#chrom", "chrom", "chromosome", "#chr", "chr_name"};
static constexpr std::array<string_view, 6> positionNames
    = {"pos", "bp", "position", "base_pair_location", "genpos", "ps"};
static constexpr std::array<string_view, 7> pNames = {"p-value", "p", "pvalue", "p_value", "pval", "p_wald", "p.value"};
static constexpr std::array<string_view, 9> markerNames
    = {"snpid", "snp", "rsid", "id", "markername", "marker", "rs", "variant_id", "name"};
static constexpr std::array<string_view, 2> phenotypeNames = {"pheno", "phenotype"};

double minusLog10(double p)
{
    return p > 0 ? -decimalLogarithm(p) : std::numeric_limits<double>::infinity();
}

std::string delimiterOf(string_view line)
{
    for (const char delimiter : {'\t', ',', ';'}) {
        if (line.find(delimiter) != line.npos)
            return std::string(1, delimiter);
    }
    return " ";
}

void openInput(text::LineReader &in, const std::string &name)
{
    errno = 0;
    if (!in.open(name))
        fatal("Cannot open '%s': %s\n", name.c_str(), std::strerror(errno ? errno : EISDIR));
}

static size_t findHeader(std::span<const string_view> fields, std::span<const string_view> names)
{
    for (const string_view name : names) {
        for (size_t i = 0; i < fields.size(); ++i) {
            const auto isSame = [](char header, char wanted) {
                return (header >= 'A' && header <= 'Z' ? char(header + 32) : header) == wanted;
            };
            if (std::ranges::equal(fields[i], name, isSame))
                return i + 1;
        }
    }
    return 0;
}

Layout readLayout(bool hasPlace)
{
    Layout layout;
    if (delimOption.given())
        layout.delimiter = delimOption.read();
    layout.header = headerOption.read();
    if (hasPlace) {
        layout.chromosome = size_t(chromosomeColumnOption.read());
        layout.position = size_t(positionColumnOption.read());
        layout.name = size_t(nameColumnOption.read());
    }
    layout.p = size_t(pColumnOption.read());
    layout.phenotype = phenotypeOption.read();
    return layout;
}

ResultReader::ResultReader(const std::string &file, const Layout &layout, Wanted wanted)
    : m_file(file), m_layout(layout), m_wanted(wanted), m_progress(file, "", "rows")
{
    openInput(m_in, file);
    string_view line;
    if (!m_in.nextNonEmpty(line))
        fatal("'%s' is empty\n", file.c_str());
    if (m_layout.delimiter.empty())
        m_layout.delimiter = delimiterOf(line);
    findColumns(line);
}

void ResultReader::findColumns(string_view line)
{
    std::vector<string_view> fields;
    text::splitFields(line, m_layout.delimiter, fields);
    const int header = m_layout.header;
    const string_view given = m_layout.p > 0 && m_layout.p <= fields.size() ? fields[m_layout.p - 1] : string_view();
    const bool isHeader
        = header == 1 || (header == 0 && (m_layout.p == 0 || (!text::readReal(given).isNumber && given != "NA")));
    if (isHeader) {
        const auto find = [&](size_t &column, std::span<const string_view> names) {
            column = column ? column : findHeader(fields, names);
        };
        find(m_layout.p, pNames);
        if (m_wanted.place) {
            find(m_layout.chromosome, chromosomeNames);
            find(m_layout.position, positionNames);
        }
        find(m_layout.name, markerNames);
        find(m_phenotype, phenotypeNames);
    } else {
        m_first = line;
    }
    if (m_layout.p == 0)
        fatal("'%s' has no header that names the p-values: give -pcolumn, and look at -delim\n", m_file.c_str());
    if (m_wanted.place && m_layout.position == 0)
        fatal("'%s' has no header that names the positions: give -lcolumn, and look at -delim\n", m_file.c_str());
    if (!m_layout.phenotype.empty() && m_phenotype == 0)
        fatal("'%s' has no column Pheno for -phenotype\n", m_file.c_str());
    const size_t last = std::max({m_layout.p, m_layout.chromosome, m_layout.position, m_layout.name});
    if (last > fields.size())
        fatal("The first line of '%s' has fewer fields than column %zu: look at -delim\n", m_file.c_str(), last);
}

// True for a row that can be drawn.
bool ResultReader::read(string_view line, Result &result) const
{
    const auto field = [&](size_t column) { return text::findField(line, m_layout.delimiter, column - 1); };
    const text::Real p = text::readReal(field(m_layout.p));
    if (!p.isNumber || !(p.value >= 0 && p.value <= 1))
        return false;
    result.p = p.value;
    if (m_layout.name > 0)
        result.name = field(m_layout.name);
    if (!m_wanted.place)
        return true;
    const text::Real position = text::readReal(field(m_layout.position));
    result.position = position.value;
    result.chromosome = m_layout.chromosome > 0 ? field(m_layout.chromosome) : string_view("");
    return position.isNumber && std::isfinite(position.value) && result.chromosome.data();
}

bool ResultReader::next(Result &result)
{
    string_view line;
    for (;;) {
        if (m_first.data()) {
            line = m_first;
            m_first = {};
        } else if (!m_in.nextNonEmpty(line)) {
            return false;
        }
        m_progress.advance(line.size());
        if (!m_layout.dropped.empty())
            line = line.substr(0, line.rfind(m_layout.dropped));
        if (m_phenotype > 0 && !m_layout.phenotype.empty()
            && text::findField(line, m_layout.delimiter, m_phenotype - 1) != m_layout.phenotype)
            continue;
        ++m_rows;
        if (read(line, result))
            return true;
        ++m_without;
    }
}

}  // namespace plot
