#include "scans/decision.h"
#include "main/settings.h"

#include <cmath>
#include <limits>
#include <utility>

Decision decisionBy(TTable table)
{
    return {statistic, stat_lim, slope_lim, std::move(table)};
}

double Decision::leastPassingR2(int points) const
{
    if (std::isnan(limit))
        return std::numeric_limits<double>::infinity();
    if (statistic == 0)
        return limit;
    double tLimit = limit;
    if (statistic == 2) {
        size_t row = 1;
        while (row + 1 < table.p.size() && table.p[row + 1] > limit)
            ++row;
        tLimit = table.t[row];  // its p is above the limit, or it is the first row
    }
    return tLimit > 0 ? 1 / (1 + (points - 2) / (tLimit * tLimit)) * (1 - r2Clearance) : 0;
}

bool Decision::isPassing(const Fit &fit) const
{
    switch (statistic) {
    case 0:
        return fit.r2 >= limit;
    case 1:
        return fit.t >= limit && fit.t != -1;
    default:
        return fit.p <= limit && fit.p != -1;
    }
}

bool Decision::isSure(const Fit &fit, double part) const
{
    const auto isApart
        = [part](double value, double border) { return std::fabs(value - border) > part * std::fabs(value); };
    return isApart(valueOf(fit), limit) && isApart(fit.absSlope, 0.25 * leastSlope)
           && isApart(fit.absSlope, 0.5 * leastSlope) && isApart(fit.absSlope, leastSlope)
           && isApart(fit.absSlope, 2 * leastSlope);
}

bool Decision::isHit(const Fit &fit, HitCounts &counts) const
{
    if (!isPassing(fit))
        return false;
    const bool hit = fit.absSlope >= leastSlope;
    counts.hits += hit;
    if (fit.absSlope < 0.25 * leastSlope)
        ++counts.belowQuarter;
    else if (fit.absSlope < 0.5 * leastSlope)
        ++counts.belowHalf;
    else if (fit.absSlope >= 2 * leastSlope)
        ++counts.twofold;
    return hit;
}
