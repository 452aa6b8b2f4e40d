#include "support/kernels.h"

#include <bit>
#include <cmath>

std::string exactText(std::initializer_list<const std::vector<double> *> results)
{
    std::string text;
    for (const auto *values : results) {
        for (const double value : *values)
            text += " " + (std::isnan(value) ? "nan" : std::to_string(std::bit_cast<uint64_t>(value)));
    }
    return text;
}
