#include "main/options.h"
#include "main/console.h"
#include "text/readnumber.h"

#include <algorithm>

std::vector<std::string> Switches;

std::optional<std::string> option(std::string_view name)
{
    const auto found = std::find(Switches.begin(), Switches.end(), name);
    if (found == Switches.end() || found + 1 == Switches.end())
        return std::nullopt;
    return found[1];
}

std::string requiredOption(std::string_view name)
{
    const auto value = option(name);
    if (!value)
        fatal("You need to specify '%s'.\n\n", std::string(name).c_str());
    return *value;
}

std::string announcedOutOption(const std::string &filename)
{
    const auto out = option("-out");
    if (!out)
        print("output name = input name + '.out'\n");
    return out.value_or(filename + ".out");
}

std::string textOption(std::string_view name, std::string_view absent)
{
    return option(name).value_or(std::string(absent));
}

int integerOption(std::string_view name, int absent)
{
    const auto value = option(name);
    return value ? text::readInteger(*value) : absent;
}

double realOption(std::string_view name, double absent)
{
    const auto value = option(name);
    return value ? text::readDouble(*value) : absent;
}
