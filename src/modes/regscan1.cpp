// Regression scan: every phenotype on every marker over the individuals that have both, with exact p-values. A row per
// hit, phenotype by phenotype, and a row of statistics per phenotype. The genotypes, dosages or triplets, are read once
// for all phenotypes that memory holds.
#include "modes/regscan1.h"
#include "genotypes/gaps.h"
#include "genotypes/markerhints.h"
#include "genotypes/markerlines.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/memory.h"
#include "main/nearest.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/modes.h"
#include "scans/hits.h"
#include "scans/hitstore.h"
#include "scans/options.h"
#include "scans/pvalues.h"
#include "scans/regressionscan.h"
#include "scans/scanhints.h"
#include "text/fields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <memory>

static constexpr InputOption genotypeFileOption
    = {"-gfile", Use::Required, "dosage file or genotype-triplet file, told apart by their numbers of columns"};
static constexpr RealOption slopeOption = {"-slope", 0.0, "least absolute slope of a hit"};
static constexpr WordOption typeOption = {"-type", "additive", "additive dominant recessive rank logistic bins",
                                          "what is regressed on what; also any other word for additive"};
static constexpr OutputOption talliesOption
    = {"-tallies", "", "file for what morvel-gather needs to join the statistics of parts of the markers"};
static constexpr const Option *options[] = {
    &phenotypeFileOption, &genotypeFileOption, &methodOption,
    &binTypeOption,       &manualBinsOption,   &automaticBinsOption,
    &hitFileOption,       &missingOption,      &phenotypeDelimiterOption,
    &slopeOption,         &statisticOption,    &statisticLimitOption,
    &typeOption,          &binFileOption,      &binPlacesOption,
    &talliesOption,
};

enum AnalysisType { additive, dominant, recessive, byRank, logistic, bins };

static const char *const headings[]
    = {"Pheno\tChr\tSNPID\tPos\tA1\tA2\tN\tFreq\tSlope\tSE\tR2\tt-value\tp-value\tMethod\n",
       "Pheno\tPhenoID\tN\tMean\tSD\tMarkers\tHits\tAbsMaxSlope\tLeastP\tBestSNP\tLambda\n"};

namespace {
// What to do.
struct RegressionPlan {
    AnalysisType type;
    BinDefinition bins;
    Decision decision;
    Significance significance;
    std::optional<std::string> tallies;  // file name
};
}  // namespace

static void lookForBinOptions()
{
    const Option *const ofBins[]
        = {&methodOption, &binTypeOption, &automaticBinsOption, &binFileOption, &manualBinsOption, &binPlacesOption};
    for (const Option *option : ofBins) {
        if (wantsDataHints() && option->given())
            addDataHint(quoted(option->name) + " changes nothing without \"-type bins\"");
    }
}

static RegressionPlan readOptions()
{
    readScanOptions(genotypeFileOption, slopeOption);
    Delim = phenotypeDelimiterOption.read();
    const AnalysisType type = AnalysisType(typeOption.read());
    BinDefinition definition;
    if (type == bins) {
        definition = readBinOptions(refuseSameScanFiles);
        xmethod = binPlacesOption.read();
        reportBins();
    } else {
        lookForBinOptions();
    }
    return {type, std::move(definition), decisionBy({}), Significance(type == bins), talliesOption.given()};
}

namespace {
// The number of individuals in a genotype line of so many columns, and whether it has triplets.
struct GenotypeLayout {
    size_t individuals = 0;
    bool hasTriplets = false;
};
}  // namespace

[[noreturn]] static void refuseNumbers(size_t values, size_t columns)
{
    explainIndividuals(values, columns, false);
    refusePhenotype();
}

