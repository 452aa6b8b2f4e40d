// Makes the manual page and the completion for bash at build time: fills the template of either from the mode table,
// so that they cannot drift from the program.
//
//     morvel-pages TEMPLATE OUTPUT
//
// A line @MODES@ becomes the modes in the words of the manual page, a line @CASES@ those of the completion, and
// @NAMES@ within a line all spellings.
#include "main/modes.h"

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

// The modes of the same function and options, the first of which has the help.
static std::vector<std::span<const Mode>> modeGroups()
{
    std::vector<std::span<const Mode>> groups;
    const std::span<const Mode> modes = allModes();
    for (size_t first = 0, end; first < modes.size(); first = end) {
        for (end = first + 1; end < modes.size() && !*modes[end].help; ++end) {
        }
        groups.push_back(modes.subspan(first, end - first));
    }
    return groups;
}

static std::string joined(std::span<const Mode> modes, const char *separator)
{
    std::string names;
    for (const Mode &mode : modes)
        names += (names.empty() ? "" : separator) + std::string(mode.name);
    return names;
}

static std::string replaced(std::string text, const std::string &what, const std::string &by)
{
    for (size_t i = 0; (i = text.find(what, i)) != text.npos; i += by.size())
        text.replace(i, what.size(), by);
    return text;
}

// Text of the manual page: backslashes and hyphens as they are typed.
static std::string escaped(const std::string &text)
{
    return replaced(replaced(text, "\\", "\\e"), "-", "\\-");
}

static std::string valueName(const Option &option)
{
    switch (option.value) {
    case Value::Word:
        return "\\fB" + replaced(escaped(option.words), " ", "\\fR|\\fB") + "\\fR";
    case Value::Integer:
        return "\\fIinteger\\fR";
    case Value::Real:
        return "\\fInumber\\fR";
    case Value::Text:
        return *option.words ? "\\fIword\\fR" : "\\fItext\\fR";
    case Value::InputFile:
    case Value::OutputFile:
        return "\\fIfile\\fR";
    }
    return "";
}

static void writeManual(std::ostream &out)
{
    for (const auto &group : modeGroups()) {
        const Mode &mode = group[0];
        out << ".SS " << joined(group, ", ") << '\n' << escaped(mode.help) << ".\n";
        if (isUnavailable(mode))
            out << "Not available in this version: it collects its options and says so.\n";
        for (const Option &option : mode.options) {
            out << ".TP\n\\fB" << escaped(option.name) << "\\fR " << valueName(option) << '\n' << escaped(option.help);
            if (option.value == Value::Text && *option.words)
                out << ": " << replaced(option.words, " ", ", ");
            out << '\n';
        }
    }
}

static void writeCases(std::ostream &out)
{
    for (const auto &group : modeGroups()) {
        out << "    " << joined(group, " | ") << ")\n        options='";
        for (const Option &option : group[0].options)
            out << (&option == group[0].options.data() ? "" : " ") << option.name;
        std::string wordCases;
        for (const Option &option : group[0].options) {
            if (*option.words)
                wordCases += "        " + std::string(option.name) + ") words='" + option.words + "' ;;\n";
        }
        out << "'\n";
        if (!wordCases.empty())
            out << "        case $previous in\n" << wordCases << "        esac\n";
        out << "        ;;\n";
    }
}

int main(int argc, char **argv)
{
    std::ifstream in(argc == 3 ? argv[1] : "");
    std::ofstream out(argc == 3 ? argv[2] : "");
    for (std::string line; std::getline(in, line);) {
        if (line == "@MODES@")
            writeManual(out);
        else if (line == "@CASES@")
            writeCases(out);
        else
            out << replaced(line, "@NAMES@", joined(allModes(), " ")) << '\n';
    }
    out.close();
    if (!in.eof() || !out) {
        std::cerr << "usage: morvel-pages TEMPLATE OUTPUT\n";
        return 1;
    }
}
