// Ancestry mixtures: every sample's values are explained as a mixture of one, two or three reference
// populations, each given by as many values. Out: a report of a few lines per sample, and at the end the
// summed proportions of every population.
#include "main/console.h"
#include "main/datahints.h"
#include "main/nearest.h"
#include "main/progress.h"
#include "main/repeats.h"
#include "mixture/search.h"
#include "modes/modes.h"
#include "text/exactnumbers.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <cmath>
#include <optional>

static constexpr RealOption stepOption
    = {"-step", 0.05, "distance between the proportions that are tried, and least relative drop"};
static constexpr RealOption plimitOption = {"-plimit", 0, "least proportion of a hit; 0 turns this off"};
static constexpr InputOption fileOption = {"-file", Use::Required, "samples"};
static constexpr OutputOption outOption = {"-out", "sample file", "report"};
static constexpr InputOption refOption = {"-ref", Use::Required, "reference populations"};
static constexpr char yesOrYES[] = "yes YES no";
static constexpr SwitchOption headerOption = {"-header", "yes: the first line of the samples is a header", yesOrYES};
static constexpr SwitchOption refheaderOption
    = {"-refheader", "yes: the first line of the populations is a header", yesOrYES};
static constexpr TextOption missingOption
    = {"-missing", "", "accepted, not used: what is no number counts as 0", "", {.use = Use::NotUsed}};
static constexpr DelimiterOption delimOption
    = {"-delim",
       "tab",
       "tab TAB space comma semicolon colon",
       asItStands,
       "between the fields of both files: a word, or other text of up to 19 bytes",
       {.buffer = 20}};
static constexpr IntegerOption refpopsOption
    = {"-refpops", std::nullopt, "number of populations, and of values of each: 3 or more", {.use = Use::Required}};
static constexpr SwitchOption combinatoricsOption
    = {"-combinatorics", "yes: fit every triple of populations too", yesOrYES};
static constexpr OutputOption talliesOption
    = {"-tallies", "", "file for what morvel-gather needs to join the sums of parts of the samples"};
static constexpr const Option *options[]
    = {&stepOption,      &plimitOption,  &fileOption,  &outOption,     &refOption,           &headerOption,
       &refheaderOption, &missingOption, &delimOption, &refpopsOption, &combinatoricsOption, &talliesOption};

static std::string filename;  // samples
static std::string outname;
static std::string refname;  // reference populations
static std::optional<std::string> talliesname;
static std::string delimiter;
static bool combinatorics;  // fit every triple as well
static bool hasHeader, hasRefHeader;
static int refpops;   // K: reference populations, and values of each
static float plimit;  // least proportion of a hit; 0 turns the reduction off
static float step;    // of the grid, and least relative drop that counts

static std::vector<std::string> refIDList;       // [population]
static std::vector<double> cumulResults;         // [population], proportions of the normal fit
static std::vector<double> cumulResults_select;  // of the exhaustive fit
static text::Writer tallies;                     // what is added to them, in this order; open where it is wanted
static PairGrid dropGrid;                        // of the drop scan
static std::string dropHeader;                   // the line that shows them

static void readOptions()
{
    filename = fileOption.require();
    outname = outOption.read(filename);
    refname = refOption.require();
    delimiter = delimOption.read();
    talliesname = talliesOption.given();
    combinatorics = combinatoricsOption.isOn();
    hasHeader = headerOption.isOn();
    hasRefHeader = refheaderOption.isOn();
    refpops = refpopsOption.read();
    if (refpops < 3)
        fatal("You have less than 3 ref populations\n");
    plimit = float(plimitOption.read());
    step = float(stepOption.read());
    if (gridStep(step) == 0)
        fatal("Incorrect step\n");
}

// A population's name and values; false where these are not as many as all lines are to have. Empty fields behind the
// last of them are no values.
static bool readReference(std::string_view line, size_t population)
{
    text::FieldReader fields(line, delimiter);
    std::string_view field;
    fields.next(field);
    refIDList.emplace_back(field);
    static RepeatedNames names("population", "is among the populations again");
    names.look(field);
    for (int j = 0; j < cols; ++j) {
        if (!fields.next(field))
            return false;
        myTable[j][population] = text::readFloat(field);
    }
    while (fields.next(field)) {
        if (!field.empty())
            return false;
    }
    return true;
}

static void readReferences(text::LineReader &in)
{
    std::string_view line;
    if (hasRefHeader)
        in.next(line);
    bool isRight = true;
    int population = 0;
    for (; isRight && in.nextNonEmpty(line); ++population)
        isRight = population < rows && readReference(line, size_t(population));
    if (!isRight && population <= rows)
        addDataHint(quoted(refname) + ": population number " + std::to_string(population) + " has not "
                    + std::to_string(refpops) + " values; is -delim right?");
    if (!isRight || population != rows)
        fatal("Reference file must hold %d lines of %d values\n", refpops, refpops);
}