// By the first phenotype: a column for each of its values, or three. Missing values at its end need have none.
static GenotypeLayout findLayout(std::string_view phenotype, size_t columns)
{
    text::FieldReader fields(phenotype, Delim);
    std::string_view field;
    fields.next(field);
    size_t most = 0, least = 0;
    while (fields.next(field)) {
        ++most;
        least = isMissingField(field) ? least : most;
    }
    if (columns <= leadingColumns)
        refuseNumbers(most, columns);
    const size_t dosages = columns - leadingColumns, triplets = dosages / 3;
    if (dosages != most && dosages == 3 * most)
        return {most, true};
    if (least <= dosages && dosages <= most)
        return {dosages, false};
    if (dosages % 3 != 0 || triplets < least || triplets > most)
        refuseNumbers(most, columns);
    return {triplets, true};
}

namespace {
// The hits of the phenotypes of one pass.
class RegressionHits final : public FitSink {
public:
    RegressionHits(const RegressionPlan &plan, const std::vector<std::string> &phenotypes, Analysis &analysis,
                   const MarkerBlock &block, size_t memory, text::Writer &file)
        : m_plan(plan)
        , m_phenotypes(phenotypes)
        , m_analysis(analysis)
        , m_block(block)
        , m_file(file)
        , m_store(phenotypes.size(), memory)
    {
        m_out.openToMemory(m_row);
    }

    bool isWanted(double squaredT, double freedom) override
    {
        return m_takesAll || squaredT >= leastSquaredT(freedom) || squaredT == infinity;
    }
    bool take(size_t trait, size_t marker, const TraitFit &pair) override;

    void write(size_t trait) { m_store.write(trait, m_file); }

private:
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    double leastSquaredT(double freedom);
    bool makeRow(size_t trait, size_t marker, const TraitFit &pair, double p, double error);

    const RegressionPlan &m_plan;
    const std::vector<std::string> &m_phenotypes;
    Analysis &m_analysis;
    const MarkerBlock &m_block;
    text::Writer &m_file;
    HitStore m_store;
    std::string m_row;
    text::Writer m_out;  // to m_row
    // On purpose a limit of 1 for p takes pairs without a p as well.
    const bool m_takesMissing = m_plan.decision.statistic == 2 && m_plan.decision.limit >= 1;
    const bool m_takesAll = m_takesMissing || (m_plan.decision.statistic == 0 && m_plan.type >= logistic);
    double m_freedom = -1, m_leastSquaredT = 0;  // of the pair before
    std::map<double, double> m_leastSquaredTs;   // by degrees of freedom
};
}  // namespace

// Stays clear of what rounding could do to a t squared that is not formed exactly.
double RegressionHits::leastSquaredT(double freedom)
{
    if (freedom == m_freedom)
        return m_leastSquaredT;
    const auto [known, isNew] = m_leastSquaredTs.try_emplace(freedom);
    if (isNew) {
        const Decision &decision = m_plan.decision;
        double squaredT = decision.limit > 0 ? decision.limit * decision.limit : 0;
        if (decision.statistic == 0)
            squaredT = decision.limit < 1 ? std::max(freedom * decision.limit / (1 - decision.limit), 0.0) : infinity;
        else if (decision.statistic == 2)
            squaredT = std::pow(m_plan.significance.leastT(decision.limit, std::max(freedom, 1.0)), 2);
        known->second = std::isnan(decision.limit) ? infinity : squaredT * (1 - 1e-6);
    }
    m_freedom = freedom;
    return m_leastSquaredT = known->second;
}

// Puts the row into m_row. False where some number that differs by this part from its own would have another text.
bool RegressionHits::makeRow(size_t trait, size_t marker, const TraitFit &pair, double p, double error)
{
    m_row.clear();
    m_out.put(m_phenotypes[trait]);
    m_out.put('\t');
    m_out.put(m_block.descriptions[marker]);
    m_out.put('\t');
    m_out.put(pair.n);
    m_out.put('\t');
    putValue(pair.frequency, m_out);
    bool isSure = true;
    for (const double value : {pair.fit.slope, pair.fit.error, pair.fit.r2, pair.fit.t, p}) {
        m_out.put('\t');
        putValue(value, m_out);
        isSure = isSure && (error == 0 || text::hasSureText(value, error));
    }
    m_out.put('\t');
    m_out.put(pair.method);
    m_out.put('\n');
    m_out.flush();
    return isSure;
}

