// Lines of genotype and dosage files as the scans read them: words at white space, of which the first ones describe
// the marker.
#pragma once

#include "genotypes/numberwalker.h"
#include "text/bytes.h"
#include "text/lines.h"

#include <span>
#include <string_view>
#include <vector>

inline constexpr size_t leadingColumns = 5;  // the second one holds the marker's name
inline constexpr size_t wrongColumns = size_t(-1);

// The words of a line, parted by any white space.
size_t countWords(std::string_view line);

bool hasWord(std::string_view line);

// The next line that holds more than white space, valid until the next call; false after the last one.
inline bool nextMarkerLine(text::LineReader &in, std::string_view &line)
{
    while (in.nextNonEmpty(line)) {
        if (!text::isWhiteSpace(line.front()) || hasWord(line)) [[likely]]
            return true;
    }
    return false;
}

// Takes a word off the front of the line, with the white space before it; false where there is none.
bool takeWord(std::string_view &line, std::string_view &word);

// Takes so many words off the front of the line; returns how many there are.
size_t takeLeading(std::string_view &line, std::span<std::string_view> leading);

// Reads a line: its leading columns, and the numbers behind them, which `form` is given as (numbers, first, count) for
// every batch. Returns the number of words, or wrongColumns as soon as there are more than the columns and `most`.
template <class Form>
size_t readMarker(std::string_view line, std::span<std::string_view> leading, size_t most, Form form)
{
    const size_t columns = takeLeading(line, leading);
    WordNumbers numbers(line);
    size_t first = 0;
    while (const size_t count = numbers.next()) {
        if (count > most - first)
            return wrongColumns;
        form(numbers, first, count);
        first += count;
    }
    return columns + first;
}

// The numbers that so many thousandths are, as text::thousandthValues has them.
void divideThousandths(const int16_t *thousandths, size_t count, double *values);

// Reads dosage lines. What is no number is 0.
class DosageReader {
public:
    explicit DosageReader(size_t individuals) : m_thousandths(individuals), m_values(individuals) {}

    // Reads the marker's name and its dosages. Returns the number of words, or wrongColumns as soon as there are more
    // than leadingColumns and the dosages.
    size_t read(std::string_view line, std::string_view &marker);

    // Of a line with a dosage for everybody: the dosages in thousandths, [individual], where all are short numbers;
    // null elsewhere.
    const int16_t *thousandths() const { return m_isShort ? m_thousandths.data() : nullptr; }
    // The dosages, [individual]. They are formed when they are asked for first.
    const std::vector<double> &values();

private:
    void formValues(size_t end);

    std::vector<int16_t> m_thousandths;
    std::vector<double> m_values;
    size_t m_formed = 0;  // of the values
    bool m_isShort = false;
};

// Ends the run over a line that does not have as many columns as the first one.
[[noreturn]] void refuseMarker();
