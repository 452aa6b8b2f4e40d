#include "matching/group.h"
#include "numbers/natural.h"

#include <cmath>

static constexpr double leastVariance = 1e-18;
static constexpr double withoutValues = 900;

void GroupMatching::Sums::add(double value, double times)
{
    if (isMissing(value))
        return;
    count += times;
    values += times * value;
    squares += times * (value * value);
}

static double squaredLogOfSpread(double variance)
{
    const double logarithm = naturalLogarithm(std::max(variance, leastVariance)) / 2;
    return logarithm * logarithm;
}

// Not above it, by |ln v| >= 2 |v - 1| / (v + 1), and without the logarithm, which would take most of the time of a
// search.
static double leastSquaredLogOfSpread(double variance)
{
    const double least = (variance - 1) / (std::max(variance, 0.0) + 1);
    return least * least;
}

template <class SpreadTerm>
double GroupMatching::term(const Sums &sums, bool hasSpread, SpreadTerm spreadTerm)
{
    if (sums.count == 0)
        return withoutValues;
    const double mean = sums.values / sums.count;
    return mean * mean + (hasSpread ? spreadTerm(sums.squares / sums.count - mean * mean) : 0.0);
}

// The pool in units of the first set's spread from its mean.
static Points relativeToFirst(const Standardised &data, std::vector<bool> &hasSpread)
{
    Points relative{data.pool.count, 0, {}};
    std::vector<Moments> moments;
    std::vector<size_t> columns;
    for (size_t c = 0; c < data.inverse.size(); ++c) {
        Moments own = momentsOf(data.first.column(c));
        if (isMissing(own.mean))
            continue;
        hasSpread.push_back(own.deviation > 0);
        if (own.deviation == 0)
            own.deviation = 1 / data.inverse[c];
        moments.push_back(own);
        columns.push_back(c);
    }
    relative.columnCount = columns.size();
    for (size_t i = 0; i < data.pool.count; ++i) {
        for (size_t c = 0; c < columns.size(); ++c)
            relative.values.push_back((data.pool[i][columns[c]] - moments[c].mean) / moments[c].deviation);
    }
    return relative;
}

GroupMatching::GroupMatching(const Standardised &data, const std::vector<uint32_t> &members)
    : m_pool(relativeToFirst(data, m_hasSpread))
    , m_outside(m_pool, std::vector<double>(m_pool.columnCount, 1.0))
    , m_members(members)
{
    std::sort(m_members.begin(), m_members.end());
    for (const uint32_t member : m_members)
        m_outside.remove(member);
    sumMembers();
}

void GroupMatching::sumMembers()
{
    m_sums.assign(m_pool.columnCount, {});
    for (const uint32_t member : m_members) {
        for (size_t c = 0; c < m_sums.size(); ++c)
            m_sums[c].add(m_pool[member][c], 1);
    }
}

double GroupMatching::objective() const
{
    double sum = 0;
    for (size_t c = 0; c < m_sums.size(); ++c)
        sum += term(m_sums[c], m_hasSpread[c], squaredLogOfSpread);
    return sum;
}

// Looks outside of the group for the best one in the place of a member.
class ExchangeSearch {
public:
    // The sums are those without the member. Only what gives less than `limit` is found.
    ExchangeSearch(const std::vector<GroupMatching::Sums> &sums, const std::vector<bool> &hasSpread, double limit)
        : m_sums(sums), m_hasSpread(hasSpread), m_least(limit)
    {
    }

    bool choose(const std::vector<uint32_t> &columns)
    {
        m_columns = &columns;
        m_fixed = 0;
        auto has = columns.begin();
        for (uint32_t c = 0; c < m_sums.size(); ++c) {
            if (has != columns.end() && *has == c)
                ++has;
            else
                m_fixed += GroupMatching::term(m_sums[c], m_hasSpread[c], squaredLogOfSpread);
        }
        return m_fixed < m_least;
    }

