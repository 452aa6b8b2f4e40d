// Tables of runs: what each finds and is told, and everything that it leaves.
#pragma once

#include "support/program.h"

#include <optional>

// What all runs of a table share. A file or a text that should begin anyhow is told as "..." and its end.
struct Runs {
    const char *mode;
    Texts options;          // behind those of the row, where the first ones count
    Texts inputs, outputs;  // the files that a row tells the content of, in this order
    std::map<std::string, std::string> files = {};  // others that each run finds
    std::string messages = "...";
    int status = 0;
};

struct RunRow {
    std::string name;
    Texts inputs, options;
    Texts outputs = {};  // as many as there should be, in the order of their names; no other file may appear or change
    std::optional<std::string> messages = {};  // where they are not those of all
};

void expectRuns(const Runs &runs, const std::vector<RunRow> &rows);

// "mode file" with the given bytes as its input "in"; the results go to "out" and "out.stats".
Result convert(const Folder &folder, const std::string &mode, std::string_view input, Texts options = {});
