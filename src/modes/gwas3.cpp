// Fast association scan: the phenotype table is held in memory and the genotype triplets are read once; for
// every marker and phenotype the mean phenotypes of the three genotype classes are regressed on the class. A
// row per hit, and a row of statistics per marker.
#include "genotypes/classes.h"
#include "genotypes/markerhints.h"
#include "genotypes/markers.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "scans/classsums.h"
#include "scans/decision.h"
#include "scans/hits.h"
#include "scans/matrix.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "scans/scanhints.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/writer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

static constexpr InputOption genotypeFileOption = {"-gfile", Use::Required, "genotype-triplet file"};
// On purpose: no colon here.
static constexpr DelimiterOption delimiterOption = {
    "-delim", "space", "tab space comma semicolon", " ",
    "between the fields of the phenotype file; any other word is a blank. Comma and semicolon part the genotype file "
    "too"};
static constexpr RealOption slopeOption
    = {"-slope", 0.1, "least absolute slope of a hit, units of the phenotype per class"};
static constexpr const Option *options[] = {
    &phenotypeFileOption, &genotypeFileOption, &hitFileOption,   &missingOption,
    &delimiterOption,     &slopeOption,        &statisticOption, &statisticLimitOption,
};

// Markers are scanned in batches, a tile of the matrix for all of them before the next tile: it stays in the
// first-level cache while its values are used, and the matrix is fetched once per batch. With tiles for the
// second level the scan takes half as long again.
static constexpr size_t batchSize = 32;
static constexpr size_t tileBytes = size_t(24) << 10;

namespace {
struct PhenotypeTable {
    std::vector<std::string> PhenoID;  // names
    Matrix matrix;
    size_t individuals = 0;
    int64_t columns = 0;  // fields of its lines
};

struct Marker {
    std::string RSnumber;
    size_t lineSize;
    std::vector<uint8_t> classes;    // [individual]
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
}  // namespace

static void readOptions()
{
    readScanOptions(genotypeFileOption, slopeOption);
    Delim = delimiterOption.read();
}

// The file is read twice, so that the matrix has its size from the start.
static PhenotypeTable readPhenotypes()
{
    PhenotypeTable table;
    text::LineReader in;
    if (!in.openToReread(Phenoname))
        quit();
    int64_t rows = 0;
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        if (rows++ == 0)
            table.columns = int64_t(text::countFields(line, Delim));
    }
    print("Phenotype file contains %lld columns and %lld rows\n", static_cast<long long>(table.columns),
          static_cast<long long>(rows));
    in.rewind();

    table.individuals = table.columns > 0 ? size_t(table.columns - 1) : 0;
    table.matrix.resize(size_t(rows), table.individuals);
    std::vector<double> values;
    values.reserve(table.individuals);
    while (in.nextNonEmpty(line)) {
        text::FieldReader fields(line, Delim);
        std::string_view field;
        fields.next(field);
        table.PhenoID.emplace_back(field);
        values.clear();
        while (values.size() < table.individuals && fields.next(field))
            values.push_back(readPhenotypeValue(field));
        if (values.size() != table.individuals || fields.next(field))
            fatal("Inconsistent number of columns in pheno file\n");
        lookAtPhenotype(table.PhenoID.back(), values);
        table.matrix.add(values);
    }
    table.matrix.finish();
    return table;
}

// How many of each class there are.
MORVEL_WIDE static std::array<uint16_t, classCount> countTile(std::span<const uint8_t> classes)
{
    std::array<uint16_t, classCount> counts = {};
    for (const uint8_t group : classes) {
        for (size_t k = 0; k < classCount; ++k)
            counts[k] = uint16_t(counts[k] + (group == k));
    }
    return counts;
}

// Puts the individuals of a tile in the order of their classes.
MORVEL_WIDE static void orderTile(std::span<const uint8_t> classes, const std::array<uint16_t, classCount> &counts,
                                  uint16_t *order)
{
    constexpr unsigned placeBits = 16;
    // Of each class, side by side: in a register, where in memory each would wait for the last one.
    uint64_t nextPlaces = 0;
    for (size_t k = 0, place = 0; k < classCount; ++k) {
        place += counts[k];
        nextPlaces |= uint64_t(place) << (k + 1) * placeBits;
    }
    for (size_t i = 0; i < classes.size(); ++i) {
        const unsigned shift = classes[i] * placeBits;
        order[uint16_t(nextPlaces >> shift)] = uint16_t(i);
        nextPlaces += uint64_t(1) << shift;
    }
}

