#include "scans/df.h"
#include "support/scanmodel.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

static constexpr struct {
    int freedom;
    TTable (*load)();
} tables[] = {{1, df1}, {2, df2}, {3, df3}, {5, df5}, {10, df10}};

// P(|T| >= value) by the finite series of Abramowitz and Stegun, 26.7.3 and 26.7.4.
static double tail(double value, int freedom)
{
    const long double theta = std::atan((long double)(value) / std::sqrt((long double)(freedom)));
    const long double cosine = std::cos(theta), sine = std::sin(theta);
    if (freedom == 1)
        return double(1 - 2 * theta / std::numbers::pi_v<long double>);
    long double term = freedom % 2 ? cosine : 1, sum = term;
    for (int k = freedom % 2 ? 3 : 2; k < freedom; k += 2)
        sum += term *= cosine * cosine * (k - 1) / k;
    return double(1 - (freedom % 2 ? 2 / std::numbers::pi_v<long double> * (theta + sine * sum) : sine * sum));
}

TEST(TTables, HoldTheCriticalValuesToSevenDigits)
{
    for (const auto &table : tables) {
        const auto [p, t] = table.load();
        ASSERT_EQ(p.size(), 351u);
        ASSERT_EQ(t.size(), 351u);
        EXPECT_EQ(p[1], 1.0);
        EXPECT_EQ(t[1], 0.0);
        for (size_t i = 2; i <= 350; ++i) {
            // Whole numbers from ten million on, with an eighth and ninth digit.
            const double half = 0.5 * std::pow(10, std::min(std::floor(std::log10(t[i])) - 6, 0.0));
            const double noise = 1e-18 / p[i];
            EXPECT_GE(tail(t[i] - half, table.freedom) * (1 + noise), p[i] * (1 - 1e-9)) << table.freedom << " " << i;
            EXPECT_LE(tail(t[i] + half, table.freedom) * (1 - noise), p[i] * (1 + 1e-9)) << table.freedom << " " << i;
            EXPECT_LT(p[i], p[i - 1]);
        }
    }
}

TEST(TTables, AreLookedUpAsByAScan)
{
    EXPECT_EQ(lookUp({}, 0.5, 3).t, -1);  // no table
    std::mt19937_64 generator(4);
    for (const auto &table : tables) {
        const TTable loaded = table.load();
        std::vector<double> r2s = {0.0, 1.0, 1.5, std::nan("")};
        while (r2s.size() < 20000)
            r2s.push_back(1 - std::pow(10, -double(generator() % 170000) / 10000));
        for (const double r2 : r2s) {
            const TTest expected = lookUpPlainly(loaded, r2, size_t(table.freedom) + 2);
            const TTest found = lookUp(loaded, r2, table.freedom + 2);
            ASSERT_EQ(found.t, expected.t) << r2;
            ASSERT_EQ(found.p, expected.p) << r2;
        }
    }
}
