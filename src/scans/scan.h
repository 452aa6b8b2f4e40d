// What the association scans share: options, the fit over the bins' means, the decision, the hit rows.
#pragma once

#include "text/writer.h"

#include <span>
#include <string>
#include <string_view>

// The value of a missing phenotype.
inline constexpr double missingValue = -999.999;

// Reads "-pfile", "-out", "-gfile", "-missing", "-slope", "-statlimit" and "-statistic" into the settings.
// Ends the run where one of the two inputs is not named.
void readScanOptions();

// To be called right before the first file is opened; `binFile` may be empty.
void refuseSameScanFiles(const std::string &binFile);

bool isMissingField(std::string_view field);        // empty, or the text of a missing value
double readPhenotypeValue(std::string_view field);  // missingValue for a missing field

// A marker's regression over the bins.
struct Fit {
    double slope;
    double absSlope;
    double r2;  // r2, t and p are -1 where there is no value
    double t;
    double p;
};

// Markers of one phenotype, or phenotypes of one marker, that passed the statistic.
struct HitCounts {
    int64_t hits = 0;
    int64_t belowQuarter = 0;  // absolute slope below 0.25 slope_lim
    int64_t belowHalf = 0;     // else below 0.5 slope_lim
    int64_t twofold = 0;       // else at least 2 slope_lim
};

// Least squares over the points (x, y), in their order, with R2, t and p by the table in force. Where the slope is
// below slope_lim, or there are fewer than 3 points, they are not formed.
Fit fitLine(std::span<const double> x, std::span<const double> y);

// t and p depend on R2 alone and run with it, p against it, in one go from R2 = 0 up; only above all rows of the
// table p goes back up a little. So pairs whose R2 lies below a limit need no t and p. Such limits stay clear, by this
// part of R2, of all that rounding could do: an R2, which is 1 less something, is 0 or at least 2^-53, and there p
// still moves by 30 times its precision.
inline constexpr double r2Clearance = 1e-6;

// Fits over so many points whose R2 was formed and is below this do not pass the statistic.
double leastPassingR2(int points);

// True when the fit passes the chosen statistic against stat_lim and its absolute slope reaches slope_lim. Counts
// it, and every fit that passes the statistic in its class of slopes.
bool isHit(const Fit &fit, HitCounts &counts);

// One row for hits: phenotype, marker, slope, R2, t and p.
void writeHitHeader(text::Writer &out);
void writeHit(std::string_view phenotype, std::string_view marker, const Fit &fit, text::Writer &out);

// "group1", "group2", ... up to testgroups: the last columns of the statistics header, with its line break.
void writeGroupColumns(text::Writer &out);

// The closing lines that name the four files: `best` are in the hit file, the summary is by `row`.
void printFileNames(const char *best, const char *row);
