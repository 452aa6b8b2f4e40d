#include "scans/regression.h"
#include "scans/logistic.h"
#include "scans/median.h"
#include "scans/pvalues.h"
#include "scans/regressionscan.h"
#include "scans/traits.h"
#include "support/kernels.h"
#include "support/scanmodel.h"

#include <algorithm>
#include <cmath>
#include <random>

static double apart(Long a, Long b)
{
    return a == b ? 0 : double(std::fabs(a / b - 1));
}

// Closed forms for 1, 2 and 4 degrees of freedom, from the middle to where doubles end; published quantiles elsewhere.
TEST(PValues, AreExactInBothTails)
{
    const Long pi = std::acos(Long(-1));
    for (const double t : {1e-9, 0.01, 0.5, 1.0, 3.0, 12.0, 1e3, 1e8, 1e80, 1e150, 1e300}) {
        const Long s = std::sqrt(t * Long(t) + 2), u = t * Long(t) + 4;
        EXPECT_LT(apart(studentP(t, 1), 2 / pi * std::atan(1 / Long(t))), 1e-11) << t;
        if (t > 1e160)
            continue;  // no double is as small
        EXPECT_LT(apart(studentP(t, 2), 2 / s / (s + t)), 1e-14) << t;
        if (t < 1e3) {
            EXPECT_LT(apart(studentP(t, 4), 1 - t * (u + 2) / (u * std::sqrt(u))), 1e-10) << t;
        }
        EXPECT_LT(apart(studentT(studentP(t, 2), 2), t), t < 1e-8 ? 1e-7 : 1e-12) << t;
    }
    EXPECT_GT(studentP(1e161, 2), 0);  // the smallest double is 5e-324
    const struct {
        double freedom, t, p;
    } published[] = {{5, 2.570582, 0.05}, {10, 4.586894, 0.001}, {30, 2.749996, 0.01}, {100, 1.983972, 0.05},
                     {1e9, 3.890592, 0.0001}};
    for (const auto &row : published) {
        EXPECT_NEAR(studentP(row.t, row.freedom) / row.p, 1, 3e-6) << row.t;
        EXPECT_NEAR(studentT(row.p, row.freedom) / row.t, 1, 3e-7) << row.t;
    }
    EXPECT_NEAR(normalP(1.959963984540054), 0.05, 1e-16);
    EXPECT_LT(apart(normalP(5), 5.733031437583867e-7L), 1e-14);
    EXPECT_NEAR(normalZ(5e-8), 5.451310, 1e-6);
    EXPECT_GT(normalP(38.4), 0);
    for (const double p : {0.0, -1.0})
        EXPECT_TRUE(std::isinf(studentT(p, 7)) && std::isinf(normalZ(p)));
    EXPECT_EQ(studentP(INFINITY, 3), 0);
    EXPECT_EQ(studentT(1.5, 3), 0);
}

TEST(PValues, AreWithinTheirErrorWhereTheyAreFormedNearly)
{
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> uniform(0, 1);
    for (int i = 0; i < 60000; ++i) {
        const double freedom = std::floor(std::exp(uniform(random) * 14)), t = std::exp(uniform(random) * 16 - 10);
        const double error = std::pow(10, -8 - 6 * uniform(random)), p = studentP(t, freedom);
        for (const double side : {-error, error}) {
            const NearP near = studentPNearly(t * (1 + side), freedom, error);
            if (p < 1e-280)
                continue;
            ASSERT_LE(std::fabs(near.p - p), near.error * p) << t << " " << freedom << " " << error;
            ASSERT_LT(near.error, 1e-10 + 2 * error * (1 + t * t));
        }
    }
}

namespace {
// Asks for the exact fit behind every near one.
struct FitPairs final : FitSink {
    std::vector<TraitFit> near, exact;
    std::vector<double> frequencies;  // [marker], of the block
    size_t all = 0;

    bool isWanted(double, double) override { return true; }
    bool take(size_t, size_t marker, const TraitFit &pair) override
    {
        EXPECT_EQ(text::realText(pair.frequency), text::realText(frequencies[marker]));
        all += pair.error == 0;
        const bool isBehind = pair.error == 0 && near.size() > exact.size();
        if (pair.error > 0)
            near.push_back(pair);
        else if (isBehind)
            exact.push_back(pair);
        return pair.error == 0;
    }
};
}  // namespace

