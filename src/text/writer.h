// Buffered output files.
#pragma once

#include "text/pack.h"
#include "text/writenumber.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace text {

// A file whose name ends in ".gz" or ".zst" is compressed (pack.h), and complete only once it is closed. A failed
// write, flush or close goes to onFailure.
class Writer {
public:
    // The most that reserve() gives at a time.
    static constexpr size_t capacity = size_t(128) << 10;

    Writer() = default;
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    ~Writer() { close(); }

    // Creates or empties the file; false when it cannot be opened.
    bool open(const std::string &name);
    // Creates the file, or goes on behind what is in it.
    bool openToAppend(const std::string &name);
    // Standard output where it stands: neither emptied nor overwritten.
    bool openStandardOutput();
    // The file behind the descriptor, which is closed in the end, as one of this name.
    void openDescriptor(int file, const std::string &name);
    // Instead of a file: appends to `bytes`, which has all of it after flush().
    void openToMemory(std::string &bytes);
    void close();
    void flush();

    void put(char byte) { *reserve(1) = byte, ++m_size; }
    void put(std::string_view bytes);
    void put(const char *bytes) { put(std::string_view(bytes)); }
    void put(double real) { commit(writeReal(reserve(maxRealSize), real)); }
    void put(int64_t integer) { commit(writeInteger(reserve(maxIntegerSize), integer)); }
    void put(int integer) { put(int64_t(integer)); }
    void put(size_t integer) { put(int64_t(integer)); }

    // For hot loops: room for at least `size` bytes; what was written there counts up to commit(end).
    char *reserve(size_t size)
    {
        if (size > bufferSize - m_size)
            writeAllButLast();
        return m_buffer.get() + m_size;
    }
    void commit(const char *end) { m_size = size_t(end - m_buffer.get()); }

    // Change or take back the byte written last, for line ends that are known late. Not right after flush().
    void replaceLast(char byte) { m_buffer.get()[m_size - 1] = byte; }
    void removeLast() { --m_size; }

    // For a run that ends well: closes every open writer.
    static void closeAll();
    // For a run that ends early: flushes every open writer. Compressed files stay without the mark of a complete one,
    // and nothing may be put any more.
    static void flushAll();

private:
    static constexpr size_t bufferSize = capacity + 1;  // room for the last byte, which waits in the buffer

    static Writer *firstOpen;

    bool openWith(int flags, const std::string &name);
    void writeAllButLast();
    void write(const char *bytes, size_t size);
    void writeBuffer();

    std::string m_name;
    std::string *m_memory = nullptr;
    std::unique_ptr<Packer> m_packer;
    std::unique_ptr<char[]> m_buffer;
    size_t m_size = 0;
    int m_file = -1;
    Writer *m_nextOpen = nullptr;
};

}  // namespace text
