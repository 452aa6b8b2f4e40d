#include "tools/gather/verbs.h"

namespace gather {

static constexpr const Mode *verbs[] = {&runVerb, &joinVerb};

constinit const Companion companion
    = {"morvel-gather", "runs the program over a part of its input, and joins the results of all parts", verbs};

}  // namespace gather
