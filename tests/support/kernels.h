// What differs by processor, compared with all the instructions that this one has.
#pragma once

#include "processors/wide.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

// Runs something with each row of these tables of kernels in use, from the narrowest on; behind it the usual ones are.
template <class... Kernels>
void withEachKernels(const std::function<void()> &run)
{
    for (size_t row = 0; row < std::min({Kernels::all().size()...}); ++row) {
        if (!(Kernels::all()[row].isSupported() && ...))
            continue;
        ((kernelsInUse<Kernels> = &Kernels::all()[row]), ...);
        SCOPED_TRACE("kernels in row " + std::to_string(row));
        run();
    }
    ((kernelsInUse<Kernels> = &widestOf(Kernels::all())), ...);
}

// `results` are everything that the kernels compute for a seed, as text.
template <class Kernels>
void expectSameWithAnyInstructions(std::string (*results)(const Kernels &, uint64_t seed))
{
    for (uint64_t seed = 1; seed <= 400; ++seed) {
        const std::string expected = results(Kernels::all()[0], seed);
        withEachKernels<Kernels>([&] {
            EXPECT_EQ(results(*kernelsInUse<Kernels>, seed), expected) << "seed " << seed;
        });
    }
}

// The bits of every value, but any nan as one.
std::string exactText(std::initializer_list<const std::vector<double> *> results);
