// What a phenotype finds over the markers of a regression scan.
#pragma once

#include "scans/decision.h"
#include "scans/median.h"

#include <cmath>
#include <limits>
#include <map>
#include <string>

// From t to p, by Student's distribution or, with infinite degrees of freedom, the normal one.
class Significance {
public:
    // With tables, p is by the t table of exactly these degrees of freedom where there is one.
    explicit Significance(bool usesTables);

    double p(double t, double freedom) const;

    // The least t that reaches a p; with tables 0.
    double leastT(double p, double freedom) const;

private:
    std::map<double, TTable> m_tables;  // by degrees of freedom
};

class TraitSummary {
public:
    HitCounts counts;

    // A marker with a t, or without (NaN), and with a slope or without.
    void add(double slope, double squaredT, double freedom, const std::string &marker, const Significance &significance)
    {
        const double absSlope = std::fabs(slope);
        if (absSlope > m_mostSlope)
            m_mostSlope = absSlope;
        if (!(squaredT >= 0))
            return;
        m_squaredTs.add(squaredT);
        // What rounding could make of the same data is no better.
        constexpr double more = 1 + 1e-12;
        if (freedom == m_freedom ? squaredT > m_squaredT * more : mayBeBetter(squaredT, freedom, significance))
            setBest(squaredT, freedom, marker);
    }

    size_t markers() const { return m_squaredTs.count(); }
    double mostSlope() const { return m_mostSlope >= 0 ? m_mostSlope : std::numeric_limits<double>::quiet_NaN(); }
    double leastP(const Significance &significance) const;
    const std::string &bestMarker() const { return m_bestMarker; }
    double lambda() const;  // median of t squared by that of the distribution of chi squared

private:
    bool mayBeBetter(double squaredT, double freedom, const Significance &significance);
    void setBest(double squaredT, double freedom, const std::string &marker);

    StreamMedian m_squaredTs;
    double m_mostSlope = -1;
    // Of the least p, whose first marker counts.
    double m_squaredT = -1;
    double m_freedom = 0;
    std::string m_bestMarker = "NA";
    double m_p = 2;                          // its p, formed where it is asked for; 2 for not yet
    double m_floorFreedom = 0, m_floor = 0;  // so much t squared is needed with so many degrees of freedom or fewer
};
