// Natural logarithms and powers that are the same on every system, within two units of the last digit: made of
// additions, multiplications and divisions in an order of their own, where C libraries differ by version and by
// processor.
#pragma once

// Of a positive number that is finite and not subnormal.
double naturalLogarithm(double x);

// ln(1 + y) for -1 < y <= 0, also where 1 + y would lose digits.
double logarithmOfOnePlus(double y);

// e^x - 1 for x <= 0, also where e^x would lose them.
double powerLessOne(double x);
