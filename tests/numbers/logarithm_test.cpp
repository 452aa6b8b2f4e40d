#include "numbers/logarithm.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

// Decimal powers are the only numbers with a rational logarithm; those below 1 are no doubles, but near enough.
TEST(DecimalLogarithm, OfPowersOfTen)
{
    for (int power = -307; power <= 308; ++power)
        EXPECT_EQ(decimalLogarithm(std::stod("1e" + std::to_string(power))), power);
    EXPECT_EQ(decimalLogarithm(1), 0);
    EXPECT_EQ(decimalLogarithm(INFINITY), INFINITY);
    EXPECT_TRUE(std::isnan(decimalLogarithm(NAN)));
}

// By the library in more digits, where these tell the nearest double.
TEST(DecimalLogarithm, IsTheNearestDouble)
{
    constexpr long double error = 4 * std::numeric_limits<long double>::epsilon();
    if (std::numeric_limits<long double>::digits <= 53)
        GTEST_SKIP() << "long double has no more digits";
    std::mt19937_64 generator(1);
    int compared = 0;
    const auto check = [&](double x) {
        const long double value = std::log10((long double)(x));
        const auto nearest = double(value * (1 - error));
        if (nearest != double(value * (1 + error)))
            return;
        ++compared;
        ASSERT_EQ(decimalLogarithm(x), nearest) << std::hexfloat << x;
    };
    for (int i = 0; i < 60000; ++i) {
        const auto bits = generator();
        check(std::bit_cast<double>(bits % 0x7ff0000000000000));   // all magnitudes
        check(std::ldexp(double(bits >> 11) + 1, -53));            // below 1
        check(std::ldexp(double(bits >> 12) + 1, -1074));          // subnormal
        const double tiny = std::ldexp(double(bits >> 11), -60 - int(bits % 45));
        check(1 + tiny);
        check(1 - tiny);
    }
    EXPECT_GT(compared, 280000);
}

// These lie within a millionth of a last bit from the middle between two doubles; the values are from 400 bits.
TEST(DecimalLogarithm, IsRightWhereTwoDoublesAreAlmostEquallyNear)
{
    EXPECT_EQ(decimalLogarithm(0x1.49ae9d9bb8088p-1), -0x1.87868ce0c673ep-3);
    EXPECT_EQ(decimalLogarithm(0x1.ec36298e3449p-5), -0x1.38a30fcbddbc2p+0);
    EXPECT_EQ(decimalLogarithm(0x1.2be9f06165c9cp-1), -0x1.dbb232498e5b6p-3);
    EXPECT_EQ(decimalLogarithm(0x1.777a323576533p+647), 0x1.85dd918847901p+7);
}
