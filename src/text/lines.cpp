#include "text/lines.h"
#include "text/bytes.h"
#include "text/files.h"

#include <algorithm>
#include <functional>
#include <sys/mman.h>
#include <utility>

namespace text {

LineReader::Memory LineReader::allocate(size_t size)
{
    Memory memory(static_cast<char *>(std::calloc(size + slack, 1)));
    if (!memory)
        failMemory();
    return memory;
}

// Whole blocks of this size and alignment can be single pages of the processor, which saves a quarter of the time of a
// run that keeps a large file.
static constexpr size_t hugePageSize = size_t(2) << 20;
static constexpr size_t keptBlock = 2 * hugePageSize - LineReader::slack;

LineReader::Memory LineReader::allocateKept(size_t size)
{
    const size_t rounded = (size + slack + hugePageSize - 1) / hugePageSize * hugePageSize;
    Memory memory(static_cast<char *>(std::aligned_alloc(hugePageSize, rounded)));
    if (!memory)
        failMemory();
    madvise(memory.get(), rounded, MADV_HUGEPAGE);  // where that cannot be, the pages are just smaller
    return memory;
}

LineReader *LineReader::firstOpen = nullptr;

bool LineReader::open(const std::string &name, size_t block)
{
    close();
    if (!m_source.open(name))
        return false;
    m_buffer = allocate(block);
    m_block = m_size = block;
    m_next = m_end = m_start = m_offset = 0;
    m_nextOpen = std::exchange(firstOpen, this);
    return true;
}

void LineReader::close()
{
    LineReader **link = &firstOpen;
    while (*link && *link != this)
        link = &(*link)->m_nextOpen;
    if (*link)
        *link = m_nextOpen;
    m_source.close();
}

std::optional<LineReader::Origin> LineReader::originOf(const char *byte)
{
    const std::less<const char *> isBefore;
    for (const LineReader *reader = firstOpen; reader; reader = reader->m_nextOpen) {
        const char *first = reader->m_buffer.get();
        if (!isBefore(byte, first) && isBefore(byte, first + reader->m_end))
            return Origin{reader->m_source.name(), reader->m_offset + size_t(byte - first)};
    }
    return std::nullopt;
}

bool LineReader::openToReread(const std::string &name)
{
    if (!open(name))
        return false;
    copyRestToReread();
    return true;
}

bool LineReader::copyRestToReread()
{
    if (m_source.startsAgainCheaply())
        return false;
    m_source.copyRest({m_buffer.get() + m_next, m_end - m_next});
    m_start = m_offset += m_next;
    m_next = m_end = 0;
    return true;
}

void LineReader::rewind()
{
    m_source.rewind();
    m_next = m_end = 0;
    m_offset = m_start;
}

bool LineReader::nextAcrossBlocks(std::string_view &line)
{
    size_t scanned = m_end - m_next;  // without a line end; refilling keeps it at the front
    while (refill()) {
        const char *first = m_buffer.get() + m_next;
        if (const void *end = std::memchr(first + scanned, '\n', m_end - m_next - scanned)) {
            take(first, static_cast<const char *>(end), line);
            return true;
        }
        scanned = m_end - m_next;
    }
    line = {m_buffer.get() + m_next, m_end - m_next};
    m_next = m_end;
    return !line.empty();
}

bool LineReader::nextWords(std::string_view &words)
{
    const auto takeUpTo = [&](size_t end) {
        words = {m_buffer.get() + m_next, end - m_next};
        m_next = end;
        return !words.empty();
    };
    size_t scanned = 0;  // without white space
    do {
        for (size_t end = m_end; end > m_next + scanned; --end) {
            if (isWhiteSpace(m_buffer.get()[end - 1]))
                return takeUpTo(end);
        }
        scanned = m_end - m_next;
    } while (refill());
    return takeUpTo(m_end);
}

void LineReader::moveToFront()
{
    if (m_next > 0)
        std::memmove(m_buffer.get(), m_buffer.get() + m_next, m_end - m_next);
    m_end -= m_next;
    m_offset += m_next;
    m_next = 0;
}

void LineReader::moveToNewBlock()
{
    const size_t left = m_end - m_next;
    const size_t size = std::max(keptBlock, left);
    Memory next = allocateKept(size);
    std::memcpy(next.get(), m_buffer.get() + m_next, left);
    m_kept.push_back(std::exchange(m_buffer, std::move(next)));
    m_size = size;
    m_end = left;
    m_offset += m_next;
    m_next = 0;
}

// Reads on behind what is not handed out, for which it makes room; false at the end of the file.
bool LineReader::refill()
{
    if (!m_keepsLines)
        moveToFront();
    else if (m_end == m_size && m_next > 0)
        moveToNewBlock();
    if (m_end == m_size) {
        // Grown in place where the system can: a long line is held once, not twice.
        char *grown = static_cast<char *>(std::realloc(m_buffer.get(), 2 * m_size + slack));
        if (!grown)
            failMemory();
        static_cast<void>(m_buffer.release());
        m_buffer.reset(grown);
        m_size *= 2;
    }
    const size_t bytes
        = m_source.read(m_buffer.get() + m_end, std::min(m_size - m_end, m_keepsLines ? m_block : m_size));
    m_end += bytes;
    return bytes > 0;
}

}  // namespace text