// Puts the individuals of every tile in the order of their classes, and within a class in their own order:
// the order of the additions. Those without a class come last.
static void orderByClass(Marker &marker, size_t tileRows)
{
    const size_t n = marker.classes.size();
    marker.order.resize(n);
    marker.orderCounts.clear();
    std::fill_n(marker.classCounts, classCount, 0.0);
    for (size_t first = 0; first < n; first += tileRows) {
        const std::span<const uint8_t> classes(&marker.classes[first], std::min(tileRows, n - first));
        const auto &counts = marker.orderCounts.emplace_back(countTile(classes));
        for (size_t k = 0; k < classCount; ++k)
            marker.classCounts[k] += double(counts[k]);
        orderTile(classes, counts, marker.order.data() + first);
    }
    marker.hasError = marker.classCounts[0] + marker.classCounts[1] + marker.classCounts[2] < double(n);
}

// Bit 0 of each of 8 bytes.
static uint64_t lowestBits(uint64_t bytes)
{
    return (bytes & 0x0101010101010101) * 0x0102040810204080 >> 56;
}

// The members of class 1 and class 2 as bits. Bits of somebody without a class mean nothing.
static void packMembers(Marker &marker)
{
    const size_t n = marker.classes.size();
    marker.members1.assign((n + 63) / 64, 0);
    marker.members2.assign((n + 63) / 64, 0);
    const auto add = [&](size_t i, uint64_t classes) {
        marker.members1[i / 64] |= lowestBits(classes) << i % 64;
        marker.members2[i / 64] |= lowestBits(classes >> 1) << i % 64;
    };
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t eight = 0;
        for (size_t k = 0; k < 8; ++k)
            eight |= uint64_t(marker.classes[i + k]) << 8 * k;
        add(i, eight);
    }
    for (; i < n; ++i)
        add(i, marker.classes[i]);
}

namespace {
struct Best {
    double best_statistic = -1;  // which means none
    size_t phenotype = 0;
};

// Scans markers against every phenotype, some markers at a time.
class FastScan {
public:
    // Opens the results and writes their headers; a file that cannot be opened ends the run silently.
    FastScan(const PhenotypeTable &table, const Decision &decision);

    // The place of the next marker, of which name, line size and classes are to be filled in before add().
    Marker &next() { return m_markers[m_markerCount]; }
    void add();

    // Scans the markers that wait, and writes their rows.
    void finishBatch();
    void close();

private:
    size_t phenotypeCount() const { return m_table.PhenoID.size(); }
    void fitBatch();
    void countClasses(const Marker &marker, size_t group, double *counts) const;
    size_t firstError(const Marker &marker) const;
    void explainError(const Marker &marker, size_t phenotype) const;
    double leastBestR2(const Marker &marker) const;
    void keepBest(const Fit &fit, size_t phenotype, Best &best) const;
    Best decide(const Marker &marker, HitCounts &counts);
    void writeClassCounts(const Marker &marker, size_t phenotype);
    void writeStatistics(const Marker &marker, const HitCounts &counts, const Best &best);

    const PhenotypeTable &m_table;
    const Matrix &m_matrix;
    const Decision &m_decision;
    const double m_passingR2;
    const ScanKernels &m_kernels = *kernelsInUse<ScanKernels>;
    const size_t m_tileRows;  // individuals of a tile
    std::vector<Marker> m_markers;
    size_t m_markerCount = 0;  // in the batch
    int64_t m_MarkerID = 0, m_totalHits = 0;
    Progress m_progress;
    text::Writer m_hits, m_statistics;
};
}  // namespace

static size_t tileRowsOf(const Matrix &matrix)
{
    const size_t rowBytes = std::min(matrix.groupCount(), blockGroups) * groupLanes * sizeof(double);
    return tileBytes / std::max(rowBytes, groupLanes * sizeof(double));
}

static void writeStatisticsHeader(int statisticCode, text::Writer &out)
{
    static constexpr const char *names[] = {"R2", "t-value", "p-value"};
    out.put("Marker\tMarkerID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\t");
    out.put(names[statisticCode]);
    out.put("\tBestPheno\t");
    writeGroupColumns(out);
}

FastScan::FastScan(const PhenotypeTable &table, const Decision &decision)
    : m_table(table)
    , m_matrix(table.matrix)
    , m_decision(decision)
    , m_passingR2(decision.leastPassingR2(int(classCount)))
    , m_tileRows(tileRowsOf(table.matrix))
    , m_markers(batchSize)
    , m_progress(Genoname)
{
    if (!m_hits.open(Outname) || !m_statistics.open(Statsname))
        quit();
    writeHitHeader(m_hits);
    writeStatisticsHeader(decision.statistic, m_statistics);
}

void FastScan::add()
{
    orderByClass(next(), m_tileRows);
    packMembers(next());
    if (++m_markerCount == batchSize)
        finishBatch();
}

