#include "genotypes/markers.h"
#include "genotypes/wordnumbers.h"
#include "main/console.h"
#include "processors/wide.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>

using Walker = text::FieldWalker<text::Separator::WhiteSpace>;

size_t countWords(std::string_view line)
{
    size_t words = 0;
    Walker walker(line);
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i)
            words += walker.size(i) > 0;
    }
    return words;
}

bool hasWord(std::string_view line)
{
    return !std::ranges::all_of(line, text::isWhiteSpace);
}

size_t takeLeadingWords(std::string_view &line, std::string_view &marker)
{
    const char *at = line.data(), *const end = at + line.size();
    size_t words = 0;
    for (; words < leadingColumns; ++words) {
        while (at != end && text::isWhiteSpace(*at))
            ++at;
        const char *const first = at;
        while (at != end && !text::isWhiteSpace(*at))
            ++at;
        if (at == first)
            break;
        if (words == 1)
            marker = {first, size_t(at - first)};
    }
    line.remove_prefix(size_t(at - line.data()));
    return words;
}

MORVEL_WIDE void divideThousandths(const int16_t *thousandths, size_t count, double *values)
{
    for (size_t i = 0; i < count; ++i)
        values[i] = double(thousandths[i]) / 1000;
}

DosageReader::DosageReader(size_t individuals) : m_thousandths(individuals + WordReader::room), m_values(individuals)
{
}

void DosageReader::formValues(size_t count)
{
    divideThousandths(m_thousandths.data() + m_formed, count - m_formed, m_values.data() + m_formed);
    m_formed = count;
}

const std::vector<double> &DosageReader::values()
{
    formValues(m_values.size());
    return m_values;
}

size_t DosageReader::read(std::string_view line, std::string_view &marker)
{
    marker = {};
    m_formed = 0;
    m_isShort = true;
    if (const size_t columns = takeLeadingWords(line, marker); columns < leadingColumns)
        return columns;
    WordReader words(line);
    size_t individual = 0;
    while (const size_t count = words.next(&m_thousandths[individual])) {
        if (count > m_values.size() - individual)
            return wrongColumns;
        if (!words.longWords().empty()) {
            m_isShort = false;
            formValues(individual + count);
            for (const Word &word : words.longWords())
                m_values[individual + word.index] = text::readDouble(word.text());
        }
        individual += count;
    }
    return leadingColumns + individual;
}

void refuseMarker()
{
    fatal("Inconsistent number of columns in geno file\n");
}
