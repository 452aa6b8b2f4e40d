#include "scans/logistic.h"
#include "numbers/natural.h"
#include "processors/lanes.h"

#include <algorithm>
#include <cmath>

// The groups go into lanes in turn, whose sums are added at the end: in this order with any instructions.
static constexpr size_t lanes = 8;

template <size_t bytes, bool isFirth>
MORVEL_INLINE void sumLanes(const DosageGroups &groups, double intercept, double slope, const double *variance,
                            double (*totals)[lanes])
{
    using Real = typename Lanes<double, bytes>::Real;
    using Bits = typename Lanes<double, bytes>::Bits;
    const Real zero = {};
    for (size_t lane = 0; lane < lanes; lane += bytes / sizeof(double)) {
        Real sums[5] = {};
        for (size_t i = lane; i < groups.x.size(); i += lanes) {
            const Real x = load<Real>(&groups.x[i]);
            const Real n = load<Real>(&groups.n[i]);
            const Real odds = intercept + slope * x;
            const Real against = odds < 0 ? odds : -odds;
            const Real power = natural::power<Bits, Real>(against > -700 ? against : zero - 700);
            const Real likelier = 1 / (1 + power), other = power * likelier;
            const Real probability = odds < 0 ? other : likelier;
            const Real weight = likelier * other;
            Real rest = load<Real>(&groups.cases[i]) - n * probability;
            Real information = n * weight;
            if constexpr (isFirth) {
                const Real leverage = weight * (variance[0] + x * (2 * variance[1] + x * variance[2]));
                rest += n * leverage * (0.5 - probability);
                information += information * leverage;
            }
            sums[0] += rest;
            sums[1] += rest * x;
            sums[2] += information;
            sums[3] += information * x;
            sums[4] += information * x * x;
        }
        for (size_t sum = 0; sum < 5; ++sum)
            store<Real>(totals[sum] + lane, sums[sum]);
    }
}

template <size_t bytes>
MORVEL_INLINE void sumUp(const DosageGroups &groups, double intercept, double slope, const double *variance,
                         LogisticSums &sums)
{
    alignas(64) double totals[5][lanes];
    if (variance)
        sumLanes<bytes, true>(groups, intercept, slope, variance, totals);
    else
        sumLanes<bytes, false>(groups, intercept, slope, variance, totals);
    double total[5] = {};
    for (size_t sum = 0; sum < 5; ++sum) {
        for (const double each : totals[sum])
            total[sum] += each;
    }
    sums = {{total[0], total[1]}, {total[2], total[3], total[4]}};
}

// As the sum of what each group's likelihood gains over that of the mean odds, so that small ones keep their digits:
// with d the logarithm of the group's odds over the mean ones and p the probability at these, that is cases d - n ln(1
// + p (e^d - 1)). Where d is positive, cases and controls change places.
template <size_t bytes>
MORVEL_INLINE double sumGains(const DosageGroups &groups, double intercept, double slope, double caseShare)
{
    using Real = typename Lanes<double, bytes>::Real;
    using Bits = typename Lanes<double, bytes>::Bits;
    alignas(64) double gains[lanes];
    for (size_t lane = 0; lane < lanes; lane += bytes / sizeof(double)) {
        Real gain = {};
        for (size_t i = lane; i < groups.x.size(); i += lanes) {
            const Real n = load<Real>(&groups.n[i]), cases = load<Real>(&groups.cases[i]), zero = {};
            const Real d = intercept + slope * load<Real>(&groups.x[i]), size = d > 0 ? d : -d;
            const Real against = d > 0 ? n - cases : cases;
            const Real share = d > 0 ? zero + (1 - caseShare) : zero + caseShare;
            const Real rarer = natural::powerLessOne<Bits, Real>(-size) * share;
            gain -= against * size + n * natural::logarithmOfOnePlus<Bits>(rarer);
        }
        store<Real>(gains + lane, gain);
    }
    double total = 0;
    for (const double gain : gains)
        total += gain;
    return total;
}

// Without branches, which nobody could foresee.
template <size_t bytes>
MORVEL_INLINE void describe(const DosageGroups &groups, GroupTotals &totals)
{
    using Real = typename Lanes<double, bytes>::Real;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const Real zero = {}, none = zero + infinity;
    alignas(64) double parts[7][lanes];
    for (size_t lane = 0; lane < lanes; lane += bytes / sizeof(double)) {
        Real n = zero, cases = zero, sumX = zero;
        Real leastCase = none, mostCase = -none, leastControl = none, mostControl = -none;
        for (size_t i = lane; i < groups.x.size(); i += lanes) {
            const Real x = load<Real>(&groups.x[i]), all = load<Real>(&groups.n[i]);
            const Real affected = load<Real>(&groups.cases[i]);
            n += all;
            cases += affected;
            sumX += all * x;
            const Real lowCase = affected > 0 ? x : none, highCase = affected > 0 ? x : -none;
            const Real lowControl = affected < all ? x : none, highControl = affected < all ? x : -none;
            leastCase = lowCase < leastCase ? lowCase : leastCase;
            mostCase = highCase > mostCase ? highCase : mostCase;
            leastControl = lowControl < leastControl ? lowControl : leastControl;
            mostControl = highControl > mostControl ? highControl : mostControl;
        }
        const Real all[] = {n, cases, sumX, leastCase, mostCase, leastControl, mostControl};
        for (size_t part = 0; part < std::size(all); ++part)
            store<Real>(parts[part] + lane, all[part]);
    }
    totals = {};
    for (size_t lane = 0; lane < lanes; ++lane) {
        totals.n += parts[0][lane];
        totals.cases += parts[1][lane];
        totals.sumX += parts[2][lane];
        totals.leastCase = std::min(totals.leastCase, parts[3][lane]);
        totals.mostCase = std::max(totals.mostCase, parts[4][lane]);
        totals.leastControl = std::min(totals.leastControl, parts[5][lane]);
        totals.mostControl = std::max(totals.mostControl, parts[6][lane]);
    }
}

