#include "numbers/logarithm.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {
// Proof of the results. x is m 2^e with m in [1, 2), and r is near 1 / m, so log10 x = e log10 2 - log10 r +
// log10(1 + z) with a small z = m r - 1. `Sum` is that in two doubles, off by less than errorBound. Where all that lies
// so near rounds to one double, it is the result; else `settle` decides, with as many digits as it takes. These are
// finitely many, for log10 x is no midpoint between two doubles: were it p / q, then x^q = 10^p, and as x is an integer
// times a power of 2, it would be 10^n with an integer n = p / q, which is a double.

__extension__ typedef unsigned __int128 Uint128;

constexpr int mantissaBits = 52;  // behind the leading one
constexpr uint64_t one = uint64_t(1) << mantissaBits;

// Constants in integers, at build time.

// 2 atanh(numerator / denominator) = ln((denominator + numerator) / (denominator - numerator)) in units of 2^-124, for
// a quotient of at most 1/3 and a denominator below 2^13. Too small by less than 2^9 units: three for each of the 40 or
// fewer terms, doubled.
constexpr Uint128 smallLogarithm(uint64_t numerator, uint64_t denominator)
{
    const auto multiplied = [](Uint128 value, uint64_t n, uint64_t d) { return value / d * n + value % d * n / d; };
    Uint128 power = multiplied(Uint128(1) << 124, numerator, denominator), sum = 0;
    for (unsigned k = 1; power != 0; k += 2) {
        sum += power / k;
        power = multiplied(power, numerator * numerator, denominator * denominator);
    }
    return 2 * sum;
}

constexpr Uint128 ln2 = smallLogarithm(1, 3);
constexpr Uint128 ln10 = 3 * ln2 + smallLogarithm(1, 9);

// a / b in units of 2^-124, by long division; for a < b < 2^127.
constexpr Uint128 quotient(Uint128 a, Uint128 b)
{
    Uint128 result = 0;
    for (int i = 0; i < 124; ++i) {
        a *= 2;
        result = 2 * result + (a >= b);
        a -= a >= b ? b : 0;
    }
    return result;
}

// A number below 1 given in units of 2^-124, as a multiple of 2^-42 and the nearest double to the rest. Sums of such
// multiples are exact below 2^11.
struct Pair {
    double high, low;
};
constexpr Pair split(Uint128 value)
{
    const Uint128 high = value >> (124 - 42);
    return {double(uint64_t(high)) * 0x1p-42, double(uint64_t((value - (high << (124 - 42))) >> 20)) * 0x1p-104};
}
constexpr Pair logarithmOf2 = split(quotient(ln2, ln10));

// log10 e, its first 26 bits and the rest.
constexpr Uint128 log10e = quotient(Uint128(1) << 124, ln10);
constexpr double log10eHigh = double(uint64_t(log10e >> (124 - 27))) * 0x1p-27;
constexpr double log10eLow = double(uint64_t((log10e << 31) >> 68)) * 0x1p-87;

// By the first bits of m behind the leading one: r and -log10 r. Beside 1, r is 1 for m above 1
// and 1/2 for m below 2, so that there the sum is small only because log10(1 + z) is.
constexpr int indexBits = 9;
struct Step {
    uint64_t inverse;  // in units of 2^-10
    Pair logarithm;
};
constexpr auto steps = [] {
    std::array<Step, 1 << indexBits> table = {};
    constexpr uint64_t unit = 1 << (indexBits + 1);
    for (uint64_t i = 0; i < table.size(); ++i) {
        const uint64_t middle = unit + 2 * i + 1;  // of the interval of m, in units of 2^-10
        const uint64_t inverse = i == 0 ? unit : i + 1 == table.size() ? unit / 2 : (2 * unit * unit / middle + 1) / 2;
        table[i] = {inverse, split(quotient(smallLogarithm(unit - inverse, unit + inverse), ln10))};
    }
    return table;
}();

// log10 x as a sum.
struct Sum {
    double high, low;
};

