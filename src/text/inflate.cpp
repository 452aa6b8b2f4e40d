#include "text/inflate.h"

#include <algorithm>
#include <new>

#include <dlfcn.h>
#include <zlib.h>
#ifdef MORVEL_ISAL
#include <isa-l/igzip_lib.h>
#endif

namespace text {

// Both libraries count in 32 bits and take input that they do not change as changeable.
static constexpr size_t mostAtOnce = size_t(1) << 30;

static unsigned char *bytesOf(const char *text)
{
    return reinterpret_cast<unsigned char *>(const_cast<char *>(text));
}

#ifdef MORVEL_ISAL

class IsalInflater : public Inflater {
public:
    bool load()
    {
        // Stays loaded. The number is that of the interface of the header.
        void *library = dlopen("libisal.so.2", RTLD_NOW | RTLD_LOCAL);
        if (!library)
            return false;
        m_init = reinterpret_cast<decltype(m_init)>(dlsym(library, "isal_inflate_init"));
        m_inflate = reinterpret_cast<decltype(m_inflate)>(dlsym(library, "isal_inflate"));
        return m_init && m_inflate;
    }

    void start() override
    {
        m_init(&m_state);
        m_state.crc_flag = ISAL_GZIP_NO_HDR_VER;
    }

    State run(std::string_view &packed, char *to, size_t room, size_t &size) override
    {
        const auto given = uint32_t(std::min(packed.size(), mostAtOnce));
        const auto asked = uint32_t(std::min(room, mostAtOnce));
        m_state.next_in = bytesOf(packed.data());
        m_state.avail_in = given;
        m_state.next_out = bytesOf(to);
        m_state.avail_out = asked;
        const int result = m_inflate(&m_state);
        packed.remove_prefix(given - m_state.avail_in);
        size = asked - m_state.avail_out;
        if (result < 0)
            return State::Damaged;
        return m_state.block_state == ISAL_BLOCK_FINISH ? State::End : State::More;
    }

private:
    void (*m_init)(inflate_state *) = nullptr;
    int (*m_inflate)(inflate_state *) = nullptr;
    inflate_state m_state;
};

#endif

class ZlibInflater : public Inflater {
public:
    ZlibInflater()
    {
        constexpr int gzip = 16;
        if (inflateInit2(&m_stream, MAX_WBITS + gzip) != Z_OK)
            throw std::bad_alloc();
    }
    ZlibInflater(const ZlibInflater &) = delete;
    ~ZlibInflater() override { inflateEnd(&m_stream); }

    void start() override
    {
        // The header of the member has been read: zlib gets the shortest one, so as to compare what is at the end.
        std::string_view header("\x1f\x8b\x08\0\0\0\0\0\0\0", 10);
        char none;
        size_t size;
        inflateReset(&m_stream);
        run(header, &none, 0, size);
    }

    State run(std::string_view &packed, char *to, size_t room, size_t &size) override
    {
        const auto given = uInt(std::min(packed.size(), mostAtOnce));
        const auto asked = uInt(std::min(room, mostAtOnce));
        m_stream.next_in = bytesOf(packed.data());
        m_stream.avail_in = given;
        m_stream.next_out = bytesOf(to);
        m_stream.avail_out = asked;
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        packed.remove_prefix(given - m_stream.avail_in);
        size = asked - m_stream.avail_out;
        if (result == Z_STREAM_END)
            return State::End;
        return result == Z_OK || result == Z_BUF_ERROR ? State::More : State::Damaged;
    }

private:
    z_stream m_stream = {};
};

std::unique_ptr<Inflater> makeIsalInflater()
{
#ifdef MORVEL_ISAL
    auto inflater = std::make_unique<IsalInflater>();
    if (inflater->load())
        return inflater;
#endif
    return nullptr;
}

std::unique_ptr<Inflater> makeZlibInflater()
{
    return std::make_unique<ZlibInflater>();
}

}  // namespace text
