// Association peaks along each chromosome of a table of results sorted by position: a row per marker with its
// -log10 p-value, smoothed profile, peak mark and slope score, and a list of the ranges of the peaks. One
// chromosome is held in memory at a time.
#include "main/console.h"
#include "main/datahints.h"
#include "main/progress.h"
#include "modes/modes.h"
#include "numbers/logarithm.h"
#include "processors/wide.h"
#include "tables/columns.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

static constexpr Taking required = {.use = Use::Required}, checkedOnly = {.use = Use::CheckedOnly};
static constexpr InputOption fileOption = {"-file", Use::Required, "table grouped by chromosome, sorted by position"};
static constexpr OutputOption outOption = {"-out", "input name", "a row per marker; ranges go to it + .ranges"};
static constexpr IntegerOption lcolumnOption = {"-lcolumn", std::nullopt, "column of the position, from 1", required};
static constexpr IntegerOption pcolumnOption = {"-pcolumn", std::nullopt, "column of the p-value, from 1", required};
static constexpr IntegerOption chrcolumnOption
    = {"-chrcolumn", std::nullopt, "column of the chromosome label, from 1", required};
static constexpr IntegerOption dotsOption = {"-dots", std::nullopt, "checked only: at least 1", checkedOnly};
static constexpr RealOption gapOption = {"-gap", std::nullopt, "checked only: at least 1", checkedOnly};
static constexpr IntegerOption windowOption = {"-window", std::nullopt, "checked only: at least 2", checkedOnly};
static constexpr RealOption frameOption = {"-frame", std::nullopt, "checked only: at least 1", checkedOnly};
static constexpr RealOption thresholdOption = {"-threshold", std::nullopt, "checked only: at least 0", checkedOnly};
static constexpr RealOption peakThresholdOption
    = {"-peak-threshold", std::nullopt, "checked only: at least 0", checkedOnly};
static constexpr char idHelp[] = "checked only: reported where it is 0";
static constexpr IntegerOption id1Option = {"-id1", std::nullopt, idHelp, checkedOnly};
static constexpr IntegerOption id2Option = {"-id2", std::nullopt, idHelp, checkedOnly};
static constexpr IntegerOption id3Option = {"-id3", std::nullopt, idHelp, checkedOnly};
static constexpr WordOption clipOption = {"-clip", "yes", "yes no", "changes a message only", checkedOnly};
static constexpr RealOption clip2Option = {"-clip2", std::nullopt, "changes a message only", checkedOnly};
static constexpr const Option *options[]
    = {&fileOption,          &outOption,  &tableDelimOption, &lcolumnOption, &pcolumnOption, &chrcolumnOption,
       &tableHeaderOption,   &dotsOption, &gapOption,        &windowOption,  &frameOption,   &thresholdOption,
       &peakThresholdOption, &id1Option,  &id2Option,        &id3Option,     &clipOption,    &clip2Option};

static std::string filename;
static std::string outname;
static std::string rangesname;
static std::string Delim;
static size_t lcolumn, pcolumn, chrcolumn;  // of position, p-value and chromosome label, 1-based
static bool hasHeader;
static bool isClipped;  // changes a message only

static constexpr double leastPeak = 5;        // of the smoothed profile in a range
static constexpr double leastScore = 0.0001;  // above which a marker is a seed
static constexpr double greatestGap = 19998;  // base pairs below leastPeak inside a range
static constexpr size_t profileWindow = 3;    // markers
static constexpr size_t slopeWindow = 5;

static text::Writer out_stream;   // a row per marker
static text::Writer out_stream2;  // a row per range

// Ends the run where the option is given and its value is not at least so large; nan never is.
static void checkLeast(const RealOption &option, double least, const char *message)
{
    if (option.given() && !(option.read() >= least))
        fatal("%s\n", message);
}

static void checkLeast(const IntegerOption &option, int least, const char *message)
{
    if (option.given() && option.read() < least)
        fatal("%s\n", message);
}

