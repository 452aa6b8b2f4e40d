// What the tests of the association scans share besides the plain scans: random files, and kernels side by side.
#pragma once

#include "support/random.h"

#include <gtest/gtest.h>
#include <span>
#include <vector>

// Random files with much of what users and accidents put into them; tame ones have whole lines.
struct ScanInput : RandomText {
    using RandomText::RandomText;

    size_t individuals = 1 + below(oneIn(4) ? 300 : 12);
    bool isTame = !oneIn(4);
    std::string delimiter = oneIn(8) ? "\t" : " ";

    std::string phenotypes();
    std::string dosages();
    std::string triplets();

private:
    std::string markers(std::string (ScanInput::*individual)());
    std::string dosage();
    std::string triplet();
};

// The bits of every value, but any nan as one.
std::string exactText(std::initializer_list<const std::vector<double> *> results);

// `results` are everything that the kernels compute for a seed, as text.
template <class Kernels>
void expectSameWithAnyInstructions(std::string (*results)(const Kernels &, uint64_t seed))
{
    const std::span<const Kernels> table = Kernels::all();
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        for (const Kernels &kernels : table) {
            if (kernels.isSupported()) {
                EXPECT_EQ(results(kernels, seed), results(table[0], seed)) << kernels.name << ", seed " << seed;
            }
        }
    }
}