    void bound(Forest::Boxes boxes, double *bounds) const
    {
        for (size_t i = 0; i < Forest::childLimit; ++i) {
            bounds[i] = m_fixed;
            for (const uint32_t c : *m_columns) {
                if (bounds[i] >= m_least)
                    break;
                bounds[i] += leastTerm(c, boxes.low(c)[i], boxes.high(c)[i]);
            }
        }
    }
    bool excludes(double bound) const { return bound >= m_least; }

    void look(const Forest::Leaf &leaf)
    {
        for (size_t i = 0; i < leaf.count; ++i) {
            if (!leaf.isPresent[i])
                continue;
            if (sumWith(leaf, i, leastSquaredLogOfSpread) * (1 - 1e-9) > m_least)
                continue;
            const double sum = sumWith(leaf, i, squaredLogOfSpread);
            if (sum < m_least || (sum == m_least && best != UINT32_MAX && leaf.points[i] < best)) {
                m_least = sum;
                best = leaf.points[i];
            }
        }
    }

    uint32_t best = UINT32_MAX;

private:
    // What all columns come to with this point, or part of it where that is too much already.
    template <class SpreadTerm>
    double sumWith(const Forest::Leaf &leaf, size_t i, SpreadTerm spreadTerm) const
    {
        double sum = m_fixed;
        for (const uint32_t c : *m_columns) {
            GroupMatching::Sums sums = m_sums[c];
            sums.add(leaf.values[c * leaf.count + i], 1);
            sum += GroupMatching::term(sums, m_hasSpread[c], spreadTerm);
            if (sum > m_least)
                break;
        }
        return sum;
    }

    // The least that a column's term can be with one more value between these. Its two parts are bounded apart: the
    // mean is a line in the value, the variance a parabola that opens upwards.
    double leastTerm(uint32_t c, double low, double high) const
    {
        if (!(low <= high))
            return std::numeric_limits<double>::infinity();
        const GroupMatching::Sums &sums = m_sums[c];
        const double n = sums.count + 1;
        const double mean = (sums.values + std::clamp(-sums.values, low, high)) / n;
        if (!m_hasSpread[c] || sums.count == 0)
            return mean * mean;
        const auto varianceWith = [&](double value) {
            const double meanWith = (sums.values + value) / n;
            return (sums.squares + value * value) / n - meanWith * meanWith;
        };
        const double least = varianceWith(std::clamp(sums.values / sums.count, low, high));
        const double most = std::max(varianceWith(low), varianceWith(high));
        const double spread = least > 1  ? leastSquaredLogOfSpread(least)
                              : most < 1 ? leastSquaredLogOfSpread(most)
                                         : 0.0;
        return mean * mean + spread;
    }

    const std::vector<GroupMatching::Sums> &m_sums;
    const std::vector<bool> &m_hasSpread;
    double m_least;
    const std::vector<uint32_t> *m_columns = nullptr;  // of the current tree's points
    double m_fixed = 0;                                // what the other columns come to
};

bool GroupMatching::improve()
{
    sumMembers();  // without what rounding has added in the rounds before
    double current = objective();
    bool hasGained = false;
    for (uint32_t &member : m_members) {
        std::vector<Sums> without = m_sums;
        for (size_t c = 0; c < without.size(); ++c)
            without[c].add(m_pool[member][c], -1);
        // Less by no more than rounding is no gain.
        ExchangeSearch search(without, m_hasSpread, current * (1 - 1e-9));
        m_outside.search(search);
        if (search.best == UINT32_MAX)
            continue;
        for (size_t c = 0; c < without.size(); ++c)
            without[c].add(m_pool[search.best][c], 1);
        m_sums.swap(without);
        m_outside.remove(search.best);
        m_outside.restore(member);
        member = search.best;
        current = objective();
        hasGained = true;
    }
    std::sort(m_members.begin(), m_members.end());
    return hasGained;
}
