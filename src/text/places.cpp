#include "text/places.h"
#include "text/files.h"
#include "text/unpack.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <libdeflate.h>
#include <sys/stat.h>
#include <unistd.h>

namespace text {

static constexpr size_t plainSize = size_t(256) << 10;
static constexpr size_t mostBlock = size_t(64) << 10;  // of bgzip, packed and unpacked
static constexpr size_t headerSize = 18;               // with no extra fields but the block's size, as all write it

// The size of the block that this header begins; 0 where it is none.
static size_t blockSizeOf(const char *header)
{
    static constexpr char start[] = {'\x1f', '\x8b', 8, 4}, extra[] = {6, 0, 'B', 'C', 2, 0};
    if (std::memcmp(header, start, sizeof start) != 0 || std::memcmp(header + 10, extra, sizeof extra) != 0)
        return 0;
    return size_t(uint8_t(header[16]) | uint8_t(header[17]) << 8) + 1;
}

PlaceReader::PlaceReader() : m_state(nullptr, libdeflate_free_decompressor)
{
}

PlaceReader::Kind PlaceReader::open(const std::string &name)
{
    close();
    m_name = name;
    m_file = openToRead(name);
    struct stat status;
    if (m_file < 0 || fstat(m_file, &status) != 0)
        return Kind::Missing;
    m_size = uint64_t(status.st_size);
    m_next = 0;
    m_awaitsEmpty = false;
    m_kind = Kind::Plain;
    char head[markSize] = {};
    if (!S_ISREG(status.st_mode))
        m_kind = Kind::Whole;
    else if (blockSizeAt(0) > 0)
        m_kind = Kind::Blocks;
    else if (makeUnpacker(m_file, m_name, {head, readAt(head, sizeof head, 0)}))
        m_kind = Kind::Whole;
    m_content = std::make_unique_for_overwrite<char[]>(plainSize);
    m_packed = std::make_unique_for_overwrite<char[]>(2 * mostBlock);
    return m_kind;
}

void PlaceReader::close()
{
    if (m_file >= 0)
        ::close(m_file);
    m_file = -1;
}

void PlaceReader::refuse() const
{
    onFailure("read", m_name);
    std::abort();
}

// Fewer only at the end of the file.
size_t PlaceReader::readAt(char *to, size_t bytes, uint64_t offset) const
{
    size_t done = 0;
    while (done < bytes) {
        const ssize_t got = steadily([&] { return pread(m_file, to + done, bytes - done, off_t(offset + done)); });
        if (got < 0)
            refuse();
        if (got == 0)
            break;
        done += size_t(got);
    }
    return done;
}

size_t PlaceReader::blockSizeAt(uint64_t offset) const
{
    char header[headerSize];
    return readAt(header, headerSize, offset) == headerSize ? blockSizeOf(header) : 0;
}

// Bytes of a block can look like a header, but not the next two that it would lead to as well; and even then the first
// unpacked block would be found damaged.
void PlaceReader::seek(uint64_t offset)
{
    m_next = std::min(offset, m_size);
    m_awaitsEmpty = false;
    if (m_kind != Kind::Blocks)
        return;
    const size_t size = readAt(m_packed.get(), mostBlock + headerSize, m_next);
    for (size_t i = 0; i + headerSize <= size; ++i) {
        uint64_t end = m_next + i;
        size_t blocks = 0, blockSize = blockSizeOf(&m_packed[i]);
        for (; blockSize > 0 && blocks < 3 && end < m_size; ++blocks) {
            end += blockSize;
            blockSize = blockSizeAt(end);
        }
        if (blocks == 3 || (blocks > 0 && end == m_size)) {
            m_next += i;
            return;
        }
    }
    if (m_size - m_next > mostBlock)
        refuse();
    m_next = m_size;
}

bool PlaceReader::nextBlock(std::string_view &bytes, uint64_t &block)
{
    if (!m_state)
        m_state.reset(libdeflate_alloc_decompressor());
    if (!m_state)
        failMemory();
    size_t contentSize = 0;
    while (contentSize == 0 && m_next < m_size) {
        const size_t size = blockSizeAt(m_next);
        if (size == 0 || readAt(m_packed.get(), size, m_next) != size
            || libdeflate_gzip_decompress(m_state.get(), m_packed.get(), size, m_content.get(), plainSize, &contentSize)
                   != LIBDEFLATE_SUCCESS)
            refuse();
        block = m_next;
        m_next += size;
        m_awaitsEmpty = contentSize > 0;
    }
    if (contentSize == 0 && m_awaitsEmpty)
        refuse();
    bytes = {m_content.get(), contentSize};
    return contentSize > 0;
}

void PlaceReader::checkEnd()
{
    std::string_view bytes;
    uint64_t block;
    seek(m_size - std::min(m_size, uint64_t(mostBlock)));
    while (m_kind == Kind::Blocks && next(bytes, block)) {
    }
    seek(0);
}

bool PlaceReader::next(std::string_view &bytes, uint64_t &block)
{
    if (m_kind == Kind::Blocks)
        return nextBlock(bytes, block);
    block = m_next;
    // What has been added since the file was opened is not read.
    const size_t size = readAt(m_content.get(), size_t(std::min(uint64_t(plainSize), m_size - m_next)), m_next);
    m_next += size;
    if (size == 0 && m_next < m_size)
        refuse();  // it has become shorter
    bytes = {m_content.get(), size};
    return size > 0;
}

}  // namespace text
