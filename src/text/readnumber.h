// Text to number, independent of the locale.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace text {

// Told of every field that is no number where one is read, if set: for hints to a person. The field is a view into what
// was read.
extern void (*onNoNumber)(std::string_view field);

struct Real {
    double value;
    bool isNumber;
};

// A real number is a whole field, white space around it allowed: optional sign, digits with at most one point,
// optional exponent; "inf" and "nan" in any case, "inf" with a sign too. The value is the nearest double, too
// small for one is 0. What is no number gives 0; too large gives infinity and is marked as no number.
Real readReal(std::string_view field);

inline double readDouble(std::string_view field)
{
    return readReal(field).value;
}

// Read as a double, then narrowed: parsing straight to float can differ in the last bit.
inline float readFloat(std::string_view field)
{
    return static_cast<float>(readReal(field).value);
}

// A whole field of digits with an optional sign, white space around it allowed; anything else, and what does
// not fit 32 bits, gives 0.
int readInteger(std::string_view field);

// A common short form of a probability or dosage, "1", "0.5" or "0.123", taken apart by a few operations on eight
// bytes at once; the empty field counts as "0". Sums and small multiples of such numbers can be formed digit by
// digit, as long as no digit exceeds 255.
struct ShortNumber {
    uint64_t digits;   // ones in byte 0, tenths in byte 2, hundredths in byte 3, thousandths in byte 4
    uint64_t invalid;  // not 0 for every other text, which is left to readReal()
};

// Eight bytes as one number, the first one lowest on every processor. Inside a LineReader's line they are there,
// whatever the size of a field.
inline uint64_t eightBytes(const char *from)
{
    uint64_t bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    return std::endian::native == std::endian::little ? bytes : __builtin_bswap64(bytes);
}

// Takes eight bytes of `field`, whatever its size.
inline ShortNumber readShortNumber(const char *field, size_t size)
{
    static constexpr uint64_t keep[] = {0, 0xff, 0xffff, 0xffffff, 0xffffffff, 0xffffffffff};
    if (size > 5) [[unlikely]]
        return {0, 1};
    // Against "0.000" every digit becomes its value, the point 0, and so does each digit that is not there.
    const uint64_t digits = (eightBytes(field) ^ 0x3030302e30) & keep[size];
    // The addition carries any digit above 9, and anything where only a point or nothing may stand, into the top
    // bit of its byte.
    const uint64_t invalid = ((digits + 0x7f7f7f7676767f76) | digits) & 0x8080808080808080;
    return {digits, invalid};
}

// The number that the digits make, in thousandths.
inline int thousandthsOf(uint64_t digits)
{
    const uint64_t units = digits & 0xff00ff00ff;  // ones, tenths, thousandths: 16 bits for each
    const uint64_t sum = units * ((uint64_t(1000) << 32) + (100 << 16) + 1) >> 32;
    return int(sum & 0xffff) + 10 * int(digits >> 24 & 0xff);
}

// What the text of each number of thousandths is read as: the one rounding of two exact numbers. In loops over short
// numbers looking it up takes a fifth less time than dividing.
extern const std::array<double, 10000> thousandthValues;

// The same value as readDouble() gives, for fields that are mostly short numbers of a LineReader's line.
inline double readMostlyShort(std::string_view field)
{
    const ShortNumber number = readShortNumber(field.data(), field.size());
    return number.invalid ? readDouble(field) : thousandthValues[size_t(thousandthsOf(number.digits))];
}

// The number that eight digits make, the first one in the lowest byte.
inline uint64_t joinDigits(uint64_t digits)
{
    digits = (digits * 10 + (digits >> 8)) & 0x00ff00ff00ff00ff;
    digits = (digits * 100 + (digits >> 16)) & 0x0000ffff0000ffff;
    return (digits * 10000 + (digits >> 32)) & 0xffffffff;
}

// The same value as readDouble() gives, for fields of a LineReader's line that are mostly numbers such as "0.0442": a
// digit, a point and up to eight digits, which are taken together.
inline double readMostlyDecimal(std::string_view field)
{
    constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    const size_t decimals = field.size() - 2;
    if (decimals - 1 >= 8 || field[1] != '.')
        return readDouble(field);
    // As eight digits, the first ones 0.
    uint64_t digits = (eightBytes(field.data() + 2) ^ 0x3030303030303030) << (64 - 8 * decimals);
    const unsigned ones = unsigned(static_cast<unsigned char>(field[0])) - '0';
    if ((((digits + 0x7676767676767676) | digits) & 0x8080808080808080) || ones > 9) [[unlikely]]
        return readDouble(field);
    // Both operands are exact, so the one rounding is that of the nearest double.
    return (double(ones) * powers[decimals] + double(joinDigits(digits))) / powers[decimals];
}

// The same value as readInteger() gives, for fields of a LineReader's line that are mostly up to eight digits, which
// are taken together.
inline int readMostlyDigits(std::string_view field)
{
    if (field.size() - 1 >= 8)
        return readInteger(field);
    uint64_t digits = (eightBytes(field.data()) ^ 0x3030303030303030) << (64 - 8 * field.size());  // the first ones 0
    if (((digits + 0x7676767676767676) | digits) & 0x8080808080808080) [[unlikely]]
        return readInteger(field);
    return int(joinDigits(digits));
}

// A short form as thousandths from 0 to 9999; -1 for every other text.
inline int readThousandths(const char *field, size_t size)
{
    const ShortNumber number = readShortNumber(field, size);
    return number.invalid ? -1 : thousandthsOf(number.digits);
}

}  // namespace text
