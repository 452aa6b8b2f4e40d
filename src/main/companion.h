// The companions of the program: small tools with verbs in place of modes. Their options are declared like those of
// modes, but a word that has no effect, or not the one that was meant, ends the run.
#pragma once

#include "main/modes.h"

struct Companion {
    const char *name;                    // of the program
    const char *help;                    // a line
    std::span<const Mode *const> verbs;  // in the order in which they are documented
    const char *word = "verb";           // what they are called
};

// A whole run: NAME VERB -option value ... Ends with status 0, or with a message on standard error and status 1.
[[noreturn]] void runCompanion(const Companion &companion, int argc, char **argv);
