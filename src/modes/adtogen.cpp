// Dosages to genotype triplets: a line of leading columns and one dosage per individual becomes the leading
// columns and one certain triplet per individual; a side file in the same layout holds how far each dosage
// lies from the class that it was rounded to.
#include "genotypes/columns.h"
#include "genotypes/markerhints.h"
#include "genotypes/numberwalker.h"
#include "genotypes/options.h"
#include "main/console.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "text/lines.h"
#include "text/writer.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

static constexpr OutputOption tripletOutOption
    = {"-out", "input name", "genotype-triplet file; deviations go to it + .stats", takenAsName};
static constexpr IntegerOption firstLineOption = {"-beg", 1, "first line to be converted, from 1", takenAsWord};
static constexpr IntegerOption lastLineOption = {"-end", 99999999, "last line to be converted", takenAsWord};
static constexpr const Option *options[] = {&dosageFileOption, &tripletOutOption,     &firstLineOption,
                                            &lastLineOption,   &leadingColumnsOption, &unusedNameColumnOption};

static FormatOptions chosen;  // beg and end count lines
static std::string sumname;   // of the deviations
static int64_t devtimes;      // dosages that are not whole
static double cumdeviation;   // sum of the absolute deviations

static void readOptions()
{
    chosen = readFormatOptions(dosageFileOption, tripletOutOption, firstLineOption, lastLineOption);
    char deviationName[takenAsName.buffer];
    copyBounded(deviationName, chosen.outname + ".stats");
    sumname = deviationName;
}

// A triplet and the blank behind it: 6 bytes, and 2 more so that 8 can be stored at once.
static constexpr size_t tripletSize = 6;
static constexpr char triplets[][9] = {"1 0 0   ", "0 1 0   ", "0 0 1   ", "? ? ?   "};
static constexpr size_t noClass = 3;

namespace {
// How far a number of thousandths that has a class lies from it.
struct ReadyDeviation {
    char text[7];  // and the blank behind it
    uint8_t textSize;
};
struct ReadyDeviations {
    static constexpr uint16_t count = 2500;

    std::array<ReadyDeviation, count + 1> texts = {};  // the last one is empty
    std::array<double, count + 1> sizes = {};          // absolute

    ReadyDeviations();
};

// Where dosages stand among the ready deviations, and their classes. Those that are not ready stand behind them, and
// their classes are found later.
struct Places {
    uint16_t deviations[FieldNumbers::batchSize];
    uint8_t classes[FieldNumbers::batchSize];
};
}  // namespace

ReadyDeviations::ReadyDeviations()
{
    for (size_t i = 0; i < count; ++i) {
        const double value = text::thousandthValues[i];
        const double deviation = value - int(value + 0.5);
        char bytes[text::maxRealSize + 1];
        char *end = text::writeReal(bytes, deviation);
        *end++ = ' ';
        std::memcpy(texts[i].text, bytes, sizeof texts[i].text);
        texts[i].textSize = uint8_t(end - bytes);
        sizes[i] = std::abs(deviation);
    }
}

MORVEL_WIDE static void findPlaces(const int16_t *dosages, size_t count, Places &places)
{
    for (size_t i = 0; i < count; ++i) {
        places.deviations[i] = std::min(uint16_t(dosages[i]), ReadyDeviations::count);
        places.classes[i] = uint8_t((dosages[i] >= 500) + (dosages[i] >= 1500));
    }
}

static char *writeTriplets(const uint8_t *classes, size_t count, char *end)
{
    for (size_t i = 0; i < count; ++i, end += tripletSize)
        std::memcpy(end, triplets[classes[i]], 8);
    return end;
}

