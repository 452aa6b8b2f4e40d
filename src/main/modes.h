// The modes of the program: their spellings, options and functions.
#pragma once

#include <span>
#include <string_view>

struct Mode {
    const char *name;                      // exact spelling
    void (*run)();                         // null: collects its options, runs nothing
    std::span<const char *const> options;  // accepted names; none: collects nothing
};

// All spellings, in the order in which they are compared.
std::span<const Mode> allModes();

// The mode spelled so; null where there is none.
const Mode *findMode(std::string_view name);

// True for a mode whose work is yet to be built: it says so and returns.
bool isUnavailable(const Mode &mode);

// Runs the mode's function, if it has one.
void runMode(const Mode &mode);
