// Reading a file line by line in blocks.
#pragma once

#include "text/source.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace text {

// A line ends at "\n"; a "\r" right before it belongs to the line end. A last line without an end counts. What is
// read is the content of the file, plain or compressed (source.h). Holds one block, or the longest line met where that
// is longer. A failed read goes to onFailure.
class LineReader {
public:
    // Bytes behind a line's end that may be read, though they mean nothing.
    static constexpr size_t slack = 64;

    LineReader() = default;
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;
    ~LineReader() { close(); }

    // False when the file is missing, unreadable or a folder. A smaller block is for tests.
    bool open(const std::string &name, size_t block = size_t(256) << 10);
    // The same for a file that will be read more than once: what cannot start again at once, such as a pipe or a
    // compressed file, is copied to an unnamed temporary file first.
    bool openToReread(const std::string &name);
    // For a file that turns out to be read more than once: true where it cannot start again at once, and then rewind()
    // leads from now on to the line behind the one read last, from a copy.
    bool copyRestToReread();
    void close();

    // From now on a "\r" right before a line's end stays in the line.
    void keepReturns() { m_keepsReturns = true; }

    // From now on lines stay valid as long as the reader does: it goes on in new memory instead of the old one.
    void keepLines() { m_keepsLines = true; }

    // The next line without its end, valid until the next call; false after the last one.
    bool next(std::string_view &line) { return nextInBlock(line) || nextAcrossBlocks(line); }

    // The next line where all of it is in the block already: no read, and the lines before stay valid. False
    // does not mean that there is none.
    bool nextInBlock(std::string_view &line)
    {
        const char *first = m_buffer.get() + m_next;
        const void *end = std::memchr(first, '\n', m_end - m_next);
        if (end)
            take(first, static_cast<const char *>(end), line);
        return end;
    }

    // As next(), passing over empty lines.
    bool nextNonEmpty(std::string_view &line)
    {
        while (next(line)) {
            if (!line.empty())
                return true;
        }
        return false;
    }

    // Instead of lines: the next words, with white space between and behind them, across line ends. As many as are
    // at hand, so that a long line is not held.
    bool nextWords(std::string_view &words);

    // True when no byte remains behind the line read last.
    bool atEnd() { return m_next == m_end && !refill(); }

    // Where a byte in a line of an open reader comes from.
    struct Origin {
        std::string file;
        size_t offset;  // in its content
    };
    static std::optional<Origin> originOf(const char *byte);

    // Starts again at the first byte. A pipe cannot, unless it was opened to be reread: that is a failed read.
    void rewind();

private:
    struct Free {
        void operator()(char *memory) const { std::free(memory); }
    };
    using Memory = std::unique_ptr<char, Free>;

    static Memory allocate(size_t size);
    static Memory allocateKept(size_t size);
    void take(const char *first, const char *end, std::string_view &line)
    {
        m_next = size_t(end - m_buffer.get()) + 1;
        if (end != first && end[-1] == '\r' && !m_keepsReturns)
            --end;
        line = {first, size_t(end - first)};
    }
    bool nextAcrossBlocks(std::string_view &line);
    bool refill();
    void moveToFront();
    void moveToNewBlock();

    Source m_source;
    Memory m_buffer;
    size_t m_block = 0;   // size of a new buffer, without the slack
    size_t m_size = 0;    // of the buffer, without the slack
    size_t m_next = 0;    // first byte not handed out
    size_t m_end = 0;     // behind the last byte read
    size_t m_start = 0;   // of what rewind() leads to, in the file's content
    size_t m_offset = 0;  // of the buffer, likewise
    bool m_keepsReturns = false;
    bool m_keepsLines = false;
    std::vector<Memory> m_kept;
    LineReader *m_nextOpen = nullptr;
    static LineReader *firstOpen;
};

}  // namespace text
