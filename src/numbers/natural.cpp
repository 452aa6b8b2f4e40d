#include "numbers/natural.h"

#include <array>
#include <cmath>
#include <cstddef>

static constexpr double ln2High = 0x1.62e42fefa3800p-1, ln2Low = 0x1.ef35793c76730p-45;  // products with k are exact

// ln(1 + f) + k ln 2 for 1 + f between the square roots of 1/2 and 2: with s = f / (2 + f), at most 0.172 in size, the
// former is 2 (s + s^3/3 + s^5/5 ...), of which 12 terms are enough. s is taken as `high`, of few digits, and what is
// left of it, so that the sum of the large terms loses nothing.
static double sumUp(double f, int k)
{
    const double t = 2 + f, tLow = f - (t - 2), tHigh = double(float(t));
    const double high = double(float(f / t)), low = (((f - high * tHigh) - high * (t - tHigh)) - high * tLow) / t;
    const double s = high + low, square = s * s;
    double sum = 2.0 / 23;
    for (int n = 21; n > 1; n -= 2)
        sum = sum * square + 2.0 / n;
    const double whole = k * ln2High, first = whole + 2 * high, lost = k == 0 ? 0 : (whole - first) + 2 * high;
    return first + (lost + (2 * low + (s * (square * sum) + k * ln2Low)));
}

double naturalLogarithm(double x)
{
    int exponent;
    double m = std::frexp(x, &exponent);
    if (m < 0x1.6a09e667f3bcdp-1) {
        m *= 2;
        --exponent;
    }
    return sumUp(m - 1, exponent);
}

double logarithmOfOnePlus(double y)
{
    const double u = 1 + y;
    return y > -0.25 ? sumUp(y, 0) : naturalLogarithm(u) + (y - (u - 1)) / u;  // with what u has lost
}

double powerLessOne(double x)
{
    if (x < -40)
        return -1;  // nearest to it
    constexpr auto inverseFactorials = [] {
        std::array<double, 15> inverses;
        double factorial = 1;
        for (size_t k = 0; k < inverses.size(); ++k) {
            inverses[k] = 1 / factorial;
            factorial *= double(k + 1);
        }
        return inverses;
    }();
    // x = k ln 2 + r, and so e^x - 1 = 2^k (e^r - 1) + (2^k - 1).
    const double k = std::nearbyint(x * 0x1.71547652b82fep+0);
    const double r = (x - k * ln2High) - k * ln2Low;
    double sum = 0;
    for (size_t term = inverseFactorials.size() - 1; term > 1; --term)
        sum = sum * r + inverseFactorials[term];
    const double power = std::ldexp(1.0, int(k));
    return power * (r + r * (r * sum)) + (power - 1);
}
