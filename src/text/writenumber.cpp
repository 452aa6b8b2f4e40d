#include "text/writenumber.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace text {

namespace {
// A positive number to six significant digits, with ties to even: digits, of which there are six, times
// 10^(decade - 5).
struct SixDigits {
    uint32_t digits;
    int decade;
};
}  // namespace

static constexpr int leastDecade = -13;
static constexpr double decades[]
    = {1e-13, 1e-12, 1e-11, 1e-10, 1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1,
       1e2,   1e3,   1e4,   1e5,   1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// 10^k for k from 0, all exact.
static constexpr auto powers = [] {
    std::array<uint64_t, 19> table = {1};
    for (size_t k = 1; k < table.size(); ++k)
        table[k] = 10 * table[k - 1];
    return table;
}();
static constexpr auto realPowers = [] {
    std::array<double, powers.size()> table;
    for (size_t k = 0; k < table.size(); ++k)
        table[k] = double(powers[k]);
    return table;
}();

// The digits of a value near or at a tie. Exact: the value is an integer of 53 bits times a power of two, so
// multiplied or divided by the power of ten that leaves six digits before the point, it has a whole part and
// a rest that tell how to round.
static uint32_t roundTie(double value, int decade)
{
    const uint64_t bits = std::bit_cast<uint64_t>(value);
    const int shift = 52 + 1023 - int(bits >> 52);  // from 3 to 96
    const uint64_t mantissa = (bits & ((uint64_t(1) << 52) - 1)) | uint64_t(1) << 52;
    __extension__ using Wide = unsigned __int128;
    const Wide dividend = Wide(mantissa) * powers[size_t(std::max(5 - decade, 0))];
    const Wide divisor = Wide(powers[size_t(std::max(decade - 5, 0))]) << shift;
    const uint32_t digits = uint32_t(dividend / divisor);
    const Wide twiceRest = 2 * (dividend % divisor);
    return digits + (twiceRest > divisor || (twiceRest == divisor && digits % 2 == 1));
}

namespace {
// A positive number times 10^(5 - decade), which leaves six digits before the point. With both operands exact, it is
// off by less than 1e-10.
struct Scaled {
    double value;
    int decade;
};
}  // namespace

static bool canBeScaled(double value)
{
    return value >= 1e-13 && value < 1e15;
}

static Scaled scale(double value)
{
    const int exponent = int(std::bit_cast<uint64_t>(value) >> 52) - 1023;
    int decade = (((exponent + 1) * 1233 - (leastDecade << 12)) >> 12) + leastDecade;  // by log10(2)
    if (value < decades[decade - leastDecade])
        --decade;
    return {decade <= 5 ? value * realPowers[size_t(5 - decade)] : value / realPowers[size_t(decade - 5)], decade};
}

// Of what can be scaled. Writing numbers this way is about 8 times as fast as by std::to_chars.
static SixDigits roundToSixDigits(double value)
{
    const auto [scaled, decade] = scale(value);
    uint32_t digits = uint32_t(int64_t(scaled + 0.5));
    if (std::abs(scaled - double(digits)) > 0.499999) [[unlikely]]
        digits = roundTie(value, decade);
    if (digits == 1000000)
        return {100000, decade + 1};
    return {digits, decade};
}

// Writes the digits as six bytes; returns how many there are without the zeros at the end.
static int writeDigits(char *out, uint32_t digits)
{
    static constexpr char pairs[] = "00010203040506070809101112131415161718192021222324"
                                    "25262728293031323334353637383940414243444546474849"
                                    "50515253545556575859606162636465666768697071727374"
                                    "75767778798081828384858687888990919293949596979899";
    std::memcpy(out, pairs + 2 * (digits / 10000), 2);
    std::memcpy(out + 2, pairs + 2 * (digits / 100 % 100), 2);
    std::memcpy(out + 4, pairs + 2 * (digits % 100), 2);
    int size = 6;
    while (size > 1 && out[size - 1] == '0')
        --size;
    return size;
}

// Takes decades from -4 to 5.
static char *writeFixed(char *out, const char *text, int size, int decade)
{
    const int wholeSize = decade + 1;  // digits before the point
    if (wholeSize <= 0) {
        std::memcpy(out, "0.000", 5);
        std::memcpy(out + 2 - wholeSize, text, 6);
        return out + 2 - wholeSize + size;
    }
    std::memcpy(out, text, 6);
    if (size <= wholeSize)
        return out + wholeSize;
    out[wholeSize] = '.';
    std::memcpy(out + wholeSize + 1, text + wholeSize, size_t(6 - wholeSize));
    return out + size + 1;
}

// Takes decades of two digits.
static char *writeExponent(char *out, const char *text, int size, int decade)
{
    out[0] = text[0];
    out[1] = '.';
    std::memcpy(out + 2, text + 1, 5);
    out += size > 1 ? size + 1 : 1;
    const int power = std::abs(decade);
    out[0] = 'e';
    out[1] = decade < 0 ? '-' : '+';
    out[2] = char('0' + power / 10);
    out[3] = char('0' + power % 10);
    return out + 4;
}

char *writeReal(char *out, double value)
{
    if (std::isnan(value)) {
        std::memcpy(out, "nan", 3);
        return out + 3;
    }
    if (value < 0) {
        *out++ = '-';
        value = -value;
    }
    if (value == 0) {
        *out = '0';
        return out + 1;
    }
    if (canBeScaled(value)) {
        const auto [digits, decade] = roundToSixDigits(value);
        char text[6];
        const int size = writeDigits(text, digits);
        return decade >= -4 && decade <= 5 ? writeFixed(out, text, size, decade)
                                           : writeExponent(out, text, size, decade);
    }
    return std::to_chars(out, out + maxRealSize - 1, value, std::chars_format::general, 6).ptr;
}

// "0.000" to "9.999", and three bytes more so that eight can be stored at once.
static constexpr auto shortFixedTexts = [] {
    std::array<std::array<char, 8>, 10000> texts = {};
    for (size_t i = 0; i < texts.size(); ++i) {
        const size_t digits[] = {i / 1000, i / 100 % 10, i / 10 % 10, i % 10};
        texts[i] = {char('0' + digits[0]), '.', char('0' + digits[1]), char('0' + digits[2]), char('0' + digits[3])};
    }
    return texts;
}();

char *writeFixed3(char *out, float value)
{
    if (std::isnan(value)) {
        std::memcpy(out, "nan", 3);
        return out + 3;
    }
    if (!(std::abs(value) < 1e9f))
        return std::to_chars(out, out + maxFixedSize, value, std::chars_format::fixed, 3).ptr;
    if (std::signbit(value))
        *out++ = '-';
    // 24 bits times 1000 fit a double, so the one rounding is that of the last digit: behind 2^52 a double has only
    // whole numbers.
    const double shifted = std::abs(double(value) * 1000) + 0x1p52;
    const uint64_t thousandths = std::bit_cast<uint64_t>(shifted) & ((uint64_t(1) << 52) - 1);
    if (thousandths < shortFixedTexts.size()) {
        std::memcpy(out, &shortFixedTexts[thousandths], 8);
        return out + 5;
    }
    out = std::to_chars(out, out + maxIntegerSize, thousandths / 1000).ptr;
    out[0] = '.';
    uint64_t decimals = thousandths % 1000;
    for (int i = 3; i > 0; --i, decimals /= 10)
        out[i] = char('0' + decimals % 10);
    return out + 4;
}

bool hasSureText(double value, double part)
{
    if (!(part < 1e-7))
        return false;
    const double size = std::abs(value);
    if (!canBeScaled(size))
        return realText(size * (1 - part)) == realText(size * (1 + part));
    const double scaled = scale(size).value;
    return std::abs(scaled - std::floor(scaled) - 0.5) > scaled * part + 1e-9;
}

std::string realText(double value)
{
    char text[maxRealSize];
    return {text, writeReal(text, value)};
}

char *writeInteger(char *out, int64_t value)
{
    return std::to_chars(out, out + maxIntegerSize, value).ptr;
}

}  // namespace text