// A dosage whose deviation is not ready: finds its class, and writes and returns its deviation.
[[gnu::always_inline]] static inline double convertOdd(double value, uint8_t &group, char *&end)
{
    const double digvalue = std::trunc(value + 0.5);
    const double deviation = value - digvalue;
    const bool hasClass = digvalue >= 0 && digvalue <= 2;
    group = uint8_t(hasClass ? size_t(digvalue) : noClass);
    if (hasClass)
        end = text::writeReal(end, deviation);
    else
        *end++ = '?';
    *end++ = ' ';
    return std::abs(deviation);
}

// In a loop of its own, without calls, the sum stays in a register.
static void addDeviations(const double *deviations, const double *end)
{
    double sum = cumdeviation;
    for (const double *each = deviations; each != end; ++each)
        sum += *each;
    cumdeviation = sum;
    devtimes += end - deviations;
}

// Writes the deviation of every dosage, or "?" where it has no class, each with a blank behind.
MORVEL_WIDE static char *writeDeviations(const FieldNumbers &dosages, size_t count, const ReadyDeviations &ready,
                                         Places &places, char *end)
{
    double deviations[FieldNumbers::batchSize];  // absolute, those that are not 0
    double *next = deviations;
    for (size_t i = 0; i < count; ++i) {
        const size_t place = places.deviations[i];
        const ReadyDeviation &text = ready.texts[place];
        std::memcpy(end, &text, 8);
        end += text.textSize;
        double deviation = ready.sizes[place];
        if (text.textSize == 0) [[unlikely]]
            deviation = convertOdd(dosages.value(i), places.classes[i], end);
        *next = deviation;
        next += std::bit_cast<uint64_t>(deviation) != 0;  // as a number it would be compared by a branch
    }
    addDeviations(deviations, next);
    return end;
}

// Writes the triplet of every dosage and its deviation.
static void convertDosages(std::string_view line, const ReadyDeviations &ready, text::Writer &out, text::Writer &stats)
{
    FieldNumbers dosages(line);
    Places places;
    while (const size_t count = dosages.next()) {
        findPlaces(dosages.numbers(), count, places);
        char *const outEnd = out.reserve(count * tripletSize + 2);
        char *const statsEnd = stats.reserve(count * (text::maxRealSize + 1));
        stats.commit(writeDeviations(dosages, count, ready, places, statsEnd));
        out.commit(writeTriplets(places.classes, count, outEnd));
    }
}

// Converts the lines from beg to end. An empty line counts, but gives none.
static void convertLines(text::LineReader &in, text::Writer &out, text::Writer &stats)
{
    const ReadyDeviations readyDeviations;
    const MarkerLook look = {MarkerLook::Content::Dosages, false, "0", chosen.lastbeforegeno};
    Progress progress(chosen.filename);
    std::string_view line;
    for (int64_t counter = 1; counter <= chosen.end && in.next(line); ++counter) {
        progress.advance(line.size());
        if (line.empty() || counter < chosen.beg)
            continue;
        lookAtMarker(line, look);
        copyLeadingColumns(line, chosen.lastbeforegeno, stats);
        const std::string_view dosages = copyLeadingColumns(line, chosen.lastbeforegeno, out);
        if (dosages.data())
            convertDosages(dosages, readyDeviations, out, stats);
        out.replaceLast('\n');
        stats.replaceLast('\n');
    }
}

static void adToGen()
{
    readOptions();
    print("running adToGen()\n\n");
    refuseSameFiles({chosen.filename}, {chosen.outname, sumname});
    text::LineReader in;
    text::Writer out, stats;
    if (!out.open(chosen.outname) || !in.open(chosen.filename) || !stats.open(sumname))
        quit();  // silent by design
    convertLines(in, out, stats);
    out.close();
    stats.close();
    print("Genotypes that deviate: %lld\n", static_cast<long long>(devtimes));
    print("Total absolute deviation: %s\n", text::realText(cumdeviation).c_str());
}

constinit const Mode adToGenMode = {
    {"ADtogen", "adtogen"}, adToGen, options, "Turns dosages back into genotype triplets, and tells their deviations"};
