// Association scan: for every phenotype the individuals are cut into bins by their value, and every marker's mean
// dosages of the bins are regressed over the bins. A row per hit, and a row of statistics per phenotype.
#include "main/console.h"
#include "main/options.h"
#include "main/progress.h"
#include "main/settings.h"
#include "modes/bins.h"
#include "modes/df.h"
#include "modes/modes.h"
#include "modes/scan.h"
#include "text/delimiters.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/wide.h"
#include "text/writer.h"

using Walker = text::FieldWalker<text::Separator::WhiteSpace>;

static constexpr size_t leadingColumns = 5;
static constexpr size_t wrongColumns = size_t(-1);

// The individuals of a bin, and their mean phenotype; 0 where there are none.
struct Bin {
    std::vector<size_t> individuals;
    double meanPhenotype = 0;
};

struct Phenotype {
    std::string name;
    std::vector<double> values;  // [individual], missingValue where missing
};

static void readOptions()
{
    readScanOptions();
    const std::string delimiter = textOption("-delim", "space");
    Delim = text::delimiter(delimiter, delimiter);
    readBinOptions(refuseSameScanFiles);
    r2_lim = realOption("-r2", 0.8);
    xmethod = textOption("-xmethod", "integer") == "mean" ? 1 : 0;
}

// The table by the number of bins. On purpose it is the next one where there is none for the exact degrees of
// freedom, and there is none at all for more than 11 bins.
static void loadTable()
{
    if (testgroups == 3)
        df1();
    else if (testgroups == 4)
        df2();
    else if (testgroups == 5)
        df3();
    else if (testgroups == 6 || testgroups == 7)
        df5();
    else if (testgroups >= 8 && testgroups <= 11)
        df10();
}

// The number of words of the file's first line that has any byte; leaves the file at its start.
static size_t countColumns(text::LineReader &in)
{
    size_t columns = 0;
    std::string_view line;
    if (in.nextNonEmpty(line)) {
        Walker walker(line);
        while (const size_t fields = walker.next(Walker::batchSize)) {
            for (size_t i = 0; i < fields; ++i)
                columns += walker.size(i) > 0;
        }
    }
    in.rewind();
    return columns;
}

// Reads the values of the line, of which there must be one per individual; further ones may only be missing.
static void readPhenotype(std::string_view line, size_t individuals, Phenotype &phenotype)
{
    static std::vector<std::string_view> fields;
    text::splitFields(line, Delim, fields);
    phenotype.name = fields[0];
    phenotype.values.clear();
    p2List.clear();
    for (size_t i = 1; i < fields.size(); ++i) {
        const bool isMissing = isMissingField(fields[i]);
        if (isMissing && i > individuals)
            continue;
        phenotype.values.push_back(readPhenotypeValue(fields[i]));
        if (!isMissing)
            p2List.push_back(phenotype.values.back());
    }
    if (phenotype.values.size() != individuals)
        fatal("Pheno file and geno file contain different number of individuals\n");
}

// Puts the individuals into every bin whose borders hold their value: bins may overlap.
static std::vector<Bin> fillBins(const std::vector<double> &values)
{
    std::vector<Bin> bins(border1.size());
    for (size_t k = 0; k < bins.size(); ++k) {
        double sum = 0;
        for (size_t i = 0; i < values.size(); ++i) {
            if (values[i] != missingValue && border1[k] < values[i] && values[i] <= border2[k]) {
                bins[k].individuals.push_back(i);
                sum += values[i];
            }
        }
        if (!bins[k].individuals.empty())
            bins[k].meanPhenotype = sum / double(bins[k].individuals.size());
    }
    return bins;
}

// Reads a marker's line: its name, the second word, and its dosages. Returns the number of words, or wrongColumns
// as soon as there are more than leadingColumns and the dosages.
MORVEL_WIDE static size_t readMarker(std::string_view line, std::string_view &marker, std::vector<double> &dosages)
{
    Walker walker(line);
    marker = {};
    size_t columns = 0;
    while (columns < leadingColumns) {
        if (walker.next(1) == 0)
            return columns;
        if (walker.size(0) > 0 && ++columns == 2)
            marker = walker.field(0);
    }
    size_t individual = 0;
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i) {
            if (walker.size(i) == 0)
                continue;
            if (individual == dosages.size())
                return wrongColumns;
            dosages[individual++] = text::readMostlyShort(walker.field(i));
        }
    }
    return columns + individual;
}

