// One build for every processor: a function marked MORVEL_WIDE is compiled a second time for processors with wide
// and bit-counting instructions, together with what is inlined into it, and chosen at program start. Fused
// multiply-add stays off in both, so the results are the same.
#pragma once

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define MORVEL_WIDE [[gnu::target_clones("default", "arch=x86-64-v3")]]
#else
#define MORVEL_WIDE
#endif
