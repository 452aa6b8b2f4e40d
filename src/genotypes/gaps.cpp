#include "genotypes/gaps.h"

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
        for (size_t i = 0; i < count; ++i) {
            const bool isShort = numbers.numbers()[i] >= 0;
            dosages[first + i] = isShort ? numbers.value(i) : readAnyDosage(numbers.longField(i), na_value);
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

// Sums of short numbers are formed in thousandths.
static double readTriplet(const WordNumbers &numbers, size_t i)
{
    const int16_t *const parts = numbers.numbers() + i;
    const size_t thousandths = size_t(parts[1] + 2 * parts[2]);
    const int bits = parts[0] | parts[1] | parts[2];
    if (bits < 0 || thousandths >= text::thousandthValues.size()) [[unlikely]]
        return readAnyTriplet(numbers, i);
    return bits == 0 ? missing : text::thousandthValues[thousandths];
}

size_t readGappyTriplets(std::string_view line, double, std::span<std::string_view> leading, std::span<double> dosages)
{
    const auto form = [&](const WordNumbers &numbers, size_t first, size_t count) {
        for (size_t i = 0; i + 3 <= count; i += 3)
            dosages[(first + i) / 3] = readTriplet(numbers, i);
    };
    return readMarker(line, leading, 3 * dosages.size(), form);
}