bool RegressionHits::take(size_t trait, size_t marker, const TraitFit &pair)
{
    const Decision &decision = m_plan.decision;
    const auto orNone = [](double value) { return std::isnan(value) ? -1 : value; };
    const double t = pair.fit.t, absSlope = std::fabs(pair.fit.slope);
    const auto [p, error] = pair.error > 0 ? studentPNearly(t, pair.freedom, pair.error)
                                           : NearP{m_plan.significance.p(t, pair.freedom), 0};
    const Fit fit = {pair.fit.slope, absSlope, orNone(pair.fit.r2), orNone(t), orNone(p)};
    if (error > 0 && !decision.isSure(fit, error))
        return false;
    HitCounts counts = m_analysis.summary(trait).counts;
    const bool isMissing
        = m_takesMissing && std::isnan(p) && (decision.leastSlope <= 0 || absSlope >= decision.leastSlope);
    counts.hits += isMissing;
    const bool isHit = isMissing || decision.isHit(fit, counts);
    if (isHit && !makeRow(trait, marker, pair, p, error))
        return false;
    m_analysis.summary(trait).counts = counts;
    if (isHit && trait == 0)
        m_file.put(m_row);  // has its turn already
    else if (isHit)
        m_store.add(trait, m_row);
    return true;
}

static void keepName(std::string_view name)
{
    if (name.size() >= sizeof rsnumber)
        fatal("Marker name of %zu characters or more in geno file\n", sizeof rsnumber);
    name.copy(rsnumber, name.size());
    rsnumber[name.size()] = '\0';
}

// Reads as many markers as there are, up to a block. Returns the bytes of their lines; `isBroken` tells that the line
// behind them does not fit.
static size_t getData(MarkerLines &lines, const GenotypeLayout &layout, MarkerBlock &block, bool &isBroken)
{
    const auto read = layout.hasTriplets ? readGappyTriplets : readGappyDosages;
    const size_t columns = leadingColumns + layout.individuals * (layout.hasTriplets ? 3 : 1);
    const MarkerLook look = {layout.hasTriplets ? MarkerLook::Content::Triplets : MarkerLook::Content::Dosages, true,
                             nullptr, leadingColumns, 2};
    size_t bytes = 0;
    std::string_view line;
    std::array<std::string_view, leadingColumns> leading;
    for (block.markers = 0; block.markers < MarkerBlock::capacity && lines.next(line); ++block.markers) {
        lookAtMarker(line, look);
        if (read(line, na_value, leading, {block.dosages(block.markers), layout.individuals}) != columns) {
            isBroken = true;
            break;
        }
        bytes += line.size() + 1;
        keepName(leading[1]);
        block.names[block.markers] = leading[1];  // with bytes that are an end mark in the array
        std::string &description = block.descriptions[block.markers];
        description = leading[0];
        for (size_t column = 1; column < leadingColumns; ++column)
            description.append(1, '\t').append(leading[column]);
    }
    return bytes;
}

namespace {
// What the statistics file says of a phenotype.
struct TraitRow {
    std::string name;
    TraitMoments moments;
    bool isScanned;
};

// The phenotypes of one pass.
struct RegressionPass {
    std::vector<TraitRow> rows;
    std::vector<std::string> scanned;  // names
    std::unique_ptr<Analysis> analysis;
    size_t bytes = 0;      // in memory
    size_t lineBytes = 0;  // in the phenotype file
};
}  // namespace

