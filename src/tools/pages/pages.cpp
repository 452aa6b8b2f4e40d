// Makes the manual page and the completion for bash of the program and of each companion at build time: fills the
// template of either from the index of modes or verbs, so that they cannot drift from the program.
//
//     morvel-pages PROGRAM TEMPLATE OUTPUT
//
// A line @MODES@ becomes the modes in the words of the manual page, a line @CASES@ those of the completion, within a
// line @NAMES@ becomes all spellings, and @PROGRAM@ the program's name.
#include "main/modes.h"
#include "plot/verbs.h"
#include "tools/gather/verbs.h"
#include "tools/table/verbs.h"

#include <fstream>
#include <iostream>
#include <string>
#include <vector>

typedef std::span<const Mode *const> Modes;

static constexpr const Companion *companions[] = {&table::companion, &plot::companion, &gather::companion};

// The modes of the program, or the verbs of a companion; none of any other name.
static Modes modesOf(const std::string &program)
{
    if (program == "morvel")
        return allModes();
    for (const Companion *companion : companions) {
        if (program == companion->name)
            return companion->verbs;
    }
    return {};
}

static std::string spellings(const Mode &mode, const char *separator)
{
    return mode.names[0] + (mode.names[1] ? std::string(separator) + mode.names[1] : "");
}

static std::string allSpellings(Modes modes)
{
    std::string names;
    for (const Mode *mode : modes)
        names += (names.empty() ? "" : " ") + spellings(*mode, " ");
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
    switch (option.kind) {
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

// What the option does, its words and its default.
static std::string helpOf(const Option &option)
{
    std::string help = option.help;
    if (option.kind == Value::Text && *option.words)
        help += ": " + replaced(option.words, " ", ", ");
    const std::string absent = option.shownDefault();
    return escaped(absent.empty() ? help : help + " (" + absent + ")");
}

static void writeManual(Modes modes, std::ostream &out)
{
    for (const Mode *mode : modes) {
        out << ".SS " << spellings(*mode, ", ") << '\n' << escaped(mode->help) << ".\n";
        for (const Option *option : mode->options)
            out << ".TP\n\\fB" << escaped(option->name) << "\\fR " << valueName(*option) << '\n'
                << helpOf(*option) << '\n';
    }
}

static void writeCases(Modes modes, std::ostream &out)
{
    for (const Mode *mode : modes) {
        std::string names, wordCases;
        for (const Option *option : mode->options) {
            names += (names.empty() ? "" : " ") + std::string(option->name);
            if (*option->words)
                wordCases += "        " + std::string(option->name) + ") words='" + option->words + "' ;;\n";
        }
        out << "    " << spellings(*mode, " | ") << ")\n        options='" << names << "'\n";
        if (!wordCases.empty())
            out << "        case $previous in\n" << wordCases << "        esac\n";
        out << "        ;;\n";
    }
}

int main(int argc, char **argv)
{
    const std::string program = argc == 4 ? argv[1] : "";
    const Modes modes = modesOf(program);
    std::ifstream in(argc == 4 ? argv[2] : "");
    std::ofstream out(argc == 4 ? argv[3] : "");
    for (std::string line; std::getline(in, line);) {
        if (line == "@MODES@")
            writeManual(modes, out);
        else if (line == "@CASES@")
            writeCases(modes, out);
        else
            out << replaced(replaced(line, "@NAMES@", allSpellings(modes)), "@PROGRAM@", program) << '\n';
    }
    out.close();
    if (modes.empty() || !in.eof() || !out) {
        std::cerr << "usage: morvel-pages PROGRAM TEMPLATE OUTPUT\n";
        return 1;
    }
}
