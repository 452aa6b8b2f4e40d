#include "genotypes/triplethints.h"
#include "main/datahints.h"
#include "text/bytes.h"
#include "text/readnumber.h"

#include <cmath>
#include <string>
#include <vector>

static constexpr size_t fullLookBytes = size_t(2) << 20;
static constexpr size_t markersPerLook = 256;  // after that
static constexpr double sumTolerance = 0.02;  // rounding of three numbers to two digits

namespace {
struct Finding {
    const char *what;
    size_t markers = 0, triplets = 0;
};
}  // namespace

static Finding zeros = {"of three zeros, which count as dosage 0 (missing?)"};
static Finding nans = {"with nan, which spoil the marker"};
static Finding otherSums = {"with a sum other than 1 (another number of leading columns?)"};
static size_t markers = 0, looks = 0, bytes = 0;

static std::string describe(const Finding &finding)
{
    if (finding.triplets == 0)
        return "";
    return "triplets " + std::string(finding.what) + ": " + std::to_string(finding.triplets) + " in "
           + std::to_string(finding.markers) + " of " + std::to_string(looks) + " markers looked at";
}

static std::string describeZeros()
{
    return describe(zeros);
}
static std::string describeNans()
{
    return describe(nans);
}
static std::string describeSums()
{
    return describe(otherSums);
}

// The next word, parted by white space; empty behind the last one.
static std::string_view nextWord(std::string_view &rest)
{
    size_t first = 0;
    while (first < rest.size() && text::isWhiteSpace(rest[first]))
        ++first;
    size_t end = first;
    while (end < rest.size() && !text::isWhiteSpace(rest[end]))
        ++end;
    const std::string_view word = rest.substr(first, end - first);
    rest.remove_prefix(end);
    return word;
}

void lookAtTriplets(std::string_view line, int64_t leadingColumns)
{
    if (!wantsDataHints() || (markers++ % markersPerLook != 0 && bytes > fullLookBytes))
        return;
    ++looks;
    bytes += line.size();
    for (int64_t i = 0; i < leadingColumns; ++i)
        nextWord(line);
    size_t counts[3] = {};
    for (;;) {
        const std::string_view words[] = {nextWord(line), nextWord(line), nextWord(line)};
        if (words[2].empty())
            break;
        double sum = 0;
        bool isZero = true, isNumber = true;
        for (const std::string_view word : words) {
            // What is no number is told by its reader; here it must not be told again.
            const bool isPlain = word.find_first_not_of("0123456789.eE+-") == word.npos;
            const text::Real real = isPlain ? text::readReal(word) : text::Real{0, false};
            const bool isNan = !isPlain && word.size() == 3 && (word[0] | 0x20) == 'n' && (word[2] | 0x20) == 'n';
            isNumber &= real.isNumber || isNan;
            sum += isNan ? NAN : real.value;
            isZero &= real.isNumber && real.value == 0;
        }
        counts[0] += isZero;
        counts[1] += std::isnan(sum);
        counts[2] += isNumber && !isZero && std::fabs(sum - 1) > sumTolerance;
    }
    Finding *const findings[] = {&zeros, &nans, &otherSums};
    for (size_t i = 0; i < 3; ++i) {
        findings[i]->markers += counts[i] > 0;
        findings[i]->triplets += counts[i];
    }
    for (const auto late : {describeZeros, describeNans, describeSums})
        addDataHint(late);
}
