// Fast association scan: the phenotype table is held in memory and the genotype triplets are read once; for
// every marker and phenotype the mean phenotypes of the three genotype classes are regressed on the class. A
// row per hit, and a row of statistics per marker.
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "main/settings.h"
#include "scans/classsums.h"
#include "scans/df.h"
#include "scans/matrix.h"
#include "modes/modes.h"
#include "scans/scan.h"
#include "text/bytes.h"
#include "text/delimiters.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "processors/wide.h"
#include "text/writer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

static constexpr int64_t leadingColumns = 5;

// Markers are scanned in batches, a tile of the matrix for all of them before the next tile: it stays in the
// first-level cache while its values are used, and the matrix is fetched once per batch. With tiles for the
// second level the scan takes half as long again.
static constexpr size_t batchSize = 32;
static constexpr size_t tileBytes = size_t(24) << 10;

static const ScanKernels *kernels;  // set by doFastGwas
static Matrix matrix;
static std::vector<std::string> PhenoID;  // names of the phenotypes
static size_t individuals;                // of the phenotype file
static size_t tileRows;                   // individuals of a tile

struct Marker {
    std::string RSnumber;
    size_t lineSize;
    std::vector<uint8_t> classes;    // [individual]; classCount for none
    bool hasError;                   // somebody is in no class
    double classCounts[classCount];  // individuals
    std::vector<uint64_t> members1;  // of class 1, a bit each
    std::vector<uint64_t> members2;  // of class 2
    std::vector<uint16_t> order;     // individuals by class in every tile, counted from the tile's first one
    std::vector<std::array<uint16_t, classCount>> orderCounts;  // [tile]
    alignas(64) double sums[classCount * maxRowWidth];          // of the current block, [class][width]
    std::vector<double> slopes, r2s;                            // [position]
    LaneBests bests;
};

static std::vector<Marker> markers;
static size_t markerCount;  // in the batch

static void readOptions()
{
    readScanOptions();
    const std::string word = textOption("-delim", "space");
    Delim = word == "colon" ? " " : text::delimiter(word, " ");  // on purpose: no colon here
}

// The fields of a line; none for no line.
static int64_t countFields(std::string_view line)
{
    text::FieldReader fields(line, Delim);
    int64_t count = 0;
    for (std::string_view field; fields.next(field);)
        ++count;
    return count;
}

// Fills the matrix and PhenoID. The file is read twice, so that the matrix has its size from the start.
// Returns the number of fields of its lines.
static int64_t readPhenotypes()
{
    text::LineReader in;
    if (!in.openToReread(Phenoname))
        quit();
    int64_t rows = 0, columns = 0;
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        if (rows++ == 0)
            columns = countFields(line);
    }
    print("Phenotype file contains %lld columns and %lld rows\n", static_cast<long long>(columns),
          static_cast<long long>(rows));
    in.rewind();

    individuals = columns > 0 ? size_t(columns - 1) : 0;
    matrix.resize(size_t(rows), individuals);
    std::vector<double> values;
    values.reserve(individuals);
    while (in.nextNonEmpty(line)) {
        text::FieldReader fields(line, Delim);
        std::string_view field;
        fields.next(field);
        PhenoID.emplace_back(field);
        values.clear();
        while (values.size() < individuals && fields.next(field))
            values.push_back(readPhenotypeValue(field));
        if (values.size() != individuals || fields.next(field))
            fatal("Inconsistent number of columns in pheno file\n");
        matrix.add(values);
    }
    matrix.finish();
    return columns;
}

// Passes over white space and takes the word behind it; false at the end of the line.
static bool takeWord(const char *&at, const char *end, std::string_view &word)
{
    while (at != end && text::isWhiteSpace(*at))
        ++at;
    const char *const first = at;
    while (at != end && !text::isWhiteSpace(*at))
        ++at;
    word = {first, size_t(at - first)};
    return at != first;
}

static int64_t countWords(std::string_view line)
{
    const char *at = line.data(), *const end = at + line.size();
    std::string_view word;
    int64_t words = 0;
    while (takeWord(at, end, word))
        ++words;
    return words;
}

// The whole part of the dosage plus a half, in single precision; classCount where that is no class. On
// purpose truncation makes 0 of all from above -1.
static uint8_t classOf(float hetero, float homo)
{
    const float value = 2 * homo + hetero + 0.5f;
    return value > -1 && value < float(classCount) ? uint8_t(value) : uint8_t(classCount);
}

