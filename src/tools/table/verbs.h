// The verbs of morvel-table: one file each, named after it.
#pragma once

#include "main/companion.h"

extern const Mode transposeVerb, phenotypesVerb, reorderVerb, selectVerb, checkVerb;

extern const Companion tableCompanion;
