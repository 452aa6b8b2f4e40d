#include "tools/table/verbs.h"

namespace table {

static constexpr const Mode *verbs[] = {&phenotypesVerb, &transposeVerb, &reorderVerb, &selectVerb, &checkVerb};

constinit const Companion companion
    = {"morvel-table", "turns, orders, selects from and checks delimited tables of any size", verbs};

}  // namespace table