// Reads a short number and passes over the blank behind it, which must lie before the end: thousandths, or
// -1.
static int takeThousandths(const char *&at, const char *end)
{
    uint64_t bytes;
    std::memcpy(&bytes, at, sizeof bytes);
    const uint64_t others = bytes ^ 0x2020202020202020;
    const uint64_t blanks = (others - 0x0101010101010101) & ~others & 0x8080808080808080;
    const size_t size = size_t(std::countr_zero(blanks)) / 8;
    const char *const first = at;
    at += size + 1;
    return size > 0 && at <= end ? text::readThousandths(first, size) : -1;
}

// Reads the triplet of the next individual; false where the line ends before.
static bool takeClass(const char *&at, const char *end, uint8_t &group)
{
    if constexpr (std::endian::native == std::endian::little) {
        // A certain genotype such as "0 1 0 ", told by the bits in which it differs from "0 0 0 ", has its
        // class in two of its bits. Four of five genotypes, at a quarter of the cost of reading numbers.
        uint64_t bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        const uint64_t bits = (bytes << 16) ^ (uint64_t(0x203020302030) << 16);
        if ((bits & ~(uint64_t(0x000100010001) << 16)) == 0 && end - at >= 6) [[likely]] {
            at += 6;
            group = uint8_t((bits >> 32 & 1) + (bits >> 47 & 2));
            return true;
        }
        // Short numbers with a blank behind each.
        const char *next = at;
        const int none = takeThousandths(next, end);
        const int hetero = none < 0 ? -1 : takeThousandths(next, end);
        const int homo = hetero < 0 ? -1 : takeThousandths(next, end);
        if (homo >= 0) [[likely]] {
            at = next;
            group = classOf(float(hetero / 1000.0), float(homo / 1000.0));
            return true;
        }
    }
    std::string_view none, hetero, homo;
    if (!takeWord(at, end, none) || !takeWord(at, end, hetero) || !takeWord(at, end, homo))
        return false;
    group = classOf(text::readFloat(hetero), text::readFloat(homo));
    return true;
}

// Reads a marker's name and classes; false where the line does not have that many words.
static bool readMarker(std::string_view line, int64_t words, Marker &marker)
{
    const char *at = line.data(), *const end = at + line.size();
    std::string_view word;
    for (int column = 0; column < leadingColumns; ++column) {
        if (!takeWord(at, end, word))
            return false;
        if (column == 1)
            marker.RSnumber = word;
    }
    if (at != end)
        ++at;  // the blank
    marker.lineSize = line.size();
    marker.classes.resize(individuals);
    for (uint8_t &group : marker.classes) {
        if (!takeClass(at, end, group))
            return false;
    }
    // Of further words only the number matters.
    return countWords({at, size_t(end - at)}) == words - leadingColumns - 3 * int64_t(individuals);
}

// Puts the individuals of every tile in the order of their classes, and within a class in their own order:
// the order of the additions.
static void orderByClass(Marker &marker)
{
    const size_t n = marker.classes.size();
    marker.order.resize(n);
    marker.orderCounts.clear();
    std::fill_n(marker.classCounts, classCount, 0.0);
    marker.hasError = false;
    static std::vector<uint16_t> lists[classCount + 1];
    for (auto &list : lists)
        list.resize(tileRows);
    for (size_t first = 0; first < n; first += tileRows) {
        size_t counts[classCount + 1] = {};
        const size_t size = std::min(tileRows, n - first);
        for (size_t i = 0; i < size; ++i) {
            const uint8_t group = marker.classes[first + i];
            lists[group][counts[group]++] = uint16_t(i);
        }
        uint16_t *out = marker.order.data() + first;
        auto &tileCounts = marker.orderCounts.emplace_back();
        for (size_t k = 0; k < classCount; ++k) {
            out = std::copy_n(lists[k].begin(), counts[k], out);
            tileCounts[k] = uint16_t(counts[k]);
            marker.classCounts[k] += double(counts[k]);
        }
        marker.hasError |= counts[classCount] > 0;
    }
}

// The members of class 1 and class 2 as bits. Bits of somebody without a class mean nothing.
static void packMembers(Marker &marker)
{
    const size_t n = marker.classes.size();
    marker.members1.assign((n + 63) / 64, 0);
    marker.members2.assign((n + 63) / 64, 0);
    for (size_t i = 0; i < n; ++i) {
        marker.members1[i / 64] |= uint64_t(marker.classes[i] & 1) << i % 64;
        marker.members2[i / 64] |= uint64_t(marker.classes[i] >> 1 & 1) << i % 64;
    }
}

