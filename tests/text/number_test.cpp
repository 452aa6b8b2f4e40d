#include "support/scanmodel.h"
#include "text/readnumber.h"
#include "text/writenumber.h"

#include <QString>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

static std::string written(double value)
{
    char text[text::maxRealSize];
    return {text, text::writeReal(text, value)};
}

static double randomBits(std::mt19937_64 &generator)
{
    return std::bit_cast<double>(generator());
}

// A number of up to ten digits, in every magnitude that is written by our own code and some beyond.
static double randomDecimal(std::mt19937_64 &generator)
{
    const double digits = double(generator() % 10000000000);
    return digits * std::pow(10.0, double(generator() % 32) - 24) * (generator() % 8 ? 1 : -1);
}

// Halfway between two neighbours of six digits: an odd multiple of a power of two.
static double randomTie(std::mt19937_64 &generator)
{
    static const double halves[] = {5e8, 5e7, 5e6, 5e5, 5e4, 5e3, 500, 50, 5, 0.5, 0.25, 0.125, 0.0625, 0.03125};
    const double half = halves[generator() % 14];
    return (2 * double(100000 + generator() % 900000) + 1) * half;
}

TEST(WriteReal, GivesTheCharactersOfPrintf)
{
    std::mt19937_64 generator(1);
    for (int i = 0; i < 1000000; ++i) {
        const double decimal = randomDecimal(generator);
        for (const double value : {randomBits(generator), decimal, double(float(decimal)), randomTie(generator),
                                   std::nextafter(randomTie(generator), 0)})
            ASSERT_EQ(written(value), plainText(value)) << std::hexfloat << value;
    }
    std::vector<double> values = {INFINITY, -INFINITY, 0.0, -0.0, NAN, -NAN};
    for (int exponent = -1074; exponent < 1024; ++exponent)
        values.insert(values.end(), {std::ldexp(1.0, exponent), -std::ldexp(1.999, exponent)});
    for (int exponent = -16; exponent < 18; ++exponent) {
        const double power = std::pow(10.0, exponent);
        values.insert(values.end(), {power, std::nextafter(power, 0), std::nextafter(power, 1e300),
                                     0.9999995 * power, 0.99999949999 * power, 0.99999950001 * power});
    }
    for (const double value : values)
        ASSERT_EQ(written(value), plainText(value)) << std::hexfloat << value;
    EXPECT_EQ(written(1.015625), "1.01562");  // ties to even
}

// Sure texts are the same on both sides of the value; a value that is clear of where its text changes is sure.
TEST(SureText, IsThatOfAllNumbersAround)
{
    std::mt19937_64 generator(5);
    for (int i = 0; i < 1000000; ++i) {
        const double part = std::pow(10.0, -7.1 - double(generator() % 900) / 100);
        const double beside = std::pow(10.0, -6 - double(generator() % 1000) / 100) * (generator() % 2 ? 1 : -1);
        for (const double value : {randomTie(generator) * (1 + beside), randomDecimal(generator)}) {
            const auto isSame = [&](double distance) {
                return text::realText(value * (1 - distance)) == text::realText(value * (1 + distance));
            };
            const bool isSure = text::hasSureText(value, part);
            ASSERT_TRUE(!isSure || isSame(part)) << std::hexfloat << value << " " << part;
            ASSERT_TRUE(isSure || !isSame(part + 2e-14)) << std::hexfloat << value << " " << part;
        }
    }
    EXPECT_FALSE(text::hasSureText(0.5, 1e-6));
}

TEST(WriteFixed3, GivesTheCharactersOfPrintf)
{
    std::mt19937_64 generator(2);
    for (int i = 0; i < 2000000; ++i) {
        const float values[] = {std::bit_cast<float>(uint32_t(generator())), float(randomDecimal(generator)),
                                float(generator() % 100000) / 16};  // the last ones with ties
        for (const float value : values) {
            char expected[64], text[text::maxFixedSize];
            std::snprintf(expected, sizeof expected, "%.3f", double(value));
            ASSERT_EQ(std::string(text, text::writeFixed3(text, value)), std::isnan(value) ? "nan" : expected);
        }
    }
}

TEST(WriteInteger, WritesAllDigits)
{
    char text[text::maxIntegerSize];
    EXPECT_EQ(std::string(text, text::writeInteger(text, 0)), "0");
    EXPECT_EQ(std::string(text, text::writeInteger(text, std::numeric_limits<int64_t>::min())),
              "-9223372036854775808");
}

// The judge of the reader: the toolkit's own conversions.
static void expectAsToolkit(const std::string &field)
{
    bool isNumber;
    const double value = QString::fromLatin1(field.data(), qsizetype(field.size())).toDouble(&isNumber);
    const text::Real real = text::readReal(field);
    // On purpose a number too small for a double is one, and 0; to the toolkit it is none, in Qt 6.8 with a sign.
    const std::string digits = field.substr(0, field.find_last_not_of(" \t") + 1);
    char *end;
    const bool isTooSmall = !isNumber && digits.find('x') == digits.npos && std::strtod(digits.c_str(), &end) == 0
        && end != digits.c_str() && *end == '\0';
    ASSERT_EQ(real.isNumber, isNumber || isTooSmall) << "'" << field << "'";
    const double expected = isTooSmall ? 0 : value;
    ASSERT_EQ(std::bit_cast<uint64_t>(real.value), std::bit_cast<uint64_t>(expected)) << "'" << field << "'";
}

