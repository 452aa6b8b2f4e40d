// Where the parts begin.
#pragma once

#include "tools/gather/command.h"
#include "tools/gather/content.h"

namespace gather {

struct Cuts {
    Place from, to;
    std::string header;  // to be read before them, with its line end
};

// Of part number `part`, from 1, of `count`. All parts together are everything, whatever is between lines.
Cuts findCuts(const Command &command, const Content &content, size_t part, size_t count);

}  // namespace gather