// z is exact, being a multiple of 2^-62 below 2^-9, and is cut after 26 bits. The terms from z^2 on are below 2^-20.2:
// their five roundings leave less than 2^-70.8, what follows the seventh term less than 2^-75, the last two sums of low
// parts less than 2^-73 each, and all else less than 2^-80. Near 1, where there is no step, the sum is within a few
// units of the last bit all the same.
constexpr double errorBound = 0x1p-70;
Sum logarithm(uint64_t mantissa, int exponent)
{
    const Step &step = steps[(mantissa >> (mantissaBits - indexBits)) & (steps.size() - 1)];
    const double z = double(int64_t(mantissa * step.inverse - (uint64_t(1) << 62))) * 0x1p-62;
    const double zHigh = std::bit_cast<double>(std::bit_cast<uint64_t>(z) & ~uint64_t(0) << 27);
    const double zLow = z - zHigh;
    constexpr double c = log10eHigh + log10eLow;
    const double square = z * z;
    const double rest
        = square * (-c / 2 + z * (c / 3) + square * (-c / 4 + z * (c / 5) + square * (-c / 6 + z * (c / 7))));
    const double first = zHigh * log10eHigh;                                           // exact
    const double steady = double(exponent) * logarithmOf2.high + step.logarithm.high;  // exact
    const double high = steady + first;
    const double other = high - steady;
    const double lost = (steady - (high - other)) + (first - other);  // high + lost is exact
    const double low
        = (double(exponent) * logarithmOf2.low + step.logarithm.low) + lost + (zHigh * log10eLow + zLow * c) + rest;
    return {high, low};
}

// A number of a 64-bit integer part and a fraction in limbs of 64 bits, in two's complement.
class LongNumber {
public:
    LongNumber(uint64_t integer, size_t fractionLimbs) : limb(fractionLimbs + 1) { limb.front() = integer; }

    // For numbers that are not negative. The integer part of the product must fit 64 bits; the quotient is rounded
    // down.
    LongNumber &operator*=(uint64_t factor)
    {
        uint64_t carry = 0;
        for (size_t i = limb.size(); i-- > 0;) {
            const Uint128 product = Uint128(limb[i]) * factor + carry;
            limb[i] = uint64_t(product);
            carry = uint64_t(product >> 64);
        }
        return *this;
    }
    LongNumber &operator/=(uint64_t divisor)
    {
        uint64_t rest = 0;
        for (uint64_t &each : limb) {
            const Uint128 dividend = Uint128(rest) << 64 | each;
            each = uint64_t(dividend / divisor);
            rest = uint64_t(dividend % divisor);
        }
        return *this;
    }

    LongNumber &operator+=(const LongNumber &other)
    {
        bool carry = false;
        for (size_t i = limb.size(); i-- > 0;) {
            const Uint128 sum = Uint128(limb[i]) + other.limb[i] + carry;
            limb[i] = uint64_t(sum);
            carry = sum >> 64 != 0;
        }
        return *this;
    }
    LongNumber &operator-=(const LongNumber &other)
    {
        bool borrow = false;
        for (size_t i = limb.size(); i-- > 0;) {
            const Uint128 difference = Uint128(limb[i]) - other.limb[i] - borrow;
            limb[i] = uint64_t(difference);
            borrow = difference >> 64 != 0;
        }
        return *this;
    }

    bool isZero() const { return std::ranges::count(limb, 0) == ptrdiff_t(limb.size()); }

    // 0 for a number that the last limb alone keeps from 0 or from the next below.
    int sign() const
    {
        const uint64_t filling = limb.front() >> 63 != 0 ? ~uint64_t(0) : 0;
        const bool isSmall = std::count(limb.begin(), limb.end() - 1, filling) == ptrdiff_t(limb.size()) - 1;
        return isSmall ? 0 : filling != 0 ? -1 : 1;
    }

private:
    std::vector<uint64_t> limb;  // from the integer part down
};

