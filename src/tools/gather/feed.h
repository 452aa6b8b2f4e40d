// Running a program that reads a part of the content.
#pragma once

#include "tools/gather/cuts.h"

namespace gather {

// Runs the command and hands it the lines as its standard input, or without cuts nothing. Ends the run where it does
// not end with status 0.
void runCommand(const Command &command, const Content &content, const Cuts *cuts);

// The words of the first line that has any; 0 where there is none.
size_t columnsOf(const Content &content, const Cuts &cuts);

}  // namespace gather
