#include "text/readnumber.h"
#include "text/bytes.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace text {

void (*onNoNumber)(std::string_view field) = nullptr;

static std::string_view trimmed(std::string_view field)
{
    while (!field.empty() && isWhiteSpace(field.front()))
        field.remove_prefix(1);
    while (!field.empty() && isWhiteSpace(field.back()))
        field.remove_suffix(1);
    return field;
}

// True when the field is the lower-case word in any case.
static bool isWord(std::string_view field, std::string_view word)
{
    if (field.size() != word.size())
        return false;
    for (size_t i = 0; i < word.size(); ++i) {
        if ((field[i] | 0x20) != word[i])
            return false;
    }
    return true;
}

static Real readWord(std::string_view field)
{
    if (isWord(field, "nan"))
        return {std::numeric_limits<double>::quiet_NaN(), true};
    const bool isSigned = !field.empty() && (field[0] == '-' || field[0] == '+');
    if (!isWord(field.substr(isSigned), "inf"))
        return {0, false};
    const double infinity = std::numeric_limits<double>::infinity();
    return {field[0] == '-' ? -infinity : infinity, true};
}

static inline Real parseReal(std::string_view field)
{
    constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int64_t exponentLimit = int64_t(1) << 40;  // no field is long enough to make up for it

    field = trimmed(field);
    const char *at = field.data(), *const end = at + field.size();
    const bool isNegative = at < end && *at == '-';
    if (at < end && (*at == '-' || *at == '+'))
        ++at;
    const char *const first = at;
    uint64_t digits = 0;     // of the first 19 significant ones
    int64_t digitCount = 0;  // significant ones
    int64_t exponent = 0;    // of the last digit
    bool hasDigit = false, hasPoint = false;
    for (; at < end; ++at) {
        if (isDigit(*at)) {
            hasDigit = true;
            if (digitCount > 0 || *at != '0') {
                if (++digitCount <= 19)
                    digits = 10 * digits + uint64_t(*at - '0');
            }
            exponent -= hasPoint;
        } else if (*at == '.' && !hasPoint) {
            hasPoint = true;
        } else {
            break;
        }
    }
    if (!hasDigit)
        return readWord(field);
    if (at < end && (*at | 0x20) == 'e') {
        ++at;
        const bool isNegativeExponent = at < end && *at == '-';
        if (at < end && (*at == '-' || *at == '+'))
            ++at;
        if (at == end)
            return {0, false};
        int64_t written = 0;
        for (; at < end && isDigit(*at); ++at) {
            if (written < exponentLimit)
                written = 10 * written + (*at - '0');
        }
        exponent += isNegativeExponent ? -written : written;
    }
    if (at != end)
        return {0, false};
    if (digitCount == 0)
        return {isNegative ? -0.0 : 0.0, true};

    double value = 0;
    if (digits < uint64_t(1) << 53 && exponent >= -22 && exponent <= 22) {
        // Both operands are exact, so the one rounding is that of the nearest double.
        value = exponent < 0 ? double(digits) / powers[-exponent] : double(digits) * powers[exponent];
    } else if (std::from_chars(first, end, value).ec != std::errc()) {
        value = digitCount + exponent > 0 ? std::numeric_limits<double>::infinity() : 0;
    }
    if (value == 0)
        return {0, true};
    return {isNegative ? -value : value, !std::isinf(value)};
}

Real readReal(std::string_view field)
{
    const Real real = parseReal(field);
    if (!real.isNumber && onNoNumber && !std::isinf(real.value)) [[unlikely]]
        onNoNumber(field);
    return real;
}

constinit const std::array<double, 10000> thousandthValues = [] {
    std::array<double, 10000> values;
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = double(i) / 1000;
    return values;
}();

int readInteger(std::string_view field)
{
    std::string_view digits = trimmed(field);
    if (digits.size() > 1 && digits[0] == '+' && isDigit(digits[1]))
        digits.remove_prefix(1);
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc() && end == digits.data() + digits.size())
        return value;
    if (onNoNumber) [[unlikely]]
        onNoNumber(field);
    return 0;
}

}  // namespace text