// Few and many individuals, rare alleles, strong and hidden effects, gaps on both sides, values far from 0. Of 64
// individuals many frequencies lie halfway between two texts.
TEST(Regression, IsWithinItsErrorWhereItIsFormedNearly)
{
    std::mt19937_64 random(11);
    std::normal_distribution<double> normal;
    const Significance significance(false);
    FitPairs pairs;
    for (int round = 0; round < 400; ++round) {
        const size_t n = std::vector<size_t>{4, 9, 64, 700}[round % 4];
        const bool hasGaps = round % 3 == 0;
        MarkerBlock block(n, round % 5 ? Coding() : recessiveCoding);
        const auto analysis = lineAnalysis(n, significance);
        std::vector<double> values(n);
        for (double &value : values)
            value = round % 7 ? 1e4 * (round % 6) + normal(random) : double(random() % 3);
        block.markers = MarkerBlock::capacity;
        for (size_t i = 0; hasGaps && i < n; i += 1 + random() % 20)
            values[i] = missingValue;
        pairs.frequencies.clear();
        for (size_t m = 0; m < block.markers; ++m) {
            double thousandths = 0, present = 0;
            for (size_t i = 0; i < n; ++i) {
                const double share = m % 4 ? 0.3 : 2.0 / double(n), dosage = normal(random) + values[i] * double(m % 3);
                const bool isRare = std::uniform_real_distribution<double>(0, 1)(random) < share;
                block.dosages(m)[i] = m % 2 ? double(isRare) : std::floor(1000 * std::clamp(dosage, 0.0, 2.0)) / 1000;
                if (hasGaps && random() % 20 == 0)
                    block.dosages(m)[i] = NAN;
                if (values[i] == missingValue || std::isnan(block.dosages(m)[i]))
                    continue;
                thousandths += std::round(1000 * block.dosages(m)[i]);
                ++present;
            }
            pairs.frequencies.push_back(thousandths / (2000 * present));
        }
        RegressionTrait trait;
        trait.y = centre(values, traitMomentsOf(values));
        analysis->add(std::move(trait));
        block.centre();
        analysis->scan(block, pairs);
    }
    ASSERT_EQ(pairs.near.size(), pairs.exact.size());
    EXPECT_GT(double(pairs.near.size()), 0.4 * double(pairs.all));
    for (size_t i = 0; i < pairs.near.size(); ++i) {
        const Regression &near = pairs.near[i].fit, &exact = pairs.exact[i].fit;
        const double error = pairs.near[i].error;
        EXPECT_LE(std::fabs(near.slope - exact.slope), error * std::fabs(exact.slope)) << i;
        EXPECT_LE(std::fabs(near.error - exact.error), error * exact.error) << i;
        EXPECT_LE(std::fabs(near.r2 - exact.r2), error * exact.r2) << i;
        EXPECT_LE(std::fabs(near.t - exact.t), error * exact.t) << i;
        EXPECT_EQ(pairs.near[i].n, pairs.exact[i].n) << i;
    }
}

