#include "main/modes.h"

#include <algorithm>

const Mode *findMode(std::string_view name)
{
    for (const Mode *mode : allModes()) {
        for (const char *spelling : mode->names) {
            if (spelling && spelling == name)
                return mode;
        }
    }
    return nullptr;
}

const Option *findOption(const Mode &mode, std::string_view name)
{
    const auto option = std::ranges::find(mode.options, name, &Option::name);
    return option == mode.options.end() ? nullptr : *option;
}

void runMode(const Mode &mode)
{
    expectOnly(mode.bare ? mode.bare->options : mode.options);
    if (mode.run)
        mode.run();
}
