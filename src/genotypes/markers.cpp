#include "genotypes/markers.h"
#include "genotypes/numberwalker.h"
#include "main/console.h"

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

size_t readDosages(std::string_view line, std::string_view &marker, std::span<double> dosages)
{
    std::string_view leading[leadingColumns];
    const size_t columns
        = readMarker(line, leading, dosages.size(), [&](const WordNumbers &numbers, size_t first, size_t count) {
              numbers.formValues(count, &dosages[first]);
          });
    marker = leading[1];
    return columns;
}

void refuseMarker()
{
    fatal("Inconsistent number of columns in geno file\n");
}
