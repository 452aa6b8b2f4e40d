// Association scan of gwas, with its results, for many phenotypes: these are held in memory as the members of their
// bins, and the genotypes, dosages or triplets, are read once.
#include "modes/gwas2.h"
#include "genotypes/columns.h"
#include "genotypes/dosages.h"
#include "genotypes/markerlines.h"
#include "genotypes/triplethints.h"
#include "main/memory.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "scans/binscan.h"
#include "scans/binsums.h"
#include "scans/hits.h"
#include "scans/hitstore.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "scans/scanhints.h"

#include <algorithm>
#include <cmath>
#include <limits>

static constexpr InputOption genotypeFileOption
    = {"-gfile", Use::Required, "dosage file, or genotype-triplet file with -format triplet"};
static constexpr WordOption formatOption
    = {"-format", "dosage", "dosage triplet", "what -gfile holds: dosages, or genotype triplets"};
static constexpr const Option *options[] = {
    &phenotypeFileOption,      &genotypeFileOption,  &methodOption,      &binTypeOption,
    &manualBinsOption,         &automaticBinsOption, &hitFileOption,     &missingOption,
    &phenotypeDelimiterOption, &binSlopeOption,      &unusedLimitOption, &statisticOption,
    &statisticLimitOption,     &binFileOption,       &binPlacesOption,   &formatOption,
};

// Phenotypes are worked in chunks, whose sums stay in the second-level cache from tile to tile.
static constexpr size_t chunkBytes = size_t(128) << 10;

namespace {
// The lines of the genotype file as dosage lines.
class DosageLines final : public MarkerLines {
public:
    DosageLines(text::LineReader &in, bool hasTriplets) : MarkerLines(in), m_hasTriplets(hasTriplets)
    {
        m_out.openToMemory(m_text);
    }

private:
    bool read(std::string_view &line) override
    {
        return m_hasTriplets ? convertNext(line) : nextMarkerLine(m_in, line);
    }
    bool convertNext(std::string_view &line);

    bool m_hasTriplets;
    std::string m_text;  // of a converted line
    text::Writer m_out;  // to m_text
    TripletConverter m_convertTriplets = tripletConverter(false, false);
};
}  // namespace

// What gentoAD writes, up to its next line break: some lines of triplets have none, on purpose.
bool DosageLines::convertNext(std::string_view &line)
{
    m_text.clear();
    std::string_view triplets;
    while (!m_text.ends_with('\n') && nextMarkerLine(m_in, triplets)) {
        m_text.reserve(m_text.size() + triplets.size());  // enough for most: not to hold a long line twice as it grows
        lookAtTriplets(triplets, leadingColumns);
        triplets = copyLeadingColumns(triplets, leadingColumns, m_out);
        m_convertTriplets(triplets, m_out, nullptr);
        m_out.flush();
    }
    if (m_text.empty())
        return false;
    const size_t size = m_text.size() - m_text.ends_with('\n');
    m_text.append(text::LineReader::slack, '\0');
    line = {m_text.data(), size};
    return true;
}

namespace {
// Some markers side by side.
struct Block {
    explicit Block(size_t individuals) : dosages(individuals), rows(individuals), line(individuals * lineMarkers) {}

    static constexpr size_t lineMarkers = 8;  // what is written of a row at a time

    struct alignas(64) Row {
        double dosages[blockMarkers];
    };
    DosageReader dosages;
    std::vector<Row> rows;     // [individual]
    std::vector<double> line;  // [marker][individual]
    std::string names[blockMarkers];
    size_t markers = 0;
    size_t bytes = 0;       // of their lines
    bool isBroken = false;  // the line behind them does not fit
};
}  // namespace

// Puts up to lineMarkers markers in their place in the rows.
static void placeLines(Block &block, size_t first)
{
    const size_t n = block.rows.size();
    for (size_t i = 0; i < n; ++i) {
        for (size_t m = 0; m < Block::lineMarkers; ++m)
            block.rows[i].dosages[first + m] = block.line[m * n + i];
    }
}

// Reads as many markers as there are, up to blockMarkers. Lanes without a marker keep what they held.
static void readBlock(DosageLines &lines, Block &block)
{
    const size_t n = block.rows.size();
    block.markers = block.bytes = 0;
    std::string_view line, name;
    while (block.markers < blockMarkers && lines.next(line)) {
        if (block.dosages.read(line, name) != leadingColumns + n) {
            block.isBroken = true;
            break;
        }
        std::ranges::copy(block.dosages.values(), &block.line[block.markers % Block::lineMarkers * n]);
        block.bytes += line.size() + 1;
        block.names[block.markers++] = name;
        if (block.markers % Block::lineMarkers == 0)
            placeLines(block, block.markers - Block::lineMarkers);
    }
    if (block.markers % Block::lineMarkers != 0)
        placeLines(block, block.markers / Block::lineMarkers * Block::lineMarkers);
}

