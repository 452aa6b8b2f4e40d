// Student t tables: from the R2 of a fit to t and a two-sided p-value.
#pragma once

#include <vector>

// Entry 0 of both lists is a sentinel of -1, entries 1 to 350 are rows of falling p and rising t. No table: both empty.
struct TTable {
    std::vector<double> p;
    std::vector<double> t;
};

// The tables for 1, 2, 3, 5 and 10 degrees of freedom.
TTable df1();
TTable df2();
TTable df3();
TTable df5();
TTable df10();

struct TTest {
    double t;
    double p;  // both -1 where there is no value
};

// t = sqrt(R2) * sqrt((points - 2) / (1 - R2)), its p interpolated linearly between the rows around it. No value
// for R2 of 1 and more, for a t of 0 or that is no number, and without a table.
TTest lookUp(const TTable &table, double r2, int points);