// The individuals with a value in every class, [class][lane], for the phenotypes of a group.
static void countClasses(const Marker &marker, size_t group, double *counts)
{
    if (group >= matrix.firstGappyGroup()) {
        kernels->countPresent(matrix.present(group), matrix.presentCounts(group), marker.members1.data(),
                              marker.members2.data(), marker.members1.size(), counts);
        return;
    }
    for (size_t k = 0; k < classCount; ++k)
        std::fill_n(counts + k * groupLanes, groupLanes, marker.classCounts[k]);
}

// Forms slope and R2 of all phenotypes for the markers of the batch.
static void fitBatch()
{
    const double r2Limit = statistic == 0 ? std::numeric_limits<double>::infinity() : 1;
    for (size_t m = 0; m < markerCount; ++m) {
        markers[m].slopes.resize(matrix.groupCount() * groupLanes);
        markers[m].r2s.resize(matrix.groupCount() * groupLanes);
        markers[m].bests = {};
    }
    for (size_t block = 0; block < matrix.blockCount(); ++block) {
        const size_t groupCount = matrix.groupsOfBlock(block);
        const size_t width = groupCount * groupLanes;
        for (size_t m = 0; m < markerCount; ++m)
            std::fill_n(markers[m].sums, classCount * width, 0.0);
        for (size_t tile = 0; tile * tileRows < individuals; ++tile) {
            const double *rows = matrix.block(block) + tile * tileRows * width;
            for (size_t m = 0; m < markerCount; ++m) {
                Marker &marker = markers[m];
                kernels->addRows(rows, groupCount, &marker.order[tile * tileRows], marker.orderCounts[tile].data(),
                                 marker.sums);
            }
        }
        for (size_t m = 0; m < markerCount; ++m) {
            Marker &marker = markers[m];
            for (size_t i = 0; i < groupCount; ++i) {
                const size_t group = block * blockGroups + i;
                double counts[classCount * groupLanes];
                countClasses(marker, group, counts);
                kernels->fitGroup(marker.sums + i * groupLanes, width, counts, r2Limit,
                                  &marker.slopes[group * groupLanes], &marker.r2s[group * groupLanes], marker.bests);
            }
        }
    }
}

// Pairs with an R2 below it have a worse statistic than the pair with this R2, the largest of the marker.
static double leastBestR2(double largestR2)
{
    return statistic == 0 ? largestR2 : largestR2 * (1 - r2Clearance);
}

// The first phenotype with a value of somebody in no class; the number of phenotypes where there is none.
static size_t firstError(const Marker &marker)
{
    if (!marker.hasError)
        return PhenoID.size();
    for (size_t j = 0; j < PhenoID.size(); ++j) {
        for (size_t i = 0; i < marker.classes.size(); ++i) {
            if (marker.classes[i] == classCount && matrix.isPresent(j, i))
                return j;
        }
    }
    return PhenoID.size();
}

struct Best {
    double best_statistic = -1;  // which means none
    size_t phenotype = 0;
};

static void keepBest(const Fit &fit, size_t phenotype, Best &best)
{
    const double value = statistic == 0 ? fit.r2 : statistic == 1 ? fit.t : fit.p;
    const bool isBetter = statistic == 2 ? value != -1 && (best.best_statistic == -1 || value < best.best_statistic)
                                         : value > best.best_statistic;
    if (isBetter)
        best = {value, phenotype};
}

// Writes the marker's hits and finds its best phenotype.
static Best decide(const Marker &marker, double passingR2, HitCounts &counts, text::Writer &hitFile)
{
    Best best;
    const size_t end = firstError(marker);
    const double largestR2 = *std::max_element(marker.bests.r2, std::end(marker.bests.r2));
    const double leastR2 = std::min(passingR2, leastBestR2(largestR2));
    for (size_t j = 0; j < end; ++j) {
        const size_t position = matrix.positionOf(j);
        const double r2 = marker.r2s[position];
        if (!(r2 >= leastR2))
            continue;
        const double slope = marker.slopes[position];
        const TTest test = lookUp(r2, int(classCount));
        const Fit fit = {slope, std::fabs(slope), r2, test.t, test.p};
        keepBest(fit, j, best);
        if (isHit(fit, counts))
            writeHit(PhenoID[j], marker.RSnumber, fit, hitFile);
    }
    if (end < PhenoID.size())
        fatal("gValue error\n");
    return best;
}

