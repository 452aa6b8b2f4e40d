// Slow and obvious versions of what the association scans share, one step after the other.
#pragma once

#include "scans/df.h"
#include "support/runs.h"

#include <string>
#include <vector>

// Lines that are not empty, without their ends; fields with empty ones; words.
Texts plainLines(const std::string &bytes);
Texts plainFields(const std::string &line, const std::string &delimiter);
Texts plainWords(const std::string &line);

std::string plainText(double value);  // six significant digits

struct PlainFit {
    double slope, r2, t, p;
};

PlainFit fitPlainly(const std::vector<double> &x, const std::vector<double> &y, const TTable &table);

// The decision on one marker and phenotype after the other.
struct PlainDecisions {
    int statistic = 2;
    double limit = 0.05, slopeLimit = 0.1;
    TTable table = {};

    void decide(const PlainFit &fit, const std::string &phenotype, const std::string &marker);

    std::string hits;                // rows
    int counts[4] = {};              // hits and classes of slopes
    std::string takeCounts();        // "\t" before each; and starts again
};
