// The guide shows what the program does.
#include "main/modes.h"
#include "support/guide.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

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
    const Folder folder;
    std::filesystem::create_directory_symlink(MORVEL_SOURCE_FOLDER "/examples", folder.path("examples"));
    followPage("docs/usage.md", folder);
}

TEST(Guide, ShowsACommandInTheSectionOfEveryMode)
{
    std::set<void (*)()> shown;
    for (const Step &step : readSteps("docs/usage.md")) {
        const Mode *mode = findMode(step.section);
        if (mode && (step.command + " ").starts_with("morvel -M " + step.section + " "))
            shown.insert(mode->run);
    }
    for (const Mode *mode : allModes())
        EXPECT_TRUE(!mode->run || shown.contains(mode->run)) << mode->name();
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
        if (!mode->run)
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
