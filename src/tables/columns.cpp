#include "tables/columns.h"
#include "main/console.h"

size_t readColumn(const IntegerOption &option)
{
    const int column = option.read();
    if (column < 1)
        fatal("Incorrect %s\n", option.name + 1);
    return size_t(column);
}

void failShortLine(int64_t lineNumber, size_t column)
{
    fatal("Line %lld has fewer fields than column %zu\n", static_cast<long long>(lineNumber), column);
}
