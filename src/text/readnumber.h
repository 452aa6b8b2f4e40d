// Text to number, independent of the locale.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace text {

struct Real {
    double value;
    bool isNumber;
};

// A real number is a whole field, white space around it allowed: optional sign, digits with at most one point,
// optional exponent; "inf" and "nan" in any case, "inf" with a sign too. The value is the nearest double. No
// number gives 0; too large gives infinity and too small 0, both marked as no number.
Real readReal(std::string_view field);

inline double readDouble(std::string_view field) { return readReal(field).value; }

// Read as a double, then narrowed: parsing straight to float can differ in the last bit.
inline float readFloat(std::string_view field) { return static_cast<float>(readReal(field).value); }

// A whole field of digits with an optional sign, white space around it allowed; anything else, and what does
// not fit 32 bits, gives 0.
int readInteger(std::string_view field);

// The common short forms of probabilities and dosages, "1", "0.5" and "0.123", and the empty field, as a number
// of thousandths from 0 to 9999; -1 for every other text, which is left to readReal().
// Reads 8 bytes from `field`, whatever its size: inside a LineReader's line they are there.
inline int readThousandths(const char *field, size_t size)
{
    if constexpr (std::endian::native != std::endian::little)
        return -1;
    constexpr uint64_t keep[] = {0, 0xff, 0xffff, 0xffffff, 0xffffffff, 0xffffffffff};
    if (size > 5)
        return -1;
    uint64_t bytes;
    std::memcpy(&bytes, field, sizeof bytes);
    // Against "0.000" every digit becomes its value, the point 0, and so does each digit that is not there.
    const uint64_t digits = (bytes ^ 0x3030302e30) & keep[size];
    // The addition carries any digit above 9, and anything but the point in its place, into a byte's top bit.
    if (((digits + 0x7676767f76) | digits) & 0x8080808080)
        return -1;
    const uint64_t units = digits & 0xff00ff00ff;  // ones, tenths, thousandths
    const uint64_t sum = units * ((uint64_t(1000) << 32) + (100 << 16) + 1) >> 32;
    return int(sum & 0xffff) + 10 * int(digits >> 24 & 0xff);
}

} // namespace text
