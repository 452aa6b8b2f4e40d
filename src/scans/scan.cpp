#include "scans/scan.h"
#include "main/console.h"
#include "main/options.h"
#include "main/settings.h"
#include "scans/df.h"
#include "text/readnumber.h"

#include <cmath>
#include <limits>

void readScanOptions()
{
    Phenoname = requiredOption("-pfile");
    Outname = textOption("-out", Phenoname + ".out");
    Statsname = Outname + ".stats";
    Genoname = requiredOption("-gfile");
    Missing = textOption("-missing", "NA");
    slope_lim = realOption("-slope", 0.1);
    if (slope_lim < 0)
        slope_lim = 0;
    stat_lim = realOption("-statlimit", 0.05);
    const std::string decision = textOption("-statistic", "p");
    statistic = decision == "r2" ? 0 : decision == "t" ? 1 : 2;
}

void refuseSameScanFiles(const std::string &binFile)
{
    refuseSameFiles({Phenoname, Genoname, binFile}, {Outname, Statsname});
}

bool isMissingField(std::string_view field)
{
    return field.empty() || field == Missing;
}

double readPhenotypeValue(std::string_view field)
{
    return isMissingField(field) ? missingValue : text::readDouble(field);
}

// R2 of the line over its points. Intercept and sums of squares in the order of the points.
static double rSquared(std::span<const double> x, std::span<const double> y, double slope, double sumX, double sumY)
{
    const double n = double(x.size());
    const double intercept = (sumY - slope * sumX) / n;
    const double mean = sumY / n;
    double SSres = 0, SStot = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        const double residual = y[k] - (intercept + slope * x[k]);
        const double deviation = y[k] - mean;
        SSres += residual * residual;
        SStot += deviation * deviation;
    }
    if (SStot == 0)
        return 0;
    const double r2 = 1 - SSres / SStot;
    return r2 < 0 ? 0 : r2;
}

Fit fitLine(std::span<const double> x, std::span<const double> y)
{
    const double n = double(x.size());
    double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        sumX += x[k];
        sumY += y[k];
        sumXY += x[k] * y[k];
        sumXX += x[k] * x[k];
    }
    const double slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
    Fit fit = {slope, std::fabs(slope), -1, -1, -1};
    if (fit.absSlope < slope_lim || x.size() <= 2)
        return fit;
    fit.r2 = rSquared(x, y, slope, sumX, sumY);
    const TTest test = lookUp(fit.r2, int(x.size()));
    fit.t = test.t;
    fit.p = test.p;
    return fit;
}

double leastPassingR2(int points)
{
    if (std::isnan(stat_lim))
        return std::numeric_limits<double>::infinity();
    if (statistic == 0)
        return stat_lim;
    double tLimit = stat_lim;
    if (statistic == 2) {
        size_t row = 1;
        while (row + 1 < p.size() && p[row + 1] > stat_lim)
            ++row;
        tLimit = t[row];  // its p is above the limit, or it is the first row
    }
    return tLimit > 0 ? 1 / (1 + (points - 2) / (tLimit * tLimit)) * (1 - r2Clearance) : 0;
}

static bool isPassing(const Fit &fit)
{
    switch (statistic) {
    case 0:
        return fit.r2 >= stat_lim;
    case 1:
        return fit.t >= stat_lim && fit.t != -1;
    default:
        return fit.p <= stat_lim && fit.p != -1;
    }
}

bool isHit(const Fit &fit, HitCounts &counts)
{
    if (!isPassing(fit))
        return false;
    const bool hit = fit.absSlope >= slope_lim;
    counts.hits += hit;
    if (fit.absSlope < 0.25 * slope_lim)
        ++counts.belowQuarter;
    else if (fit.absSlope < 0.5 * slope_lim)
        ++counts.belowHalf;
    else if (fit.absSlope >= 2 * slope_lim)
        ++counts.twofold;
    return hit;
}

void writeHitHeader(text::Writer &out)
{
    out.put("Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n");  // on purpose with a tab at the end
}

void writeHit(std::string_view phenotype, std::string_view marker, const Fit &fit, text::Writer &out)
{
    out.put(phenotype);
    out.put('\t');
    out.put(marker);
    out.put('\t');
    out.put(fit.slope);
    out.put('\t');
    out.put(fit.r2);
    out.put('\t');
    if (fit.t <= 0)
        out.put("NA");
    else
        out.put(fit.t);
    out.put('\t');
    if (fit.p <= 0)
        out.put("NA");
    else
        out.put(fit.p);
    out.put('\n');
}

void writeGroupColumns(text::Writer &out)
{
    for (int k = 1; k <= testgroups; ++k) {
        out.put(k > 1 ? "\tgroup" : "group");
        out.put(k);
    }
    out.put('\n');
}

// The name goes through a buffer of 100 bytes, on purpose.
static void printFileName(const char *what, const char *verb, const std::string &name, const char *end)
{
    char show[100];
    copyBounded(show, name);
    print("%s %s '%s'%s", what, verb, show, end);
}

void printFileNames(const char *best, const char *row)
{
    print("Your files:\n");
    printFileName("Phenotypes", "taken from", Phenoname, "\n");
    printFileName("Genotypes", "taken from", Genoname, "\n");
    printFileName(best, "are in", Outname, "\n");
    printFileName((std::string("Summary statistics by the ") + row).c_str(), "are in", Statsname, "\n\n");
}
