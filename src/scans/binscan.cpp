#include "scans/binscan.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/settings.h"
#include "scans/hits.h"
#include "scans/options.h"

static BinDefinition readOptions(const InputOption &genotypeFileOption)
{
    readScanOptions(genotypeFileOption, binSlopeOption);
    Delim = phenotypeDelimiterOption.read();
    BinDefinition bins = readBinOptions(refuseSameScanFiles);
    r2_lim = unusedLimitOption.read();
    xmethod = binPlacesOption.read();
    return bins;
}

TTable binTable()
{
    if (testgroups == 3)
        return df1();
    if (testgroups == 4)
        return df2();
    if (testgroups == 5)
        return df3();
    if (testgroups == 6 || testgroups == 7)
        return df5();
    if (testgroups >= 8 && testgroups <= 11)
        return df10();
    return {};
}

BinScan prepareBinScan(const InputOption &genotypeFileOption)
{
    BinDefinition bins = readOptions(genotypeFileOption);
    reportBins();
    if ((testgroups < 3 || testgroups > 5) && statistic != 0)
        addDataHint("with " + std::to_string(testgroups)
                    + " bins R2 decides, whatever -statistic says, and -statlimit is a "
                      "least R2; 3, 4 and 5 bins have p and t");
    if (testgroups < 3 || testgroups > 5)
        statistic = 0;  // on purpose: R2 decides, also where there is a t table
    return {std::move(bins), decisionBy(binTable())};
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

void BinScanFiles::finish()
{
    hits.close();
    statistics.close();
    printFileNames("Top SNPs for each phenotype", "phenotype");
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
