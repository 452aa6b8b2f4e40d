#include "text/lines.h"
#include "text/bytes.h"
#include "text/files.h"
#include "text/foreign.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace text {

LineReader::Memory LineReader::allocate(size_t size)
{
    Memory memory(static_cast<char *>(std::calloc(size + slack, 1)));
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

bool LineReader::open(const std::string &name, size_t block)
{
    close();
    do {
        m_file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    } while (m_file < 0 && errno == EINTR);
    struct stat file;
    if (m_file < 0 || fstat(m_file, &file) != 0 || S_ISDIR(file.st_mode)) {
        close();
        return false;
    }
    m_name = name;
    m_buffer = allocate(block);
    m_block = m_size = block;
    m_next = m_end = 0;
    m_isKnown = false;
    return true;
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
    if (lseek(m_file, 0, SEEK_CUR) >= 0)
        return false;
    TemporaryFile copy;
    copy.append({m_buffer.get() + m_next, m_end - m_next});
    while (const size_t bytes = readSome(m_buffer.get(), m_size))
        copy.append({m_buffer.get(), bytes});
    close();
    m_file = copy.release();
    rewind();
    return true;
}

void LineReader::close()
{
    if (m_file >= 0)
        ::close(m_file);
    m_file = -1;
}

void LineReader::rewind()
{
    if (lseek(m_file, 0, SEEK_SET) != 0)
        onFailure("read", m_name);
    m_next = m_end = 0;
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

LineReader::Memory LineReader::handOver(std::string_view line)
{
    if (line.empty() || line.data() != m_buffer.get() || line.size() < m_size / 4)
        return nullptr;
    const size_t left = m_end - m_next;
    Memory next = allocate(std::max(m_block, left));
    std::memcpy(next.get(), m_buffer.get() + m_next, left);
    m_size = std::max(m_block, left);
    m_next = 0;
    m_end = left;
    m_buffer.swap(next);
    // Gives back what is behind the line.
    if (char *shrunk = static_cast<char *>(std::realloc(next.get(), line.size()))) {
        static_cast<void>(next.release());
        next.reset(shrunk);
    }
    return next;
}

// Moves what is not handed out to the front and reads on behind it; false at the end of the file.
bool LineReader::refill()
{
    if (m_next > 0)
        std::memmove(m_buffer.get(), m_buffer.get() + m_next, m_end - m_next);
    m_end -= m_next;
    m_next = 0;
    if (m_end == m_size) {
        // Grown in place where the system can: a long line is held once, not twice.
        char *grown = static_cast<char *>(std::realloc(m_buffer.get(), 2 * m_size + slack));
        if (!grown)
            throw std::bad_alloc();
        static_cast<void>(m_buffer.release());
        m_buffer.reset(grown);
        m_size *= 2;
    }
    const size_t bytes = readSome(m_buffer.get() + m_end, m_size - m_end);
    m_end += bytes;
    if (!m_isKnown) [[unlikely]]
        refuseForeign();
    return bytes > 0;
}

void LineReader::refuseForeign()
{
    m_isKnown = true;
    if (const char *kind = onForeign ? foreignKind({m_buffer.get(), m_end}) : nullptr)
        onForeign(kind, m_name);
}

size_t LineReader::readSome(char *to, size_t bytes)
{
    ssize_t got;
    do {
        got = ::read(m_file, to, bytes);
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        onFailure("read", m_name);
    return size_t(got);
}

}  // namespace text
