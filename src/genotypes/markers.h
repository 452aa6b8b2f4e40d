// Lines of genotype and dosage files as the scans read them: words at white space, of which the first ones describe
// the marker.
#pragma once

#include "genotypes/numberwalker.h"
#include "text/bytes.h"
#include "text/lines.h"

#include <span>
#include <string_view>

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

// Reads a dosage line: the marker's name, and its dosages, [individual]. Returns the number of words, or wrongColumns
// as soon as there are more than leadingColumns and the dosages. What is no number is 0.
size_t readDosages(std::string_view line, std::string_view &marker, std::span<double> dosages);

// Ends the run over a line that does not have as many columns as the first one.
[[noreturn]] void refuseMarker();
