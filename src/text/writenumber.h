// Number to text, independent of the locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace text {

inline constexpr size_t maxRealSize = 16;     // "-1.23457e-300" and some room for wide stores
inline constexpr size_t maxFixedSize = 48;    // the largest float has 39 digits before the point
inline constexpr size_t maxIntegerSize = 20;  // "-9223372036854775808"

// Six significant digits, the shorter of fixed and exponent form: the characters of printf's "%.6g", but
// "nan" has no sign and both zeros are "0". Writes at most maxRealSize bytes, no end mark; returns the end.
char *writeReal(char *out, double value);
std::string realText(double value);

// True where all numbers that differ from the value by at most this part of it have its text.
bool hasSureText(double value, double part);

// Three decimals: the characters of printf's "%.3f", but "nan" has no sign. Writes at most maxFixedSize
// bytes, no end mark; returns the end.
char *writeFixed3(char *out, float value);

// Decimal digits with a sign where negative, at most maxIntegerSize bytes, no end mark; returns the end.
char *writeInteger(char *out, int64_t value);

}  // namespace text
