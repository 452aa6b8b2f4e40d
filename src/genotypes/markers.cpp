#include "genotypes/markers.h"
#include "main/console.h"
#include "processors/wide.h"

#include <algorithm>

bool takeWord(std::string_view &line, std::string_view &word)
{
    const char *at = line.data(), *const end = at + line.size();
    while (at != end && text::isWhiteSpace(*at))
        ++at;
    const char *const first = at;
    while (at != end && !text::isWhiteSpace(*at))
        ++at;
    word = {first, size_t(at - first)};
    line = {at, size_t(end - at)};
    return at != first;
}

size_t takeLeading(std::string_view &line, std::span<std::string_view> leading)
{
    size_t columns = 0;
    while (columns < leading.size() && takeWord(line, leading[columns]))
        ++columns;
    return columns;
}

size_t countWords(std::string_view line)
{
    size_t words = 0;
    for (std::string_view word; takeWord(line, word);)
        ++words;
    return words;
}

bool hasWord(std::string_view line)
{
    return !std::ranges::all_of(line, text::isWhiteSpace);
}

MORVEL_WIDE void divideThousandths(const int16_t *thousandths, size_t count, double *values)
{
    for (size_t i = 0; i < count; ++i)
        values[i] = double(thousandths[i]) / 1000;
}

// Copies them; true where one is not short.
MORVEL_WIDE static bool copyNumbers(const int16_t *numbers, size_t count, int16_t *to)
{
    int16_t all = 0;
    for (size_t i = 0; i < count; ++i) {
        to[i] = numbers[i];
        all |= numbers[i];
    }
    return all < 0;
}

void DosageReader::formValues(size_t end)
{
    divideThousandths(m_thousandths.data() + m_formed, end - m_formed, m_values.data() + m_formed);
    m_formed = end;
}

const std::vector<double> &DosageReader::values()
{
    formValues(m_values.size());
    return m_values;
}

size_t DosageReader::read(std::string_view line, std::string_view &marker)
{
    m_formed = 0;
    m_isShort = true;
    std::string_view leading[leadingColumns];
    const auto take = [this](const WordNumbers &numbers, size_t first, size_t count) {
        if (copyNumbers(numbers.numbers(), count, &m_thousandths[first])) {
            m_isShort = false;
            formValues(first);
            numbers.formValues(count, &m_values[first]);
            m_formed = first + count;
        }
    };
    const size_t columns = readMarker(line, leading, m_values.size(), take);
    marker = leading[1];
    return columns;
}

void refuseMarker()
{
    fatal("Inconsistent number of columns in geno file\n");
}