// Writes the number of individuals with a value of the phenotype in every class.
static void writeClassCounts(const Marker &marker, size_t phenotype, text::Writer &out)
{
    double counts[classCount * groupLanes] = {};
    size_t lane = 0;
    if (phenotype < PhenoID.size()) {
        const size_t position = matrix.positionOf(phenotype);
        countClasses(marker, position / groupLanes, counts);
        lane = position % groupLanes;
    }
    for (size_t k = 0; k < classCount; ++k) {
        out.put('\t');
        out.put(counts[k * groupLanes + lane]);
    }
}

static void writeStatisticsHeader(text::Writer &out)
{
    static constexpr const char *names[] = {"R2", "t-value", "p-value"};
    out.put("Marker\tMarkerID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\t");
    out.put(names[statistic]);
    out.put("\tBestPheno\t");
    writeGroupColumns(out);
}

static void writeStatistics(const Marker &marker, int64_t MarkerID, const HitCounts &counts, int64_t totalHits,
                            const Best &best, text::Writer &out)
{
    out.put(marker.RSnumber);
    for (const int64_t count :
         {MarkerID, counts.hits, totalHits, counts.belowQuarter, counts.belowHalf, counts.twofold}) {
        out.put('\t');
        out.put(count);
    }
    out.put('\t');
    out.put(*std::max_element(marker.bests.absSlope, std::end(marker.bests.absSlope)));
    out.put('\t');
    out.put(best.best_statistic);
    out.put('\t');
    const bool hasBest = best.best_statistic != -1;
    out.put(hasBest ? std::string_view(PhenoID[best.phenotype]) : "NA");
    writeClassCounts(marker, hasBest ? best.phenotype : PhenoID.size() - 1, out);
    out.put('\n');
}

// Scans the markers of the batch, writes their rows and empties the batch.
static void finishBatch(text::Writer &hitFile, text::Writer &statisticsFile, Progress &progress)
{
    static const double passingR2 = leastPassingR2(int(classCount));
    static int64_t MarkerID = 0, totalHits = 0;
    fitBatch();
    for (size_t m = 0; m < markerCount; ++m) {
        HitCounts counts;
        const Best best = decide(markers[m], passingR2, counts, hitFile);
        totalHits += counts.hits;
        writeStatistics(markers[m], ++MarkerID, counts, totalHits, best, statisticsFile);
        progress.advance(markers[m].lineSize);
    }
    markerCount = 0;
}

// Scans every marker against every phenotype.
static void doFastGwas()
{
    refuseSameScanFiles({});
    const int64_t phenotypeColumns = readPhenotypes();
    text::LineReader genotypeFile;
    text::Writer hitFile, statisticsFile;
    if (!genotypeFile.open(Genoname))
        quit();
    std::string_view line;
    bool hasLine = genotypeFile.nextNonEmpty(line);
    const int64_t columns = hasLine ? countFields(line) : 0;
    const int64_t words = hasLine ? countWords(line) : 0;
    if ((columns - leadingColumns) / 3 != phenotypeColumns - 1)
        fatal("Pheno file and geno file contain different number of individuals\n");
    if (!hitFile.open(Outname) || !statisticsFile.open(Statsname))
        quit();
    writeHitHeader(hitFile);
    writeStatisticsHeader(statisticsFile);

    const size_t rowBytes = std::min(matrix.groupCount(), blockGroups) * groupLanes * sizeof(double);
    tileRows = tileBytes / std::max(rowBytes, groupLanes * sizeof(double));
    markers.resize(batchSize);
    kernels = &widestOf(allScanKernels());
    Progress progress(Genoname);
    int64_t rows = 0;
    for (; hasLine; hasLine = genotypeFile.nextNonEmpty(line)) {
        Marker &marker = markers[markerCount];
        if (!readMarker(line, words, marker)) {
            finishBatch(hitFile, statisticsFile, progress);
            fatal("Inconsistent number of columns in geno file\n");
        }
        orderByClass(marker);
        packMembers(marker);
        ++rows;
        if (++markerCount == batchSize)
            finishBatch(hitFile, statisticsFile, progress);
    }
    finishBatch(hitFile, statisticsFile, progress);
    hitFile.close();
    statisticsFile.close();

    print("Genotype file contains %lld columns and %lld rows\n", static_cast<long long>(columns),
          static_cast<long long>(rows - 1));  // on purpose one less
    printFileNames("Top phenotypes for each SNP", "SNP");
    p.clear();
    t.clear();
}

void gwas3()
{
    readOptions();
    df1();
    doFastGwas();
}