TEST(ReadReal, GivesTheValuesOfTheToolkit)
{
    std::mt19937_64 generator(2);
    const auto number = [&](int form) -> std::string {
        char text[64];
        const double value = generator() % 2 ? randomBits(generator) : randomDecimal(generator);
        static const char *const forms[] = {"%.17g", "%.6g", "%.3f", "%.9f", "%.0f", "%e", "%+.2E", " %.1f\t"};
        // What is not finite has other spellings in printf.
        std::snprintf(text, sizeof text, forms[form], std::abs(value) < 1e40 || form < 2 ? value : 1.5);
        return std::isfinite(value) ? text : "0";
    };
    for (int i = 0; i < 300000; ++i) {
        for (int form = 0; form < 8; ++form)
            expectAsToolkit(number(form));
    }
    // Random texts over the bytes of numbers: mostly no numbers, in all the ways there are.
    for (int i = 0; i < 1000000; ++i) {
        std::string field(generator() % 9, '0');
        for (char &byte : field)
            byte = "00112359..-+eE x"[generator() % 16];
        expectAsToolkit(field);
    }
    // Words in any case, the edges of the range, and what is no number.
    for (const char *field : {"inf", "INF", "+Inf", " inf ", "-iNf", "nan", "NaN", "-nan", "infinity", "nan(1)", "in",
                              "", "+", "1.7976931348623159e308", "-1e309", "1e-400", "4.9e-324", "2.4e-324",
                              "0e999999999999", "1e99999999999999999999", "1e-99999999999999999999", "9007199254740993",
                              "1,5", "0x10",
                              // More digits than 64 bits hold, which leave little of these.
                              "18446744073709551617", "0.18446744073709551617", "-1844674407370955162.0e3",
                              "123456789012345678901234567890", "0.00000000000000000000000000000000000000001e41"})
        expectAsToolkit(field);
    expectAsToolkit("1" + std::string(400, '0') + "e-400");
    expectAsToolkit("0." + std::string(400, '0') + "123e400");
}

TEST(ReadThousandths, AgreesWithReadRealOrDeclines)
{
    const std::string bytes = "0159./:-e \xb0\x80";
    size_t read = 0;
    for (size_t size = 0; size <= 6; ++size) {
        size_t combinations = 1;
        for (size_t i = 0; i < size; ++i)
            combinations *= bytes.size();
        for (size_t n = 0; n < combinations; n += size < 6 ? 1 : 97) {
            std::string field;
            for (size_t rest = n; field.size() < size; rest /= bytes.size())
                field += bytes[rest % bytes.size()];
            const std::string behind = field + std::string(8, bytes[n % bytes.size()]);
            ASSERT_EQ(text::readMostlyDecimal({behind.data(), size}), text::readReal(field).value) << field;
            ASSERT_EQ(text::readMostlyDigits({behind.data(), size}), text::readInteger(field)) << field;
            const int thousandths = text::readThousandths(behind.data(), size);
            if (thousandths < 0)
                continue;
            ++read;
            ASSERT_EQ(thousandths / 1000.0, text::readReal(field).value) << field;
            ASSERT_TRUE(field.empty() || text::readReal(field).isNumber) << field;
        }
    }
    // Four digits each in place of d, d.d, d.dd and d.ddd, and the forms with nothing or only the point.
    EXPECT_EQ(read, 1u + 4 + 4 + 16 + 64 + 256);
}

TEST(ReadThousandths, ZeroBytesBehindANumberMakeItNone)
{
    const std::string line = std::string("0.125") + std::string(16, '\0');
    EXPECT_EQ(text::readThousandths(line.data(), 5), 125);
    for (size_t size = 6; size < 12; ++size)
        EXPECT_EQ(text::readThousandths(line.data(), size), -1) << size;
}

TEST(ReadInteger, TakesWholeFieldsOf32Bits)
{
    const struct {
        const char *field;
        int value;
    } cases[] = {{"5", 5}, {"-17", -17}, {"+3", 3}, {" 8\t", 8}, {"007", 7}, {"2147483647", 2147483647},
                 {"-2147483648", std::numeric_limits<int>::min()}, {"2147483648", 0}, {"99999999999999999999", 0},
                 {"2.5", 0}, {"1e3", 0}, {"12abc", 0}, {"", 0}, {"-", 0}, {"+-1", 0}, {"0x1", 0}, {"1 2", 0}};
    for (const auto &row : cases)
        EXPECT_EQ(text::readInteger(row.field), row.value) << row.field;
    EXPECT_EQ(text::readMostlyDigits("12345678"), 12345678);
    EXPECT_EQ(text::readMostlyDigits("123456789"), 123456789);
}
