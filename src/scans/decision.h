// What makes a hit.
#pragma once

#include "scans/fit.h"

#include <cstdint>

// Markers of one phenotype, or phenotypes of one marker, that passed the statistic.
struct HitCounts {
    int64_t hits = 0;
    int64_t belowQuarter = 0;  // absolute slope below 0.25 times the least of a hit
    int64_t belowHalf = 0;     // else below 0.5 times
    int64_t twofold = 0;       // else at least twice
};

// t and p depend on R2 alone and run with it, p against it, in one go from R2 = 0 up; only above all rows of the
// table p goes back up a little. So pairs whose R2 lies below a limit need no t and p. Such limits stay clear, by this
// part of R2, of all that rounding could do: an R2, which is 1 less something, is 0 or at least 2^-53, and there p
// still moves by 30 times its precision.
inline constexpr double r2Clearance = 1e-6;

// The rule of a run, made from its settings.
struct Decision {
    int statistic;      // 0 R2, 1 t, 2 p
    double limit;       // of the statistic
    double leastSlope;  // absolute
    TTable table;       // for the degrees of freedom of the fits

    // What the fit has in the statistic that decides.
    double valueOf(const Fit &fit) const { return statistic == 0 ? fit.r2 : statistic == 1 ? fit.t : fit.p; }

    // Fits over so many points whose R2 was formed and is below this do not pass the statistic.
    double leastPassingR2(int points) const;

    // False where a fit that differs from this one by this part of its numbers may be decided otherwise.
    bool isSure(const Fit &fit, double part) const;

    // True when the fit passes the statistic and its absolute slope reaches the least one. Counts it, and every fit
    // that passes the statistic in its class of slopes.
    bool isHit(const Fit &fit, HitCounts &counts) const;

private:
    bool isPassing(const Fit &fit) const;
};

// Of the settings in force.
Decision decisionBy(TTable table);