static void checkOptions()
{
    if (gapOption.given() || thresholdOption.given() || peakThresholdOption.given())
        addDataHint(
            "the limits of mode \"peakscan3\" are fixed: means of P from 5 on, scores above 0.0001, gaps up to 19998");
    checkLeast(dotsOption, 1, "Incorrect dots");
    checkLeast(gapOption, 1, "Incorrect gap");
    checkLeast(windowOption, 2, "Windows corrected to 2");  // on purpose ends the run
    checkLeast(frameOption, 1, "Incorrect frame");
    checkLeast(thresholdOption, 0, "Incorrect threshold");
    checkLeast(peakThresholdOption, 0, "Incorrect peak_threshold");
    for (const IntegerOption *id : {&id1Option, &id2Option, &id3Option}) {
        if (id->read() == 0)
            print("%s not defined\n", id->name + 1);
    }
}

static void reportClip2()
{
    if (!clip2Option.given()) {
        print("Clip2 not applied\n");
        return;
    }
    print("Clip2 = %s\n", text::realText(clip2Option.read()).c_str());
}

static void readOptions()
{
    filename = fileOption.require();
    outname = outOption.readAnnounced(filename);
    rangesname = outname + ".ranges";
    Delim = tableDelimOption.read();
    lcolumn = readColumn(lcolumnOption);
    pcolumn = readColumn(pcolumnOption);
    chrcolumn = readColumn(chrcolumnOption);
    hasHeader = tableHeaderOption.isOn();
    checkOptions();
    isClipped = clipOption.read() == 0;
    reportClip2();
}

// Centred moving average; 0 where the window does not fit. Each sum is formed anew, in the order of the
// markers.
template <size_t window>
MORVEL_WIDE static void smooth(const std::vector<double> &values, std::vector<double> &averages)
{
    averages.assign(values.size(), 0);
    for (size_t i = 0; i + window <= values.size(); ++i) {
        double sum = 0;
        for (size_t j = i; j < i + window; ++j)
            sum += values[j];
        averages[i + window / 2] = sum / double(window);
    }
}

// Least-squares slope of the values against the positions over the markers of a window around each; 0 where
// the window does not fit.
MORVEL_WIDE static void derivative(const std::vector<int> &positions, const std::vector<double> &values,
                                   std::vector<double> &slopes)
{
    constexpr double k = slopeWindow;
    slopes.assign(values.size(), 0);
    for (size_t i = 0; i + slopeWindow <= values.size(); ++i) {
        double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
        for (size_t j = i; j < i + slopeWindow; ++j) {
            const double x = positions[j], y = values[j];
            sumX += x;
            sumY += y;
            sumXY += x * y;
            sumXX += x * x;
        }
        const double slope = (k * sumXY - sumX * sumY) / (k * sumXX - sumX * sumX);
        slopes[i + slopeWindow / 2] = sumX == 0 || std::isnan(slope) ? 0 : slope;
    }
}

namespace {
// The analysis of one chromosome. Its memory serves the next one too.
struct Chromosome {
    std::vector<int> L;        // base-pair positions
    std::vector<double> P;     // -log10 p-values; p-values while they are read
    std::vector<double> S;     // smoothed profile, 0 inside reported ranges
    std::vector<char> isPeak;  // whether the peak mark is P, not 0
    std::vector<double> D;     // score, 0 once it has served

    size_t size() const { return P.size(); }
};
}  // namespace

// Everything but the peaks.
static void score(Chromosome &chromosome)
{
    static std::vector<double> products;
    auto &[L, P, S, isPeak, D] = chromosome;
    for (double &value : P)
        value = value <= 0 ? 0 : -decimalLogarithm(value);
    smooth<profileWindow>(P, S);
    isPeak.assign(P.size(), false);
    derivative(L, P, products);
    for (size_t i = 0; i < products.size(); ++i)
        products[i] = std::abs(products[i]) * P[i];
    smooth<slopeWindow>(products, D);
}

