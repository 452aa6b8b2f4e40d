// The modes of the program: their spellings, options, functions, and a line of help for each of these. What users read
// elsewhere, the manual page, the completion of the shell and the hints on a terminal, is made from here.
#pragma once

#include <span>
#include <string_view>

enum class Value { Integer, Real, Word, Text, InputFile, OutputFile };

struct Option {
    const char *name;
    Value value;
    const char *help;        // without a full stop; "\n" never
    const char *words = "";  // separated by blanks: all that count of a Word, the common ones of anything else
};

struct Mode {
    const char *name;                 // exact spelling
    void (*run)();                    // null: collects its options, runs nothing
    std::span<const Option> options;  // accepted; none: collects nothing
    const char *help = "";            // none: one more spelling of the mode before it
};

// All spellings, in the order in which they are compared.
std::span<const Mode> allModes();

// The mode spelled so; null where there is none.
const Mode *findMode(std::string_view name);

// The mode's option; null where it accepts none of this name.
const Option *findOption(const Mode &mode, std::string_view name);

// True for a mode whose work is yet to be built: it says so and returns.
bool isUnavailable(const Mode &mode);

// Runs the mode's function, if it has one.
void runMode(const Mode &mode);
