// The content of compressed files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace text {

// The bytes of a file as they are stored, a block at a time.
class PackedBytes {
public:
    // `head` is what has been read of the file already.
    PackedBytes(int file, const std::string &name, std::string_view head);

    // What is at hand; whoever uses it takes it off the front.
    std::string_view left;
    // Reads on until at least `size` bytes, up to 65,536, are at hand; false where the file ends before.
    bool have(size_t size);
    // All bytes up to those that are left.
    uint64_t position() const { return m_read - left.size(); }
    [[noreturn]] void refuse() const;

private:
    int m_file;
    const std::string &m_name;
    std::unique_ptr<char[]> m_block;
    uint64_t m_read;
};

// A file that ends early, is damaged or has something else behind its end goes to onFailure as a failed read.
class Unpacker {
public:
    virtual ~Unpacker() = default;
    // Some bytes of content, at most `room` > 0; 0 behind the last one.
    virtual size_t read(char *to, size_t room) = 0;
    // Bytes of the file used so far.
    uint64_t position() const { return m_packed.position(); }

protected:
    explicit Unpacker(PackedBytes packed) : m_packed(std::move(packed)) {}
    PackedBytes m_packed;
};

// The first bytes that tell how a file is compressed.
static constexpr size_t markSize = 4;

// True for less than a mark that can become one.
bool canBecomeMark(std::string_view head);

// For a file of which `head`, up to markSize bytes, has been read; null where that is no mark. `name` must stay.
std::unique_ptr<Unpacker> makeUnpacker(int file, const std::string &name, std::string_view head);

}  // namespace text
