#include "text/source.h"
#include "text/files.h"
#include "text/foreign.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace text {

Source *Source::firstOpen = nullptr;

bool Source::open(const std::string &name)
{
    close();
    m_file = openToRead(name);
    if (m_file < 0)
        return false;
    m_name = name;
    m_kind = Kind::Unknown;
    m_nextOpen = std::exchange(firstOpen, this);
    return true;
}

void Source::close()
{
    if (m_file < 0)
        return;
    ::close(release());
}

int Source::release()
{
    Source **link = &firstOpen;
    while (*link != this)
        link = &(*link)->m_nextOpen;
    *link = m_nextOpen;
    forget();
    return std::exchange(m_file, -1);
}

// What belongs to a position in the file.
void Source::forget()
{
    m_unpacker.reset();
    m_headSize = m_headNext = 0;
    m_content = 0;
}

size_t Source::readFile(char *to, size_t bytes)
{
    return readSome(m_file, to, bytes, m_name);
}

void Source::findKind()
{
    while (canBecomeMark({m_head, m_headSize})) {
        const size_t bytes = readFile(m_head + m_headSize, markSize - m_headSize);
        if (bytes == 0)
            break;
        m_headSize += bytes;
    }
    m_unpacker = makeUnpacker(m_file, m_name, {m_head, m_headSize});
    m_kind = m_unpacker ? Kind::Packed : Kind::PlainHead;
}

size_t Source::readByKind(char *to, size_t bytes)
{
    if (m_kind == Kind::Unknown)
        findKind();
    const bool isStart = m_headNext == 0 && m_content == 0;
    const size_t size = readOfKind(to, bytes);
    if (const char *kind = isStart && onForeign ? foreignKind({to, size}) : nullptr)
        onForeign(kind, m_name);
    return size;
}

size_t Source::readOfKind(char *to, size_t bytes)
{
    if (m_kind == Kind::Packed) {
        const size_t size = m_unpacker->read(to, bytes);
        m_content += double(size);
        return size;
    }
    const size_t size = std::min(bytes, m_headSize - m_headNext);
    std::memcpy(to, m_head + m_headNext, size);
    m_headNext += size;
    if (m_headNext < m_headSize)
        return size;
    m_kind = Kind::Plain;
    return size < bytes ? size + readFile(to + size, bytes - size) : size;
}

bool Source::startsAgainCheaply()
{
    if (m_kind == Kind::Unknown)
        findKind();
    return m_kind != Kind::Packed && lseek(m_file, 0, SEEK_CUR) >= 0;
}

void Source::copyRest(std::string_view bytes)
{
    constexpr size_t blockSize = size_t(256) << 10;
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    TemporaryFile copy;
    copy.append(bytes);
    while (const size_t size = read(block.get(), blockSize))
        copy.append({block.get(), size});
    ::close(m_file);
    m_file = copy.release();
    m_kind = Kind::Plain;
    rewind();
}

void Source::rewind()
{
    if (lseek(m_file, 0, SEEK_SET) != 0)
        onFailure("read", m_name);
    forget();
    if (m_kind != Kind::Plain)
        m_kind = Kind::Unknown;
}

double Source::size() const
{
    struct stat file;
    if (fstat(m_file, &file) != 0)
        return 0;
    if (m_kind != Kind::Packed)
        return double(file.st_size);
    const auto used = double(m_unpacker->position());
    return used > 0 ? double(file.st_size) * m_content / used : 0;
}

void lookForForeign(const std::string &name)
{
    struct stat file;
    Source source;
    char bytes[foreignMarkSize];
    if (onForeign && stat(name.c_str(), &file) == 0 && S_ISREG(file.st_mode) && source.open(name))
        source.read(bytes, sizeof bytes);
}

double contentSize(const std::string &name)
{
    for (const Source *source = Source::firstOpen; source; source = source->m_nextOpen) {
        if (source->m_name == name)
            return source->size();
    }
    struct stat file;
    return stat(name.c_str(), &file) == 0 ? double(file.st_size) : 0;
}

int openContent(const std::string &name)
{
    Source source;
    if (!source.open(name))
        return -1;
    if (!source.startsAgainCheaply())
        source.copyRest({});
    source.rewind();
    return source.release();
}

}  // namespace text
