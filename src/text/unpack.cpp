#include "text/unpack.h"
#include "text/files.h"
#include "text/inflate.h"

#include <cstdlib>
#include <cstring>

#include <libdeflate.h>
#include <zstd.h>

namespace text {

static constexpr std::string_view gzipMark = "\x1f\x8b", zstdMark = "\x28\xb5\x2f\xfd";
static constexpr std::string_view skippableMark = "\x2a\x4d\x18";  // behind a byte from 0x50 to 0x5f

static constexpr size_t blockSize = size_t(128) << 10;

static unsigned byteAt(std::string_view bytes, size_t i)
{
    return static_cast<unsigned char>(bytes[i]);
}

static unsigned twoBytesAt(std::string_view bytes, size_t i)
{
    return byteAt(bytes, i) | byteAt(bytes, i + 1) << 8;
}

PackedBytes::PackedBytes(int file, const std::string &name, std::string_view head)
    : m_file(file), m_name(name), m_block(std::make_unique_for_overwrite<char[]>(blockSize)), m_read(head.size())
{
    std::memcpy(m_block.get(), head.data(), head.size());
    left = {m_block.get(), head.size()};
}

bool PackedBytes::have(size_t size)
{
    if (left.size() >= size)
        return true;
    std::memmove(m_block.get(), left.data(), left.size());
    left = {m_block.get(), left.size()};
    while (left.size() < size) {
        const size_t bytes = readSome(m_file, m_block.get() + left.size(), blockSize - left.size(), m_name);
        if (bytes == 0)
            return false;
        m_read += bytes;
        left = {m_block.get(), left.size() + bytes};
    }
    return true;
}

void PackedBytes::refuse() const
{
    onFailure("read", m_name);
    std::abort();  // no handler returns
}

namespace {
// RFC 1952: members one behind the other. Those of bgzip (SAM/BAM format, 4.1) tell their size in a field
// "BC", and the last of a file is empty, so that a file cut between two of them shows.
class GzipUnpacker : public Unpacker {
public:
    explicit GzipUnpacker(PackedBytes packed) : Unpacker(std::move(packed)), m_inflater(makeIsalInflater())
    {
        if (!m_inflater)
            m_inflater = makeZlibInflater();
        if (!m_inflater)
            m_packed.refuse();
    }

    size_t read(char *to, size_t room) override
    {
        while (m_isInMember || startMember()) {
            const bool isAtEnd = !m_packed.have(1);
            size_t size = 0;
            const Inflater::State state = m_inflater->run(m_packed.left, to, room, size);
            if (state == Inflater::State::Damaged || (isAtEnd && size == 0 && state == Inflater::State::More))
                m_packed.refuse();
            m_isEmpty = m_isEmpty && size == 0;
            if (state == Inflater::State::End)
                endMember();
            if (size > 0)
                return size;
        }
        return 0;
    }

private:
    bool startMember();
    void endMember();
    std::string_view takeHeader(size_t size);
    void readExtraField();
    void skipText();

