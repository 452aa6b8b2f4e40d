// The fast association scan as a plain loop over markers, phenotypes and individuals, one step after the
// other: the judge of the real one, and the yardstick of its benchmark.
#pragma once

#include <string>
#include <vector>

struct LiteralScan {
    std::string delimiter = " ";
    std::string missing = "NA";
    double slopeLimit = 0.1;
    double statisticLimit = 0.05;
    int statistic = 2;

    // Scans the bytes of a phenotype file "p" and a genotype file "g"; the results stay below.
    void run(const std::string &phenotypes, const std::string &genotypes);

    std::string hits;  // of hit file "o", and so on; none where it was not opened
    std::string statistics;
    std::string messages;  // on standard output
    int status = 0;

private:
    std::vector<std::string> wordsOf(const std::string &line) const;
    bool scan(const std::string &phenotypes, const std::string &genotypes);
};
