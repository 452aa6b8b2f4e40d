// Runs a command over the part K of N of its input, and leaves a record of it beside its output.
#include "main/banner.h"
#include "main/console.h"
#include "text/files.h"
#include "text/lines.h"
#include "tools/gather/feed.h"
#include "tools/gather/newfile.h"
#include "tools/gather/record.h"
#include "tools/gather/verbs.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace gather {

static constexpr IntegerOption partOption
    = {"-part", std::nullopt, "number of the part, from 1", {.use = Use::Required}};
static constexpr IntegerOption ofOption = {"-of", std::nullopt, "number of parts", {.use = Use::Required}};
static constexpr InputOption inputsOption = {
    "-inputs", Use::Optional,
    "file with a name a line: these files, one behind the other, are split in place of the one that the command names"};
static constexpr const Option *options[] = {&partOption, &ofOption, &inputsOption};

static std::vector<std::string> readNames(const std::string &name)
{
    text::LineReader in;
    if (!in.open(name))
        fatal("Cannot open '%s'\n", name.c_str());
    std::vector<std::string> names;
    std::string_view line;
    while (in.nextNonEmpty(line))
        names.emplace_back(line);
    if (names.empty())
        fatal("'%s' names no files\n", name.c_str());
    return names;
}

// All but the names that differ from part to part by their nature.
static void describeRun(const Command &command, const std::vector<std::string> &split, Record &record)
{
    record.run.push_back("version " + std::string(programVersion));
    const bool isSplit = command.rule->cut != Cut::Files;
    for (const std::string &name : split)
        record.run.push_back("input " + std::string(command.rule->input) + ' ' + describeInput(name));
    for (const Option *option : command.mode->options) {
        const auto value = command.given(option->name);
        const std::string start = std::string(option->name) + ' ';
        const bool isInput = option->kind == Value::InputFile;
        if (!value || option->kind == Value::OutputFile
            || (isSplit && option->name == std::string_view(command.rule->input)))
            continue;
        if (isInput && !isSplit)
            record.own.push_back("input " + start + describeInput(*value));
        else
            record.run.push_back(
                (isInput ? "input " + start + describeInput(*value) : "option " + start + shown(*value)));
    }
}

static std::vector<std::string> suffixesOf(const Command &command)
{
    const Rule &rule = *command.rule;
    std::vector<std::string> suffixes = {""};
    if (rule.side && (!rule.sideOption || command.isOn(rule.sideOption)))
        suffixes.push_back(rule.side);
    if (rule.hasTallies)
        suffixes.push_back(talliesSuffix);
    return suffixes;
}

// The part comes by it.
static void refuseStandardInput(const Command &command)
{
    for (const Option *option : command.mode->options) {
        const std::string value = command.value(option->name);
        if (option->kind == Value::InputFile && option->name != std::string_view(command.rule->input)
            && (value == "/dev/stdin" || value == "/dev/fd/0" || value == "/proc/self/fd/0"))
            fatal("'%s' cannot be the %s of a part, which is read from there itself\n", value.c_str(), option->name);
    }
}

// The program cannot tell, since it reads from a pipe.
static void refuseInputs(const Command &command, const std::vector<std::string> &split)
{
    const std::string outname = command.value(outputOption);
    for (const char *suffix : {"", command.rule->side, talliesSuffix, recordSuffix}) {
        const std::string output = outname + (suffix ? suffix : "");
        for (const std::string &input : split) {
            if (text::exists(input) && text::isSameFile(output, input))
                fatal("Output file '%s' is also an input\n", output.c_str());
        }
    }
}

static void makeEmpty(const std::string &name)
{
    text::Writer out;
    if (!out.open(name))
        fatal("Cannot open '%s': %s\n", name.c_str(), std::strerror(errno));
}

static void run()
{
    Record record;
    record.part = size_t(partOption.read());
    record.count = size_t(ofOption.read());
    if (record.part > record.count)
        fatal("There is no part %zu of %zu\n", record.part, record.count);
    std::vector<std::string> split;
    if (const auto list = inputsOption.given())
        split = readNames(*list);
    const bool hasList = !split.empty();

    Command command = readCommand();
    const Rule &rule = *command.rule;
    const std::string outname = command.value(outputOption);
    if (hasList && rule.cut == Cut::Files)
        fatal("Mode %s is not split: a part of it has files of its own, and no -inputs\n", rule.mode);
    if (!hasList && rule.cut != Cut::Files)
        split = {command.value(rule.input)};
    if (!split.empty())
        refuseStandardInput(command);
    refuseInputs(command, split);
    record.mode = rule.mode;
    describeRun(command, split, record);
    const Content content = openContent(split);
    // From now on there is no such part until it is complete again.
    if (std::remove((outname + recordSuffix).c_str()) != 0 && errno != ENOENT)
        fatal("Cannot remove '%s': %s\n", (outname + recordSuffix).c_str(), std::strerror(errno));
    checkEnds(content);

    const std::vector<std::string> suffixes = suffixesOf(command);
    if (rule.hasTallies)
        command.set(talliesOption, outname + talliesSuffix);
    if (rule.cut == Cut::Files) {
        runCommand(command, content, nullptr);
    } else {
        const Cuts cuts = findCuts(command, content, record.part, record.count);
        record.from = cuts.from;
        record.to = cuts.to;
        record.columns = rule.cut == Cut::Markers ? columnsOf(content, cuts) : 1;
        command.set(rule.input, "/dev/stdin");
        if (record.columns > 0 || record.part == 1) {
            runCommand(command, content, &cuts);
        } else {
            for (const std::string &suffix : suffixes)
                makeEmpty(outname + suffix);
        }
    }
    writeRecord(record, outname, suffixes);
}

constinit const Mode runVerb
    = {{"run"}, run, options, "runs the command behind -- over a part of its input, and keeps a record of it"};

}  // namespace gather