// 2 atanh(numerator / denominator) for a quotient of at most 1/3 and a denominator below 2^54. Too small by less than
// five units of the last limb for each term; of these there are at most 20.2 a limb and two.
LongNumber longLogarithm(uint64_t numerator, uint64_t denominator, size_t limbs)
{
    LongNumber power(2, limbs), sum(0, limbs);
    (power *= numerator) /= denominator;
    for (uint64_t k = 1; !power.isZero(); k += 2) {
        LongNumber term = power;
        sum += term /= k;
        for (int i = 0; i < 2; ++i)
            (power *= numerator) /= denominator;
    }
    return sum;
}

// ln 2 and ln 10, kept for the next call.
struct Constants {
    explicit Constants(size_t limbs)
        : limbCount(limbs), ln2(longLogarithm(1, 3, limbs)), ln10(longLogarithm(1, 9, limbs))
    {
        for (int i = 0; i < 3; ++i)
            ln10 += ln2;
    }
    size_t limbCount;
    LongNumber ln2, ln10;
};
const Constants &constantsOf(size_t limbs)
{
    static Constants constants(limbs);
    if (constants.limbCount != limbs)
        constants = Constants(limbs);
    return constants;
}

// |ln x|, of m = mantissa 2^-mantissaBits.
LongNumber longLogarithmOf(uint64_t mantissa, int exponent, size_t limbs)
{
    const bool isNearTwo = mantissa > one + one / 2;  // below 1 then, for few terms near x = 1
    const uint64_t unit = isNearTwo ? 2 * one : one;
    auto rest = longLogarithm(isNearTwo ? unit - mantissa : mantissa - unit, mantissa + unit, limbs);
    exponent += isNearTwo;
    if (exponent == 0)
        return rest;
    LongNumber powers = constantsOf(limbs).ln2;
    powers *= uint64_t(std::abs(exponent));
    return (exponent < 0) == isNearTwo ? powers += rest : powers -= rest;
}

// The double nearest to |log10 x|, from one that is some doubles off at most.
double settle(double guess, uint64_t mantissa, int exponent)
{
    auto bits = std::bit_cast<uint64_t>(guess);
    for (size_t limbs = 4;; limbs *= 2) {
        const LongNumber logarithm = longLogarithmOf(mantissa, exponent, limbs);
        // Whether the logarithm is below (-1) or above (1) the middle between a double and the next; 0 is undecided. An
        // error of 104 units and fewer for each limb grows by less than 2^12, far from the 2^64 undecided units.
        const auto compare = [&](uint64_t lower) {
            LongNumber difference = logarithm, middle = constantsOf(limbs).ln10;
            middle *= 2 * (lower % one + one) + 1;
            for (uint64_t shift = 1023 + mantissaBits + 1 - lower / one, step; shift > 0; shift -= step) {
                step = std::min<uint64_t>(shift, 63);
                middle /= uint64_t(1) << step;
            }
            return (difference -= middle).sign();
        };
        int side;
        while ((side = compare(bits)) > 0)
            ++bits;
        while (side < 0 && (side = compare(bits - 1)) < 0)
            --bits;
        if (side > 0)
            return std::bit_cast<double>(bits);
    }
}
}  // namespace

double decimalLogarithm(double x)
{
    const auto bits = std::bit_cast<uint64_t>(x);
    uint64_t mantissa = bits % one + one;
    int exponent = int(bits / one) - 1023;
    if (bits - one >= 0x7fe * one) [[unlikely]] {
        if (bits / one != 0)
            return x;
        const int shift = std::countl_zero(bits) - 11;
        mantissa = bits << shift;
        exponent = -1022 - shift;
    }
    const Sum sum = logarithm(mantissa, exponent);
    const double value = sum.high + (sum.low + errorBound);
    if (value == sum.high + (sum.low - errorBound)) [[likely]]
        return value;
    if (x == 1)
        return 0;
    const double guess = sum.high + sum.low;
    return std::copysign(settle(std::abs(guess), mantissa, exponent), guess);
}
