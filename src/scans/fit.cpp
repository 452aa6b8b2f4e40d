#include "scans/fit.h"

#include <cmath>

// R2 of the line over its points. Intercept and sums of squares in the order of the points.
static double rSquared(std::span<const double> x, std::span<const double> y, double slope, double sumX, double sumY)
{
    const double n = double(x.size());
    const double intercept = (sumY - slope * sumX) / n;
    const double mean = sumY / n;
    double SSres = 0, SStot = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        const double residual = y[k] - (intercept + slope * x[k]);
        const double deviation = y[k] - mean;
        SSres += residual * residual;
        SStot += deviation * deviation;
    }
    if (SStot == 0)
        return 0;
    const double r2 = 1 - SSres / SStot;
    return r2 < 0 ? 0 : r2;
}

Fit fitLine(std::span<const double> x, std::span<const double> y, double leastSlope, const TTable &table)
{
    const double n = double(x.size());
    double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        sumX += x[k];
        sumY += y[k];
        sumXY += x[k] * y[k];
        sumXX += x[k] * x[k];
    }
    const double slope = (n * sumXY - sumX * sumY) / (n * sumXX - sumX * sumX);
    Fit fit = {slope, std::fabs(slope), -1, -1, -1};
    if (fit.absSlope < leastSlope || x.size() <= 2)
        return fit;
    fit.r2 = rSquared(x, y, slope, sumX, sumY);
    const TTest test = lookUp(table, fit.r2, int(x.size()));
    fit.t = test.t;
    fit.p = test.p;
    return fit;
}
