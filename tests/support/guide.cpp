#include "support/guide.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

std::vector<Step> readSteps(const std::string &page)
{
    std::ifstream guide(MORVEL_SOURCE_FOLDER "/" + page);
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

void followPage(const std::string &page, const Folder &folder)
{
    const Folder tools;
    std::filesystem::create_symlink(std::getenv("MORVEL_PROGRAM"), tools.path("morvel"));
    for (const std::string companion : {"morvel-table", "morvel-plot", "morvel-gather"})
        std::filesystem::create_symlink(MORVEL_PAGES_FOLDER "/" + companion, tools.path(companion));
    const std::string shell
        = "cd " + folder.path("") + " && MORVEL_HINTS=1 PATH=" + tools.path("") + ":$PATH bash " + tools.path("command");
    const bool hasZstd = std::system("command -v zstd > /dev/null") == 0;
    for (const Step &step : readSteps(page)) {
        SCOPED_TRACE(page + ":" + std::to_string(step.line) + ": " + step.command + step.fileName);
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
