#include "modes/tables.h"
#include "main/console.h"
#include "main/options.h"

std::string requiredFileOption()
{
    const auto file = option("-file");
    if (!file)
        fatal("You need to specify '-file'.\n\n");
    return *file;
}

std::string announcedOutOption(const std::string &filename)
{
    const auto out = option("-out");
    if (!out)
        print("output name = input name + '.out'\n");
    return out.value_or(filename + ".out");
}

size_t columnOption(std::string_view option, const char *name)
{
    const int column = integerOption(option, 0);
    if (column < 1)
        fatal("Incorrect %s\n", name);
    return size_t(column);
}

void failShortLine(int64_t lineNumber, size_t column)
{
    fatal("Line %lld has fewer fields than column %zu\n", static_cast<long long>(lineNumber), column);
}
