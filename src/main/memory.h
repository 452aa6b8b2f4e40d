// The memory that a run may take for what grows with its input.
#pragma once

#include <cstddef>

// Bytes: half of what the machine has.
size_t halfOfMemory();
