// Files that appear under their name when all of them has reached the disk.
#pragma once

#include "text/wholefile.h"

#include <string>

namespace gather {

// A regular file that appears under its name when all of it has reached the disk. A failure ends the run.
class NewFile {
public:
    explicit NewFile(const std::string &name);

    text::Writer &out() { return m_file.out; }
    // Brings all of it to the disk and gives it its name.
    void publish();

private:
    std::string m_name;
    text::WholeFile m_file;
};

// Brings what is in the file to the disk; returns its size.
uint64_t settle(const std::string &name);

}  // namespace gather
