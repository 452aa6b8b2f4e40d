#include "main/companion.h"
#include "main/banner.h"
#include "main/console.h"
#include "main/nearest.h"
#include "text/readnumber.h"
#include "text/writer.h"

#include <algorithm>
#include <cstdio>
#include <new>

using std::string_view;

static bool asksForHelp(string_view word)
{
    return word == "--help" || word == "-h" || word == "help";
}

static std::string callsOf(const Companion &companion)
{
    const std::string name = companion.name;
    std::string word = companion.word;
    std::ranges::transform(word, word.begin(), [](char letter) { return char(letter - 32); });
    std::string text = name + ": " + companion.help + "\n\n    " + name + " " + word + " -option value ...\n\n";
    for (const Mode *verb : companion.verbs) {
        std::string spelling = verb->name();
        spelling.resize(std::max(spelling.size() + 1, size_t(12)), ' ');
        text += "    " + spelling + verb->help + "\n";
    }
    return text + "\n" + name + " " + word + " --help shows a " + companion.word + "'s options, man " + name
           + " all of them.\n";
}

static std::string optionsOf(const Companion &companion, const Mode &verb)
{
    std::string text = std::string(companion.name) + " " + verb.name() + ": " + verb.help + "\n\n";
    for (const Option *option : verb.options) {
        std::string name = option->name;
        name.resize(std::max(name.size() + 1, size_t(14)), ' ');
        text += "    " + name + option->help;
        if (*option->words)
            text += std::string(" [") + option->words + "]";
        const std::string absent = option->shownDefault();
        text += (absent.empty() ? "" : " (" + absent + ")") + "\n";
    }
    return text;
}

[[noreturn]] static void show(const std::string &text)
{
    text::Writer out;
    if (!out.openStandardOutput())
        fatal("Cannot write 'standard output'\n");
    out.put(text);
    out.close();
    finish(0);
}

static const Mode &findVerb(const Companion &companion, string_view name)
{
    std::vector<string_view> names;
    for (const Mode *verb : companion.verbs) {
        names.push_back(verb->name());
        if (names.back() == name)
            return *verb;
    }
    fatal("There is no %s %s%s\n", companion.word, quoted(name).c_str(), suggestion(name, names).c_str());
}

static const Option *findOptionOf(const Mode &verb, string_view name)
{
    const auto option = std::ranges::find(verb.options, name, &Option::name);
    return option == verb.options.end() ? nullptr : *option;
}

static const Option &requireOption(const Mode &verb, string_view name)
{
    if (const Option *option = findOptionOf(verb, name))
        return *option;
    std::vector<string_view> names;
    for (const Option *option : verb.options)
        names.push_back(option->name);
    fatal("%s has no option %s%s\n", verb.name(), quoted(name).c_str(), suggestion(name, names).c_str());
}

static void checkValue(const Option &option, string_view value)
{
    if (value.empty())
        fatal("Option %s has an empty value\n", option.name);
    if (option.kind == Value::Word && !isOneOf(option.words, value))
        fatal("Option %s has no word %s; its words are: %s\n", option.name, quoted(value).c_str(), option.words);
    if (option.kind == Value::Integer
        && (text::readInteger(value) <= 0 || value.find_first_not_of("0123456789") != value.npos))
        fatal("Option %s takes a whole number from 1 on, not %s\n", option.name, quoted(value).c_str());
}

static void collectOptions(const Mode &verb, std::span<const char *const> words)
{
    for (size_t i = 0; i < words.size(); i += 2) {
        const Option &option = requireOption(verb, words[i]);
        for (size_t given = 0; given < Switches.size(); given += 2) {
            if (Switches[given] == option.name)
                fatal("Option %s is given twice\n", option.name);
        }
        // A file of such a name can be written as ./-name.
        if (i + 1 == words.size() || findOptionOf(verb, words[i + 1]))
            fatal("Option %s has no value\n", option.name);
        checkValue(option, words[i + 1]);
        Switches.emplace_back(option.name);
        Switches.emplace_back(words[i + 1]);
    }
    for (const Option *option : verb.options) {
        if (option->taking.use == Use::Required && !option->given())
            fatal("%s needs the option %s\n", verb.name(), option->name);
    }
}

void runCompanion(const Companion &companion, int argc, char **argv)
{
    startConsole(companion.name);
    if (argc < 2) {
        std::fputs(callsOf(companion).c_str(), stderr);
        finish(1);
    }
    const string_view word = argv[1];
    if (asksForHelp(word))
        show(callsOf(companion));
    if (word == "--version")
        show(std::string(companion.name) + " " + programVersion + "\n");
    const Mode &verb = findVerb(companion, word);
    if (argc == 3 && asksForHelp(argv[2]))
        show(optionsOf(companion, verb));
    try {
        collectOptions(verb, {argv + 2, argv + argc});
        expectOnly(verb.options);
        verb.run();
    } catch (const std::bad_alloc &) {
        fatal("Out of memory\n");
    }
    finish(0);
}
