// All parts of a run, which belong together.
#pragma once

#include "text/lines.h"
#include "text/writer.h"
#include "tools/gather/record.h"
#include "tools/gather/rules.h"

#include <deque>

namespace gather {

// A part and the names of its outputs.
struct Part {
    std::string name;  // of -out
    Record record;

    // For want of a line: its outputs hold nothing, not even a header.
    bool hasNotRun(const Rule &rule) const
    {
        return rule.cut == Cut::Markers && record.columns == 0 && record.part > 1;
    }
};

struct Parts {
    std::vector<Part> parts;  // [part]
    const Rule *rule;

    const Record &record() const { return parts[0].record; }  // for what all parts have alike
};

// By the name of their outputs with "%" in the place of the part's number. Ends the run where a part is missing or does
// not belong to the others, or where its outputs are not those that its record tells of.
Parts readParts(const std::string &pattern);

// An output of every part that has run, to be read side by side.
class PartLines {
public:
    PartLines(const Parts &parts, const std::string &suffix);

    size_t count() const { return m_files.size(); }
    const std::string &name(size_t i) const { return m_names[i]; }
    // The next line as it stands, valid until the next call for this part; a missing one ends the run.
    std::string_view take(size_t i);
    // Writes as many lines of the part with their line ends.
    void copy(size_t i, int64_t lines, text::Writer &out);
    bool next(size_t i, std::string_view &line) { return m_files[i].next(line); }
    // The first line of every part, which must be the same; nothing where no part has any.
    std::string takeHeader();
    // Ends the run where a line is left.
    void finish();

private:
    std::deque<text::LineReader> m_files;
    std::vector<std::string> m_names;
};

// Ends the run over an output that does not fit the others, or itself.
[[noreturn]] void refusePart(const std::string &name, const char *what);

}  // namespace gather
