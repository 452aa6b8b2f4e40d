// Dosages to genotype triplets: a line of leading columns and one dosage per individual becomes the leading
// columns and one certain triplet per individual; a side file in the same layout holds how far each dosage
// lies from the class that it was rounded to.
#include "genotypes/columns.h"
#include "genotypes/markerhints.h"
#include "genotypes/options.h"
#include "main/console.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <array>
#include <cmath>

using Walker = text::FieldWalker<text::Separator::Blank>;

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
// The results for a number of thousandths that has a class.
struct ReadyDosage {
    char triplet[8];
    char text[7];  // of the deviation, and the blank behind it
    uint8_t textSize;
    double deviation;  // absolute
};
}  // namespace

using ReadyDosages = std::array<ReadyDosage, 2500>;

static ReadyDosages makeReadyDosages()
{
    ReadyDosages ready;
    for (size_t i = 0; i < ready.size(); ++i) {
        const double value = double(i) / 1000;
        const int digvalue = int(value + 0.5);
        const double deviation = value - digvalue;
        char text[text::maxRealSize + 1];
        char *end = text::writeReal(text, deviation);
        *end++ = ' ';
        std::memcpy(ready[i].text, text, sizeof ready[i].text);
        ready[i].textSize = uint8_t(end - text);
        ready[i].deviation = std::abs(deviation);
        std::memcpy(ready[i].triplet, triplets[digvalue], sizeof ready[i].triplet);
    }
    return ready;
}

// In a loop of its own, without calls, the sum stays in a register.
static void addDeviations(const double *deviations, size_t count)
{
    double sum = cumdeviation;
    for (size_t i = 0; i < count; ++i)
        sum += deviations[i];
    cumdeviation = sum;
    devtimes += int64_t(count) - std::count(deviations, deviations + count, 0.0);
}

// Writes the triplet of every dosage and its deviation, or "?" where it has no class, each with a blank
// behind.
MORVEL_WIDE static void convertDosages(std::string_view dosages, const ReadyDosages &readyDosages, text::Writer &out,
                                       text::Writer &stats)
{
    double deviations[Walker::batchSize];  // absolute
    Walker walker(dosages);
    size_t fields;
    do {
        fields = walker.next(Walker::batchSize);
        char *outEnd = out.reserve(Walker::batchSize * tripletSize + 2);
        char *statsEnd = stats.reserve(Walker::batchSize * (text::maxRealSize + 1));
        for (size_t i = 0; i < fields; ++i, outEnd += tripletSize) {
            const text::ShortNumber number = text::readShortNumber(walker.begin(i), walker.size(i));
            const size_t thousandths = size_t(text::thousandthsOf(number.digits));
            if (!number.invalid && thousandths < readyDosages.size()) [[likely]] {
                const ReadyDosage &ready = readyDosages[thousandths];
                deviations[i] = ready.deviation;
                std::memcpy(outEnd, ready.triplet, 8);
                std::memcpy(statsEnd, ready.text, 8);
                statsEnd += ready.textSize;
                continue;
            }
            const double value = text::readDouble(walker.field(i));
            const double digvalue = std::trunc(value + 0.5);
            const double deviation = value - digvalue;
            deviations[i] = std::abs(deviation);
            const bool hasClass = digvalue >= 0 && digvalue <= 2;
            std::memcpy(outEnd, triplets[hasClass ? size_t(digvalue) : noClass], 8);
            if (hasClass)
                statsEnd = text::writeReal(statsEnd, deviation);
            else
                *statsEnd++ = '?';
            *statsEnd++ = ' ';
        }
        out.commit(outEnd);
        stats.commit(statsEnd);
        addDeviations(deviations, fields);
    } while (fields == Walker::batchSize);
}

// Converts the lines from beg to end. An empty line counts, but gives none.
static void convertLines(text::LineReader &in, text::Writer &out, text::Writer &stats)
{
    const ReadyDosages readyDosages = makeReadyDosages();
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
            convertDosages(dosages, readyDosages, out, stats);
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
