// Phenotype bins of the association scans: definition, check, borders and members for one phenotype.
#pragma once

#include <string>
#include <vector>

// The defined borders of each bin, [bin], in definition order; none for automatic bins.
struct BinDefinition {
    std::vector<double> b1;
    std::vector<double> b2;
};

// Reads "-method", "-autobins", "-binfile", "-manualbins" and "-bintype" into the settings, in this order, and
// checks them. Wrong definitions end the run. `beforeOpening` is called before the bin file is opened.
BinDefinition readBinOptions(void (*beforeOpening)(const std::string &binFile));

// Prints the codes of the settings and where the bins come from.
void reportBins();

// The borders of each bin for one phenotype, [bin]. A value x is in bin k when border1[k] < x <= border2[k].
struct BinBorders {
    std::vector<double> border1;
    std::vector<double> border2;
};

// False for a phenotype without values that findBins() cannot take: with borders at ranks there must be one at least.
bool hasBins(const std::vector<double> &p2List);

// Turns the definition into borders for the values, in any order. Fewer than two bins end the run; so do absolute
// bins, on purpose.
BinBorders findBins(const BinDefinition &definition, std::vector<double> p2List);

// The individuals of a bin in their order, and their mean phenotype; 0 where there are none.
struct Bin {
    std::vector<size_t> individuals;
    double meanPhenotype = 0;
};

// Puts the individuals into every bin whose borders hold their value: bins may overlap.
std::vector<Bin> fillBins(const BinBorders &borders, const std::vector<double> &values);

// The x of every bin in the regression.
std::vector<double> binPositions(const std::vector<Bin> &bins);