void FastScan::finishBatch()
{
    fitBatch();
    for (size_t m = 0; m < m_markerCount; ++m) {
        HitCounts counts;
        const Best best = decide(m_markers[m], counts);
        m_totalHits += counts.hits;
        ++m_MarkerID;
        writeStatistics(m_markers[m], counts, best);
        m_progress.advance(m_markers[m].lineSize);
    }
    m_markerCount = 0;
}

void FastScan::close()
{
    m_hits.close();
    m_statistics.close();
}

// The individuals with a value in every class, [class][lane], for the phenotypes of a group.
void FastScan::countClasses(const Marker &marker, size_t group, double *counts) const
{
    if (group >= m_matrix.firstGappyGroup()) {
        m_kernels.countPresent(m_matrix.present(group), m_matrix.presentCounts(group), marker.members1.data(),
                               marker.members2.data(), marker.members1.size(), counts);
        return;
    }
    for (size_t k = 0; k < classCount; ++k)
        std::fill_n(counts + k * groupLanes, groupLanes, marker.classCounts[k]);
}

// Forms slope and R2 of all phenotypes for the markers of the batch.
void FastScan::fitBatch()
{
    const double r2Limit = m_decision.statistic == 0 ? std::numeric_limits<double>::infinity() : 1;
    for (size_t m = 0; m < m_markerCount; ++m) {
        m_markers[m].slopes.resize(m_matrix.groupCount() * groupLanes);
        m_markers[m].r2s.resize(m_matrix.groupCount() * groupLanes);
        m_markers[m].bests = {};
    }
    for (size_t block = 0; block < m_matrix.blockCount(); ++block) {
        const size_t groupCount = m_matrix.groupsOfBlock(block);
        const size_t width = groupCount * groupLanes;
        for (size_t m = 0; m < m_markerCount; ++m)
            std::fill_n(m_markers[m].sums, classCount * width, 0.0);
        for (size_t tile = 0; tile * m_tileRows < m_table.individuals; ++tile) {
            const double *rows = m_matrix.block(block) + tile * m_tileRows * width;
            for (size_t m = 0; m < m_markerCount; ++m) {
                Marker &marker = m_markers[m];
                m_kernels.addRows(rows, groupCount, &marker.order[tile * m_tileRows], marker.orderCounts[tile].data(),
                                  marker.sums);
            }
        }
        for (size_t m = 0; m < m_markerCount; ++m) {
            Marker &marker = m_markers[m];
            for (size_t i = 0; i < groupCount; ++i) {
                const size_t group = block * blockGroups + i;
                double counts[classCount * groupLanes];
                countClasses(marker, group, counts);
                m_kernels.fitGroup(marker.sums + i * groupLanes, width, counts, r2Limit,
                                   &marker.slopes[group * groupLanes], &marker.r2s[group * groupLanes], marker.bests);
            }
        }
    }
}

// The first phenotype with a value of somebody in no class; the number of phenotypes where there is none.
size_t FastScan::firstError(const Marker &marker) const
{
    if (!marker.hasError)
        return phenotypeCount();
    for (size_t j = 0; j < phenotypeCount(); ++j) {
        for (size_t i = 0; i < marker.classes.size(); ++i) {
            if (marker.classes[i] == noClass && m_matrix.isPresent(j, i))
                return j;
        }
    }
    return phenotypeCount();
}

// Tells who is in no class, for a person. The line is read again for it, from a file that can be.
void FastScan::explainError(const Marker &marker, size_t phenotype) const
{
    if (!wantsDataHints())
        return;
    size_t individual = 0;
    while (marker.classes[individual] != noClass || !m_matrix.isPresent(phenotype, individual))
        ++individual;
    std::string triplet;
    readAgain(Genoname, [&](text::LineReader &in) {
        std::string_view line;
        for (int64_t i = 0; i <= m_MarkerID; ++i)
            nextMarkerLine(in, line);
        std::vector<std::string_view> words;
        text::splitNonEmptyFields(line, Delim, words);
        const size_t first = leadingColumns + 3 * individual;
        for (size_t i = first; i < first + 3 && i < words.size(); ++i)
            triplet.append(" ").append(words[i]);
    });
    addDataHint("marker " + marker.RSnumber + ", individual " + std::to_string(individual + 1) + ": the dosage of"
                + triplet + " is no genotype");
}

// Pairs with an R2 below it have a worse statistic than the pair with the marker's largest R2.
double FastScan::leastBestR2(const Marker &marker) const
{
    const double largestR2 = *std::max_element(marker.bests.r2, std::end(marker.bests.r2));
    return m_decision.statistic == 0 ? largestR2 : largestR2 * (1 - r2Clearance);
}

