// The verbs of morvel-table: one file each, named after it. All of it is a namespace of its own, since options of the
// program have the same names.
#pragma once

#include "main/companion.h"

namespace table {

extern const Mode transposeVerb, phenotypesVerb, reorderVerb, selectVerb, checkVerb;

extern const Companion companion;

}  // namespace table