// Takes the seeds whose range is they themselves, whenever their turn comes: no other marker that reaches
// leastPeak lies before a gap that is too wide, and later there can only be fewer. Nothing is reported of
// them, so they are done at once. Returns the other seeds, by falling score and then rising index.
static std::vector<size_t> takeLoneSeeds(Chromosome &chromosome)
{
    const auto &[L, P, S, isPeak, D] = chromosome;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<size_t> seeds;
    // Farthest position below leastPeak since the last marker that reaches it; -infinity where there is no
    // such marker.
    std::vector<char> reachesLeft(chromosome.size());
    bool isReachable = false;
    double farthest = infinity;
    for (size_t i = 1; i < chromosome.size(); ++i) {
        reachesLeft[i] = isReachable && L[i] - farthest <= greatestGap;
        if (S[i] >= leastPeak) {
            isReachable = true;
            farthest = infinity;
        } else if (S[i] < leastPeak) {
            farthest = std::min(farthest, double(L[i]));
        }
    }
    isReachable = false;
    farthest = -infinity;
    for (size_t i = chromosome.size(); i-- > 0;) {
        if (D[i] > leastScore) {
            if (reachesLeft[i] || (isReachable && farthest - L[i] <= greatestGap))
                seeds.push_back(i);
            else
                chromosome.D[i] = 0;
        }
        if (S[i] >= leastPeak) {
            isReachable = true;
            farthest = -infinity;
        } else if (S[i] < leastPeak) {
            farthest = std::max(farthest, double(L[i]));
        }
    }
    std::ranges::sort(seeds, [&scores = chromosome.D](size_t a, size_t b) {
        return scores[a] > scores[b] || (scores[a] == scores[b] && a < b);
    });
    return seeds;
}

namespace {
struct Range {
    size_t first, last;
};
}  // namespace

// The range around a seed. A smoothed value that is not a number neither extends nor stops it.
static Range growRange(const Chromosome &chromosome, size_t seed)
{
    const auto &[L, P, S, isPeak, D] = chromosome;
    Range range = {seed, seed};
    for (size_t j = seed; j < chromosome.size(); ++j) {
        if (S[j] >= leastPeak)
            range.last = j;
        else if (double(L[j]) - L[range.last] > greatestGap && S[j] < leastPeak)
            break;
    }
    for (size_t k = seed; k > 0; --k) {  // on purpose never the first marker
        if (S[k] >= leastPeak)
            range.first = k;
        else if (double(L[range.first]) - L[k] > greatestGap && S[k] < leastPeak)
            break;
    }
    return range;
}

static void writeRange(const Chromosome &chromosome, Range range, size_t seed)
{
    const auto &[L, P, S, isPeak, D] = chromosome;
    size_t best = range.first;
    for (size_t i = range.first; i <= range.last; ++i)
        best = P[i] > P[best] ? i : best;
    const double first = L[range.first], last = L[range.last];
    out_stream2.put("SUM: max: ");
    out_stream2.put(best);
    for (const double value : {double(L[best]), P[best]}) {
        out_stream2.put(' ');
        out_stream2.put(value);
    }
    out_stream2.put(" maxder: ");
    out_stream2.put(D[seed]);
    out_stream2.put(" range:");
    for (const double value : {first, last, last - first}) {
        out_stream2.put(' ');
        out_stream2.put(value);
    }
    out_stream2.put(' ');
    out_stream2.put(range.last - range.first + 1);
    out_stream2.put('\n');
}

// Reports the ranges around the seeds, from the highest score to the lowest.
static void findPeaks(Chromosome &chromosome)
{
    for (const size_t seed : takeLoneSeeds(chromosome)) {
        if (chromosome.D[seed] == 0)
            continue;  // inside an earlier range
        const Range range = growRange(chromosome, seed);
        const bool isReported = chromosome.L[range.first] != chromosome.L[range.last];
        if (isReported)
            writeRange(chromosome, range, seed);
        for (size_t i = range.first; i <= range.last; ++i) {
            chromosome.D[i] = 0;
            if (isReported) {
                chromosome.S[i] = 0;
                chromosome.isPeak[i] = true;
            }
        }
    }
}

