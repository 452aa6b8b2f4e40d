// What a phenotype finds over the markers of a regression scan.
#pragma once

#include "scans/decision.h"
#include "scans/median.h"
#include "text/exactnumbers.h"

#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

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

// To a summary of some markers those of the markers behind them can be added, as they were written: it becomes that of
// all markers, to the last bit.
class TraitSummary {
public:
    HitCounts counts;

    // From now on keeps what write() needs.
    void prepareToWrite() { m_records.emplace(); }

    // A marker with a t, or without (NaN), and with a slope or without.
    void add(double slope, double squaredT, double freedom, const std::string &marker, const Significance &significance)
    {
        if (squaredT >= 0)
            m_squaredTs.add(squaredT);
        compete(slope, squaredT, freedom, marker, significance);
    }

    // The same in two steps, for a marker of which nearly exact numbers are enough unless it may be the best one, or
    // the one with the largest slope.
    void addNearly(double squaredT) { m_squaredTs.add(squaredT); }
    bool mayLead(double absSlope, double squaredT, double freedom, const Significance &significance);
    void compete(double slope, double squaredT, double freedom, const std::string &marker,
                 const Significance &significance)
    {
        const double absSlope = std::fabs(slope);
        if (absSlope > m_mostSlope)
            m_mostSlope = absSlope;
        if (squaredT >= 0 && (freedom != m_freedom || squaredT > m_squaredT))
            compare(squaredT, freedom, marker, significance);
    }

    // All but the counts, as words with a blank before each.
    void write(text::Writer &out) const;
    // False, and nothing of use, where these are no such words.
    bool addWritten(text::ExactNumbers &words, const Significance &significance);

    size_t markers() const { return m_squaredTs.count(); }
    double mostSlope() const { return m_mostSlope >= 0 ? m_mostSlope : std::numeric_limits<double>::quiet_NaN(); }
    double leastP(const Significance &significance) const;
    const std::string &bestMarker() const { return m_bestMarker; }
    double lambda() const;  // median of t squared by that of the distribution of chi squared

private:
    // The markers that may be best, whatever comes before them: those that no earlier one with as many degrees of
    // freedom or more has outdone.
    struct Records {
        struct Record {
            double squaredT, freedom;
            std::string marker;
        };
        std::vector<Record> inOrder;
        std::map<double, double> most;  // t squared, by degrees of freedom; the more of these the less

        bool wants(double squaredT, double freedom) const;
        void add(double squaredT, double freedom, const std::string &marker);
    };

    void compare(double squaredT, double freedom, const std::string &marker, const Significance &significance);
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
    std::optional<Records> m_records;
};

// Writes the last six columns of the phenotype's statistics.
void writeFindings(const TraitSummary &summary, const Significance &significance, text::Writer &out);

// "NA" for what is not a number.
void putValue(double value, text::Writer &out);
