// The options of a run.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Option names, each followed by its value, in command-line order and as the bytes that were typed (a file name
// need not be text in any encoding). Filled once before the mode runs.
extern std::vector<std::string> Switches;

// The element after the first one equal to the name; nothing where there is none. Values are searched as well as
// names: after "-out -file x", the value of "-file" is "-file".
std::optional<std::string> option(std::string_view name);

// The same for an option that a mode cannot do without: its absence ends the run with a message.
std::string requiredOption(std::string_view name);

// The value of "-out"; where it is absent, the input name + ".out", which is announced.
std::string announcedOutOption(const std::string &filename);

std::string textOption(std::string_view name, std::string_view absent);
int integerOption(std::string_view name, int absent);     // no integer: 0
double realOption(std::string_view name, double absent);  // no number: 0
