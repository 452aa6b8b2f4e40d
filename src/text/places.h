// Reading a file from any place on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct libdeflate_decompressor;

namespace text {

// Content of a plain file, or of one made of the blocks of bgzip (pack.h): any of these can be the first to be read. A
// failed read, a damaged block and a file that was cut go to onFailure.
class PlaceReader {
public:
    enum class Kind {
        Missing,  // or unreadable, or a folder, with the reason in errno
        Plain,
        Blocks,
        Whole  // compressed as one piece, or a pipe
    };

    PlaceReader();
    PlaceReader(const PlaceReader &) = delete;
    PlaceReader &operator=(const PlaceReader &) = delete;
    ~PlaceReader() { close(); }

    Kind open(const std::string &name);
    void close();
    uint64_t size() const { return m_size; }  // of the file as it is stored

    // Looks at the end of a file of blocks, which is a block without content: of one that was cut it is missing. Goes
    // back to the beginning.
    void checkEnd();

    // Goes to this byte of a plain file, or to the first block that begins there or behind it.
    void seek(uint64_t offset);

    // The next bytes of content, at least one, valid until the next call; false at the end. They begin in the file at
    // `block`, where seek() finds them again.
    bool next(std::string_view &bytes, uint64_t &block);

private:
    size_t readAt(char *to, size_t bytes, uint64_t offset) const;
    size_t blockSizeAt(uint64_t offset) const;
    bool nextBlock(std::string_view &bytes, uint64_t &block);
    [[noreturn]] void refuse() const;

    std::string m_name;
    int m_file = -1;
    Kind m_kind = Kind::Missing;
    uint64_t m_size = 0, m_next = 0;
    bool m_awaitsEmpty = false;  // the block before m_next has content
    std::unique_ptr<char[]> m_packed, m_content;
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor *)> m_state;
};

}  // namespace text
