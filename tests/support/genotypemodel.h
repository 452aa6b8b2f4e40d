// Slow and obvious versions of what the modes over genotype files do, and hostile input to hold them against.
#pragma once

#include "support/runs.h"
#include "support/scanmodel.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

using OptionMap = std::map<std::string, std::string>;

// A line of the input as the modes see it.
struct ModelLine {
    Texts fields;  // parted at every blank; none for an empty line
    bool isLast;   // no byte follows

    std::string at(long i) const;  // "" outside the line
    double number(long i) const;   // 0 for no number
    long size() const { return long(fields.size()); }
};
std::vector<ModelLine> modelLines(const std::string &input);

long modelInteger(const OptionMap &options, const std::string &name, long absent);


// What a run prints and writes.
struct ModelResult {
    std::string messages, out, stats;  // "(no file)" where none is written
    bool operator==(const ModelResult &) const = default;
};
using Model = std::function<ModelResult(const std::vector<ModelLine> &, const OptionMap &)>;

// Of the modes that write a line for each one: its leading columns, empty ones beyond its end, and what `text` makes of
// the chosen individuals, of `width` fields each, by the positions of their first fields. No text ends the run.
using LineText = std::function<std::optional<std::string>(const ModelLine &, const std::vector<long> &individuals)>;
ModelResult modelRows(const std::vector<ModelLine> &lines, const OptionMap &options, long width, bool keepsColumns,
                      const LineText &text);

// Compares the program with the model on random files and on random values of these options. A failure shows
// the seed and the input without the lines that the failure does not need.
using Choices = std::vector<std::pair<std::string, std::vector<std::string>>>;
void compareWithModel(const std::string &mode, const Choices &choices, const Model &model);
