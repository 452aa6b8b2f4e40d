// The drawings of all kinds, for their commands and for the report.
#pragma once

#include "plot/picture.h"
#include "plot/results.h"

#include <string>
#include <vector>

namespace plot {

struct ManhattanInput {
    std::string file;
    Layout layout = {};
    std::vector<double> lines = {};  // p-values
    double least = 0;                // -log10 p below which nothing is drawn
    bool isThinned = true;
};
Figure drawManhattan(const ManhattanInput &input, const Size &size);

struct QqInput {
    std::string file;
    Layout layout = {};
    bool isThinned = true;
};
Figure drawQq(const QqInput &input, const Size &size);

}  // namespace plot
