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

// peakscan3's table and its ranges; without a chromosome all of them.
Figure drawPeaks(const std::string &file, const std::string &ranges, const std::string &chromosome, const Size &size);

// A scan's statistics, a row per phenotype or per marker.
Figure drawScan(const std::string &file, const Size &size);

// ldprune's two files.
Figure drawPruning(const std::string &kept, const std::string &removed, const Layout &layout, const Size &size);

// popsel's log.
Figure drawBalance(const std::string &file, const Size &size);

// mixfit's report.
Figure drawMixture(const std::string &file, const Size &size);

// family's matrices; the first ones by size.
Figure drawFamily(const std::string &file, size_t most, const Size &size);

// The list of relout5 and relout6.
Figure drawRemoval(const std::string &file, const Size &size);

// levin's correlations.
Figure drawShifts(const std::string &file, const std::string &delimiter, const Size &size);

}  // namespace plot
