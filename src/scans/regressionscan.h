// The regressions of many phenotypes on a block of markers, by the kind of analysis.
#pragma once

#include "scans/bins.h"
#include "scans/markerblock.h"
#include "scans/regression.h"
#include "scans/traits.h"
#include "scans/traitsummary.h"

#include <memory>

// A phenotype and a marker.
struct TraitFit {
    Regression fit;
    double freedom;    // degrees of freedom of t, infinite for z
    size_t n;          // individuals used
    double frequency;  // of the effect allele among them; NaN without any
    const char *method;
    double error = 0;  // what the fit's numbers may be off at most, as a part of them
};

// Takes the pairs that may be hits.
class FitSink {
public:
    // False where a pair of this t cannot be one.
    virtual bool isWanted(double squaredT, double freedom) = 0;
    // False where its numbers must be nearer to the right ones; an exact pair is always taken.
    virtual bool take(size_t trait, size_t marker, const TraitFit &pair) = 0;

protected:
    ~FitSink() = default;
};

// A phenotype that is scanned. What an analysis does not need is empty.
struct RegressionTrait {
    CentredValues y;
    std::vector<uint8_t> status;
    std::vector<std::vector<uint32_t>> bins;  // individuals
    std::vector<double> binY;                 // [bin], less any number near their mean
    TraitSummary summary;
};

// The phenotypes of one pass over the markers.
class Analysis {
public:
    Analysis(size_t individuals, const Significance &significance)
        : m_individuals(individuals), m_significance(significance)
    {
    }
    virtual ~Analysis() = default;

    // Returns the bytes of memory that the phenotype takes; they are added in order of their numbers, from 0.
    virtual size_t add(RegressionTrait trait) = 0;
    virtual void scan(const MarkerBlock &block, FitSink &sink) = 0;

    size_t traits() const { return m_traits.size(); }
    TraitSummary &summary(size_t trait) { return m_traits[trait]->summary; }

protected:
    // Of a pair that was formed exactly.
    void tell(size_t trait, const MarkerBlock &block, size_t marker, const TraitFit &pair, FitSink &sink);
    size_t keep(RegressionTrait trait);

    const size_t m_individuals;
    const Significance &m_significance;
    std::vector<std::unique_ptr<RegressionTrait>> m_traits;
};

// Least squares over the individuals, by the values y.
std::unique_ptr<Analysis> lineAnalysis(size_t individuals, const Significance &significance);
// Logistic regression by the status. Decisions by R2 need all of them formed; else it is for the pairs that are wanted.
std::unique_ptr<Analysis> logisticAnalysis(size_t individuals, const Significance &significance);
// Least squares over the means of bins that are not empty.
std::unique_ptr<Analysis> binAnalysis(size_t individuals, const Significance &significance);