void FastScan::keepBest(const Fit &fit, size_t phenotype, Best &best) const
{
    const double value = m_decision.valueOf(fit);
    const bool isBetter = m_decision.statistic == 2
                              ? value != -1 && (best.best_statistic == -1 || value < best.best_statistic)
                              : value > best.best_statistic;
    if (isBetter)
        best = {value, phenotype};
}

// Writes the marker's hits and finds its best phenotype.
Best FastScan::decide(const Marker &marker, HitCounts &counts)
{
    Best best;
    const size_t end = firstError(marker);
    const double leastR2 = std::min(m_passingR2, leastBestR2(marker));
    for (size_t j = 0; j < end; ++j) {
        const size_t position = m_matrix.positionOf(j);
        const double r2 = marker.r2s[position];
        if (!(r2 >= leastR2))
            continue;
        const double slope = marker.slopes[position];
        const TTest test = lookUp(m_decision.table, r2, int(classCount));
        const Fit fit = {slope, std::fabs(slope), r2, test.t, test.p};
        keepBest(fit, j, best);
        if (m_decision.isHit(fit, counts))
            writeHit(m_table.PhenoID[j], marker.RSnumber, fit, m_hits);
    }
    if (end < phenotypeCount()) {
        explainError(marker, end);
        fatal("gValue error\n");
    }
    return best;
}

// Writes the number of individuals with a value of the phenotype in every class.
void FastScan::writeClassCounts(const Marker &marker, size_t phenotype)
{
    double counts[classCount * groupLanes] = {};
    size_t lane = 0;
    if (phenotype < phenotypeCount()) {
        const size_t position = m_matrix.positionOf(phenotype);
        countClasses(marker, position / groupLanes, counts);
        lane = position % groupLanes;
    }
    for (size_t k = 0; k < classCount; ++k) {
        m_statistics.put('\t');
        m_statistics.put(counts[k * groupLanes + lane]);
    }
}

void FastScan::writeStatistics(const Marker &marker, const HitCounts &counts, const Best &best)
{
    m_statistics.put(marker.RSnumber);
    for (const int64_t count :
         {m_MarkerID, counts.hits, m_totalHits, counts.belowQuarter, counts.belowHalf, counts.twofold}) {
        m_statistics.put('\t');
        m_statistics.put(count);
    }
    m_statistics.put('\t');
    m_statistics.put(*std::max_element(marker.bests.absSlope, std::end(marker.bests.absSlope)));
    m_statistics.put('\t');
    m_statistics.put(best.best_statistic);
    m_statistics.put('\t');
    const bool hasBest = best.best_statistic != -1;
    m_statistics.put(hasBest ? std::string_view(m_table.PhenoID[best.phenotype]) : "NA");
    writeClassCounts(marker, hasBest ? best.phenotype : phenotypeCount() - 1);
    m_statistics.put('\n');
}

// Scans every marker against every phenotype.
static void doFastGwas(const Decision &decision)
{
    refuseSameScanFiles({});
    const PhenotypeTable table = readPhenotypes();
    text::LineReader in;
    if (!in.open(Genoname))
        quit();
    std::string_view line, name;
    bool hasLine = nextMarkerLine(in, line);
    const int64_t columns = hasLine ? int64_t(text::countFields(line, Delim)) : 0;
    if ((columns - int64_t(leadingColumns)) / 3 != table.columns - 1) {
        explainIndividuals(table.individuals, size_t(columns), true);
        fatal("Pheno file and geno file contain different number of individuals\n");
    }
    const ClassReader reader(Delim, hasLine ? line : "");
    FastScan scan(table, decision);
    const MarkerLook look = {MarkerLook::Content::Triplets, true, "class 0", leadingColumns, 2};
    const bool areWords = Delim == " " || Delim == "\t";
    int64_t rows = 0;
    for (; hasLine; hasLine = nextMarkerLine(in, line)) {
        Marker &marker = scan.next();
        marker.classes.resize(table.individuals);
        if (areWords)
            lookAtMarker(line, look);
        if (!reader.read(line, name, marker.classes)) {
            scan.finishBatch();
            refuseMarker();
        }
        marker.RSnumber = name;
        marker.lineSize = line.size();
        scan.add();
        ++rows;
    }
    scan.finishBatch();
    scan.close();

    print("Genotype file contains %lld columns and %lld rows\n", static_cast<long long>(columns),
          static_cast<long long>(rows - 1));  // on purpose one less
    printFileNames("Top phenotypes for each SNP", "SNP");
}

static void gwas3()
{
    readOptions();
    doFastGwas(decisionBy(df1()));
}

constinit const Mode gwas3Mode = {
    {"gwas3", "GWAS3"}, gwas3, options, "Scans over genotype classes, all phenotypes in one pass over the genotypes"};
