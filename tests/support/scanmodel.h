// The association scans gwas and gwas3 as plain loops over markers, phenotypes and individuals, one step after the
// other: their judge, and the yardstick of a benchmark. They differ in what makes the groups whose means are fitted.
#pragma once

#include "scans/df.h"
#include "support/runs.h"

// Lines that are not empty, without their ends; fields with empty ones; words.
Texts plainLines(const std::string &bytes);
Texts plainFields(const std::string &line, const std::string &delimiter);
Texts plainWords(const std::string &line);

std::string plainText(double value);  // six significant digits

// A line by the definitions, with more digits than a double has.
using Long = long double;
struct PlainLine {
    Long xx, yy, slope, error, r2;  // first the sums of squares around the means
};
PlainLine plainLine(const std::vector<std::pair<Long, Long>> &points);

// The table that a scan with so many bins takes; none beyond 11.
const TTable &tableFor(size_t points);

TTest lookUpPlainly(const TTable &table, double r2, size_t points);

// The borders of bins from below the least to above the greatest of the values.
std::vector<double> plainBorders(std::vector<double> values, size_t bins, bool isExact);

struct PlainScan {
    size_t bins = 0;  // of phenotypes, with the means of dosages, as in gwas; none: the genotype classes of gwas3
    bool isExact = true, hasMeans = false;
    int statistic = 2;
    double limit = 0.05, slopeLimit = 0.1;
    std::string delimiter = " ";

    // The bytes of a phenotype file and a genotype file; for bins no faulty ones.
    void run(const std::string &phenotypes, const std::string &genotypes);

    std::string hits, statistics;  // the output files
    std::string error;             // the message that ends the run, if any

private:
    struct Trait {
        std::string name;
        std::vector<double> values;
        std::vector<double> borders;  // of bins; none where nobody has a value
    };
    struct Marker {
        std::string name;
        std::vector<double> values;  // dosages, plus a half for classes
        bool isUneven;               // the line has too few words, or others than the first one
    };
    struct Groups {
        std::vector<double> x, y, counts;
    };
    struct Fit {
        double slope, r2, t, p;
    };
    std::vector<Trait> traits;
    std::vector<Marker> markers;
    int totalHits = 0;

    bool readTraits(const std::string &bytes);
    bool readMarkers(const std::string &bytes);
    Groups binsOf(const Trait &trait, const Marker &marker) const;
    Groups classesOf(const Trait &trait, const Marker &marker);
    Fit fit(const Groups &groups) const;
    void decide(const Fit &fit, const std::string &start, int (&counts)[4]);
    std::string scanOne(size_t number);
};