// The mean dosage of every bin; 0 for an empty bin, which takes part in the regression all the same, on purpose.
MORVEL_WIDE static void averageBins(const std::vector<Bin> &bins, const std::vector<double> &dosages, std::vector<double> &means)
{
    for (size_t k = 0; k < bins.size(); ++k) {
        double sum = 0;
        for (const size_t i : bins[k].individuals)
            sum += dosages[i];
        means[k] = bins[k].individuals.empty() ? 0 : sum / double(bins[k].individuals.size());
    }
}

struct Summary {
    HitCounts counts;
    double absMaxSlope = 0;
    std::string bestMarker = "NA";
};

// One pass over the dosage file for one phenotype.
static Summary scanMarkers(const std::string &phenotype, const std::vector<Bin> &bins, size_t columns,
                           text::LineReader &dosageFile, text::Writer &hitFile, Progress &progress)
{
    std::vector<double> x, y(bins.size());
    for (size_t k = 0; k < bins.size(); ++k)
        x.push_back(xmethod == 1 ? bins[k].meanPhenotype : double(k + 1));
    std::vector<double> dosages(columns > leadingColumns ? columns - leadingColumns : 0);
    Summary summary;
    std::string_view line, marker;
    while (dosageFile.nextNonEmpty(line)) {
        if (readMarker(line, marker, dosages) != columns)
            fatal("Inconsistent number of columns in geno file\n");
        averageBins(bins, dosages, y);
        const Fit fit = fitLine(x, y);
        if (fit.absSlope > summary.absMaxSlope) {
            summary.absMaxSlope = fit.absSlope;
            summary.bestMarker = marker;
        }
        if (isHit(fit, summary.counts))
            writeHit(phenotype, marker, fit, hitFile);
        progress.advance(line.size());
    }
    dosageFile.rewind();
    return summary;
}

static void writeStatisticsHeader(text::Writer &out)
{
    out.put("Pheno\tPhenoID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\tBestSNP\t");
    writeGroupColumns(out);
}

static void writeStatistics(const std::string &phenotype, int64_t PhenoID, const Summary &summary,
                            const std::vector<Bin> &bins, text::Writer &out)
{
    const HitCounts &counts = summary.counts;
    out.put(phenotype);
    // On purpose the hits stand twice.
    for (const int64_t count :
         {PhenoID, counts.hits, counts.hits, counts.belowQuarter, counts.belowHalf, counts.twofold}) {
        out.put('\t');
        out.put(count);
    }
    out.put('\t');
    out.put(summary.absMaxSlope);
    out.put('\t');
    out.put(summary.bestMarker);
    for (const Bin &bin : bins) {
        out.put('\t');
        out.put(bin.individuals.size());
    }
    out.put('\n');
}

// Scans every phenotype against every marker.
static void universal()
{
    if (testgroups < 3 || testgroups > 5)
        statistic = 0;  // on purpose: R2 decides, also where a t table is loaded
    print("\nrunning gwas() ...\n\n");
    refuseSameScanFiles({});
    text::LineReader phenotypeFile, dosageFile;
    text::Writer hitFile, statisticsFile;
    if (!phenotypeFile.open(Phenoname) || !dosageFile.openToReread(Genoname) || !hitFile.open(Outname)
        || !statisticsFile.open(Statsname))
        quit();
    writeHitHeader(hitFile);
    writeStatisticsHeader(statisticsFile);

    const size_t columns = countColumns(dosageFile);
    const size_t individuals = columns > leadingColumns ? columns - leadingColumns : 0;
    Phenotype phenotype;
    int64_t PhenoID = 0;
    Progress progress(Genoname, Phenoname);
    std::string_view line;
    while (phenotypeFile.nextNonEmpty(line)) {
        progress.startPass(line.size());
        ++PhenoID;
        readPhenotype(line, individuals, phenotype);
        std::vector<Bin> bins(testgroups > 0 ? size_t(testgroups) : 0);
        Summary summary;
        if (p2List.empty()) {
            printBytes("Phenotype " + phenotype.name + " has no values\n");
        } else {
            findBins();
            bins = fillBins(phenotype.values);
            summary = scanMarkers(phenotype.name, bins, columns, dosageFile, hitFile, progress);
        }
        writeStatistics(phenotype.name, PhenoID, summary, bins, statisticsFile);
        if (PhenoID % 1000 == 0) {
            print("%lld done\n", static_cast<long long>(PhenoID));
            flushConsole();
        }
    }

    printFileNames("Top SNPs for each phenotype", "phenotype");
    p.clear();
    t.clear();
}

void gwas()
{
    readOptions();
    reportBins();
    loadTable();
    universal();
}
