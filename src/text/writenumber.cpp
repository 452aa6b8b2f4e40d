#include "text/writenumber.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace text {

// Writes value (at least 1e-4 and below 999999.5, so fixed form) to six significant digits. Exact: the value
// times the power of ten that makes six digits whole is an integer of 53 + 30 bits over a power of two, which
// leaves nothing to round but the last digit. About 4 times as fast as std::to_chars.
static char *writeFixed(char *out, double value)
{
    constexpr double decades[] = {1e-4, 1e-3, 1e-2, 1e-1, 1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6};
    constexpr uint64_t powers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

    const uint64_t bits = std::bit_cast<uint64_t>(value);
    const int exponent = int(bits >> 52) - 1023;
    const uint64_t mantissa = (bits & ((uint64_t(1) << 52) - 1)) | uint64_t(1) << 52;
    int decade = ((exponent + 1) * 1233 + (4 << 12)) >> 12;  // index into decades; 1233/4096 is log10(2)
    if (value < decades[decade])
        --decade;

    __extension__ using Wide = unsigned __int128;
    const int shift = 52 - exponent;
    const Wide scaled = Wide(mantissa) * powers[9 - decade];
    const Wide half = Wide(1) << (shift - 1);
    const Wide rest = scaled & ((half << 1) - 1);
    uint32_t digits = uint32_t(scaled >> shift);
    digits += rest > half || (rest == half && digits % 2 == 1);
    if (digits == 1000000) {
        digits = 100000;
        ++decade;
    }

    char text[6];
    for (int i = 5; i >= 0; --i, digits /= 10)
        text[i] = char('0' + digits % 10);
    int size = 6;
    while (size > 1 && text[size - 1] == '0')
        --size;
    const int wholeSize = decade - 3;  // digits before the point
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
    if (value >= 1e-4 && value < 999999.5)
        return writeFixed(out, value);
    return std::to_chars(out, out + maxRealSize - 1, value, std::chars_format::general, 6).ptr;
}

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
    const uint64_t whole = thousandths / 1000;
    uint64_t decimals = thousandths % 1000;
    if (whole < 10)
        *out++ = char('0' + whole);
    else
        out = std::to_chars(out, out + maxIntegerSize, whole).ptr;
    out[0] = '.';
    for (int i = 3; i > 0; --i, decimals /= 10)
        out[i] = char('0' + decimals % 10);
    return out + 4;
}

char *writeInteger(char *out, int64_t value)
{
    return std::to_chars(out, out + maxIntegerSize, value).ptr;
}

} // namespace text
