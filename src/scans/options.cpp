#include "scans/options.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/settings.h"
#include "text/writenumber.h"

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
    if (statistic != 2 && !statisticLimitOption.given())
        addDataHint("\"-statlimit\" is not given: hits are all from an R2 or t of " + text::realText(stat_lim) + " on");
}

void refuseSameScanFiles(const std::string &binFile)
{
    refuseSameFiles({Phenoname, Genoname, binFile}, {Outname, Statsname});
}