namespace {
// A phenotype of the table.
struct Trait {
    std::string name;
    std::vector<size_t> binCounts;  // none for a phenotype without values
    std::vector<double> x;          // of the bins
    double sumX = 0, sumXX = 0;
    Summary summary;
};

// Phenotypes with values that follow each other, and the members of their bins as BinKernels::addTile() takes them.
struct Chunk {
    std::vector<size_t> traits;
    std::vector<std::vector<uint8_t>> members;  // [tile]
};

// The phenotypes of one pass.
struct Table {
    std::vector<Trait> traits;
    std::vector<Chunk> chunks;
    size_t bytes = 0;      // in memory
    size_t lineBytes = 0;  // in the phenotype file
};
}  // namespace

static void addMembers(const std::vector<Bin> &bins, Chunk &chunk)
{
    std::vector<size_t> next(bins.size());
    for (size_t tile = 0; tile < chunk.members.size(); ++tile) {
        std::vector<uint8_t> &members = chunk.members[tile];
        for (size_t k = 0; k < bins.size(); ++k) {
            const std::vector<size_t> &individuals = bins[k].individuals;
            const size_t count = members.size();
            members.push_back(0);
            for (; next[k] < individuals.size() && individuals[next[k]] / tileRows == tile; ++next[k])
                members.push_back(uint8_t(individuals[next[k]] % tileRows));
            members[count] = uint8_t(members.size() - count - 1);
        }
    }
}

// Adds a phenotype, with no bins where it has no values.
static void addTrait(const Phenotype &phenotype, const std::vector<Bin> &bins, Table &table)
{
    Trait &trait = table.traits.emplace_back();
    trait.name = phenotype.name;
    table.bytes += sizeof(Trait) + phenotype.name.size();
    if (bins.empty())
        return;
    trait.x = binPositions(bins);
    for (size_t k = 0; k < bins.size(); ++k) {
        trait.binCounts.push_back(bins[k].individuals.size());
        trait.sumX += trait.x[k];
        trait.sumXX += trait.x[k] * trait.x[k];
        table.bytes += bins[k].individuals.size() + 2 * sizeof(double);
    }
    const size_t chunkTraits = std::max(chunkBytes / (bins.size() * blockMarkers * sizeof(double)), size_t(1));
    const size_t tiles = (phenotype.values.size() + tileRows - 1) / tileRows;
    if (table.chunks.empty() || table.chunks.back().traits.size() == chunkTraits)
        table.chunks.emplace_back().members.resize(tiles);
    table.bytes += tiles * bins.size();
    Chunk &chunk = table.chunks.back();
    chunk.traits.push_back(table.traits.size() - 1);
    addMembers(bins, chunk);
    if (chunk.traits.size() == chunkTraits) {
        for (std::vector<uint8_t> &members : chunk.members)
            members.shrink_to_fit();
    }
}

namespace {
// The best markers of the phenotypes of a table, and their hits.
class Decisions {
public:
    // The hits of the table's first phenotype with values go straight to their file.
    Decisions(const Decision &decision, Table &table, size_t hitBytes, text::Writer &hitFile)
        : m_decision(decision), m_table(table), m_hitFile(hitFile), m_hits(table.traits.size(), hitBytes)
    {
        m_out.openToMemory(m_row);
    }

    // Looks at the markers of the block for one phenotype. `sums` are those of its bins, [bin][marker], and are lost.
    void decide(size_t index, const Block &block, double *sums);

    // Writes what is not written yet of the phenotype's hits.
    void writeHits(size_t index) { m_hits.write(index, m_hitFile); }

private:
    void addHit(size_t index, const std::string &marker, const Fit &fit);

    const Decision &m_decision;
    Table &m_table;
    text::Writer &m_hitFile;
    HitStore m_hits;
    std::string m_row;
    text::Writer m_out;  // to m_row
    const BinKernels &m_kernels = *kernelsInUse<BinKernels>;
    // On purpose fits without R2 pass by an R2 of -1 where the limit lets them.
    const bool m_takesAll = m_decision.statistic == 0 && -1 >= m_decision.limit;
    const double m_leastSlope = m_takesAll ? -std::numeric_limits<double>::infinity() : m_decision.leastSlope;
    const double m_leastR2 = m_decision.leastPassingR2(testgroups);
    std::vector<double> m_y;
};
}  // namespace

void Decisions::addHit(size_t index, const std::string &marker, const Fit &fit)
{
    if (index == m_table.chunks[0].traits[0]) {
        writeHit(m_table.traits[index].name, marker, fit, m_hitFile);
        return;
    }
    m_row.clear();
    writeHit(m_table.traits[index].name, marker, fit, m_out);
    m_out.flush();
    m_hits.add(index, m_row);
}

