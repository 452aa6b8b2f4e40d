// Settings of the scans. Each is set while the mode reads its options, by the function named, and constant afterwards;
// a mode's own defaults may differ from the start values.
#pragma once

#include <string>

// Set by readScanOptions(), Delim by the mode.
extern std::string Phenoname;  // phenotype file
extern std::string Genoname;   // genotype or dosage file
extern std::string Outname;    // hit file
extern std::string Statsname;  // statistics file
extern std::string Delim;      // between the fields of the phenotype file
extern std::string Missing;    // phenotype field that means "no value"
extern int statistic;          // that decides on a hit: 0 R2, 1 t, 2 p; prepareBinScan() overrules it
extern double stat_lim;        // limit of the statistic
extern double slope_lim;       // least absolute slope of a hit, dosage per bin

// Set by readBinOptions().
extern int bintype;     // bin borders: 1 fractions of the phenotype's range, 0 phenotype values
extern int method;      // relative borders: 1 ranks of the sorted values, 0 fractions of the value range
extern int testgroups;  // bins, which are also the points of every regression
extern int groups;      // source of the bins: -9 not chosen, 0 automatic, 1 bin file, 2 command line

// Set by prepareBinScan(), and xmethod by regscan1 as well.
extern int xmethod;    // value of a bin: 0 its number, 1 its mean phenotype
extern double r2_lim;  // read, not used by the scans

// Of regscan1.
extern double na_value;     // dosage that means "no value"; constant
extern char rsnumber[500];  // name of the marker read last, with an end mark; set by getData()
