// Hints about the data of scans: facts that may not be meant, told to main/datahints.h. All do nothing where no hints
// are wanted.
#pragma once

#include "scans/bins.h"

#include <string>
#include <vector>

// A phenotype that is a header line, and values that stand for missing ones.
void lookAtPhenotype(const std::string &name, const std::vector<double> &values);

// Bins that hold nobody, where these count, or nearly all, and a phenotype with two values only.
void lookAtBins(const std::string &name, const std::vector<double> &values, const std::vector<Bin> &bins,
                bool emptyBinsCount = true);

// Why a phenotype with so many values and a genotype file with so many columns, leading ones included, may hold
// different numbers of individuals.
void explainIndividuals(size_t values, size_t columns, bool hasTriplets);
