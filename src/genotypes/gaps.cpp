#include "genotypes/gaps.h"
#include "genotypes/dosages.h"
#include "processors/wide.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

static constexpr double missing = std::numeric_limits<double>::quiet_NaN();

static double readAnyDosage(std::string_view word, double na_value)
{
    if (word == "NA")
        return missing;
    const double dosage = text::readDouble(word);
    return dosage == na_value || !std::isfinite(dosage) ? missing : dosage;
}

size_t readGappyDosages(std::string_view line, double na_value, std::span<std::string_view> leading,
                        std::span<double> dosages)
{
    const auto form = [&](const WordNumbers &numbers, size_t first, size_t count) {
        if (!numbers.formShortValues(count, &dosages[first])) [[likely]]
            return;
        for (size_t i = 0; i < count; ++i) {
            if (numbers.numbers()[i] < 0)
                dosages[first + i] = readAnyDosage(numbers.longField(i), na_value);
        }
    };
    return readMarker(line, leading, dosages.size(), form);
}

static double readAnyTriplet(const WordNumbers &numbers, size_t i)
{
    const double parts[] = {numbers.value(i), numbers.value(i + 1), numbers.value(i + 2)};
    const double dosage = parts[1] + 2 * parts[2];
    const bool isMissing = parts[0] == 0 && parts[1] == 0 && parts[2] == 0;
    return isMissing || !std::isfinite(parts[0] + dosage) ? missing : dosage;
}

// One whose dosage is above 3, or of numbers that are not short. Sums of short numbers are formed in thousandths.
static double readOtherTriplet(const WordNumbers &numbers, size_t i, bool areShort)
{
    const int16_t *const parts = numbers.numbers() + i;
    const size_t thousandths = size_t(parts[1] + 2 * parts[2]);
    return areShort && thousandths < text::thousandthValues.size() ? text::thousandthValues[thousandths]
                                                                   : readAnyTriplet(numbers, i);
}

// Stands for three zeros among dosages in thousandths.
static constexpr uint16_t missingThousandths = otherThousandths + 1;

static constexpr auto dosagesByThousandths = [] {
    std::array<double, missingThousandths + 1> values = {};
    for (size_t i = 0; i < otherThousandths; ++i)
        values[i] = double(i) / 1000;
    values[missingThousandths] = missing;
    return values;
}();

// Tells which are missing. Returns whether one of the numbers is not short, or a dosage not known in thousandths.
MORVEL_WIDE static bool findMissing(const int16_t *parts, size_t count, uint16_t *thousandths)
{
    int16_t all = 0;
    uint16_t most = 0;
    for (size_t i = 0; i < count; ++i) {
        const auto bits = int16_t(parts[3 * i] | parts[3 * i + 1] | parts[3 * i + 2]);
        all |= bits;
        most = std::max(most, thousandths[i]);
        thousandths[i] = bits == 0 ? missingThousandths : thousandths[i];
    }
    return all < 0 || most == otherThousandths;
}

size_t readGappyTriplets(std::string_view line, double, std::span<std::string_view> leading, std::span<double> dosages)
{
    const auto form = [&](const WordNumbers &numbers, size_t first, size_t count) {
        const size_t triplets = count / 3;
        uint16_t thousandths[WordNumbers::batchSize / 3];
        double *const to = &dosages[first / 3];
        formThousandths(numbers.numbers(), triplets, thousandths);
        const bool hasOther = findMissing(numbers.numbers(), triplets, thousandths);
        for (size_t i = 0; i < triplets; ++i)
            to[i] = dosagesByThousandths[thousandths[i]];
        for (size_t i = 0; i < triplets && hasOther; ++i) {
            const int16_t *const parts = numbers.numbers() + 3 * i;
            const bool areShort = (parts[0] | parts[1] | parts[2]) >= 0;
            if (!areShort || thousandths[i] == otherThousandths)
                to[i] = readOtherTriplet(numbers, 3 * i, areShort);
        }
    };
    return readMarker(line, leading, 3 * dosages.size(), form);
}
