// The guide shows what the program does: every command in it runs, in one folder and in its order, and must show what
// stands below it. Its "console" blocks hold commands behind "$ " and what they show; its "text" blocks below a name
// such as "`pairs`:" are input files.
#include "main/modes.h"
#include "support/program.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

struct Step {
    size_t line;  // of the guide, from 1
    std::string section;
    std::string command, fileName;  // one of the two
    std::string text;               // what the command shows, or the file holds
};

static std::vector<Step> readSteps()
{
    std::ifstream guide(MORVEL_SOURCE_FOLDER "/docs/usage.md");
    std::vector<Step> steps;
    std::string line, section, name, block;
    for (size_t number = 1; std::getline(guide, line); ++number) {
        if (block.empty() && line.starts_with("```")) {
            block = line;
            if (block == "```text")
                steps.push_back({number, section, "", name, ""});
        } else if (block.empty()) {
            if (line.starts_with("## "))
                section = line.substr(3);
            if (line.starts_with("`") && line.ends_with("`:"))
                name = line.substr(1, line.size() - 3);
            else if (!line.empty())
                name.clear();
        } else if (line == "```") {
            block.clear();
        } else if (block == "```console" && line.starts_with("$ ")) {
            steps.push_back({number, section, line.substr(2), "", ""});
        } else if (block != "```sh" && !steps.empty()) {
            steps.back().text += line + "\n";
        }
    }
    return steps;
}

// What a reader compares: without times, blanks at the ends of lines and empty lines at the end.
static std::string visible(const std::string &text)
{
    std::istringstream lines(text);
    std::string line, result;
    while (std::getline(lines, line)) {
        for (const std::string time : {"START TIME:", "END TIME:", "DONE in"})
            line = line.starts_with(time) ? time : line;
        result += line.substr(0, line.find_last_not_of(" \t") + 1) + "\n";
    }
    return result.substr(0, result.find_last_not_of('\n') + 1);
}

// With the blanks of each line squeezed to one: for tables that are shown lined up.
static std::string squeezed(const std::string &text)
{
    std::istringstream lines(text);
    std::string line, word, result;
    for (; std::getline(lines, line); result += "\n") {
        for (std::istringstream words(line); words >> word;)
            result += word + " ";
    }
    return result;
}

TEST(Guide, ShowsWhatItsCommandsShow)
{
    const Folder folder, tools;
    std::filesystem::create_symlink(std::getenv("MORVEL_PROGRAM"), tools.path("morvel"));
    std::filesystem::create_directory_symlink(MORVEL_SOURCE_FOLDER "/examples", folder.path("examples"));
    const std::string shell
        = "cd " + folder.path("") + " && PATH=" + tools.path("") + ":$PATH bash " + tools.path("command");
    const bool hasZstd = std::system("command -v zstd > /dev/null") == 0;
    for (const Step &step : readSteps()) {
        SCOPED_TRACE("docs/usage.md:" + std::to_string(step.line) + ": " + step.command + step.fileName);
        if (!step.fileName.empty())
            folder.write(step.fileName, step.text);
        if (!step.fileName.empty() || (!hasZstd && step.command.find("zstd") != step.command.npos))
            continue;
        tools.write("command", step.command);
        FILE *const pipe = popen((shell + " 2>&1").c_str(), "r");
        std::string output;
        for (int byte; (byte = std::getc(pipe)) != EOF;)
            output += char(byte);
        ASSERT_EQ(pclose(pipe), 0) << output;
        ASSERT_EQ(visible(output), visible(step.text));
    }
}

TEST(Guide, ShowsACommandInTheSectionOfEveryMode)
{
    std::set<void (*)()> shown;
    for (const Step &step : readSteps()) {
        const Mode *mode = findMode(step.section);
        if (mode && (step.command + " ").starts_with("morvel -M " + step.section + " "))
            shown.insert(mode->run);
    }
    for (const Mode *mode : allModes())
        EXPECT_TRUE(!mode->run || mode->run == reportUnavailable || shown.contains(mode->run)) << mode->name();
}

// The parts between separators without the blanks around them.
static std::vector<std::string> partsOf(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream in(text + separator);
    for (std::string part; std::getline(in, part, separator);) {
        const size_t first = part.find_first_not_of(' ');
        parts.push_back(first == part.npos ? "" : part.substr(first, part.find_last_not_of(' ') - first + 1));
    }
    return parts;
}

// By mode and option, from the tables of the guide: options that stand in a row together have their defaults there in
// the same order, or one for all. A mode "takes all options of" another where its section says so.
static std::map<std::string, std::map<std::string, std::string>> readDefaults()
{
    std::map<std::string, std::map<std::string, std::string>> defaults;
    std::ifstream guide(MORVEL_SOURCE_FOLDER "/docs/usage.md");
    std::string line, section;
    bool isOptions = false;
    while (std::getline(guide, line)) {
        const std::string takesAll = "It takes all options of ";
        if (line.starts_with("## "))
            section = line.substr(3);
        if (line.starts_with(takesAll + '['))
            defaults[section] = defaults[line.substr(takesAll.size() + 1, line.find(']') - takesAll.size() - 1)];
        isOptions = line.starts_with("| Option | Default |") || (isOptions && line.starts_with('|'));
        if (!isOptions || !line.starts_with("| `-"))
            continue;
        std::erase(line, '`');
        const std::vector<std::string> cells = partsOf(line.substr(1), '|'), names = partsOf(cells[0], ',');
        std::vector<std::string> values = partsOf(cells[1], ',');
        if (values.size() != names.size())
            values.assign(names.size(), cells[1]);
        for (size_t i = 0; i < names.size(); ++i)
            defaults[section][names[i]] = values[i];
    }
    return defaults;
}

TEST(Guide, ListsEveryOptionWithItsDefault)
{
    auto defaults = readDefaults();
    for (const Mode *mode : allModes()) {
        if (!mode->run || mode->run == reportUnavailable)
            continue;
        std::map<std::string, std::string> expected;
        for (const Option *option : mode->options)
            expected[option->name] = option->shownDefault();
        EXPECT_EQ(defaults[mode->name()], expected) << mode->name();
    }
}

TEST(Readme, ShowsTheHitsOfTheDemo)
{
    const Folder folder;
    const std::string examples = MORVEL_SOURCE_FOLDER "/examples/example.";
    folder.runMode("gentoAD", {"-file", examples + "gen", "-out", "ad"});
    folder.runMode("gwas", {"-pfile", examples + "pheno", "-gfile", "ad", "-out", "hits"});
    const std::string readme = squeezed(contentOf(MORVEL_SOURCE_FOLDER "/README.md"));
    EXPECT_NE(readme.find(squeezed(folder.read("hits"))), std::string::npos) << folder.read("hits");
}
