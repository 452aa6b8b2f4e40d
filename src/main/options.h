// The options of a run, and their declarations. A declaration is the one place of an option's name, kind, default,
// words and help: the mode reads the value through it, and the collection of options, the manual page, the completion,
// the hints and the check of the guide follow from it.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Option names, each followed by its value, in command-line order and as the bytes that were typed (a file name
// need not be text in any encoding). Filled once before the mode runs.
extern std::vector<std::string> Switches;

enum class Value { Integer, Real, Word, Text, InputFile, OutputFile };

enum class Use {
    Optional,
    Required,
    CheckedOnly,  // a wrong value may end the run, but changes no result
    NotUsed       // accepted
};

// What is special about taking an option's value.
struct Taking {
    Use use = Use::Optional;
    size_t buffer = 0;           // a value of so many bytes or more ends the process by abort, on purpose; 0: never
    bool emptyIsAbsent = false;  // an empty value counts as none
};

// What all options have in common. Declared as one of the kinds below, as a constant, and listed by its mode.
struct Option {
    const char *name;
    Value kind;
    const char *help;             // without a full stop and the default; "\n" never
    const char *words;            // separated by blanks: all that count of a Word, the common ones of anything else
    const char *absentText = "";  // the default in words
    std::optional<double> absentNumber{};  // the default of a number
    Taking taking = {};

    // The element after the first one of Switches equal to the name; nothing where there is none. Values are searched
    // as well as names: after "-out -file x", the value of "-file" is "-file".
    std::optional<std::string> given() const;

    // The default as the manual and the guide show it: "required", a number, a word; "" where there is none.
    std::string shownDefault() const;
};

struct IntegerOption : Option {
    constexpr IntegerOption(const char *optionName, std::optional<int> absent, const char *helpLine, Taking how = {},
                            const char *listed = "")
        : Option{optionName, Value::Integer, helpLine, listed, "", absent, how}
    {
    }
    int read() const;  // what is no integer is 0, and so is what is absent without a default
};

struct RealOption : Option {
    constexpr RealOption(const char *optionName, std::optional<double> absent, const char *helpLine, Taking how = {})
        : Option{optionName, Value::Real, helpLine, "", "", absent, how}
    {
    }
    double read() const;  // what is no number is 0, and so is what is absent without a default
};

// A choice between words; any other word is the default.
struct WordOption : Option {
    constexpr WordOption(const char *optionName, const char *absent, const char *listed, const char *helpLine,
                         Taking how = {})
        : Option{optionName, Value::Word, helpLine, listed, absent, {}, how}
    {
    }
    int read() const;  // the place of the word among `words`, from 0
};

// Off unless the value is exactly one of the words that turn it on.
struct SwitchOption : Option {
    constexpr SwitchOption(const char *optionName, const char *helpLine, const char *listed = "yes no", Taking how = {})
        : Option{optionName, Value::Word, helpLine, listed, "no", {}, how}
    {
    }
    bool isOn() const;  // any of the words but "no"
};

// Any text; `words` are common ones.
struct TextOption : Option {
    constexpr TextOption(const char *optionName, const char *absent, const char *helpLine, const char *listed = "",
                         Taking how = {})
        : Option{optionName, Value::Text, helpLine, listed, absent, {}, how}
    {
    }
    std::string read() const;
};

// What a delimiter option makes of a word that it does not list.
inline constexpr const char *asItStands = nullptr;

inline constexpr char fiveDelimiters[] = "tab space comma semicolon colon";
inline constexpr char tenDelimiters[] = "tab space comma semicolon colon slash bslash dash quote squote";

// The bytes between fields, by a word.
struct DelimiterOption : Option {
    constexpr DelimiterOption(const char *optionName, const char *absent, const char *listed, const char *unlisted,
                              const char *helpLine, Taking how = {}, bool crossed = false)
        : Option{optionName, unlisted ? Value::Word : Value::Text, helpLine, listed, absent, {}, how}
        , otherwise(unlisted)
        , isCrossed(crossed)
    {
    }
    std::string read() const;

    const char *otherwise;  // the bytes for a word that is not listed, or asItStands
    bool isCrossed;         // "slash" is a backslash and "bslash" a slash
};

struct InputOption : Option {
    constexpr InputOption(const char *optionName, Use use, const char *helpLine, Taking how = {})
        : Option{optionName, Value::InputFile, helpLine, "", "", {}, {use, how.buffer, how.emptyIsAbsent}}
    {
    }
    // Ends the run with a message where it is absent.
    std::string require() const;
};

// A name that is by default an input's name + ".out".
struct OutputOption : Option {
    constexpr OutputOption(const char *optionName, const char *absent, const char *helpLine, Taking how = {})
        : Option{optionName, Value::OutputFile, helpLine, "", absent, {}, how}
    {
    }
    std::string read(const std::string &input) const;
    // The same; a name made by default is announced.
    std::string readAnnounced(const std::string &input) const;
};

// True where the word is one of those that stand in `words`, separated by blanks.
bool isOneOf(std::string_view words, std::string_view word);

// In a debug build from now on reading an option that is not one of these stops the program.
void expectOnly(std::span<const Option *const> options);
