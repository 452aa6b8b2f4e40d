// What a part leaves beside its output when all of it went well: which part it is, and of what.
#pragma once

#include "tools/gather/content.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gather {

// An output, by what its name adds to that of -out.
struct Output {
    std::string suffix;
    uint64_t size;  // bytes

    bool operator==(const Output &) const = default;
};

struct Record {
    size_t part = 0, count = 0;
    std::string mode;
    std::vector<std::string> run;  // lines of text that all parts have alike: options, inputs
    std::vector<std::string> own;  // lines on a part's own inputs, of which no two parts have the same
    Place from, to;                // what was read of the content; both 0 where a part is files of its own
    size_t columns = 0;            // of the first line, where they count; 0: the mode did not run for want of a line
    std::vector<Output> outputs;

    // The value of an option among the lines; nothing where it is not given.
    std::optional<std::string_view> option(std::string_view name) const;
    std::vector<std::string> inputs() const;  // names, as they are shown
    bool hasOutput(std::string_view suffix) const;
};

inline constexpr char recordSuffix[] = ".part";

// A text as a word or the rest of a line: control bytes and backslashes become \xHH.
std::string shown(std::string_view text);

// "SIZE TIME NAME" of an input; a pipe has neither size nor time.
std::string describeInput(const std::string &name);

// Makes the record of the outputs of this name, all of which reach the disk first.
void writeRecord(Record record, const std::string &outname, const std::vector<std::string> &suffixes);

// Ends the run where there is none, or one that is damaged.
Record readRecord(const std::string &outname, size_t part);

}  // namespace gather
