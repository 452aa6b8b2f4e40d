// The kinds of pictures.
#pragma once

#include "main/companion.h"

namespace plot {

extern const Mode manhattanKind, qqKind, peaksKind, scanKind, reportKind, effectKind, pruningKind, balanceKind,
    mixtureKind, familyKind, removalKind, shiftsKind;
extern const Companion companion;

}  // namespace plot
