// The numbers of genotype and dosage lines, two at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// A number in thousandths, or notShort where it has another form than "1", "0.5" or "0.123", as text::readShortNumber()
// takes it.
inline constexpr int32_t notShort = -1;

struct ShortNumberKernels {
    const char *name;
    bool (*isSupported)();

    // Reads so many pairs of neighbouring fields of a LineReader's line: [0] lies between the first two marks, [1]
    // behind it; the next pair lies `step` marks on. An empty field counts as 0 or, among words, as notShort.
    void (*readFields)(const char *const *marks, size_t step, size_t pairs, int32_t (*numbers)[2]);
    void (*readWords)(const char *const *marks, size_t step, size_t pairs, int32_t (*numbers)[2]);

    static std::span<const ShortNumberKernels> all();
};

// Reads neighbouring fields as numbers, at most a walker's batch; what is no number is 0. Of words, stops before an
// empty one; returns how many it read.
template <bool areWords>
size_t readNumbers(const char *const *marks, size_t count, double *values);
