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

// One pass over the dosage file for one phenotype.
static Summary scanMarkers(const std::string &phenotype, const std::vector<Bin> &bins, const Decision &decision,
                           size_t individuals, BinScanFiles &files, Progress &progress)
{
    const std::vector<double> x = binPositions(bins);
    std::vector<double> y(bins.size()), dosages(individuals);
    const MarkerLook look = {MarkerLook::Content::Dosages, true, "0", leadingColumns, 2};
    Summary summary;
    std::string_view line, marker;
    while (nextMarkerLine(files.genotypes, line)) {
        lookAtMarker(line, look);
        if (readDosages(line, marker, dosages) != leadingColumns + individuals)
            refuseMarker();
        averageBins(bins, dosages, y);
        const Fit fit = fitLine(x, y, decision.leastSlope, decision.table);
        if (fit.absSlope > summary.absMaxSlope) {
            summary.absMaxSlope = fit.absSlope;
            summary.bestMarker = marker;
        }
        if (decision.isHit(fit, summary.counts))
            writeHit(phenotype, marker, fit, files.hits);
        progress.advance(line.size());
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
            summary = scanMarkers(phenotype.name, bins, scan.decision, individuals, files, progress);
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