static RegressionTrait makeTrait(const RegressionPlan &plan, const Phenotype &phenotype, const TraitMoments &moments)
{
    RegressionTrait trait;
    if (plan.type == logistic) {
        trait.status = statusOf(phenotype.values);
        return trait;
    }
    if (plan.type == byRank) {
        std::vector<double> scores = phenotype.values;
        rankByNormalScores(scores);
        trait.y = centre(scores, traitMomentsOf(scores));
        return trait;
    }
    trait.y = centre(phenotype.values, moments);
    if (plan.type != bins)
        return trait;
    const std::vector<Bin> filled = fillBins(findBins(plan.bins, phenotype.p2List), phenotype.values);
    lookAtBins(phenotype.name, phenotype.values, filled, false);
    for (const Bin &bin : filled)
        trait.bins.emplace_back(bin.individuals.begin(), bin.individuals.end());
    if (xmethod == 0)
        trait.binY = binPositions(filled);
    return trait;
}

// Adds a phenotype to the pass, to its analysis only where that can be.
static void addPhenotype(const RegressionPlan &plan, Phenotype &phenotype, RegressionPass &pass)
{
    dropOddValues(phenotype.values);
    std::erase_if(phenotype.p2List, [](double value) { return !std::isfinite(value); });
    const TraitMoments moments = traitMomentsOf(phenotype.values);
    bool isScanned = moments.n > 0;
    if (isScanned) {
        RegressionTrait trait = makeTrait(plan, phenotype, moments);
        isScanned = plan.type != logistic || !trait.status.empty();
        if (isScanned) {
            pass.scanned.push_back(phenotype.name);
            pass.bytes += pass.analysis->add(std::move(trait));
            if (plan.tallies)
                pass.analysis->summary(pass.scanned.size() - 1).prepareToWrite();
        }
    }
    pass.bytes += sizeof(TraitRow) + 2 * phenotype.name.size();
    pass.rows.push_back({phenotype.name, moments, isScanned});
}

static void writeStatistics(const TraitRow &row, int64_t PhenoID, const TraitSummary *summary,
                            const Significance &significance, text::Writer &out)
{
    out.put(row.name);
    out.put('\t');
    out.put(PhenoID);
    out.put('\t');
    out.put(row.moments.n);
    for (const double value : {row.moments.mean, row.moments.sd}) {
        out.put('\t');
        putValue(value, out);
    }
    if (!summary) {
        out.put("\tNA\tNA\tNA\tNA\tNA\tNA\n");
        return;
    }
    out.put('\t');
    writeFindings(*summary, significance, out);
    out.put('\n');
}

static void writeTallies(int64_t PhenoID, const TraitSummary &summary, text::Writer &out)
{
    out.put(PhenoID);
    summary.write(out);
    out.put('\n');
}

// Prints what there is to say about a phenotype.
static void report(const TraitRow &row, int64_t PhenoID)
{
    if (row.moments.n == 0)
        printBytes("Phenotype " + row.name + " has no values\n");
    else if (!row.isScanned)
        printBytes("Phenotype " + row.name + " does not have two values\n");
    if (PhenoID % 1000 == 0) {
        print("%lld done\n", static_cast<long long>(PhenoID));
        flushConsole();
    }
}

static Coding codingOf(AnalysisType type)
{
    return type == dominant ? dominantCoding : type == recessive ? recessiveCoding : Coding();
}

namespace {
// The files of a run, and the phenotypes of one pass after the other.
class RegressionScan {
public:
    RegressionScan(const RegressionPlan &plan, const RegressionMemory &memory);
    void run();

private:
    void startPass();
    void finishPass(bool isLast);
    void scanMarkers(RegressionHits &hits, MarkerBlock &block);

    const RegressionPlan &m_plan;
    const RegressionMemory m_memory;
    text::LineReader m_phenotypes, m_genotypes;
    text::Writer m_hits, m_statistics, m_tallies;
    PlainMarkerLines m_lines{m_genotypes};
    GenotypeLayout m_layout;
    Progress m_progress{Genoname, Phenoname};
    RegressionPass m_pass;
    int64_t m_phenoID = 0;
};
}  // namespace

