// Pages of the documentation as scripts: every command runs, in one folder and in its order, and must show what stands
// below it. "console" blocks hold commands behind "$ " and what they show; "text" blocks below a name such as "`pairs`:"
// are input files.
#pragma once

#include "support/program.h"

struct Step {
    size_t line;  // of the guide, from 1
    std::string section;
    std::string command, fileName;  // one of the two
    std::string text;               // what the command shows, or the file holds
};

// Of a page, named from the source folder.
std::vector<Step> readSteps(const std::string &page);

// Runs the page in the folder, with the build's programs at hand, and holds what is shown against the page.
void followPage(const std::string &page, const Folder &folder);
