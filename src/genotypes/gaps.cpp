#include "genotypes/gaps.h"
#include "processors/wide.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <cmath>
#include <limits>

using Walker = text::FieldWalker<text::Separator::WhiteSpace>;

static constexpr double missing = std::numeric_limits<double>::quiet_NaN();

// How many there are of the leading columns.
static size_t readLeading(Walker &walker, std::span<std::string_view> leading)
{
    size_t columns = 0;
    while (columns < leading.size() && walker.next(1) > 0) {
        if (walker.size(0) > 0)
            leading[columns++] = walker.field(0);
    }
    return columns;
}

static double readAnyDosage(std::string_view word, double na_value)
{
    if (word == "NA")
        return missing;
    const double dosage = text::readDouble(word);
    return dosage == na_value || !std::isfinite(dosage) ? missing : dosage;
}

MORVEL_WIDE size_t readGappyDosages(std::string_view line, double na_value, std::span<std::string_view> leading,
                                    std::span<double> dosages)
{
    Walker walker(line);
    const size_t columns = readLeading(walker, leading);
    if (columns < leading.size())
        return columns;
    size_t individual = 0;
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i) {
            if (walker.size(i) == 0)
                continue;
            if (individual == dosages.size())
                return wrongColumns;
            const text::ShortNumber number = text::readShortNumber(walker.begin(i), walker.size(i));
            dosages[individual++] = number.invalid ? readAnyDosage(walker.field(i), na_value)
                                                   : text::thousandthValues[size_t(text::thousandthsOf(number.digits))];
        }
    }
    return columns + individual;
}

static double readAnyTriplet(const std::string_view *words)
{
    double parts[3];
    for (size_t i = 0; i < 3; ++i)
        parts[i] = text::readDouble(words[i]);
    const double dosage = parts[1] + 2 * parts[2];
    const bool isMissing = parts[0] == 0 && parts[1] == 0 && parts[2] == 0;
    return isMissing || !std::isfinite(parts[0] + dosage) ? missing : dosage;
}

// Sums of short numbers are formed digit by digit.
[[gnu::always_inline]] static inline double readTriplet(const std::string_view *words)
{
    text::ShortNumber parts[3];
    for (size_t i = 0; i < 3; ++i)
        parts[i] = text::readShortNumber(words[i].data(), words[i].size());
    const size_t thousandths = size_t(text::thousandthsOf(parts[1].digits + 2 * parts[2].digits));
    const bool isShort = !(parts[0].invalid | parts[1].invalid | parts[2].invalid);
    if (!isShort || thousandths >= text::thousandthValues.size()) [[unlikely]]
        return readAnyTriplet(words);
    const bool isMissing = (parts[0].digits | parts[1].digits | parts[2].digits) == 0;
    return isMissing ? missing : text::thousandthValues[thousandths];
}

MORVEL_WIDE size_t readGappyTriplets(std::string_view line, double, std::span<std::string_view> leading,
                                     std::span<double> dosages)
{
    Walker walker(line);
    const size_t columns = readLeading(walker, leading);
    if (columns < leading.size())
        return columns;
    size_t words = 0;
    std::string_view triplet[3];
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i) {
            // Mostly whole triplets follow each other.
            for (; words % 3 == 0 && i + 3 <= fields && words < 3 * dosages.size(); i += 3, words += 3) {
                if (walker.size(i) == 0 || walker.size(i + 1) == 0 || walker.size(i + 2) == 0)
                    break;
                const std::string_view three[] = {walker.field(i), walker.field(i + 1), walker.field(i + 2)};
                dosages[words / 3] = readTriplet(three);
            }
            if (i == fields)
                break;
            if (walker.size(i) == 0)
                continue;
            if (words == 3 * dosages.size())
                return wrongColumns;
            triplet[words % 3] = walker.field(i);
            if (++words % 3 == 0)
                dosages[words / 3 - 1] = readTriplet(triplet);
        }
    }
    return columns + words;
}
