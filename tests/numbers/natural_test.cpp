#include "numbers/natural.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

// In units of the last digit.
static double apart(double value, long double expected)
{
    const double unit = std::nextafter(std::fabs(double(expected)), INFINITY) - std::fabs(double(expected));
    return double(std::fabs((long double)(value) - expected) / unit);
}

TEST(NaturalLogarithm, IsWithinTwoUnitsOfTheLastDigit)
{
    if (std::numeric_limits<long double>::digits <= 53)
        GTEST_SKIP() << "long double has no more digits";
    std::mt19937_64 generator(3);
    std::uniform_real_distribution<double> uniform(0, 1);
    for (int i = 0; i < 300000; ++i) {
        const double share = 1 - uniform(generator), odds = std::exp(40 * uniform(generator) - 20);
        const double small = std::ldexp(share, -int(generator() % 60));
        for (const double x : {share, odds, 1 + small, 1 - small / 2})
            ASSERT_LE(apart(naturalLogarithm(x), std::log((long double)(x))), 2) << std::hexfloat << x;
        for (const double y : {-small / 2, -share * 0.9999}) {
            ASSERT_LE(apart(logarithmOfOnePlus(y), std::log1p((long double)(y))), 2) << std::hexfloat << y;
        }
        for (const double x : {-small, -45 * share})
            ASSERT_LE(apart(powerLessOne(x), std::expm1((long double)(x))), 2) << std::hexfloat << x;
    }
    EXPECT_EQ(naturalLogarithm(1), 0);
    EXPECT_EQ(logarithmOfOnePlus(0), 0);
    EXPECT_EQ(powerLessOne(0), 0);
    EXPECT_EQ(powerLessOne(-INFINITY), -1);
}
