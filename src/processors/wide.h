// One build for every processor: a function marked MORVEL_WIDE is compiled a second time for processors with wide
// and bit-counting instructions, together with what is inlined into it, and chosen at program start. Fused
// multiply-add stays off in both, so the results are the same.
#pragma once

#include <span>

// Two compilations are chosen between before anything else runs, where these sanitizers are not ready yet.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_HWADDRESS__) || defined(__SANITIZE_THREAD__)
#define MORVEL_SANITIZED
#endif

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(MORVEL_SANITIZED)
#define MORVEL_WIDE [[gnu::target_clones("default", "arch=x86-64-v3")]]
#else
#define MORVEL_WIDE
#endif

// Where instructions are chosen by hand, a table of the same functions for one kind of processor after the other, from
// the narrowest, which runs everywhere, to the widest. The sanitizers watch all of them.
#if defined(__x86_64__)
#define MORVEL_WIDE_KERNELS
#endif

// The widest of the table that this processor supports.
template <class Kernels>
const Kernels &widestOf(std::span<const Kernels> table)
{
    const Kernels *widest = &table.front();
    for (const Kernels &each : table) {
        if (each.isSupported())
            widest = &each;
    }
    return *widest;
}

// The kernels that every caller goes through: at first the widest of Kernels::all() that this processor supports, and
// others in tests only.
template <class Kernels>
inline const Kernels *kernelsInUse = &widestOf(Kernels::all());
