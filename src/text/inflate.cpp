#include "text/inflate.h"

#include <algorithm>

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

// Takes a function of a library that stays loaded; false where it is missing.
template <class Function>
static bool findFunction(void *library, const char *name, Function &function)
{
    function = library ? reinterpret_cast<Function>(dlsym(library, name)) : nullptr;
    return function;
}

#ifdef MORVEL_ISAL

namespace {
class IsalInflater : public Inflater {
public:
    bool load()
    {
        // The number is that of the interface in the header.
        void *library = dlopen("libisal.so.2", RTLD_NOW);
        return findFunction(library, "isal_inflate_init", m_init) && findFunction(library, "isal_inflate", m_inflate);
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
    decltype(&isal_inflate_init) m_init;
    decltype(&isal_inflate) m_inflate;
    inflate_state m_state;
};
}  // namespace

#endif

namespace {
class ZlibInflater : public Inflater {
public:
    ZlibInflater() = default;
    ZlibInflater(const ZlibInflater &) = delete;
    ~ZlibInflater() override
    {
        if (m_isLoaded)
            m_end(&m_stream);
    }

    bool load()
    {
        constexpr int gzip = 16;
        void *library = dlopen("libz.so.1", RTLD_NOW);
        decltype(&inflateInit2_) init;
        m_isLoaded = findFunction(library, "inflateInit2_", init) && findFunction(library, "inflate", m_inflate)
                     && findFunction(library, "inflateReset", m_reset) && findFunction(library, "inflateEnd", m_end)
                     && init(&m_stream, MAX_WBITS + gzip, ZLIB_VERSION, sizeof m_stream) == Z_OK;
        return m_isLoaded;
    }

    void start() override
    {
        // The header of the member has been read: zlib gets the shortest one, so as to compare what is at the end.
        std::string_view header("\x1f\x8b\x08\0\0\0\0\0\0\0", 10);
        char none;
        size_t size;
        m_reset(&m_stream);
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
        const int result = m_inflate(&m_stream, Z_NO_FLUSH);
        packed.remove_prefix(given - m_stream.avail_in);
        size = asked - m_stream.avail_out;
        if (result == Z_STREAM_END)
            return State::End;
        return result == Z_OK || result == Z_BUF_ERROR ? State::More : State::Damaged;
    }

private:
    z_stream m_stream = {};
    decltype(&inflate) m_inflate;
    decltype(&inflateReset) m_reset;
    decltype(&inflateEnd) m_end;
    bool m_isLoaded = false;
};
}  // namespace

template <class Loaded>
static std::unique_ptr<Inflater> makeLoaded()
{
    auto inflater = std::make_unique<Loaded>();
    if (!inflater->load())
        inflater = nullptr;
    return inflater;
}

std::unique_ptr<Inflater> makeIsalInflater()
{
#ifdef MORVEL_ISAL
    return makeLoaded<IsalInflater>();
#else
    return nullptr;
#endif
}

std::unique_ptr<Inflater> makeZlibInflater()
{
    return makeLoaded<ZlibInflater>();
}

}  // namespace text
