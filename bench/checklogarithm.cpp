// Holds the logarithms of random p-values against libquadmath, which has 113 bits, and tells how many of the C library's
// differ, in the last bit and as printed.
//   checklogarithm COUNT
#include "numbers/logarithm.h"
#include "text/writenumber.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <quadmath.h>
#include <random>
#include <string>

static std::string printed(double value)
{
    char text[text::maxRealSize];
    return {text, text::writeReal(text, value)};
}

// Evenly spread, evenly by magnitude, and of three digits, as tables have them.
static double randomValue(std::mt19937_64 &generator)
{
    const double even = std::ldexp(double(generator() >> 11) + 1, -53);
    switch (generator() % 3) {
    case 0:
        return even;
    case 1:
        return std::pow(10, -300 * even);
    default:
        return std::strtod((std::to_string(1 + generator() % 999) + "e-" + std::to_string(generator() % 40)).c_str(),
                           nullptr);
    }
}

int main(int argc, char **argv)
{
    const int64_t count = argc == 2 ? std::atoll(argv[1]) : 0;
    std::mt19937_64 generator(23);
    int64_t ours = 0, library = 0, inPrint = 0;
    double nearest = 0, distance = 1;
    for (int64_t i = 0; i < count; ++i) {
        const double x = randomValue(generator), value = decimalLogarithm(x), other = std::log10(x);
        const __float128 truth = log10q(x);
        const auto rounded = double(truth);
        ours += value != rounded;
        if (other != rounded)
            ++library;
        if (other != value && printed(other) != printed(value)) {
            ++inPrint;
            std::printf("%a: %s here, %s by the C library, %.17g is true\n", x, printed(value).c_str(),
                        printed(other).c_str(), rounded);
        }
        // How far, in units of the last bit, from the middle between two doubles.
        const double unit = std::nextafter(std::abs(rounded), INFINITY) - std::abs(rounded);
        const auto away = double(fabsq((fabsq(truth - rounded) - unit / 2) / unit));
        if (rounded != 0 && away < distance) {
            distance = away;
            nearest = x;
        }
    }
    std::printf("%" PRId64 " values: %" PRId64 " not the nearest double here, %" PRId64 " by the C library; %" PRId64
                " differ as printed\n",
                count, ours, library, inPrint);
    std::printf("%a comes nearest to a midpoint: to %.2g units of the last bit\n", nearest, distance);
    return ours != 0;
}
