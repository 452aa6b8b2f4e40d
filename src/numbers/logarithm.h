// Logarithms that are the same on every system: each is the double nearest to the true value.
#pragma once

// Of a number above 0, not a number for one that is none, and infinity for infinity. In place of std::log10, whose last
// bit differs between C libraries.
double decimalLogarithm(double x);
