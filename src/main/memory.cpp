#include "main/memory.h"

#include <unistd.h>

size_t halfOfMemory()
{
    return size_t(sysconf(_SC_PHYS_PAGES)) * size_t(sysconf(_SC_PAGESIZE)) / 2;
}