// Slope, error, R2 and t by the definition, with more digits than a double has.
TEST(Regression, KeepsAllDigits)
{
    std::mt19937_64 random(7);
    std::normal_distribution<double> normal;
    for (int round = 0; round < 600; ++round) {
        const size_t n = 4 + random() % 200;
        const double mean = std::vector<double>{0, 1e6, -4e9, 0.1}[round % 4], rare = round % 5 ? 1 : 0.004;
        std::vector<double> x(n), values(n);
        for (size_t i = 0; i < n; ++i) {
            x[i] = std::floor(double(random() % 2001) * rare) / 1000;
            values[i] = mean + normal(random) + (round % 3 ? 0 : 5 * x[i]);
        }
        if (round % 7 == 0)
            values = {values.begin(), values.begin() + 3}, x = {0.1, 1.7, 0.4};
        const CentredValues y = centre(values, traitMomentsOf(values));
        LinePoints points;
        points.xCentre = x[0], points.xSize = 2, points.ySize = y.size;
        std::vector<std::pair<Long, Long>> pairs;
        for (size_t i = 0; i < x.size(); ++i) {
            points.add(x[i], y.centred[i], y.restOf(i));
            pairs.emplace_back(x[i], values[i]);
        }
        const PlainLine expected = plainLine(pairs);
        const Regression fit = fitExactly(points);
        if (expected.xx < 1e-12) {
            EXPECT_TRUE(std::isnan(fit.slope)) << round;
            continue;
        }
        EXPECT_LT(apart(fit.slope, expected.slope), 1e-11) << round;
        EXPECT_LT(apart(fit.error, expected.error), 1e-11) << round;
        EXPECT_LT(apart(fit.t, std::fabs(expected.slope) / expected.error), 1e-11) << round;
        EXPECT_LT(apart(fit.r2, expected.r2), 1e-11) << round;
    }
}

// Newton's steps in long doubles over one individual after the other; with Firth's penalty steps half as long, which
// need no more than to arrive.
static bool fitPlainly(const std::vector<double> &x, const std::vector<bool> &isCase, bool isFirth, Long &slope,
                       Long &error)
{
    Long beta[2] = {};
    for (int step = 0; step < 4000; ++step) {
        Long info[3] = {}, score[2] = {}, largest = 0;
        const auto probability = [&](size_t i) { return 1 / (1 + std::exp(-beta[0] - beta[1] * x[i])); };
        for (size_t i = 0; i < x.size(); ++i) {
            const Long weight = probability(i) * (1 - probability(i));
            for (int k = 0; k < 3; ++k)
                info[k] += weight * std::pow(Long(x[i]), k);
        }
        const Long determinant = info[0] * info[2] - info[1] * info[1];
        const Long variance[3] = {info[2] / determinant, -info[1] / determinant, info[0] / determinant};
        for (size_t i = 0; i < x.size(); ++i) {
            const Long p = probability(i);
            const Long leverage = p * (1 - p) * (variance[0] + 2 * x[i] * variance[1] + x[i] * x[i] * variance[2]);
            const Long rest = isCase[i] - p + (isFirth ? leverage * (0.5L - p) : 0);
            score[0] += rest;
            score[1] += rest * x[i];
        }
        for (int k = 0; k < 2; ++k) {
            const Long full = variance[k] * score[0] + variance[k + 1] * score[1];
            beta[k] += std::clamp(full, -1.0L, 1.0L) * (isFirth ? 0.5L : 1);
            largest = std::max(largest, std::fabs(full));
        }
        slope = beta[1];
        error = std::sqrt(variance[2]);
        if (largest < 1e-16L)
            return true;
    }
    return false;
}

TEST(Logistic, AgreesWithPlainStepsInLongDoubles)
{
    std::mt19937_64 random(3);
    int firths = 0;
    for (int round = 0; round < 500; ++round) {
        const size_t n = 3 + random() % (round % 3 ? 50 : 500);
        const unsigned allele = round % 4 ? 300 : 20, caseRate = round % 5 ? 50 : 5;
        std::vector<double> x(n);
        std::vector<bool> isCase(n);
        DosageGroups groups;
        for (size_t i = 0; i < n; ++i) {
            x[i] = double(random() % 1000 < allele) + double(random() % 1000 < allele);
            x[i] -= round % 2 && x[i] > 0 ? double(random() % 500) / 1000 : 0;
            isCase[i] = random() % 100 < caseRate;
            groups.add(x[i], 1, isCase[i]);
        }
        const LogisticFit result = fitLogistic(groups);
        const bool isFlat = std::equal(x.begin() + 1, x.end(), x.begin())
                            || std::equal(isCase.begin() + 1, isCase.end(), isCase.begin());
        ASSERT_EQ(std::isnan(result.fit.slope), isFlat) << round;
        Long slope, error;
        if (isFlat || !fitPlainly(x, isCase, result.isFirth, slope, error))
            continue;
        firths += result.isFirth;
        EXPECT_LT(std::fabs(result.fit.slope - slope) / error, 1e-10) << round;
        EXPECT_LT(apart(result.fit.error, error), 1e-10) << round;
    }
    EXPECT_GT(firths, 20);
}

