#include "tables/columns.h"
#include "main/console.h"
#include "main/options.h"

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
