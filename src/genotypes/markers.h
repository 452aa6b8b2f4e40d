// Lines of genotype and dosage files as the scans read them: words at white space, of which the first ones describe
// the marker.
#pragma once

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

// Reads a dosage line: the marker's name, and its dosages, [individual]. Returns the number of words, or wrongColumns
// as soon as there are more than leadingColumns and the dosages. What is no number is 0.
size_t readDosages(std::string_view line, std::string_view &marker, std::span<double> dosages);

// Ends the run over a line that does not have as many columns as the first one.
[[noreturn]] void refuseMarker();
