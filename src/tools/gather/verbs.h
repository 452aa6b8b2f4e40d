// The verbs of morvel-gather: one file each, named after it. All of it is a namespace of its own, since options of the
// program have the same names.
#pragma once

#include "main/companion.h"

namespace gather {

extern const Mode runVerb, joinVerb;

extern const Companion companion;

}  // namespace gather
