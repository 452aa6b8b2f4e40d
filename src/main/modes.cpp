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

void takeSwitches(std::span<const char *const> words, const Mode &mode)
{
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        if (findOption(mode, words[i])) {
            Switches.emplace_back(words[i]);
            Switches.emplace_back(words[i + 1]);
        }
    }
}

void runMode(const Mode &mode)
{
    expectOnly(mode.bare ? mode.bare->options : mode.options);
    if (mode.run)
        mode.run();
}
