#include "tools/table/verbs.h"

static constexpr const Mode *verbs[] = {&phenotypesVerb, &transposeVerb, &reorderVerb, &selectVerb, &checkVerb};

constinit const Companion tableCompanion
    = {"morvel-table", "turns, orders, selects from and checks delimited tables of any size", verbs};
