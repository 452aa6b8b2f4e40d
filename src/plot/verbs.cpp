#include "plot/verbs.h"

namespace plot {

static constexpr const Mode *kinds[]
    = {&manhattanKind, &qqKind,      &peaksKind,   &scanKind,   &reportKind,  &effectKind,
       &pruningKind,   &balanceKind, &mixtureKind, &familyKind, &removalKind, &shiftsKind};

constinit const Companion companion
    = {"morvel-plot", "draws the results of morvel as pictures and as a page", kinds, "kind"};

}  // namespace plot
