// Compressed outputs.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace text {

// Compresses bytes on their way into a file. A failed write goes to onFailure; nothing is written behind it.
class Packer {
public:
    virtual ~Packer() = default;
    virtual void write(std::string_view bytes) = 0;
    // Brings everything so far into the file.
    virtual void flush() = 0;
    // The same with the mark of a complete file behind it. Nothing may follow.
    virtual void finish() = 0;

protected:
    Packer(int file, const std::string &name) : m_file(file), m_name(name) {}
    void writePacked(const char *bytes, size_t size);

private:
    int m_file;
    const std::string &m_name;
    bool m_hasFailed = false;  // or is failing: the failure handler flushes again
};

// For a file of this name, which must stay: blocks of bgzip where it ends in ".gz", Zstandard where in ".zst", else
// null.
std::unique_ptr<Packer> makePacker(int file, const std::string &name);

}  // namespace text