static void writeMarkers(const Chromosome &chromosome, const std::string &label)
{
    const auto &[L, P, S, isPeak, D] = chromosome;
    const std::string labelColumn = "\t" + label + "\t";
    for (size_t i = 0; i < chromosome.size(); ++i) {
        out_stream.put(i);
        out_stream.put(labelColumn);
        char *end = out_stream.reserve(5 * (text::maxRealSize + 1));
        for (const double value : {double(L[i]), P[i], S[i], isPeak[i] ? P[i] : 0.0}) {
            end = text::writeReal(end, value);
            *end++ = '\t';
        }
        end = text::writeReal(end, D[i]);
        *end++ = '\n';
        out_stream.commit(end);
    }
}

static void lookAtOrder(const Chromosome &chromosome, const std::string &label)
{
    static std::set<std::string> labels;
    if (!wantsDataHints() || chromosome.size() == 0)
        return;
    const std::string place = "chromosome " + label;
    // A last chromosome of one marker goes by another's label.
    if (!labels.insert(label).second && chromosome.size() > 1)
        addDataHint(place, "comes back after another one, and counts as two; sort the table");
    if (!std::ranges::is_sorted(chromosome.L))
        addDataHint(place, "positions fall; sort the table");
}

// Analyses the markers read so far under this label, and forgets them.
static void analyseChromosome(Chromosome &chromosome, const std::string &label)
{
    lookAtOrder(chromosome, label);
    score(chromosome);
    findPeaks(chromosome);
    writeMarkers(chromosome, label);
    chromosome.L.clear();
    chromosome.P.clear();
}

MORVEL_WIDE static void readLines(text::LineReader &infile)
{
    Chromosome chromosome;
    const std::string delimiter = Delim;
    std::string CHRentry, CHRentryOLD;
    int64_t pass = 0;  // usable lines
    Progress progress(filename);
    std::string_view line;
    int64_t lineNumber = hasHeader && infile.next(line);
    while (infile.next(line)) {
        progress.advance(line.size());
        ++lineNumber;
        if (line.empty())
            continue;
        const std::string_view position = requiredField(line, delimiter, lcolumn, lineNumber);
        const std::string_view pValue = requiredField(line, delimiter, pcolumn, lineNumber);
        const std::string_view label = requiredField(line, delimiter, chrcolumn, lineNumber);
        if (pValue == "NA" || position == "NA")
            continue;
        // The label of the line before, not of the chromosome: on purpose the last chromosome goes by that of
        // the one before it when it has a single line.
        if (++pass == 1)
            CHRentry = label;
        if (CHRentryOLD != CHRentry)
            CHRentryOLD = CHRentry;
        if (CHRentry != label) {
            CHRentry = label;
            analyseChromosome(chromosome, CHRentryOLD);
        }
        chromosome.L.push_back(text::readInteger(position));
        chromosome.P.push_back(text::readDouble(pValue));
    }
    analyseChromosome(chromosome, CHRentryOLD);
}

static void peakScan3()
{
    readOptions();
    print("running peakScan3()\n\n");
    print("Clip function turned %s\n", isClipped ? "on" : "off");
    refuseSameFiles({filename}, {outname, rangesname});
    text::LineReader infile;
    if (!out_stream.open(outname) || !infile.open(filename) || !out_stream2.open(rangesname))
        quit();  // silent by design
    if (hasHeader)
        print("extract header\n");
    readLines(infile);
    out_stream.close();
    out_stream2.close();
}

constinit const Mode peakScan3Mode
    = {{"peakscan3"}, peakScan3, options, "Finds association peaks along the chromosomes"};
