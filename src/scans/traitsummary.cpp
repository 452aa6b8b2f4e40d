#include "scans/traitsummary.h"
#include "scans/pvalues.h"

#include <algorithm>
#include <iterator>

Significance::Significance(bool usesTables)
{
    if (usesTables)
        m_tables = {{1, df1()}, {2, df2()}, {3, df3()}, {5, df5()}, {10, df10()}};
}

double Significance::p(double t, double freedom) const
{
    if (std::isinf(freedom))
        return normalP(t);
    const auto table = m_tables.find(freedom);
    if (table != m_tables.end() && t > 0) {
        const TTest test = lookUp(table->second, 1 / (1 + freedom / (t * t)), int(freedom) + 2);
        if (test.p >= 0)
            return test.p;
    }
    return studentP(t, freedom);
}

double Significance::leastT(double p, double freedom) const
{
    if (!m_tables.empty())
        return 0;
    return std::isinf(freedom) ? normalZ(p) : studentT(p, freedom);
}

bool TraitSummary::Records::wants(double squaredT, double freedom) const
{
    // Among other degrees of freedom roundings may decide.
    constexpr double clear = 1 + 1e-9;
    const auto above = most.lower_bound(freedom);
    return above == most.end() || above->second < (above->first == freedom ? squaredT : squaredT * clear);
}

void TraitSummary::Records::add(double squaredT, double freedom, const std::string &marker)
{
    if (!wants(squaredT, freedom))
        return;
    inOrder.push_back({squaredT, freedom, marker});
    const auto place = most.insert_or_assign(freedom, squaredT).first;
    while (place != most.begin() && std::prev(place)->second <= squaredT)
        most.erase(std::prev(place));
}

bool TraitSummary::mayLead(double absSlope, double squaredT, double freedom, const Significance &significance)
{
    return absSlope > m_mostSlope || (m_records && m_records->wants(squaredT, freedom))
           || (freedom == m_freedom ? squaredT > m_squaredT : mayBeBetter(squaredT, freedom, significance));
}

void TraitSummary::compare(double squaredT, double freedom, const std::string &marker, const Significance &significance)
{
    if (m_records) [[unlikely]]
        m_records->add(squaredT, freedom, marker);
    // What rounding could make of the same data is no better.
    constexpr double more = 1 + 1e-12;
    if (freedom == m_freedom ? squaredT > m_squaredT * more : mayBeBetter(squaredT, freedom, significance))
        setBest(squaredT, freedom, marker);
}

void TraitSummary::write(text::Writer &out) const
{
    text::putExact(m_mostSlope, out);
    text::putExact(double(m_records->inOrder.size()), out);
    for (const Records::Record &record : m_records->inOrder) {
        text::putExact(record.squaredT, out);
        text::putExact(record.freedom, out);
        out.put(' ');
        out.put(record.marker);
    }
    m_squaredTs.write(out);
}

bool TraitSummary::addWritten(text::ExactNumbers &words, const Significance &significance)
{
    double slope, records, squaredT, freedom;
    std::string_view marker;
    if (!words.next(slope) || !words.next(records))
        return false;
    m_mostSlope = std::max(m_mostSlope, slope);
    for (double i = 0; i < records; ++i) {
        if (!words.next(squaredT) || !words.next(freedom) || !words.nextWord(marker))
            return false;
        if (freedom != m_freedom || squaredT > m_squaredT)
            compare(squaredT, freedom, std::string(marker), significance);
    }
    return m_squaredTs.add(words) && words.atEnd();
}

void TraitSummary::setBest(double squaredT, double freedom, const std::string &marker)
{
    m_squaredT = squaredT;
    m_freedom = freedom;
    m_bestMarker = marker;
    m_p = 2;
    m_floorFreedom = 0;
}

// With other degrees of freedom than the best one has: p falls with t and with the degrees of freedom.
bool TraitSummary::mayBeBetter(double squaredT, double freedom, const Significance &significance)
{
    if (m_squaredT < 0 || (freedom > m_freedom && squaredT > m_squaredT))
        return true;
    if (freedom < m_freedom && squaredT <= m_squaredT)
        return false;
    if (m_p > 1)
        m_p = leastP(significance);
    if (freedom > m_floorFreedom) {
        const double least = significance.leastT(m_p, freedom);
        m_floorFreedom = freedom;
        m_floor = least * least * (1 - 1e-9);
    }
    return squaredT >= m_floor && significance.p(std::sqrt(squaredT), freedom) < m_p;
}

double TraitSummary::leastP(const Significance &significance) const
{
    return m_squaredT < 0 ? std::numeric_limits<double>::quiet_NaN() : significance.p(std::sqrt(m_squaredT), m_freedom);
}

double TraitSummary::lambda() const
{
    return m_squaredTs.median() / 0.454937;
}

void putValue(double value, text::Writer &out)
{
    if (std::isnan(value))
        out.put("NA");
    else
        out.put(value);
}

void writeFindings(const TraitSummary &summary, const Significance &significance, text::Writer &out)
{
    out.put(summary.markers());
    out.put('\t');
    out.put(summary.counts.hits);
    for (const double value : {summary.mostSlope(), summary.leastP(significance)}) {
        out.put('\t');
        putValue(value, out);
    }
    out.put('\t');
    out.put(summary.bestMarker());
    out.put('\t');
    putValue(summary.lambda(), out);
}
