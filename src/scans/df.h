// Student t tables: from the R2 of a fit to t and a two-sided p-value.
#pragma once

#include <vector>

// The table in force: entry 0 is a sentinel of -1, entries 1 to 350 are rows of falling p and rising t. Filled by
// one of the loaders before a scan, cleared by the scan at its end.
extern std::vector<double> p;
extern std::vector<double> t;

// Append the table for 1, 2, 3, 5 or 10 degrees of freedom.
void df1();
void df2();
void df3();
void df5();
void df10();

struct TTest {
    double t;
    double p;  // both -1 where there is no value
};

// t = sqrt(R2) * sqrt((points - 2) / (1 - R2)), its p interpolated linearly between the rows around it. No value
// for R2 of 1 and more, for a t of 0 or that is no number, and while no table is loaded.
TTest lookUp(double r2, int points);