RegressionScan::RegressionScan(const RegressionPlan &plan, const RegressionMemory &memory)
    : m_plan(plan), m_memory(memory)
{
    print("\nrunning regscan1() ...\n\n");
    refuseSameScanFiles({});
    if (plan.tallies)
        refuseSameFiles({Phenoname, Genoname, binFileOption.given().value_or("")}, {Outname, Statsname, *plan.tallies});
    if (!m_phenotypes.open(Phenoname) || !m_genotypes.open(Genoname) || !m_hits.open(Outname)
        || !m_statistics.open(Statsname) || (plan.tallies && !m_tallies.open(*plan.tallies)))
        quit();
    m_hits.put(headings[0]);
    m_statistics.put(headings[1]);
}

void RegressionScan::startPass()
{
    const auto make = m_plan.type == logistic ? logisticAnalysis : m_plan.type == bins ? binAnalysis : lineAnalysis;
    m_pass = {};
    m_pass.analysis = make(m_layout.individuals, m_plan.significance);
}

void RegressionScan::scanMarkers(RegressionHits &hits, MarkerBlock &block)
{
    bool isBroken = false;
    do {
        const size_t bytes = getData(m_lines, m_layout, block, isBroken);
        if (m_plan.type != logistic)
            block.centre();
        m_pass.analysis->scan(block, hits);
        if (isBroken)
            refuseMarker();
        m_progress.advance(bytes);
    } while (block.markers == MarkerBlock::capacity);
}

// Scans for the phenotypes of the pass and writes their rows. No further scan follows the last pass.
void RegressionScan::finishPass(bool isLast)
{
    MarkerBlock block(m_layout.individuals, codingOf(m_plan.type));
    RegressionHits hits(m_plan, m_pass.scanned, *m_pass.analysis, block, m_memory.hitBytes, m_hits);
    m_progress.startPass(m_pass.lineBytes);
    if (!m_pass.scanned.empty()) {
        m_lines.startPass(isLast);
        scanMarkers(hits, block);
    }
    size_t trait = 0;
    for (const TraitRow &row : m_pass.rows) {
        if (row.isScanned)
            hits.write(trait);
        report(row, ++m_phenoID);
        writeStatistics(row, m_phenoID, row.isScanned ? &m_pass.analysis->summary(trait) : nullptr, m_plan.significance,
                        m_statistics);
        if (row.isScanned && m_plan.tallies)
            writeTallies(m_phenoID, m_pass.analysis->summary(trait), m_tallies);
        trait += row.isScanned;
    }
    startPass();
}

void RegressionScan::run()
{
    const std::string_view firstMarker = m_lines.first();
    Phenotype phenotype;
    std::string_view line;
    bool isFirst = true;
    while (m_phenotypes.nextNonEmpty(line)) {
        if (isFirst) {
            m_layout = findLayout(line, countWords(firstMarker));
            startPass();
            isFirst = false;
        }
        // A phenotype that ends the run does so after all that comes before it.
        if (!readPhenotype(line, m_layout.individuals, phenotype)) {
            finishPass(true);
            refusePhenotype();
        }
        addPhenotype(m_plan, phenotype, m_pass);
        m_pass.lineBytes += line.size() + 1;
        if (m_pass.bytes > m_memory.tableBytes)
            finishPass(false);
    }
    if (!isFirst)
        finishPass(true);
    m_hits.close();
    m_statistics.close();
    m_tallies.close();
    printFileNames("Top SNPs for each phenotype", "phenotype");
}

void regscan1Within(const RegressionMemory &memory)
{
    const RegressionPlan plan = readOptions();
    RegressionScan(plan, memory).run();
}

static void regscan1()
{
    regscan1Within({halfOfMemory(), size_t(256) << 20});
}

constinit const Mode regscan1Mode
    = {{"regscan1"}, regscan1, options, "Scans every phenotype by regression on every marker, with exact p-values"};
