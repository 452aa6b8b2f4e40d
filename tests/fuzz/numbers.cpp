// Numbers from text against the C library, and to text against printf.
#include "bytes.h"
#include "text/bytes.h"
#include "text/readnumber.h"
#include "text/writenumber.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>

static bool isDecimal(std::string_view field)
{
    const auto skipDigits = [&] {
        size_t count = 0;
        for (; !field.empty() && text::isDigit(field[0]); ++count)
            field.remove_prefix(1);
        return count;
    };
    const auto skipOneOf = [&](std::string_view bytes) {
        const bool isThere = !field.empty() && bytes.find(field[0]) != bytes.npos;
        field.remove_prefix(isThere);
        return isThere;
    };
    skipOneOf("+-");
    size_t digits = skipDigits();
    if (skipOneOf("."))
        digits += skipDigits();
    if (digits > 0 && skipOneOf("eE")) {
        skipOneOf("+-");
        if (skipDigits() == 0)
            return false;
    }
    return digits > 0 && field.empty();
}

static text::Real plainReal(std::string field)
{
    while (!field.empty() && text::isWhiteSpace(field.back()))
        field.pop_back();
    while (!field.empty() && text::isWhiteSpace(field.front()))
        field.erase(0, 1);
    if (isDecimal(field)) {
        const double value = std::strtod(field.c_str(), nullptr);
        const std::string digits = field.substr(0, field.find_first_of("eE"));
        const bool isTooSmall = value == 0 && digits.find_first_of("123456789") != field.npos;
        return {isTooSmall ? 0 : value, !std::isinf(value)};
    }
    for (char &byte : field)
        byte = byte >= 'A' && byte <= 'Z' ? char(byte + 32) : byte;
    if (field == "nan")
        return {std::numeric_limits<double>::quiet_NaN(), true};
    if (field == "inf" || field == "+inf" || field == "-inf")
        return {field[0] == '-' ? -HUGE_VAL : HUGE_VAL, true};
    return {0, false};
}

static bool isSame(double a, double b)
{
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

static void write(double value)
{
    char expected[400], written[text::maxFixedSize];
    std::snprintf(expected, sizeof expected, "%.6g", value);
    std::string_view plain = std::isnan(value) ? "nan" : value == 0 ? "0" : expected;
    expect(std::string_view(written, text::writeReal(written, value)) == plain);
    std::snprintf(expected, sizeof expected, "%.3f", double(float(value)));
    plain = std::isnan(value) ? "nan" : expected;
    expect(std::string_view(written, text::writeFixed3(written, float(value))) == plain);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    // A field as it stands in a line, with bytes behind it that may be read.
    constexpr size_t slack = 8;
    const auto memory = std::make_unique<char[]>(size + slack);
    std::copy_n(bytes, size, memory.get());
    std::fill_n(memory.get() + size, slack, size > 0 ? char(bytes[0]) : ' ');
    const std::string_view field(memory.get(), size);
    if (field.find('\0') != field.npos)
        return 0;
    const text::Real expected = plainReal(std::string(field)), real = text::readReal(field);
    expect(real.isNumber == expected.isNumber && isSame(real.value, expected.value));
    if (!field.empty())  // counts as 0
        expect(isSame(text::readMostlyShort(field), real.value) && isSame(text::readMostlyDecimal(field), real.value));
    const int thousandths = text::readThousandths(field.data(), field.size());
    if (thousandths >= 0)
        expect(thousandths / 1000.0 == real.value);

    const bool isWhole = real.isNumber && std::abs(real.value) < 3e9 && field.find_first_of(".eEnN") == field.npos;
    const bool fits = isWhole && real.value == int(std::clamp(real.value, -2147483648.0, 2147483647.0));
    expect(text::readInteger(field) == (fits ? int(real.value) : 0));
    if (real.isNumber)
        write(real.value);
    double any = 0;
    std::copy_n(bytes, std::min(size, sizeof any), reinterpret_cast<uint8_t *>(&any));
    write(any);
    char digits[text::maxIntegerSize];
    const auto integer = std::bit_cast<int64_t>(any);
    expect(std::string_view(digits, text::writeInteger(digits, integer)) == std::to_string(integer));
    return 0;
}
