#include "scans/traitsummary.h"
#include "scans/pvalues.h"

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