TEST(Logistic, PrintsNoRoundingsAsR2WhereSharesAreEqual)
{
    for (int cases = 1; cases < 30; ++cases) {
        DosageGroups groups;
        for (const int times : {1, 2, 5})
            groups.add(times, 30 * times, cases * times);
        EXPECT_EQ(logisticR2(groups, fitLogistic(groups)), 0) << cases;
    }
}

// Of two groups with the shares (1 + d) / 2 and (1 - d) / 2 it is ((1 + d) ln(1 + d) + (1 - d) ln(1 - d)) / ln 4, that is
// (d^2 + d^4 / 6 + ...) / ln 4.
TEST(Logistic, KeepsTheDigitsOfASmallR2)
{
    for (const double d : {1e-3, 5e-5, 1e-6}) {
        DosageGroups groups;
        groups.add(0, 2e9, 1e9 * (1 + d));
        groups.add(1, 2e9, 1e9 * (1 - d));
        const double expected = d * d * (1 + d * d / 6) / std::log(4.0);
        EXPECT_NEAR(logisticR2(groups, fitLogistic(groups)), expected, 1e-9 * expected) << d;
    }
}

// The slope is the log of the odds ratio of a table of 2 x 2, and its squared error the sum of the inverse counts
// (Woolf 1955).
TEST(Logistic, IsTheOddsRatioOfATable)
{
    DosageGroups groups;
    groups.add(0, 40, 10);
    groups.add(1, 50, 25);
    const LogisticFit result = fitLogistic(groups);
    EXPECT_NEAR(result.fit.slope, std::log(3), 1e-13);
    EXPECT_NEAR(result.fit.error, std::sqrt(1.0 / 10 + 1.0 / 30 + 1.0 / 25 + 1.0 / 25), 1e-13);
    const double log0 = 10 * std::log(0.25) + 30 * std::log(0.75), log1 = 50 * std::log(0.5);
    EXPECT_NEAR(logisticR2(groups, result), 1 - (log0 + log1) / (35 * std::log(35.0 / 90) + 55 * std::log(55.0 / 90)),
                1e-13);
    // Separate ones: with a half added to each count of the table, which is Firth's estimate.
    groups.clear();
    groups.add(0, 10, 0);
    groups.add(2, 5, 5);
    const LogisticFit separate = fitLogistic(groups);
    EXPECT_TRUE(separate.isFirth);
    EXPECT_NEAR(separate.fit.slope, std::log(5.5 / 0.5 * 10.5 / 0.5) / 2, 1e-10);
}

TEST(Median, IsThatOfTheSortedNumbers)
{
    std::mt19937_64 random(5);
    std::normal_distribution<double> normal;
    for (const double scale : {0.01, 0.3, 1.0, 3.0, 500.0}) {
        for (const size_t size : {1, 2, 7, 1024, 1025, 70000}) {
            StreamMedian median;
            std::vector<double> values;
            for (size_t i = 0; i < size; ++i) {
                const double each = normal(random) * scale;
                values.push_back(i % 1000 == 5 ? INFINITY : each * each);
                median.add(values.back());
            }
            std::sort(values.begin(), values.end());
            const double expected = (values[(size - 1) / 2] + values[size / 2]) / 2;
            const double margin = size <= 1024 ? 1e-15 : scale >= 0.3 && scale <= 3 ? 1e-3 : 1.5e-2;
            EXPECT_NEAR(median.median() / expected, 1, margin) << scale << " " << size;
            EXPECT_EQ(median.count(), size);
        }
    }
    StreamMedian same;  // more than a count of 16 bits holds
    for (size_t i = 0; i < 200001; ++i)
        same.add(0.7);
    EXPECT_NEAR(same.median(), 0.7, 7e-4);
    EXPECT_EQ(same.count(), 200001u);
    StreamMedian halves;
    for (size_t i = 0; i < 4000; ++i)
        halves.add(i % 2 ? 1 : 2);
    EXPECT_NEAR(halves.median(), 1.5, 1.5e-3);
}