// On purpose k is summed up in single precision, and compared in double.
static void prepareDropScan()
{
    std::vector<float> ks;
    dropHeader = " ";
    for (float k = 0; step + 1.0 > k; k += step) {
        char text[text::maxRealSize];
        dropHeader.append(text, text::writeReal(text, k)) += ' ';
        ks.push_back(k);
    }
    dropGrid = pairGrid(ks);
    dropHeader += "= mindiff mindiff_loc abs_drop rel_drop\n";
}

static bool readSample(std::string_view line, std::string &name)
{
    text::FieldReader fields(line, delimiter);
    std::string_view field;
    fields.next(field);
    name = field;
    static RepeatedNames names("sample", "is among the samples again");
    names.look(field);
    testValues.clear();
    for (int j = 0; j < refpops; ++j) {
        if (!fields.next(field))
            return false;
        testValues.push_back(text::readFloat(field));
    }
    return true;
}

// [population]: the distance of each alone.
static std::vector<float> findDistances()
{
    std::vector<float> distances(size_t(rows), 0.0f);
    for (int j = 0; j < cols; ++j) {
        for (int i = 0; i < rows; ++i)
            distances[size_t(i)] += std::abs(myTable[j][i] - testValues[size_t(j)]);
    }
    return distances;
}

// The index of the first smallest value below `start`; 0 where there is none.
static size_t findSmallest(const std::vector<float> &values, float start)
{
    size_t smallest = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i] < start) {
            start = values[i];
            smallest = i;
        }
    }
    return smallest;
}

static void writeRanking(const std::string &name, std::vector<float> distances, text::Writer &out)
{
    constexpr float used = 9999.9f;
    out.put("Best ");
    out.put(name);
    for (size_t rank = 0; rank < distances.size(); ++rank) {
        const size_t i = findSmallest(distances, used);
        out.put(' ');
        out.put(refIDList[i]);
        out.put(' ');
        out.put(distances[i] < used ? distances[i] : used);
        distances[i] = used;
    }
    out.put('\n');
}

namespace {
// What mixing each population into the best one gains, [population].
struct Drops {
    std::vector<float> mindiff;      // smallest distance
    std::vector<float> mindiff_loc;  // proportion where it was found
    std::vector<float> rel_drop;     // gain, relative to the distance of the best population alone
};
}  // namespace

// Scans the mixtures of each population with the best one, and writes a row of distances for each.
static Drops scanDrops(size_t best, text::Writer &out)
{
    static std::vector<float> distances;
    out.put(dropHeader);
    const size_t populations = size_t(rows);
    Drops drops{std::vector<float>(populations), std::vector<float>(populations), std::vector<float>(populations)};
    for (int i = 0; i < rows; ++i) {
        scanPair(i, int(best), dropGrid, distances);
        float mindiff = 9999.9f, mindiff_loc = -9.9f;
        out.put(refIDList[size_t(i)]);
        out.put(' ');
        for (size_t k = 0; k < dropGrid.points; ++k) {
            if (distances[k] < mindiff) {
                mindiff = distances[k];
                mindiff_loc = dropGrid.k[k];
            }
            char *end = text::writeFixed3(out.reserve(text::maxFixedSize + 1), distances[k]);
            *end++ = ' ';
            out.commit(end);
        }
        // On purpose two values, though the header names four.
        out.put(" __");
        out.put(mindiff);
        out.put("__");
        out.put(mindiff_loc);
        out.put('\n');
        drops.mindiff[size_t(i)] = mindiff;
        drops.mindiff_loc[size_t(i)] = mindiff_loc;
        drops.rel_drop[size_t(i)] = (distances[0] - mindiff) / distances[0];
    }
    return drops;
}

// Takes the population with the largest relative drop or, where that is below the step, with the smallest
// distance.
static int takeCandidate(Drops &drops)
{
    size_t chosen = 0;
    float maximum = -9999.9f;
    for (size_t i = 0; i < drops.rel_drop.size(); ++i) {
        const float drop = drops.rel_drop[i];
        if (drop > maximum || (drop == maximum && drops.mindiff[i] < drops.mindiff[chosen])) {
            maximum = drop;
            chosen = i;
        }
    }
    // On purpose the step of the grid is the threshold as well.
    if (step > maximum) {
        chosen = 0;
        float minimum = 9999.9f;
        for (size_t i = 0; i < drops.mindiff.size(); ++i) {
            const float mindiff = drops.mindiff[i];
            if (mindiff < minimum || (mindiff == minimum && drops.rel_drop[i] > drops.rel_drop[chosen])) {
                minimum = mindiff;
                chosen = i;
            }
        }
    }
    drops.rel_drop[chosen] = -9.0f;
    drops.mindiff_loc[chosen] = -9.0f;
    drops.mindiff[chosen] = 9999.9f;
    return int(chosen);
}

namespace {
// Two of three populations, by their proportions: the one with the strictly smallest is left out, and the
// others keep their order. On purpose the third one replaces the second where no proportion is strictly
// smallest.
struct Reduced {
    int A, B;
};
}  // namespace
static Reduced reduce(int one, int two, int three)
{
    constexpr int empty = -1;
    int A = one, B = two;
    if (P1 < P2 && P1 < P3)
        A = empty;
    if (P2 < P1 && P2 < P3) {
        B = empty;
    } else if (A == empty) {
        A = B;
        B = empty;
    }
    if (!(P3 < P1 && P3 < P2))
        (A == empty ? A : B) = three;
    return {A, B};
}

