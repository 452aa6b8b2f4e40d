#include "scans/binscan.h"
#include "main/console.h"
#include "main/options.h"
#include "main/settings.h"
#include "scans/bins.h"
#include "scans/df.h"
#include "text/delimiters.h"
#include "text/fields.h"
#include "text/readnumber.h"
#include "processors/wide.h"

using Walker = text::FieldWalker<text::Separator::WhiteSpace>;

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

void prepareBinScan()
{
    readOptions();
    reportBins();
    loadTable();
    if (testgroups < 3 || testgroups > 5)
        statistic = 0;  // on purpose: R2 decides, also where a t table is loaded
}

BinScanFiles::BinScanFiles(const char *mode, bool rereadsGenotypes)
{
    print("\nrunning %s() ...\n\n", mode);
    refuseSameScanFiles({});
    if (!phenotypes.open(Phenoname) || !(rereadsGenotypes ? genotypes.openToReread(Genoname) : genotypes.open(Genoname))
        || !hits.open(Outname) || !statistics.open(Statsname))
        quit();
    writeHitHeader(hits);
    statistics.put("Pheno\tPhenoID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\tBestSNP\t");
    writeGroupColumns(statistics);
}

void finishBinScan()
{
    printFileNames("Top SNPs for each phenotype", "phenotype");
    p.clear();
    t.clear();
}

size_t countWords(std::string_view line)
{
    size_t words = 0;
    Walker walker(line);
    while (const size_t fields = walker.next(Walker::batchSize)) {
        for (size_t i = 0; i < fields; ++i)
            words += walker.size(i) > 0;
    }
    return words;
}

bool readPhenotype(std::string_view line, size_t individuals, Phenotype &phenotype)
{
    text::FieldReader fields(line, Delim);
    std::string_view field;
    fields.next(field);
    phenotype.name = field;
    phenotype.values.clear();
    phenotype.values.reserve(individuals);
    p2List.clear();
    p2List.reserve(individuals);
    while (fields.next(field)) {
        const bool isMissing = isMissingField(field);
        if (phenotype.values.size() == individuals) {
            if (!isMissing)
                return false;
            continue;
        }
        phenotype.values.push_back(readPhenotypeValue(field));
        if (!isMissing)
            p2List.push_back(phenotype.values.back());
    }
    return phenotype.values.size() == individuals;
}

void refusePhenotype()
{
    fatal("Pheno file and geno file contain different number of individuals\n");
}

std::vector<Bin> fillBins(const std::vector<double> &values)
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

std::vector<double> binPositions(const std::vector<Bin> &bins)
{
    std::vector<double> x;
    for (size_t k = 0; k < bins.size(); ++k)
        x.push_back(xmethod == 1 ? bins[k].meanPhenotype : double(k + 1));
    return x;
}

MORVEL_WIDE size_t readMarker(std::string_view line, std::string_view &marker, std::span<double> dosages)
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

void refuseMarker()
{
    fatal("Inconsistent number of columns in geno file\n");
}

static void writeStatistics(const std::string &name, int64_t PhenoID, const Summary &summary,
                            const std::vector<size_t> &binCounts, text::Writer &out)
{
    const HitCounts &counts = summary.counts;
    out.put(name);
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
    for (int k = 0; k < testgroups; ++k) {
        out.put('\t');
        out.put(binCounts.empty() ? 0 : binCounts[size_t(k)]);
    }
    out.put('\n');
}

void reportPhenotype(const std::string &name, int64_t PhenoID, const Summary &summary,
                     const std::vector<size_t> &binCounts, text::Writer &statisticsFile)
{
    if (binCounts.empty())
        printBytes("Phenotype " + name + " has no values\n");
    writeStatistics(name, PhenoID, summary, binCounts, statisticsFile);
    if (PhenoID % 1000 == 0) {
        print("%lld done\n", static_cast<long long>(PhenoID));
        flushConsole();
    }
}
