// Hints for a person at a terminal: which words of the command line have no effect, or another one than was meant.
// They go to standard error; scripts never see them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

// True where standard error is a terminal. The environment variable MORVEL_HINTS overrides that: 1 for hints, 0 for
// none.
bool wantsHints();

// The hints on a command line (without the program), of which `mode` was found to be the mode's name.
std::vector<std::string> findHints(std::span<const char *const> arguments, std::string_view mode);

// How a call looks and the modes, for a call that names none.
void showUsage(std::span<const char *const> arguments);

void showHints(std::span<const char *const> arguments, std::string_view mode);