    std::unique_ptr<Inflater> m_inflater;
    bool m_isInMember = false;
    bool m_isEmpty = true;       // the member
    bool m_awaitsEmpty = false;  // blocks of bgzip without an empty one behind them
    uint64_t m_start = 0;        // of the member
    uint64_t m_memberSize = 0;   // as a block of bgzip tells it; 0 elsewhere
    uint32_t m_checksum = 0;     // of the header
};
}  // namespace

std::string_view GzipUnpacker::takeHeader(size_t size)
{
    if (!m_packed.have(size))
        m_packed.refuse();
    const std::string_view taken = m_packed.left.substr(0, size);
    m_checksum = libdeflate_crc32(m_checksum, taken.data(), size);
    m_packed.left.remove_prefix(size);
    return taken;
}

void GzipUnpacker::readExtraField()
{
    const unsigned size = twoBytesAt(takeHeader(2), 0);
    std::string_view field = takeHeader(size);
    while (field.size() >= 4) {
        const size_t partSize = twoBytesAt(field, 2);
        if (field.size() < 4 + partSize)
            m_packed.refuse();
        if (field.starts_with("BC") && partSize == 2)
            m_memberSize = twoBytesAt(field, 4) + 1;
        field.remove_prefix(4 + partSize);
    }
}

void GzipUnpacker::skipText()
{
    while (takeHeader(1)[0] != '\0')
        ;
}

// False at the right end of the file.
bool GzipUnpacker::startMember()
{
    if (!m_packed.have(1) || m_packed.left[0] == '\0') {
        while (m_packed.have(1)) {
            if (m_packed.left.find_first_not_of('\0') != std::string_view::npos)
                m_packed.refuse();
            m_packed.left.remove_prefix(m_packed.left.size());
        }
        if (m_awaitsEmpty)
            m_packed.refuse();
        return false;
    }
    constexpr char deflate = 8;
    enum Flags { HeaderChecksum = 2, ExtraField = 4, Name = 8, Comment = 16, Reserved = 0xe0 };
    m_start = m_packed.position();
    m_memberSize = 0;
    m_checksum = 0;
    const std::string_view header = takeHeader(10);
    const unsigned flags = byteAt(header, 3);
    if (!header.starts_with(gzipMark) || header[2] != deflate || (flags & Reserved))
        m_packed.refuse();
    if (flags & ExtraField)
        readExtraField();
    if (flags & Name)
        skipText();
    if (flags & Comment)
        skipText();
    const unsigned checksum = m_checksum & 0xffff;
    if ((flags & HeaderChecksum) && twoBytesAt(takeHeader(2), 0) != checksum)
        m_packed.refuse();
    if (m_awaitsEmpty && m_memberSize == 0)
        m_packed.refuse();
    m_inflater->start();
    m_isEmpty = m_isInMember = true;
    return true;
}

void GzipUnpacker::endMember()
{
    m_isInMember = false;
    m_awaitsEmpty = m_memberSize > 0 && !m_isEmpty;
    if (m_memberSize > 0 && m_packed.position() - m_start != m_memberSize)
        m_packed.refuse();
}

namespace {
// RFC 8878: frames one behind the other, of content or to be skipped.
class ZstdUnpacker : public Unpacker {
public:
    explicit ZstdUnpacker(PackedBytes packed) : Unpacker(std::move(packed)), m_state(ZSTD_createDCtx())
    {
        if (!m_state)
            failMemory();
        // As large a window as the library can do: memory grows to it only where the content does.
        const int most = ZSTD_dParam_getBounds(ZSTD_d_windowLogMax).upperBound;
        ZSTD_DCtx_setParameter(m_state.get(), ZSTD_d_windowLogMax, most);
    }

    size_t read(char *to, size_t room) override
    {
        for (;;) {
            // A frame's header goes in whole: the library would take what follows a part of one for a frame by itself
            // where it looks like one.
            const bool isAtEnd = !m_packed.have(m_isBetweenFrames ? largestHeader : 1) && m_packed.left.empty();
            if (isAtEnd && m_isBetweenFrames)
                return 0;
            ZSTD_inBuffer in = {m_packed.left.data(), m_packed.left.size(), 0};
            ZSTD_outBuffer out = {to, room, 0};
            const size_t result = ZSTD_decompressStream(m_state.get(), &out, &in);
            m_packed.left.remove_prefix(in.pos);
            m_isBetweenFrames = result == 0;
            if (ZSTD_isError(result) || (isAtEnd && out.pos == 0 && result != 0))
                m_packed.refuse();
            if (out.pos > 0)
                return out.pos;
        }
    }

private:
    struct Free {
        void operator()(ZSTD_DCtx *state) const { ZSTD_freeDCtx(state); }
    };
    static constexpr size_t largestHeader = 18;

    std::unique_ptr<ZSTD_DCtx, Free> m_state;
    bool m_isBetweenFrames = true;
};
}  // namespace

static bool isSkippable(std::string_view head)
{
    return !head.empty() && (byteAt(head, 0) & 0xf0) == 0x50;
}

bool canBecomeMark(std::string_view head)
{
    if (head.size() >= markSize)
        return false;
    return (head.size() < gzipMark.size() && gzipMark.starts_with(head)) || zstdMark.starts_with(head)
           || (isSkippable(head) && skippableMark.starts_with(head.substr(1)));
}

std::unique_ptr<Unpacker> makeUnpacker(int file, const std::string &name, std::string_view head)
{
    if (head.starts_with(gzipMark))
        return std::make_unique<GzipUnpacker>(PackedBytes(file, name, head));
    if (head == zstdMark || (isSkippable(head) && head.substr(1) == skippableMark))
        return std::make_unique<ZstdUnpacker>(PackedBytes(file, name, head));
    return nullptr;
}

}  // namespace text
