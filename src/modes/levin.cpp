// Correlation of a column with every circular shift of another: two numeric columns of a table become one row
// for each shift, its number, the correlation and the value that stands first.
#include "main/console.h"
#include "modes/modes.h"
#include "processors/lanes.h"
#include "tables/columns.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <cmath>
#include <vector>

static constexpr InputOption fileOption = {"-file", Use::Required, "table"};
static constexpr OutputOption outOption = {"-out", "input name", "output file"};
static constexpr DelimiterOption delimOption
    = {"-delim", "tab", fiveDelimiters, "\t", "between the fields; any other word is a tab"};
static constexpr SwitchOption headerOption = {"-header", "yes or Yes: the first line is a header", "yes Yes no"};
static constexpr TextOption columnsOption = {"-columns", "1,2", "the two columns, from 1"};
static constexpr const Option *options[] = {&fileOption, &outOption, &delimOption, &headerOption, &columnsOption};

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
    Delim = delimOption.read();
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

// What the correlations of all shifts share.
struct Sums {
    double N, X = 0, Y = 0, denominator = 0;
};

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

// Four shifts side by side, and several of these, so that the adders work while each waits for its own last
// sum.
using Shifts = Lanes<double, 32>::Real;
static constexpr size_t laneCount = sizeof(Shifts) / sizeof(double);
static constexpr size_t lanesPerBlock = 8;
static constexpr size_t blockShifts = lanesPerBlock * laneCount;

// The y values, such that at shift k the partner of x[i] is [count - i + k]: backwards, twice, and on to the
// end of the last block.
static std::vector<double> unrollShifts(const std::vector<double> &y)
{
    const size_t count = y.size();
    std::vector<double> unrolled(2 * count + blockShifts);
    for (size_t i = 0; i < unrolled.size(); ++i)
        unrolled[i] = y[(count - i % count) % count];
    return unrolled;
}

// The sums of x times y for blockShifts shifts, `partners` pointing at that of x[0] at the first of them.
// Each adds its own products in the order of the rows, whatever the width of the instructions.
MORVEL_WIDE static void sumProducts(const double *x, size_t count, const double *partners, double *nominators)
{
    Shifts sums[lanesPerBlock] = {};
    for (size_t i = 0; i < count; ++i, --partners) {
        for (size_t n = 0; n < lanesPerBlock; ++n)
            sums[n] += x[i] * load<Shifts>(partners + n * laneCount);
    }
    for (size_t n = 0; n < lanesPerBlock; ++n)
        store(nominators + n * laneCount, sums[n]);
}

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
    if (count == 0)
        return extremes;
    const Sums sums = sumColumns();
    const std::vector<double> unrolled = unrollShifts(yArray);
    double nominators[blockShifts];
    for (size_t first = 0; first < count; first += blockShifts) {
        const double *partners = unrolled.data() + count + first;
        sumProducts(xArray.data(), count, partners, nominators);
        for (size_t k = first; k < std::min(first + blockShifts, count); ++k) {
            const double correlation = (sums.N * nominators[k - first] - sums.X * sums.Y) / sums.denominator;
            extremes.add(correlation, k);
            writeRow(k, correlation, partners[k - first], out);
        }
    }
    return extremes;
}

static std::string textOf(double value)
{
    char text[text::maxRealSize];
    return {text, text::writeReal(text, value)};
}

static void printExtremes(const Extremes &extremes)
{
    const std::string strongest = textOf(extremes.maxPosCorr), weakest = textOf(extremes.minNegCorr);
    print("Positive correlation range = %s ... %s\n", textOf(extremes.minPosCorr).c_str(), strongest.c_str());
    print("Negative correlation range = %s ... %s\n", textOf(extremes.maxNegCorr).c_str(), weakest.c_str());
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
