// Natural logarithms and powers that are the same on every system, within two units of the last digit: made of
// additions, multiplications and divisions in an order of their own, where C libraries differ by version and by
// processor.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Of a positive number that is finite and not subnormal.
double naturalLogarithm(double x);

// ln(1 + y) for -1 < y <= 0, also where 1 + y would lose digits.
double logarithmOfOnePlus(double y);

// e^x - 1 for x <= 0, also where e^x would lose them.
double powerLessOne(double x);

// Nothing that takes or returns a register is called: all is inlined.
#pragma GCC diagnostic ignored "-Wpsabi"

// The same for numbers side by side: Number is a vector of them, or a double, and Bits the unsigned integers of that
// size.
namespace natural {

inline constexpr double ln2High = 0x1.62e42fefa3800p-1, ln2Low = 0x1.ef35793c76730p-45;  // products with k are exact

// The first 26 bits, whose products are exact.
template <class Bits, class Number>
[[gnu::always_inline]] inline Number upperHalf(const Number &x)
{
    return __builtin_bit_cast(Number, __builtin_bit_cast(Bits, x) & ~((uint64_t(1) << 27) - 1));
}

// ln(1 + f) + k ln 2 for 1 + f between the square roots of 1/2 and 2: with s = f / (2 + f), at most 0.172 in size, the
// former is 2 (s + s^3/3 + s^5/5 ...), of which 12 terms are enough. s is taken as `high`, of few digits, and what is
// left of it, so that the sum of the large terms loses nothing.
template <class Bits, class Number>
[[gnu::always_inline]] inline Number sumUp(const Number &f, const Number &k)
{
    const Number t = 2 + f, tLow = f - (t - 2), tHigh = upperHalf<Bits>(t);
    const Number high = upperHalf<Bits>(f / t);
    const Number low = (((f - high * tHigh) - high * (t - tHigh)) - high * tLow) / t;
    const Number s = high + low, square = s * s;
    Number sum = Number{} + 2.0 / 23;
    for (int n = 21; n > 1; n -= 2)
        sum = sum * square + 2.0 / n;
    const Number whole = k * ln2High, first = whole + 2 * high, lost = (whole - first) + 2 * high;
    return first + (lost + (2 * low + (s * (square * sum) + k * ln2Low)));
}

// x = (1 + f) 2^k, as sumUp() takes it.
template <class Bits, class Number>
[[gnu::always_inline]] inline void takeApart(const Number &x, Number &f, Number &k)
{
    constexpr uint64_t bias = 1023, root = 0x3fe6a09e667f3bcd;  // the square root of 1/2
    constexpr int mantissaBits = 52;
    const Bits bits = __builtin_bit_cast(Bits, x);
    const Bits exponent = (bits - root + (bias << mantissaBits)) >> mantissaBits;
    f = __builtin_bit_cast(Number, bits - ((exponent - bias) << mantissaBits)) - 1;
    // The bits of 2^52 and such a number are those of their sum.
    k = __builtin_bit_cast(Number, exponent | 0x4330000000000000) - (0x1p52 + bias);
}

template <class Bits, class Number>
[[gnu::always_inline]] inline Number logarithm(const Number &x)
{
    Number f, k;
    takeApart<Bits>(x, f, k);
    return sumUp<Bits>(f, k);
}

template <class Bits, class Number>
[[gnu::always_inline]] inline Number logarithmOfOnePlus(const Number &y)
{
    const Number u = 1 + y, zero = {};
    Number f, k;
    takeApart<Bits>(u, f, k);
    const auto isNear = y > -0.25;
    f = isNear ? y : f;
    k = isNear ? zero : k;
    const Number lost = isNear ? zero : (y - (u - 1)) / u;  // what u has lost
    return sumUp<Bits>(f, k) + lost;
}

inline constexpr auto inverseFactorials = [] {
    std::array<double, 15> inverses;
    double factorial = 1;
    for (size_t k = 0; k < inverses.size(); ++k) {
        inverses[k] = 1 / factorial;
        factorial *= double(k + 1);
    }
    return inverses;
}();

// x = k ln 2 + r with the least r. Returns 2^k.
template <class Bits, class Number>
[[gnu::always_inline]] inline Number takePowerApart(const Number &x, Number &r)
{
    constexpr double wholes = 0x1.8p52;  // adding it leaves a number's whole part in the last bits
    const Number shifted = x * 0x1.71547652b82fep+0 + wholes, k = shifted - wholes;  // by 1 / ln 2
    r = (x - k * ln2High) - k * ln2Low;
    return __builtin_bit_cast(Number, (__builtin_bit_cast(Bits, shifted) + 1023) << 52);
}

// The terms of e^r from this one up to that one, over r to the power of the first.
template <size_t first, size_t last, class Number>
[[gnu::always_inline]] inline Number sumTerms(const Number &r)
{
    Number sum = Number{} + inverseFactorials[last];
    for (size_t term = last; term-- > first;)
        sum = sum * r + inverseFactorials[term];
    return sum;
}

// e^x for x from -700 to 0, within two units of the last digit.
template <class Bits, class Number>
[[gnu::always_inline]] inline Number power(const Number &x)
{
    Number r;
    const Number whole = takePowerApart<Bits>(x, r);
    return sumTerms<0, 13>(r) * whole;
}

template <class Bits, class Number>
[[gnu::always_inline]] inline Number powerLessOne(const Number &x)
{
    Number r;
    // e^x - 1 = 2^k (e^r - 1) + (2^k - 1). Below -60 the nearest is -1.
    const Number whole = takePowerApart<Bits, Number>(x > -60 ? x : Number{} - 60, r);
    return whole * (r + r * (r * sumTerms<2, 14>(r))) + (whole - 1);
}

}  // namespace natural
