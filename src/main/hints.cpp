#include "main/hints.h"
#include "main/modes.h"
#include "main/nearest.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using std::string_view;

bool wantsHints()
{
    const char *chosen = std::getenv("MORVEL_HINTS");
    if (chosen && (string_view(chosen) == "0" || string_view(chosen) == "1"))
        return *chosen == '1';
    return isatty(STDERR_FILENO);
}

static std::string modeSuggestion(string_view typed)
{
    std::vector<string_view> names;
    for (const Mode *mode : allModes()) {
        for (const char *spelling : mode->names) {
            if (spelling && mode->run)
                names.push_back(spelling);
        }
    }
    return suggestion(typed, names);
}

static std::string optionSuggestion(string_view typed, const Mode &mode)
{
    std::vector<string_view> names;
    for (const Option *option : mode.options)
        names.push_back(option->name);
    return suggestion(typed, names);
}

static bool isModeSwitch(string_view word)
{
    return word == "-M" || word == "-m";
}

// Negative numbers do not.
static bool looksLikeOption(string_view word)
{
    return word.size() > 1 && word[0] == '-' && !text::readReal(word).isNumber
           && (std::isalpha(static_cast<unsigned char>(word[1])) || (word[1] == '-' && word.size() > 2));
}

static bool isInteger(string_view word)
{
    return text::readInteger(word) != 0 || word.find_first_not_of(" \t+-0") == word.npos;
}

// The words with commas between them.
static std::string listed(std::string words)
{
    for (size_t i = 0; (i = words.find(' ', i)) != words.npos; i += 2)
        words.replace(i, 1, ", ");
    return words;
}

// What is wrong with the value; nothing where nothing is. An empty value may be meant.
static std::string valueHint(const Option &option, string_view value)
{
    if (value.empty())
        return "";
    const std::string name = quoted(option.name);
    if (option.kind == Value::Integer && !isInteger(value))
        return name + " takes a whole number, and " + quoted(value) + " counts as 0";
    if (option.kind == Value::Real && text::readReal(value).value == 0 && !text::readReal(value).isNumber)
        return name + " takes a number, and " + quoted(value) + " counts as 0";
    if (option.kind == Value::Word && !isOneOf(option.words, value))
        return name + " does not know " + quoted(value) + "; its words are " + listed(option.words);
    if (option.kind == Value::Text && *option.words && !isOneOf(option.words, value) && value.size() > 1)
        return name + " takes " + quoted(value) + " as it stands; its words are " + listed(option.words);
    return "";
}

static bool asksForHelp(string_view word)
{
    return isOneOf("--help -help -h -? help --version --usage", word);
}

static void addOptions(const Mode &mode, std::vector<std::string> &hints)
{
    hints.push_back("mode " + quoted(mode.name()) + " takes these options; man morvel tells more");
    for (const Option *option : mode.options) {
        std::string name = option->name;
        name.resize(std::max(name.size() + 1, size_t(20)), ' ');
        const std::string byDefault = option->shownDefault();
        hints.push_back("  " + name + option->help + (byDefault.empty() ? "" : " (" + byDefault + ")"));
    }
}

static std::string unusedOptionsHint(const Mode &mode)
{
    return "mode " + quoted(mode.name()) + " takes no options, all are ignored"
           + (mode.bare ? "; " + quoted(mode.bare->name()) + " takes them" : "");
}

