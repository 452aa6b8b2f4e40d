// Logistic regression of a phenotype of two values on one marker.
#pragma once

#include "scans/regression.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Individuals of equal dosage, who share all terms of the sums.
struct DosageGroups {
    std::vector<double> x;      // dosage
    std::vector<double> n;      // individuals
    std::vector<double> cases;  // among them

    void clear()
    {
        x.clear();
        n.clear();
        cases.clear();
    }
    void add(double dosage, double individuals, double caseCount)
    {
        x.push_back(dosage);
        n.push_back(individuals);
        cases.push_back(caseCount);
    }
};

// All groups together.
struct GroupTotals {
    static constexpr double none = std::numeric_limits<double>::infinity();

    double n = 0, cases = 0, sumX = 0;
    double leastCase = none, mostCase = -none, leastControl = none, mostControl = -none;  // dosages
};

struct LogisticFit {
    Regression fit;              // slope: log odds ratio; t: z; R2: not formed
    double intercept = noValue;  // at the mean dosage
    bool isFirth = false;
    GroupTotals totals;
};

// The steps of Newton to the greatest likelihood. Where cases and controls are separate, or 25 steps do not settle, to
// the greatest of Firth's penalised likelihood (Bias reduction of maximum likelihood estimates, 1993; Heinze and
// Schemper, A solution to the problem of separation in logistic regression, 2002), whose errors are by the information
// as well. No values for fewer than 3 individuals, for equal dosages, and without cases or controls. The groups are
// padded, and with values their dosages are then those less their mean.
LogisticFit fitLogistic(DosageGroups &groups);

// 1 - lnL / lnL0, of the likelihood without penalty; the groups are those that the fit has left.
double logisticR2(const DosageGroups &groups, const LogisticFit &fit);

// The sums over groups that a step needs.
struct LogisticSums {
    double score[2];        // by the intercept and by the slope
    double information[3];  // of intercept, both, slope
};

struct LogisticKernels {
    // From the narrowest instructions to the widest, which give the same bits; the first ones run everywhere.
    static std::span<const LogisticKernels> all();

    const char *name;
    bool (*isSupported)();

    // The number of groups is a multiple of 8 in all of them.
    void (*describe)(const DosageGroups &groups, GroupTotals &totals);

    // At a line through the dosages. `variance`, the inverse of the information, is for Firth's score alone; null
    // elsewhere.
    void (*sumUp)(const DosageGroups &groups, double intercept, double slope, const double *variance,
                  LogisticSums &sums);

    // What the groups' likelihoods at the line gain over those at the odds of `caseShare` to 1 less it. `intercept` is
    // less the logarithm of these odds.
    double (*sumGains)(const DosageGroups &groups, double intercept, double slope, double caseShare);
};