static std::vector<double> randomValues(std::mt19937_64 &random, size_t count)
{
    std::vector<double> values(count);
    for (double &value : values)
        value = random() % 300 == 0 ? std::ldexp(1.0, 520) : double(random() % 4001) / 999 - 2;
    return values;
}

static std::string productsOf(const RegressionKernels &kernels, uint64_t seed)
{
    std::mt19937_64 random(seed);
    const size_t n = 8 * (1 + random() % (seed % 20 == 0 ? 150 : 9));  // more than a stretch, too
    std::vector<double> dosages = randomValues(random, n), x(n), products(panelTraits * regressionMarkers);
    for (double &dosage : dosages)
        dosage = random() % 9 ? dosage : NAN;
    MarkerSums of;
    kernels.centre(dosages.data(), n, seed % 3 == 0 ? Coding() : seed % 3 == 1 ? dominantCoding : recessiveCoding,
                   x.data(), of);
    const std::vector<double> sums = {of.n, of.mean, of.least, of.most, of.x, of.xx};
    const std::vector<double> rows = randomValues(random, n * regressionMarkers);
    kernels.multiply(rows.data(), randomValues(random, n * panelTraits).data(), n, products.data());
    std::vector<uint32_t> chosen;
    for (size_t i = 0; i < n; ++i) {
        if (random() % 3 == 0)
            chosen.push_back(uint32_t(i));
    }
    const std::vector<double> zeros(regressionMarkers);
    std::vector<double> sum = zeros, squares = zeros, slopes = zeros, squaredTs = zeros;
    kernels.sumRows(rows.data(), n, chosen, sum.data(), squares.data());
    PairSums pairs;
    for (size_t m = 0; m < regressionMarkers; ++m) {
        pairs.n[m] = double(random() % 9), pairs.x[m] = sum[m], pairs.xx[m] = squares[m];
        pairs.y[m] = double(random() % 3), pairs.yy[m] = double(random() % 90);
    }
    kernels.fit(pairs, products.data(), zeros.data(), double(random() % 2) * 1e3, slopes.data(), squaredTs.data());
    return exactText({&x, &sums, &products, &sum, &squares, &slopes, &squaredTs});
}

static std::string sumsOf(const SumKernels &kernels, uint64_t seed)
{
    std::mt19937_64 random(seed);
    const size_t n = 8 * (1 + random() % 9);
    LinePoints points;
    points.x = randomValues(random, n), points.y = randomValues(random, n), points.yRests = randomValues(random, n);
    points.xCentre = 0.3;
    LaneSums sums;
    kernels.sumUp(points, sums);
    const std::vector<double> high(sums.high[0], sums.high[0] + sumCount * LaneSums::lanes);
    const std::vector<double> low(sums.low[0], sums.low[0] + sumCount * LaneSums::lanes);
    return exactText({&high, &low});
}

static std::string logisticSumsOf(const LogisticKernels &kernels, uint64_t seed)
{
    std::mt19937_64 random(seed);
    const size_t n = 8 * (1 + random() % 9);
    DosageGroups groups;
    groups.x = randomValues(random, n), groups.n = randomValues(random, n), groups.cases = randomValues(random, n);
    LogisticSums sums;
    const double variance[] = {0.1, -0.02, 0.3};
    kernels.sumUp(groups, 0.3, double(random() % 100) - 50, seed % 2 ? variance : nullptr, sums);
    GroupTotals of;
    kernels.describe(groups, of);
    const double gains = kernels.sumGains(groups, 0.2, double(random() % 20) - 10, 0.3);
    const std::vector<double> all = {sums.score[0], sums.score[1], sums.information[0], sums.information[1],
                                     sums.information[2], of.n, of.cases, of.sumX, of.leastCase, of.mostCase,
                                     of.leastControl, of.mostControl, gains};
    return exactText({&all});
}

TEST(RegressionSums, AreTheSameWithAnyInstructions)
{
    expectSameWithAnyInstructions<RegressionKernels>(productsOf);
    expectSameWithAnyInstructions<SumKernels>(sumsOf);
    expectSameWithAnyInstructions<LogisticKernels>(logisticSumsOf);
}