// Walks the words as they were meant: an option and its value, the next option and so on.
static std::vector<std::string> findOptionHints(std::span<const char *const> arguments, string_view name,
                                                const Mode &mode)
{
    std::vector<std::string> hints;
    const size_t count = arguments.size();
    std::vector<std::pair<string_view, string_view>> given;
    std::vector<string_view> strays;
    bool isModeFound = false;
    for (size_t i = 0; i < count; ++i) {
        const string_view word = arguments[i];
        const bool isLast = i + 1 == count;
        const string_view value = isLast ? "" : arguments[i + 1];
        if (isModeSwitch(word)) {
            if (isLast || isModeFound)
                hints.push_back(quoted(word) + " is ignored: mode " + quoted(name) + " was named before");
            isModeFound = true;
            ++i;
        } else if (const Option *option = findOption(mode, word)) {
            if (isLast) {
                hints.push_back("option " + quoted(word) + " is ignored: no value follows");
            } else if (findOption(mode, value) || isModeSwitch(value)) {
                // The value is looked at as an option too, and so it is here.
                hints.push_back("option " + quoted(word) + " takes the next word, " + quoted(value)
                                + ", as its value; is its value missing?");
            } else {
                ++i;
                const auto first = std::ranges::find(given, word, &std::pair<string_view, string_view>::first);
                if (first != given.end()) {
                    if (first->second != value)
                        hints.push_back("option " + quoted(word) + " is given again; the first value, "
                                        + quoted(first->second) + ", counts");
                } else if (looksLikeOption(value)) {
                    hints.push_back("option " + quoted(word) + " takes " + quoted(value)
                                    + ", which looks like an option, as its value" + optionSuggestion(value, mode));
                    if (i + 1 < count && *arguments[i + 1] != '-')
                        ++i;  // that option's value, no further mistake
                } else if (const std::string hint = valueHint(*option, value); !hint.empty()) {
                    hints.push_back(hint);
                }
                if (option->taking.use == Use::CheckedOnly)
                    hints.push_back("option " + quoted(word) + " is checked only: it changes nothing in mode "
                                    + quoted(name));
                else if (option->taking.use == Use::NotUsed)
                    hints.push_back("option " + quoted(word) + " is accepted, but not used by mode " + quoted(name));
                given.emplace_back(word, value);
            }
        } else if (asksForHelp(word)) {
            addOptions(mode, hints);
        } else if (looksLikeOption(word)) {
            hints.push_back("option " + quoted(word) + " is ignored: mode " + quoted(name) + " does not know it"
                            + optionSuggestion(word.substr(0, word.find('=')), mode)
                            + (word.find('=') != word.npos ? "; its value is a word of its own" : ""));
            if (!isLast && !findOption(mode, value) && !looksLikeOption(value))
                ++i;
        } else {
            strays.push_back(word);
        }
    }
    if (strays.size() == 1)
        hints.push_back(quoted(strays[0]) + " is ignored: no option stands before it");
    else if (!strays.empty())
        hints.push_back(quoted(strays[0]) + " and further words, " + std::to_string(strays.size())
                        + " in all, are ignored: no option stands before them");
    return hints;
}

std::vector<std::string> findHints(std::span<const char *const> arguments, string_view name)
{
    if (arguments.empty())
        return {"no mode is named, nothing runs; call morvel -M MODE -option value ..."};
    const Mode *mode = findMode(name);
    if (!mode)
        return {"mode " + quoted(name) + " is unknown, nothing runs" + modeSuggestion(name)};
    if (!mode->run)
        return {"mode " + quoted(name) + " runs nothing" + modeSuggestion(name)};
    if (mode->options.empty() && arguments.size() > 2)
        return {unusedOptionsHint(*mode)};
    return findOptionHints(arguments, name, *mode);
}

// A word that stands where "-M" was forgotten.
static std::string forgottenSwitch(std::span<const char *const> arguments)
{
    for (const string_view word : arguments) {
        const Mode *mode = findMode(word);
        if (mode && mode->run)
            return "; did you mean \"-M " + std::string(word) + "\"?";
    }
    return "";
}

void showUsage(std::span<const char *const> arguments)
{
    const std::string beginning = "morvel: hint: ";
    std::string text
        = beginning + "call morvel -M MODE -option value ..." + forgottenSwitch(arguments) + " The modes are\n";
    for (const Mode *mode : allModes()) {
        if (!mode->run || mode->bare)
            continue;
        std::string name = mode->name();
        name.resize(std::max(name.size() + 1, size_t(14)), ' ');
        text += beginning + "  " + name + mode->help + "\n";
    }
    text += beginning + "and man morvel tells their options\n";
    std::fputs(text.c_str(), stderr);
}

void showHints(std::span<const char *const> arguments, string_view mode)
{
    if (arguments.empty() || asksForHelp(mode))
        return showUsage(arguments);
    for (const std::string &hint : findHints(arguments, mode))
        std::fprintf(stderr, "morvel: hint: %s\n", hint.c_str());
}
