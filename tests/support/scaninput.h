// Random files for the association scans.
#pragma once

#include "support/random.h"

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
