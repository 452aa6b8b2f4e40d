// Files that appear under their name when they are complete.
#pragma once

#include "text/writer.h"

#include <string>

namespace gather {

// Written under another name in the same folder, ".new." before its own, which goes where the run ends early. A failure
// ends the run.
class NewFile {
public:
    explicit NewFile(const std::string &name);
    NewFile(const NewFile &) = delete;

    // Brings all of it to the disk and gives it its name.
    void publish();

    text::Writer out;

private:
    std::string m_name, m_newName;
};

// Brings what is in the file to the disk; returns its size.
uint64_t settle(const std::string &name);

}  // namespace gather
