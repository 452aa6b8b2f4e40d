// Phenotype bins of the association scans: definition, check, and borders for one phenotype.
#pragma once

#include <string>
#include <vector>

// The defined borders of each bin, [bin], in definition order.
extern std::vector<double> b1;
extern std::vector<double> b2;

// Written by findBins: the borders of each bin for the current phenotype. A value x is in bin k when
// border1[k] < x <= border2[k].
extern std::vector<double> border1;
extern std::vector<double> border2;

// The current phenotype's values without the missing ones; filled by the scan, sorted by findBins.
extern std::vector<double> p2List;

// Read "-method", "-autobins", "-binfile", "-manualbins" and "-bintype" into the settings, in this order, and
// check them. Wrong definitions end the run. `beforeOpening` is called before the bin file is opened.
void readBinOptions(void (*beforeOpening)(const std::string &binFile));

// Prints the codes of the settings and where the bins come from.
void reportBins();

// Turns the definitions into border1 and border2 for the values of p2List, of which there must be one at least.
// Fewer than two bins end the run; so do absolute bins, on purpose.
void findBins();