#define MORVEL_KERNELS(name, bytes, target)                                                                            \
    target static double sumGains##name(const DosageGroups &groups, double intercept, double slope, double caseShare)  \
    {                                                                                                                  \
        return sumGains<bytes>(groups, intercept, slope, caseShare);                                                   \
    }                                                                                                                  \
    target static void describe##name(const DosageGroups &groups, GroupTotals &totals)                                 \
    {                                                                                                                  \
        describe<bytes>(groups, totals);                                                                               \
    }                                                                                                                  \
    target static void sumUp##name(const DosageGroups &groups, double intercept, double slope, const double *variance, \
                                   LogisticSums &sums)                                                                 \
    {                                                                                                                  \
        sumUp<bytes>(groups, intercept, slope, variance, sums);                                                        \
    }
MORVEL_FOR_PROCESSORS(MORVEL_KERNELS)

#define MORVEL_ROW(name, bytes, target) {#name, supports##name, describe##name, sumUp##name, sumGains##name},
static const LogisticKernels kernels[] = {MORVEL_FOR_PROCESSORS(MORVEL_ROW)};

std::span<const LogisticKernels> LogisticKernels::all()
{
    return kernels;
}

namespace {
// Where the search is, with dosages less their mean, so that intercept and slope hardly depend on each other.
struct LogisticEstimate {
    double intercept;
    double slope = 0;
    double error = noValue;
};
}  // namespace

static bool invert(const double *information, double *variance)
{
    const double determinant = information[0] * information[2] - information[1] * information[1];
    variance[0] = information[2] / determinant;
    variance[1] = -information[1] / determinant;
    variance[2] = information[0] / determinant;
    return determinant > 0 && std::isfinite(variance[0]) && std::isfinite(variance[2]);
}

// Steps until one is smaller by twelve digits than the errors; false where that does not come.
static bool settle(const DosageGroups &groups, bool isFirth, int steps, double range, LogisticEstimate &estimate)
{
    constexpr double least = 1e-24;  // square of a step, in errors
    constexpr double longest = 3;    // step of Firth's search, in logarithms of odds
    for (int step = 0; step < steps; ++step) {
        LogisticSums sums;
        double variance[3];
        kernelsInUse<LogisticKernels>->sumUp(groups, estimate.intercept, estimate.slope, nullptr, sums);
        if (!invert(sums.information, variance))
            return false;
        const double error = std::sqrt(variance[2]);
        if (isFirth) {
            kernelsInUse<LogisticKernels>->sumUp(groups, estimate.intercept, estimate.slope, variance, sums);
            if (!invert(sums.information, variance))
                return false;
        }
        double stepIntercept = variance[0] * sums.score[0] + variance[1] * sums.score[1];
        double stepSlope = variance[1] * sums.score[0] + variance[2] * sums.score[1];
        const double size = stepIntercept * sums.score[0] + stepSlope * sums.score[1];
        if (isFirth) {
            const double most = std::max(std::fabs(stepIntercept), std::fabs(stepSlope) * range);
            const double part = most > longest ? longest / most : 1;
            stepIntercept *= part;
            stepSlope *= part;
        }
        estimate.intercept += stepIntercept;
        estimate.slope += stepSlope;
        estimate.error = error;
        if (size < least)
            return std::isfinite(estimate.slope);
    }
    return false;
}

LogisticFit fitLogistic(DosageGroups &groups)
{
    while (groups.x.size() % lanes != 0)
        groups.add(0, 0, 0);
    LogisticFit result;
    const GroupTotals &of = result.totals;
    kernelsInUse<LogisticKernels>->describe(groups, result.totals);
    const double range = std::max(of.mostCase, of.mostControl) - std::min(of.leastCase, of.leastControl);
    if (of.n < 3 || of.cases == 0 || of.cases == of.n || !(range > 0 && range < HUGE_VAL))
        return result;

    const double mean = of.sumX / of.n;
    for (double &x : groups.x)
        x -= mean;
    const LogisticEstimate start = {naturalLogarithm(of.cases / (of.n - of.cases))};
    LogisticEstimate estimate = start;
    result.isFirth = of.mostControl <= of.leastCase || of.mostCase <= of.leastControl
                     || !settle(groups, false, 25, range, estimate);
    if (result.isFirth) {
        estimate = start;
        if (!settle(groups, true, 1000, range, estimate))
            return result;
    }
    result.fit.slope = estimate.slope;
    result.fit.error = estimate.error;
    result.fit.t = std::fabs(estimate.slope) / estimate.error;
    result.intercept = estimate.intercept;
    return result;
}

double logisticR2(const DosageGroups &groups, const LogisticFit &fit)
{
    const double n = fit.totals.n, cases = fit.totals.cases, controls = n - cases;
    const double null = cases * naturalLogarithm(cases / n) + controls * naturalLogarithm(controls / n);
    const double gain = kernelsInUse<LogisticKernels>->sumGains(
        groups, fit.intercept - naturalLogarithm(cases / controls), fit.fit.slope, cases / n);
    const double r2 = gain / -null;
    // Roundings are no fit.
    return std::fabs(r2) < 1e-15 ? 0 : r2;
}
