#include "text/pack.h"
#include "text/files.h"

#include <algorithm>

#include <libdeflate.h>
#include <zstd.h>

namespace text {

void Packer::writePacked(const char *bytes, size_t size)
{
    if (m_hasFailed)
        return;
    m_hasFailed = true;
    writeAll(m_file, {bytes, size}, m_name);
    m_hasFailed = false;
}

namespace {
// Blocks as bgzip makes them (SAM/BAM format, 4.1): gzip members of up to 64 KiB, each with its size in
// an extra field, and an empty one at the end.
class BgzipPacker : public Packer {
public:
    BgzipPacker(int file, const std::string &name) : Packer(file, name), m_state(libdeflate_alloc_compressor(level))
    {
        if (!m_state)
            failMemory();
    }

    void write(std::string_view bytes) override
    {
        while (!bytes.empty()) {
            const size_t size = std::min(bytes.size(), contentSize - m_size);
            bytes.copy(m_content + m_size, size);
            bytes.remove_prefix(size);
            m_size += size;
            if (m_size == contentSize)
                flush();
        }
    }

    void flush() override
    {
        if (m_size > 0)
            writeBlock();
    }

    void finish() override
    {
        flush();
        // Byte by byte as the format has it: tools that seek look for it.
        static constexpr char empty[] = "\x1f\x8b\x08\x04\0\0\0\0\0\xff\6\0BC\2\0\x1b\0\3\0\0\0\0\0\0\0\0";
        writePacked(empty, sizeof empty);
    }

private:
    static constexpr int level = 1;                // less time than gzip -1, and a smaller file
    static constexpr size_t contentSize = 0xff00;  // as bgzip: also what does not get smaller fits a block
    static constexpr size_t blockSize = 0x10000, headerSize = 18, trailerSize = 8;

    void writeBlock();
    void put(size_t at, size_t bytes, uint32_t value)
    {
        for (size_t i = 0; i < bytes; ++i)
            m_block[at + i] = char(value >> 8 * i);
    }

    struct Free {
        void operator()(libdeflate_compressor *state) const { libdeflate_free_compressor(state); }
    };
    std::unique_ptr<libdeflate_compressor, Free> m_state;
    size_t m_size = 0;  // of the content at hand
    char m_content[contentSize];
    char m_block[blockSize] = {'\x1f', '\x8b', 8, 4, 0, 0, 0, 0, 0, '\xff', 6, 0, 'B', 'C', 2, 0};
};
}  // namespace

void BgzipPacker::writeBlock()
{
    const size_t room = blockSize - headerSize - trailerSize;
    const size_t size = libdeflate_deflate_compress(m_state.get(), m_content, m_size, m_block + headerSize, room);
    const size_t trailer = headerSize + size;
    put(16, 2, uint32_t(trailer + trailerSize - 1));
    put(trailer, 4, libdeflate_crc32(0, m_content, m_size));
    put(trailer + 4, 4, uint32_t(m_size));
    m_size = 0;  // first: the failure handler flushes again
    writePacked(m_block, trailer + trailerSize);
}

namespace {
class ZstdPacker : public Packer {
public:
    ZstdPacker(int file, const std::string &name) : Packer(file, name), m_state(ZSTD_createCCtx())
    {
        if (!m_state)
            failMemory();
        ZSTD_CCtx_setParameter(m_state.get(), ZSTD_c_checksumFlag, 1);
    }

    void write(std::string_view bytes) override { pack(bytes, ZSTD_e_continue); }
    void flush() override { pack({}, ZSTD_e_flush); }
    void finish() override { pack({}, ZSTD_e_end); }

private:
    void pack(std::string_view bytes, ZSTD_EndDirective what);

    struct Free {
        void operator()(ZSTD_CCtx *state) const { ZSTD_freeCCtx(state); }
    };
    std::unique_ptr<ZSTD_CCtx, Free> m_state;
    const size_t m_blockSize = ZSTD_CStreamOutSize();
    const std::unique_ptr<char[]> m_block = std::make_unique_for_overwrite<char[]>(m_blockSize);
};
}  // namespace

void ZstdPacker::pack(std::string_view bytes, ZSTD_EndDirective what)
{
    ZSTD_inBuffer in = {bytes.data(), bytes.size(), 0};
    size_t left;  // in the library; only where it is to come out
    do {
        ZSTD_outBuffer out = {m_block.get(), m_blockSize, 0};
        left = ZSTD_compressStream2(m_state.get(), &out, &in, what);
        if (ZSTD_isError(left))
            failMemory();  // nothing else can go wrong
        if (out.pos > 0)
            writePacked(m_block.get(), out.pos);
    } while (in.pos < in.size || (what != ZSTD_e_continue && left > 0));
}

std::unique_ptr<Packer> makePacker(int file, const std::string &name)
{
    if (name.ends_with(".gz"))
        return std::make_unique<BgzipPacker>(file, name);
    if (name.ends_with(".zst"))
        return std::make_unique<ZstdPacker>(file, name);
    return nullptr;
}

}  // namespace text
