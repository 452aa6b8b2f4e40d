// How the modes are split, and how what their parts write is joined.
#pragma once

#include <span>

namespace gather {

enum class Cut {
    Lines,
    Markers,      // lines, of which a part needs one for the mode to run
    Chromosomes,  // lines, whole chromosomes
    Files         // a part is files of its own
};

enum class Joining {
    Bytes,
    LinesAndRows,   // bytes, and the second output has rows below a header
    PhenotypeRows,  // rows below a header, and numbered rows of statistics
    MarkerRows,     // the same, with a running total
    Regressions,
    Mixtures
};

struct Rule {
    const char *mode;
    const char *input;  // the option whose file is split
    Cut cut;
    Joining joining;
    const char *side;                  // what the name of the second output adds to -out; null: there is none
    const char *sideOption = nullptr;  // a switch without which there is none
    const char *headerOption = nullptr;
    bool hasTallies = false;
    bool endsOpen = false;                      // the last line that is read has no line end in the output
    std::span<const char *const> refused = {};  // options
};

// The mode's rule; a mode without one ends the run.
const Rule &ruleOf(const char *mode);

inline constexpr char talliesOption[] = "-tallies", talliesSuffix[] = ".tallies", outputOption[] = "-out";

}  // namespace gather
