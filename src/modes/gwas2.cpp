// Association scan of gwas, with its results, for many phenotypes: these are held in memory as the members of their
// bins, and the genotypes, dosages or triplets, are read once.
#include "modes/gwas2.h"
#include "genotypes/columns.h"
#include "genotypes/dosages.h"
#include "genotypes/markerhints.h"
#include "genotypes/markerlines.h"
#include "main/memory.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "scans/binscan.h"
#include "scans/binsums.h"
#include "scans/dosageblock.h"
#include "scans/hits.h"
#include "scans/hitstore.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "scans/scanhints.h"
#include "scans/slopeguess.h"

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

static constexpr MarkerLook scannedDosages = {MarkerLook::Content::Dosages, true, "0", leadingColumns, 2};
static constexpr MarkerLook scannedTriplets = {MarkerLook::Content::Triplets, false, "dosage 0", leadingColumns, 2};

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
        if (m_hasTriplets)
            return convertNext(line);
        const bool hasLine = nextMarkerLine(m_in, line);
        if (hasLine)
            lookAtMarker(line, scannedDosages);
        return hasLine;
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
        lookAtMarker(triplets, scannedTriplets);
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
// The genotype file, some markers at a time.
struct Genotypes {
    Genotypes(DosageLines &from, size_t inFirst, size_t individuals)
        : lines(from), columns(inFirst), reader(individuals), block(individuals)
    {
    }

    void readBlock();

    DosageLines &lines;
    const size_t columns;  // of the first line, and so of all
    DosageReader reader;
    DosageBlock block;
    size_t bytes = 0;       // of the block's lines
    bool isBroken = false;  // the line behind them does not fit
};
}  // namespace

// Reads as many markers as there are, up to blockMarkers.
void Genotypes::readBlock()
{
    block.clear();
    bytes = 0;
    std::string_view line, name;
    while (block.markers() < blockMarkers && lines.next(line)) {
        if (reader.read(line, name) != columns) {
            isBroken = true;
            break;
        }
        bytes += line.size() + 1;
        block.add(name, reader);
    }
    block.finish();
}

