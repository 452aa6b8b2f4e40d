// The numbers of genotype and dosage lines, as many at a time as 64 bytes hold.
#pragma once

#include "text/fields.h"

#include <cstddef>
#include <cstdint>
#include <span>

// Stands for a field that is no short number: one of another form than "1", "0.5" or "0.123", as
// text::readShortNumber() takes it. Below 0, and in 16 bits no sum of it, or of twice it, with what else stands in a
// triplet is from 0 to 3000.
inline constexpr int16_t notShort = -30000;

struct ShortNumberKernels {
    // More than are asked for may be written, and bytes behind them.
    static constexpr size_t surplus = 64;

    // Reads short numbers of a line in thousandths, from `next`, where a field begins, as long as all fields in 64
    // bytes are short, until there are `most` or more. Returns how many, and the place behind them in `next`.
    using Read = size_t (*)(const char *&next, const char *end, int16_t *numbers, size_t most);

    const char *name;
    bool (*isSupported)();
    Read readFields;  // between single blanks; an empty one counts as 0
    Read readWords;   // between any white space

    Read reader(text::Separator separator) const
    {
        return separator == text::Separator::Blank ? readFields : readWords;
    }

    static std::span<const ShortNumberKernels> all();
};
