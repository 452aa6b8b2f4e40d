// Association scan: for every phenotype the individuals are cut into bins by their value, and every marker's mean
// dosages of the bins are regressed over the bins. A row per hit, and a row of statistics per phenotype.
#include "genotypes/markerhints.h"
#include "genotypes/markers.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/modes.h"
#include "processors/wide.h"
#include "scans/binscan.h"
#include "scans/hits.h"
#include "scans/options.h"
#include "scans/phenotype.h"
#include "scans/scanhints.h"
#include "scans/slopeguess.h"

#include <algorithm>
#include <cmath>

static constexpr InputOption genotypeFileOption = {"-gfile", Use::Required, "dosage file"};
static constexpr const Option *options[] = {
    &phenotypeFileOption,      &genotypeFileOption,  &methodOption,      &binTypeOption,
    &manualBinsOption,         &automaticBinsOption, &hitFileOption,     &missingOption,
    &phenotypeDelimiterOption, &binSlopeOption,      &unusedLimitOption, &statisticOption,
    &statisticLimitOption,     &binFileOption,       &binPlacesOption,
};

// The mean dosage of every bin; 0 for an empty bin, which takes part in the regression all the same, on purpose.
MORVEL_WIDE static void averageBins(const std::vector<Bin> &bins, const std::vector<double> &dosages,
                                    std::vector<double> &means)
{
    for (size_t k = 0; k < bins.size(); ++k) {
        double sum = 0;
        for (const size_t i : bins[k].individuals)
            sum += dosages[i];
        means[k] = bins[k].individuals.empty() ? 0 : sum / double(bins[k].individuals.size());
    }
}

namespace {
// Tells markers that cannot matter to a phenotype by the sums of whole thousandths in its bins, which take a tenth of
// the time of sums in the order and precision that the digits of a hit depend on.
class Sieve {
public:
    Sieve(const std::vector<Bin> &bins, const std::vector<double> &x, size_t individuals, const Decision &decision);

    // True where the marker's absolute slope is too small for a hit and not above `most`.
    bool isOut(const int16_t *thousandths, double most) const;

private:
    static constexpr double mostDosage = 9.999;
    static constexpr size_t partSize = 65536;  // individuals whose sum fits 32 bits

    const double m_leastSlope;
    SlopeGuess m_guess;
    std::vector<std::vector<int16_t>> m_members;  // [bin][individual]: 1 for a member
};
}  // namespace

Sieve::Sieve(const std::vector<Bin> &bins, const std::vector<double> &x, size_t individuals, const Decision &decision)
    : m_leastSlope(leastCountedSlope(decision))
{
    std::vector<size_t> counts;
    for (const Bin &bin : bins) {
        counts.push_back(bin.individuals.size());
        std::vector<int16_t> &members = m_members.emplace_back(individuals);
        for (const size_t i : bin.individuals)
            members[i] = 1;
    }
    m_guess = guessSlope(x, counts, mostDosage);
}

MORVEL_WIDE static int32_t sumMembers(const int16_t *thousandths, const int16_t *members, size_t individuals)
{
    int32_t sum = 0;
    for (size_t i = 0; i < individuals; ++i)
        sum += int32_t(thousandths[i]) * int32_t(members[i]);
    return sum;
}

bool Sieve::isOut(const int16_t *thousandths, double most) const
{
    if (!(m_guess.error < m_leastSlope))
        return false;
    double slope = 0;
    for (size_t k = 0; k < m_members.size(); ++k) {
        const size_t individuals = m_members[k].size();
        double sum = 0;
        for (size_t first = 0; first < individuals; first += partSize)
            sum += sumMembers(thousandths + first, &m_members[k][first], std::min(partSize, individuals - first));
        slope += m_guess.weights[k] * sum;
    }
    const double absSlope = std::fabs(slope) + m_guess.error;
    return absSlope < m_leastSlope && absSlope <= most;
}

// One pass over the dosage file for one phenotype.
static Summary scanMarkers(const std::string &phenotype, const std::vector<Bin> &bins, const Decision &decision,
                           size_t columns, size_t individuals, BinScanFiles &files, Progress &progress)
{
    const std::vector<double> x = binPositions(bins);
    const Sieve sieve(bins, x, individuals, decision);
    std::vector<double> y(bins.size());
    DosageReader dosages(individuals);
    const MarkerLook look = {MarkerLook::Content::Dosages, true, "0", leadingColumns, 2};
    Summary summary;
    std::string_view line, marker;
    while (nextMarkerLine(files.genotypes, line)) {
        lookAtMarker(line, look);
        if (dosages.read(line, marker) != columns)
            refuseMarker();
        progress.advance(line.size());
        if (dosages.thousandths() && sieve.isOut(dosages.thousandths(), summary.absMaxSlope))
            continue;
        averageBins(bins, dosages.values(), y);
        const Fit fit = fitLine(x, y, decision.leastSlope, decision.table);
        if (fit.absSlope > summary.absMaxSlope) {
            summary.absMaxSlope = fit.absSlope;
            summary.bestMarker = marker;
        }
        if (decision.isHit(fit, summary.counts))
            writeHit(phenotype, marker, fit, files.hits);
    }
    files.genotypes.rewind();
    return summary;
}

// Scans every phenotype against every marker.
static void universal(const BinScan &scan)
{
    BinScanFiles files("gwas", true);
    std::string_view line;
    const size_t columns = nextMarkerLine(files.genotypes, line) ? countWords(line) : 0;
    files.genotypes.rewind();
    const size_t individuals = columns > leadingColumns ? columns - leadingColumns : 0;
    Phenotype phenotype;
    int64_t PhenoID = 0;
    Progress progress(Genoname, Phenoname);
    while (files.phenotypes.nextNonEmpty(line)) {
        progress.startPass(line.size());
        ++PhenoID;
        if (!readPhenotype(line, individuals, phenotype))
            refusePhenotype();
        Summary summary;
        std::vector<size_t> binCounts;
        if (hasBins(phenotype.p2List)) {
            const std::vector<Bin> bins = fillBins(findBins(scan.bins, phenotype.p2List), phenotype.values);
            lookAtBins(phenotype.name, phenotype.values, bins);
            summary = scanMarkers(phenotype.name, bins, scan.decision, columns, individuals, files, progress);
            for (const Bin &bin : bins)
                binCounts.push_back(bin.individuals.size());
        }
        reportPhenotype(phenotype.name, PhenoID, summary, binCounts, files.statistics);
    }
    files.finish();
}

static void gwas()
{
    universal(prepareBinScan(genotypeFileOption));
}

constinit const Mode gwasMode
    = {{"gwas", "GWAS"}, gwas, options, "Scans every phenotype against every marker, over phenotype bins"};
