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

struct LogisticFit {
    Regression fit;              // slope: log odds ratio; t: z; R2: not formed
    double intercept = noValue;  // at the dosage 0
    bool isFirth = false;
};

// The steps of Newton to the greatest likelihood. Where cases and controls are separate, or 25 steps do not settle, to
// the greatest of Firth's penalised likelihood (Bias reduction of maximum likelihood estimates, 1993; Heinze and
// Schemper, A solution to the problem of separation in logistic regression, 2002), whose errors are by the information
// as well. No values for fewer than 3 individuals, for equal dosages, and without cases or controls. The groups are
// padded.
LogisticFit fitLogistic(DosageGroups &groups);

// 1 - lnL / lnL0, of the likelihood without penalty.
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

    // At a line through the dosages, whose number is a multiple of 8. `variance`, the inverse of the information, is
    // for Firth's score alone; null elsewhere.
    void (*sumUp)(const DosageGroups &groups, double intercept, double slope, const double *variance,
                  LogisticSums &sums);
};