namespace {
// A phenotype of the table.
struct Trait {
    std::string name;
    std::vector<size_t> binCounts;  // none for a phenotype without values
    std::vector<double> x;          // of the bins
    double sumX = 0, sumXX = 0;
    std::vector<float> weights;  // of the slope's guess, [bin]
    double guessError = 0;
    Summary summary;
};

// The members of bins in a tile as BinKernels::addTile() takes them.
struct TileMembers {
    std::vector<uint8_t> members;
    std::vector<uint32_t> starts;  // [phenotype of the chunk]
};

// Phenotypes with values that follow each other.
struct Chunk {
    std::vector<size_t> traits;
    std::vector<TileMembers> tiles;
    size_t unguessedBlocks = 0;  // for which it does not pay to guess slopes
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
    for (size_t tile = 0; tile < chunk.tiles.size(); ++tile) {
        std::vector<uint8_t> &members = chunk.tiles[tile].members;
        chunk.tiles[tile].starts.push_back(uint32_t(members.size()));
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
        table.bytes += bins[k].individuals.size() + 2 * sizeof(double) + sizeof(float);
    }
    const size_t chunkTraits = std::max(chunkBytes / (bins.size() * blockMarkers * sizeof(double)), size_t(1));
    const size_t tiles = (phenotype.values.size() + tileRows - 1) / tileRows;
    if (table.chunks.empty() || table.chunks.back().traits.size() == chunkTraits)
        table.chunks.emplace_back().tiles.resize(tiles);
    table.bytes += tiles * (bins.size() + sizeof(uint32_t));
    SlopeGuess guess = guessSlope(trait.x, trait.binCounts, mostThousandths / 1000.0);
    trait.weights.assign(guess.weights.begin(), guess.weights.end());
    trait.guessError = guess.error;
    Chunk &chunk = table.chunks.back();
    chunk.traits.push_back(table.traits.size() - 1);
    addMembers(bins, chunk);
    if (chunk.traits.size() == chunkTraits) {
        for (TileMembers &tile : chunk.tiles)
            tile.members.shrink_to_fit();
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

    // Whether mayMatter() can be false.
    bool leavesOut() const { return m_leastSlope > 0; }

    // False where no marker of a block can be a hit of the phenotype or its best one, by the sums of thousandths of its
    // bins as BinKernels::addThousandths() makes them.
    bool mayMatter(size_t index, const uint32_t *sums) const;

    // Looks at the markers of the block for one phenotype. `sums` are those of its bins, [bin][marker], and are lost.
    void decide(size_t index, const DosageBlock &block, double *sums);

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
    const double m_leastSlope = leastCountedSlope(m_decision);
    const bool m_takesAll = m_leastSlope < 0;
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

bool Decisions::mayMatter(size_t index, const uint32_t *sums) const
{
    const Trait &trait = m_table.traits[index];
    const double limit = std::min(m_leastSlope, trait.summary.absMaxSlope) - trait.guessError;
    return !(limit > 0)
           || m_kernels.reaches(trait.weights.data(), trait.x.size(), std::nextafter(float(limit), 0.0f), sums);
}

void Decisions::decide(size_t index, const DosageBlock &block, double *sums)
{
    alignas(64) double slopes[blockMarkers], r2s[blockMarkers];
    Trait &trait = m_table.traits[index];
    Summary &summary = trait.summary;
    const BinPoints points = {trait.x, trait.binCounts, trait.sumX, trait.sumXX};
    if (!m_kernels.fitBlock(points, m_leastSlope, summary.absMaxSlope, sums, slopes, r2s))
        return;
    for (size_t m = 0; m < block.markers(); ++m) {
        const double absSlope = std::fabs(slopes[m]);
        if (absSlope > summary.absMaxSlope) {
            summary.absMaxSlope = absSlope;
            summary.bestMarker = block.name(m);
        }
        if (absSlope < m_leastSlope || !(r2s[m] >= m_leastR2 || m_takesAll))
            continue;
        m_y.resize(trait.x.size());
        for (size_t k = 0; k < m_y.size(); ++k)
            m_y[k] = sums[k * blockMarkers + m];
        const Fit fit = fitLine(trait.x, m_y, m_decision.leastSlope, m_decision.table);
        if (m_decision.isHit(fit, summary.counts))
            addHit(index, block.name(m), fit);
    }
}

namespace {
// Forms the sums of the phenotypes' bins for a block of markers, and has them decided on.
class BlockScan {
public:
    BlockScan(size_t chunkTraits, Decisions &decisions)
        : m_sums(chunkTraits * m_bins * blockMarkers), m_shortSums(m_sums.size()), m_decisions(decisions)
    {
    }

    void scan(DosageBlock &block, Chunk &chunk);

private:
    void findMattering(const uint16_t *thousandths, const Chunk &chunk);
    void decideAll(DosageBlock &block, const Chunk &chunk);
    void decideOne(DosageBlock &block, const Chunk &chunk, size_t i);

    const BinKernels &m_kernels = *kernelsInUse<BinKernels>;
    const size_t m_bins = size_t(testgroups);
    std::vector<double> m_sums;         // [phenotype][bin][marker]
    std::vector<uint32_t> m_shortSums;  // likewise
    std::vector<size_t> m_mattering;    // phenotypes of the chunk
    Decisions &m_decisions;
};
}  // namespace

// Finds the phenotypes to which some marker may matter.
void BlockScan::findMattering(const uint16_t *thousandths, const Chunk &chunk)
{
    const size_t traits = chunk.traits.size();
    std::fill_n(m_shortSums.begin(), traits * m_bins * blockMarkers, 0);
    for (size_t tile = 0; tile < chunk.tiles.size(); ++tile) {
        m_kernels.addThousandths(thousandths + tile * tileRows * blockMarkers, chunk.tiles[tile].members.data(), traits,
                                 m_bins, m_shortSums.data());
    }
    m_mattering.clear();
    for (size_t i = 0; i < traits; ++i) {
        if (m_decisions.mayMatter(chunk.traits[i], &m_shortSums[i * m_bins * blockMarkers]))
            m_mattering.push_back(i);
    }
}

void BlockScan::decideAll(DosageBlock &block, const Chunk &chunk)
{
    const size_t traits = chunk.traits.size();
    const double *const dosages = block.dosages();
    std::fill_n(m_sums.begin(), traits * m_bins * blockMarkers, 0.0);
    for (size_t tile = 0; tile < chunk.tiles.size(); ++tile) {
        m_kernels.addTile(dosages + tile * tileRows * blockMarkers, chunk.tiles[tile].members.data(), traits, m_bins,
                          m_sums.data());
    }
    for (size_t i = 0; i < traits; ++i)
        m_decisions.decide(chunk.traits[i], block, &m_sums[i * m_bins * blockMarkers]);
}

void BlockScan::decideOne(DosageBlock &block, const Chunk &chunk, size_t i)
{
    const double *const dosages = block.dosages();
    std::fill_n(m_sums.begin(), m_bins * blockMarkers, 0.0);
    for (size_t tile = 0; tile < chunk.tiles.size(); ++tile) {
        const TileMembers &members = chunk.tiles[tile];
        m_kernels.addTile(dosages + tile * tileRows * blockMarkers, &members.members[members.starts[i]], 1, m_bins,
                          m_sums.data());
    }
    m_decisions.decide(chunk.traits[i], block, m_sums.data());
}

// Where the thousandths tell that few phenotypes matter, the sums in the order and precision that the digits depend on
// are formed for these only: a third of the time.
void BlockScan::scan(DosageBlock &block, Chunk &chunk)
{
    constexpr size_t pause = 15;  // blocks without a guess after one that did not pay
    if (!m_decisions.leavesOut() || !block.thousandths() || chunk.unguessedBlocks > 0) {
        chunk.unguessedBlocks -= chunk.unguessedBlocks > 0;
        return decideAll(block, chunk);
    }
    findMattering(block.thousandths(), chunk);
    if (m_mattering.size() > chunk.traits.size() / 2 + 8) {
        chunk.unguessedBlocks = pause;
        return decideAll(block, chunk);
    }
    for (const size_t i : m_mattering)
        decideOne(block, chunk, i);
}

// One pass over the genotypes for the phenotypes of the table.
static void scanMarkers(Genotypes &&genotypes, Table &table, Decisions &decisions, Progress &progress)
{
    BlockScan scan(table.chunks[0].traits.size(), decisions);
    do {
        genotypes.readBlock();
        for (Chunk &chunk : table.chunks)
            scan.scan(genotypes.block, chunk);
        if (genotypes.isBroken)
            refuseMarker();
        progress.advance(genotypes.bytes);
    } while (genotypes.block.markers() == blockMarkers);
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

    // Scans for the phenotypes of the table, writes their rows and empties it. No further scan follows the last pass.
    const auto finishPass = [&](bool isLast) {
        Decisions decisions(scan.decision, table, memory.hitBytes, files.hits);
        progress.startPass(table.lineBytes);
        if (!table.chunks.empty()) {
            lines.startPass(isLast);
            scanMarkers({lines, columns, individuals}, table, decisions, progress);
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