void Decisions::decide(size_t index, const Block &block, double *sums)
{
    alignas(64) double slopes[blockMarkers], r2s[blockMarkers];
    Trait &trait = m_table.traits[index];
    Summary &summary = trait.summary;
    const BinPoints points = {trait.x, trait.binCounts, trait.sumX, trait.sumXX};
    if (!m_kernels.fitBlock(points, m_leastSlope, summary.absMaxSlope, sums, slopes, r2s))
        return;
    for (size_t m = 0; m < block.markers; ++m) {
        const double absSlope = std::fabs(slopes[m]);
        if (absSlope > summary.absMaxSlope) {
            summary.absMaxSlope = absSlope;
            summary.bestMarker = block.names[m];
        }
        if (absSlope < m_leastSlope || !(r2s[m] >= m_leastR2 || m_takesAll))
            continue;
        m_y.resize(trait.x.size());
        for (size_t k = 0; k < m_y.size(); ++k)
            m_y[k] = sums[k * blockMarkers + m];
        const Fit fit = fitLine(trait.x, m_y, m_decision.leastSlope, m_decision.table);
        if (m_decision.isHit(fit, summary.counts))
            addHit(index, block.names[m], fit);
    }
}

// One pass over the genotypes for the phenotypes of the table.
static void scanMarkers(DosageLines &lines, size_t individuals, Table &table, Decisions &decisions, Progress &progress)
{
    const BinKernels &kernels = *kernelsInUse<BinKernels>;
    const size_t bins = size_t(testgroups);
    std::vector<Block::Row> sums(table.chunks[0].traits.size() * bins);
    Block block(individuals);
    do {
        readBlock(lines, block);
        for (const Chunk &chunk : table.chunks) {
            std::fill(sums.begin(), sums.end(), Block::Row());
            for (size_t tile = 0; tile < chunk.members.size(); ++tile) {
                kernels.addTile(block.rows[tile * tileRows].dosages, chunk.members[tile].data(), chunk.traits.size(),
                                bins, sums[0].dosages);
            }
            for (size_t i = 0; i < chunk.traits.size(); ++i)
                decisions.decide(chunk.traits[i], block, sums[i * bins].dosages);
        }
        if (block.isBroken)
            refuseMarker();
        progress.advance(block.bytes);
    } while (block.markers == blockMarkers);
}

// The bins are those of gwas.
static constexpr auto findBins2 = findBins;

// Scans every marker against every phenotype.
static void universal2(const BinScan &scan, bool hasTriplets, const ScanMemory &memory)
{
    BinScanFiles files("gwas2", false);
    DosageLines lines(files.genotypes, hasTriplets);
    const size_t columns = countWords(lines.first());
    const size_t individuals = columns > leadingColumns ? columns - leadingColumns : 0;
    Progress progress(Genoname, Phenoname);
    Table table;
    int64_t PhenoID = 0;
    bool hasScanned = false;

    // Scans for the phenotypes of the table, writes their rows and empties it. No further scan follows the last pass.
    const auto finishPass = [&](bool isLast) {
        Decisions decisions(scan.decision, table, memory.hitBytes, files.hits);
        progress.startPass(table.lineBytes);
        if (!table.chunks.empty()) {
            if (hasScanned)
                lines.rewind();
            else if (!isLast)
                lines.prepareToReread();
            hasScanned = true;
            scanMarkers(lines, individuals, table, decisions, progress);
        }
        for (size_t i = 0; i < table.traits.size(); ++i) {
            const Trait &trait = table.traits[i];
            decisions.writeHits(i);
            reportPhenotype(trait.name, ++PhenoID, trait.summary, trait.binCounts, files.statistics);
        }
        table = {};
    };

    Phenotype phenotype;
    std::string_view line;
    while (files.phenotypes.nextNonEmpty(line)) {
        // A phenotype that ends the run does so after all that comes before it.
        if (!readPhenotype(line, individuals, phenotype)) {
            finishPass(true);
            refusePhenotype();
        }
        std::vector<Bin> bins;
        if (hasBins(phenotype.p2List)) {
            if (table.chunks.empty())
                finishPass(false);
            bins = fillBins(findBins2(scan.bins, phenotype.p2List), phenotype.values);
            lookAtBins(phenotype.name, phenotype.values, bins);
        }
        addTrait(phenotype, bins, table);
        table.lineBytes += line.size() + 1;
        if (table.bytes > memory.tableBytes)
            finishPass(false);
    }
    finishPass(true);
    files.finish();
}

void gwas2Within(const ScanMemory &memory)
{
    const BinScan scan = prepareBinScan(genotypeFileOption);
    universal2(scan, formatOption.read() == 1, memory);
}

static void gwas2()
{
    gwas2Within({halfOfMemory(), size_t(256) << 20});
}

constinit const Mode gwas2Mode
    = {{"gwas2", "GWAS2"}, gwas2, options, "Scans as gwas does, all phenotypes in one pass over the genotypes"};
