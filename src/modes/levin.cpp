// Correlation of a column with every circular shift of another: two numeric columns of a table become one row
// for each shift, its number, the correlation and the value that stands first.
#include "correlation/shiftsums.h"
#include "main/console.h"
#include "modes/modes.h"
#include "tables/columns.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

static constexpr InputOption fileOption = {"-file", Use::Required, "table"};
static constexpr OutputOption outOption = {"-out", "input name", "output file"};
static constexpr SwitchOption headerOption = {"-header", "yes or Yes: the first line is a header", "yes Yes no"};
static constexpr TextOption columnsOption = {"-columns", "1,2", "the two columns, from 1"};
static constexpr const Option *options[] = {&fileOption, &outOption, &wordDelimOption, &headerOption, &columnsOption};

static std::string Filename;
static std::string Outname;
static std::string Delim;
static bool headeryes;
static int col1, col2;  // of x and y, 1-based

static std::vector<double> xArray, yArray;

static void readColumns()
{
    std::vector<std::string_view> Columns;
    const std::string value = columnsOption.read();
    text::splitFields(value, ",", Columns);
    if (Columns.size() != 2)
        fatal("Incorrect number of columns specified\n");
    col1 = text::readInteger(Columns[0]);
    col2 = text::readInteger(Columns[1]);
    if (col1 < 1 || col2 < 1)
        fatal("Negative column numbers cannot be used\n");  // on purpose also of zero
}

static void readOptions()
{
    Filename = fileOption.require();
    Outname = outOption.readAnnounced(Filename);
    Delim = wordDelimOption.read();
    headeryes = headerOption.isOn();
    readColumns();
}

static void readValues(text::LineReader &in)
{
    std::string_view line;
    if (headeryes)
        in.next(line);
    while (in.nextNonEmpty(line)) {
        const std::string_view field1 = text::findField(line, Delim, size_t(col1) - 1);
        const std::string_view field2 = text::findField(line, Delim, size_t(col2) - 1);
        if (!field1.data() || !field2.data())
            fatal("Second column not found in data\n");
        const text::Real x = text::readReal(field1), y = text::readReal(field2);
        if (!x.isNumber || !y.isNumber)
            fatal("Dada contain non-numbers\n");
        xArray.push_back(x.value);
        yArray.push_back(y.value);
    }
}

namespace {
// What the correlations of all shifts share.
struct Sums {
    double N, X = 0, Y = 0, denominator = 0;

    // Never falls where the nominator rises, also as rounded.
    double correlation(double nominator) const { return (N * nominator - X * Y) / denominator; }
};
}  // namespace

static Sums sumColumns()
{
    Sums sums{double(xArray.size())};
    double XX = 0, YY = 0;
    for (const double x : xArray) {
        sums.X += x;
        XX += x * x;
    }
    for (const double y : yArray) {
        sums.Y += y;
        YY += y * y;
    }
    sums.denominator = std::sqrt((sums.N * YY - sums.Y * sums.Y) * (sums.N * XX - sums.X * sums.X));
    return sums;
}

namespace {
// The ranges of the correlations on both sides of 0, and the first shifts with the strongest ones.
struct Extremes {
    double minPosCorr = 1, maxPosCorr = 0;
    double maxNegCorr = -1, minNegCorr = 0;
    size_t bestPosCorrLoc = 0, bestNegCorrLoc = 0;

    void add(double correlation, size_t k)
    {
        if (correlation >= 0) {
            minPosCorr = std::min(minPosCorr, correlation);
            if (correlation > maxPosCorr) {
                maxPosCorr = correlation;
                bestPosCorrLoc = k;
            }
        } else {
            // What is not a number changes nothing.
            if (correlation > maxNegCorr)
                maxNegCorr = correlation;
            if (correlation < minNegCorr) {
                minNegCorr = correlation;
                bestNegCorrLoc = k;
            }
        }
    }
};

// What is known of the correlation of a shift.
struct Range {
    double low, high;

    // The printed text is open, and so may be the sign.
    bool isOpen() const
    {
        char lowText[text::maxRealSize], highText[text::maxRealSize];
        return low != high
               && std::string_view(lowText, text::writeReal(lowText, low))
                      != std::string_view(highText, text::writeReal(highText, high));
    }
};
}  // namespace

