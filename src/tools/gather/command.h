// The command behind "--": a run of the program over everything, of which a part is made.
#pragma once

#include "main/modes.h"
#include "tools/gather/rules.h"

#include <optional>
#include <string>
#include <vector>

namespace gather {

// Cuts the words from "--" on off the command line; returns how many are left.
int takeCommand(int argc, char **argv);

struct Command {
    std::vector<std::string> words;  // the first one is the program
    const Mode *mode;
    const Rule *rule;

    // The value that the mode takes, if the option is given.
    std::optional<std::string> given(const char *option) const;
    std::string value(const char *option) const { return given(option).value_or(""); }
    // Makes the option have this value for the program.
    void set(const std::string &option, const std::string &value);
    bool isOn(const char *option) const;  // a switch
};

// What was cut off; from now on Switches are those of its mode. Ends the run where it cannot be split.
Command readCommand();
bool hasCommand();

}  // namespace gather
