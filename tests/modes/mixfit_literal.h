// The mixture fit as plain loops over triples, grid points and values, one step after the other: the judge of
// the real one, and the yardstick of its benchmark.
#pragma once

#include <string>

struct LiteralFit {
    int K = 3;
    float step = 0.05f, plimit = 0;
    bool combinatorics = false;

    // The report on the bytes of a sample file, by those of a reference file; both parted by tabs.
    std::string run(const std::string &references, const std::string &samples);
};
