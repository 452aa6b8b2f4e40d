// What a mode is: its spellings, function and options, and a line of help. What users read elsewhere, the manual page,
// the completion of the shell and the hints on a terminal, is made from the index of all modes.
#pragma once

#include "main/options.h"

#include <span>
#include <string_view>

struct Mode {
    const char *names[2];                    // exact spellings; the second one may be null
    void (*run)();                           // null: collects its options, runs nothing
    std::span<const Option *const> options;  // accepted, in the order in which they are documented
    const char *help;
    const Mode *bare = nullptr;  // the mode that this one runs without collecting its options

    const char *name() const { return names[0]; }
};

// The index, in the order in which the manual shows the modes.
std::span<const Mode *const> allModes();

// The mode spelled so; null where there is none.
const Mode *findMode(std::string_view name);

// The mode's option; null where it accepts none of this name.
const Option *findOption(const Mode &mode, std::string_view name);

// Appends the options among the words that the mode accepts to Switches. On purpose a value is itself looked at as a
// possible option name.
void takeSwitches(std::span<const char *const> words, const Mode &mode);

// Runs the mode's function, if it has one.
void runMode(const Mode &mode);
