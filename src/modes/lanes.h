// Registers as vectors of lanes, for functions that are compiled for several kinds of processor (see text/wide.h).
#pragma once

#include <cstddef>
#include <cstdint>

// Loads and stores need no more alignment than a double.
template <size_t bytes>
struct Lanes;
#define MORVEL_LANES(size)                                                                                             \
    template <>                                                                                                        \
    struct Lanes<size> {                                                                                               \
        typedef double Real __attribute__((vector_size(size), may_alias, aligned(8)));                                 \
        typedef uint64_t Bits __attribute__((vector_size(size), may_alias, aligned(8)));                               \
    }
MORVEL_LANES(16);
MORVEL_LANES(32);
MORVEL_LANES(64);

// For what is inlined into the entry points, each compiled for its processors.
#define MORVEL_INLINE [[gnu::always_inline]] static inline
