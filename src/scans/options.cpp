#include "scans/options.h"
#include "main/console.h"
#include "main/settings.h"

void readScanOptions(const InputOption &genotypeFileOption, const RealOption &slopeOption)
{
    Phenoname = phenotypeFileOption.require();
    Outname = hitFileOption.read(Phenoname);
    Statsname = Outname + ".stats";
    Genoname = genotypeFileOption.require();
    Missing = missingOption.read();
    slope_lim = slopeOption.read();
    if (slope_lim < 0)
        slope_lim = 0;
    stat_lim = statisticLimitOption.read();
    statistic = statisticOption.read();
}

void refuseSameScanFiles(const std::string &binFile)
{
    refuseSameFiles({Phenoname, Genoname, binFile}, {Outname, Statsname});
}