static Range rangeOf(const BoundedSums &nominators, size_t k, const Sums &sums)
{
    const double nominator = nominators.sums[k], bound = nominators.bounds[k];
    return {sums.correlation(nominator - bound), sums.correlation(nominator + bound)};
}

// The shifts whose text is open, or of which one or another may be the strongest on its side.
static std::vector<size_t> findOpenShifts(const BoundedSums &nominators, const Sums &sums)
{
    const size_t count = xArray.size();
    double highestLow = -HUGE_VAL, lowestHigh = HUGE_VAL;
    for (size_t k = 0; k < count; ++k) {
        const Range range = rangeOf(nominators, k, sums);
        highestLow = std::max(highestLow, range.low);
        lowestHigh = std::min(lowestHigh, range.high);
    }
    std::vector<size_t> open;
    for (size_t k = 0; k < count; ++k) {
        const Range range = rangeOf(nominators, k, sums);
        const bool isSure = range.low == range.high;
        if (!isSure && (range.high >= highestLow || range.low <= lowestHigh || range.isOpen()))
            open.push_back(k);
    }
    return open;
}

// The sums of x times y, each added up in the order of the rows, or a number which gives the same output. They are
// formed by convolution at first, in longer segments and then in shorter ones as long as that leaves far fewer open.
static std::vector<double> formNominators(const Sums &sums)
{
    const size_t count = xArray.size();
    BoundedSums nominators = {std::vector<double>(count), {}};
    std::vector<size_t> open(count);
    std::iota(open.begin(), open.end(), size_t(0));
    if (areBoundable(xArray, yArray)) {
        for (const size_t length : segmentLengths(count)) {
            BoundedSums finer = convolveColumns(xArray, yArray, length);
            std::vector<size_t> stillOpen = findOpenShifts(finer, sums);
            const bool isMuchBetter = stillOpen.size() < open.size() / 2;
            if (stillOpen.size() < open.size()) {
                nominators = std::move(finer);
                open = std::move(stillOpen);
            }
            // A convolution of a segment takes as long as forming a hundred sums.
            if (!isMuchBetter || open.size() < 400 * (count / length))
                break;
        }
    }
    formDirectly(xArray, yArray, open, nominators.sums);
    return std::move(nominators.sums);
}

static void writeRow(size_t k, double correlation, double firstY, text::Writer &out)
{
    out.put(k + 1);
    out.put(Delim);
    out.put(correlation);
    out.put(Delim);
    out.put(firstY);
    out.put('\n');
}

static Extremes correlateShifts(text::Writer &out)
{
    Extremes extremes;
    const size_t count = xArray.size();
    const Sums sums = sumColumns();
    const std::vector<double> nominators = formNominators(sums);
    for (size_t k = 0; k < count; ++k) {
        const double correlation = sums.correlation(nominators[k]);
        extremes.add(correlation, k);
        writeRow(k, correlation, yArray[(count - k) % count], out);
    }
    return extremes;
}

static void printExtremes(const Extremes &extremes)
{
    const std::string strongest = text::realText(extremes.maxPosCorr), weakest = text::realText(extremes.minNegCorr);
    print("Positive correlation range = %s ... %s\n", text::realText(extremes.minPosCorr).c_str(), strongest.c_str());
    print("Negative correlation range = %s ... %s\n", text::realText(extremes.maxNegCorr).c_str(), weakest.c_str());
    print("Best positive correlation = %s is at iteration %zu\n", strongest.c_str(), extremes.bestPosCorrLoc + 1);
    print("Best negative correlation = %s is at iteration %zu\n", weakest.c_str(), extremes.bestNegCorrLoc + 1);
}

static void levin()
{
    readOptions();
    print("Running...\n\n");
    refuseSameFiles({Filename}, {Outname});
    text::LineReader in;
    text::Writer out;
    if (!in.open(Filename) || !out.open(Outname))
        quit();  // silent by design
    out.put("N" + Delim + "corr" + Delim + "first_Y\n");
    readValues(in);
    printExtremes(correlateShifts(out));
    out.close();
}

constinit const Mode levinMode
    = {{"levin"}, levin, options, "Correlates a column with every circular shift of another"};
