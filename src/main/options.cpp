#include "main/options.h"
#include "main/console.h"
#include "text/delimiters.h"
#include "text/readnumber.h"
#include "text/writenumber.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

std::vector<std::string> Switches;

static std::optional<std::span<const Option *const>> expected;

void expectOnly(std::span<const Option *const> options)
{
    expected = options;
}

static void stopWhereUnexpected([[maybe_unused]] const Option &option)
{
#ifndef NDEBUG
    if (expected && std::ranges::find(*expected, &option) == expected->end()) {
        std::fprintf(stderr, "the mode does not list the option %s that it reads\n", option.name);
        std::abort();
    }
#endif
}

// Where the value would not fit the option's buffer, the process ends.
static void fitBuffer(const Option &option, const std::string &value)
{
    if (option.taking.buffer == 0)
        return;
    std::string buffer(option.taking.buffer, '\0');
    copyBounded(buffer.data(), buffer.size(), value);
}

std::optional<std::string> Option::given() const
{
    stopWhereUnexpected(*this);
    const auto found = std::find(Switches.begin(), Switches.end(), name);
    if (found == Switches.end() || found + 1 == Switches.end() || (taking.emptyIsAbsent && found[1].empty()))
        return std::nullopt;
    fitBuffer(*this, found[1]);
    return found[1];
}

std::string Option::shownDefault() const
{
    if (taking.use == Use::Required)
        return "required";
    if (kind == Value::OutputFile && *absentText)
        return absentText + std::string(" + .out");
    if (!absentNumber)
        return absentText;
    if (kind == Value::Integer)
        return std::to_string(int(*absentNumber));
    return text::realText(*absentNumber);
}

int IntegerOption::read() const
{
    const auto value = given();
    return value ? text::readInteger(*value) : int(absentNumber.value_or(0));
}

double RealOption::read() const
{
    const auto value = given();
    return value ? text::readDouble(*value) : absentNumber.value_or(0);
}

// The place of the word among the words; -1 where it is none of them.
static int placeOf(std::string_view words, std::string_view word)
{
    for (int place = 0;; ++place) {
        const size_t blank = words.find(' ');
        if (words.substr(0, blank) == word)
            return place;
        if (blank == words.npos)
            return -1;
        words.remove_prefix(blank + 1);
    }
}

bool isOneOf(std::string_view words, std::string_view word)
{
    return placeOf(words, word) >= 0;
}

int WordOption::read() const
{
    const int place = placeOf(words, given().value_or(absentText));
    return place >= 0 ? place : placeOf(words, absentText);
}

bool SwitchOption::isOn() const
{
    const auto value = given();
    return value && *value != "no" && isOneOf(words, *value);
}

std::string TextOption::read() const
{
    return given().value_or(absentText);
}

std::string DelimiterOption::read() const
{
    const std::string word = given().value_or(absentText);
    if (isOneOf(words, word))
        return std::string(text::delimiter(word, isCrossed));
    return otherwise ? otherwise : word;
}

std::string InputOption::require() const
{
    const auto value = given();
    if (!value)
        fatal("You need to specify '%s'.\n\n", name);
    return *value;
}

std::string OutputOption::read(const std::string &input) const
{
    std::string output = given().value_or(input + ".out");
    fitBuffer(*this, output);
    return output;
}

std::string OutputOption::readAnnounced(const std::string &input) const
{
    if (!given())
        print("output name = input name + '.out'\n");
    return read(input);
}
