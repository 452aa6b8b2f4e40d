// Functions written once for registers of several widths, and compiled for the processors that have them.
#pragma once

#include "processors/wide.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// A register as a vector of lanes, and the same lanes as bits; of 16 bits, two of them as one lane.
template <class Number, size_t bytes>
struct Lanes;
#define MORVEL_LANES(Number, Integer, size)                                                                            \
    template <>                                                                                                        \
    struct Lanes<Number, size> {                                                                                       \
        typedef Number Real __attribute__((vector_size(size)));                                                        \
        typedef Integer Bits __attribute__((vector_size(size)));                                                       \
    }
MORVEL_LANES(double, uint64_t, 16);
MORVEL_LANES(double, uint64_t, 32);
MORVEL_LANES(double, uint64_t, 64);
MORVEL_LANES(float, int32_t, 16);
MORVEL_LANES(float, int32_t, 32);
MORVEL_LANES(float, int32_t, 64);
MORVEL_LANES(uint16_t, uint32_t, 16);
MORVEL_LANES(uint16_t, uint32_t, 32);
MORVEL_LANES(uint16_t, uint32_t, 64);
#undef MORVEL_LANES

// For what is inlined into the entry points, each compiled for its processors.
#define MORVEL_INLINE [[gnu::always_inline]] static inline

// Nothing that takes or returns a register is called: all is inlined.
#pragma GCC diagnostic ignored "-Wpsabi"

// Registers from and to numbers in memory, which need no more alignment than a number.
template <class Register, class Number>
MORVEL_INLINE Register load(const Number *from)
{
    Register to;
    std::memcpy(&to, from, sizeof to);
    return to;
}
template <class Register, class Number>
MORVEL_INLINE void store(Number *to, const Register &from)
{
    std::memcpy(to, &from, sizeof from);
}

// Gives each kind of processor to a macro of (name, bytes of a register, attribute of its entry points), from the
// narrowest registers, which all have, to the widest.
#if defined(MORVEL_WIDE_KERNELS)
#define MORVEL_AVX2 __attribute__((target("avx2,bmi,bmi2,popcnt")))
#define MORVEL_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,bmi,bmi2,popcnt")))
#define MORVEL_FOR_PROCESSORS(macro)                                                                                   \
    macro(Plain, 16, ) macro(Avx2, 32, MORVEL_AVX2) macro(Avx512, 64, MORVEL_AVX512)
inline bool supportsAvx2()
{
    return __builtin_cpu_supports("avx2") > 0 && __builtin_cpu_supports("bmi2") > 0;
}
inline bool supportsAvx512()
{
    return supportsAvx2() && __builtin_cpu_supports("avx512bw") > 0 && __builtin_cpu_supports("avx512vl") > 0;
}
#else
#define MORVEL_FOR_PROCESSORS(macro) macro(Plain, 16, )
#endif
inline bool supportsPlain()
{
    return true;
}