static void tally(const char *kind, size_t population, float proportion)
{
    if (!talliesname)
        return;
    tallies.put(kind);
    tallies.put(population);
    text::putExact(double(proportion), tallies);
    tallies.put('\n');
}

// A population of a fit line.
static void addHit(int population, float proportion, text::Writer &out)
{
    out.put(refIDList[size_t(population)]);
    out.put(' ');
    out.put(proportion);
    out.put(' ');
    cumulResults[size_t(population)] += proportion;
    tally("", size_t(population), proportion);
}

static void writeScore(float score, text::Writer &out)
{
    out.put("score: ");
    out.put(score);
    out.put('\n');
}

static void writeFit(const std::string &name, int one, int two, int three, text::Writer &out)
{
    combMatrix(one, two, three, step);
    const int hits = 3 - (plimit > P1) - (plimit > P2) - (plimit > P3);
    if (!(plimit > 0) || hits == 3) {
        out.put("3Hits " + name + ' ');
        addHit(one, P1, out);
        addHit(two, P2, out);
        addHit(three, P3, out);
        writeScore(minP, out);
        return;
    }
    const auto [A, B] = reduce(one, two, three);
    if (hits == 2) {
        combMatrix2(A, B, step);
        out.put("2Hits " + name + ' ');
        addHit(A, P1, out);
        addHit(B, P2, out);
        out.put("- - ");  // on purpose less than behind one hit
        writeScore(minP, out);
    } else if (hits == 1) {
        combMatrix1(A, step);  // on purpose, though it need not be the one that reached the limit
        out.put("1Hit " + name + ' ');
        addHit(A, P1, out);
        out.put("- - - ");
        writeScore(minP, out);
    }
}

namespace {
struct Candidates {
    int one, two, three;
};
}  // namespace

static Candidates fitNormally(const std::string &name, text::Writer &out)
{
    const std::vector<float> distances = findDistances();
    const size_t best = findSmallest(distances, 999999.9f);
    writeRanking(name, distances, out);
    Drops drops = scanDrops(best, out);
    drops.rel_drop[best] = 2.0f;
    drops.mindiff[best] = -2.0f;
    const int one = takeCandidate(drops);
    const int two = takeCandidate(drops);
    const int three = takeCandidate(drops);
    writeFit(name, one, two, three, out);
    return {one, two, three};
}

static void fitTriples(const std::string &name, const Candidates &candidates, text::Writer &out)
{
    const BestTriple best = searchTriples(candidates.one, candidates.two, candidates.three, step);
    out.put("Combi " + name + ' ');
    int present = 0;
    for (size_t i = 0; i < 3; ++i) {
        const float proportion = best.proportions[i];
        if (!(proportion > 0))
            continue;
        const size_t population = size_t(best.populations[i]);
        out.put(refIDList[population]);
        out.put(' ');
        out.put(proportion);
        out.put(' ');
        cumulResults_select[population] += proportion;
        tally("+", population, proportion);
        ++present;
    }
    if (present == 2)
        out.put("- - ");
    else if (present == 1)
        out.put("- - - - ");
    writeScore(best.score, out);
}

static void fitSamples(text::LineReader &in, text::Writer &out)
{
    Progress progress(filename, "", "samples");
    std::string name;
    std::string_view line;
    if (hasHeader)
        in.next(line);
    while (in.nextNonEmpty(line)) {
        if (!readSample(line, name)) {
            printBytes("Sample " + name + " has fewer than " + std::to_string(refpops) + " values\n");
            quit();
        }
        const Candidates candidates = fitNormally(name, out);
        if (combinatorics)
            fitTriples(name, candidates, out);
        progress.advance(line.size());
    }
}

static void writeSums(const char *kind, const std::vector<double> &sums, text::Writer &out)
{
    for (size_t i = 0; i < sums.size(); ++i) {
        out.put(i);
        out.put(kind);
        out.put(refIDList[i]);
        out.put(' ');
        out.put(sums[i]);
        out.put('\n');
    }
}

static void mixFit()
{
    readOptions();
    print("running mixFit()\n\n");
    refuseSameFiles({refname, filename}, {outname, talliesname.value_or("")});
    text::LineReader references, samples;
    text::Writer out;
    if (!references.open(refname) || !out.open(outname) || !samples.open(filename) || !allocateTable(refpops, refpops)
        || (talliesname && !tallies.open(*talliesname)))
        quit();  // silent by design
    readReferences(references);
    prepareDropScan();
    cumulResults.assign(refIDList.size(), 0.0);
    cumulResults_select.assign(refIDList.size(), 0.0);
    fitSamples(samples, out);
    writeSums(" cumul_normal ", cumulResults, out);
    out.put('\n');
    if (combinatorics)
        writeSums(" cumul_combi ", cumulResults_select, out);
    out.close();
    tallies.close();
    releaseTable();
}

constinit const Mode mixFitMode
    = {{"mixfit", "mf"}, mixFit, options, "Explains samples as mixtures of up to three reference populations"};
