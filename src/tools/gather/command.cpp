#include "tools/gather/command.h"
#include "main/console.h"
#include "main/nearest.h"

#include <algorithm>
#include <cstring>

namespace gather {

static std::vector<const char *> cutOff;  // by takeCommand()

int takeCommand(int argc, char **argv)
{
    char **const end = argv + argc;
    char **const marker = std::find_if(argv, end, [](const char *word) { return std::strcmp(word, "--") == 0; });
    cutOff.assign(std::min(marker + 1, end), end);
    return int(marker - argv);
}

bool hasCommand()
{
    return !cutOff.empty();
}

std::optional<std::string> Command::given(const char *option) const
{
    const auto found = std::ranges::find(Switches, option);
    if (found == Switches.end() || found + 1 == Switches.end())
        return std::nullopt;
    return found[1];
}

void Command::set(const std::string &option, const std::string &value)
{
    auto found = std::find(words.begin() + 1, words.end(), option);
    if (found == words.end() || found + 1 == words.end())
        found = words.insert(words.begin() + 1, {option, ""});
    found[1] = value;
}

bool Command::isOn(const char *option) const
{
    return static_cast<const SwitchOption *>(findOption(*mode, option))->isOn();
}

static const Mode &findModeOf(const std::vector<std::string> &words)
{
    const auto isSwitch = [](const std::string &word) { return word == "-M" || word == "-m"; };
    const auto found = std::find_if(words.begin() + 1, words.end(), isSwitch);
    if (found == words.end() || found + 1 == words.end())
        fatal("The command names no mode\n");
    const Mode *mode = findMode(found[1]);
    if (!mode)
        fatal("There is no mode %s\n", quoted(found[1]).c_str());
    return *mode;
}

Command readCommand()
{
    if (cutOff.empty())
        fatal("run needs a command: morvel-gather run -part 1 -of 8 -- morvel -M ...\n");
    Command command = {{cutOff.begin(), cutOff.end()}, nullptr, nullptr};
    command.mode = &findModeOf(command.words);
    command.rule = &ruleOf(command.mode->name());
    Switches.clear();
    takeSwitches(std::span(cutOff).subspan(1), *command.mode);
    expectOnly(command.mode->options);
    for (const char *option : command.rule->refused) {
        if (!command.value(option).empty())
            fatal("With %s, which counts lines, mode %s cannot be split\n", option, command.mode->name());
    }
    for (const char *option : {command.rule->input, outputOption}) {
        if (command.value(option).empty())
            fatal("The command needs the option %s\n", option);
    }
    return command;
}

}  // namespace gather
