// What the targets of the text layer have in common.
#pragma once

#include "text/files.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

// Stops the fuzzer, which keeps the input.
inline void expect(bool holds)
{
    if (!holds)
        std::abort();
}

// A file in memory, to be opened by its name.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : m_file(memfd_create("input", 0))
    {
        expect(m_file >= 0);
        text::writeAll(m_file, bytes, "memory");
    }
    ~MemoryFile() { close(m_file); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;
    std::string name() const { return "/proc/self/fd/" + std::to_string(m_file); }

private:
    int m_file;
};

// A failed transfer of the text layer, whose handler must not return.
inline void throwFailures()
{
    text::onFailure = [](const char *action, const std::string &) { throw std::runtime_error(action); };
}

// The input's first bytes as choices, the rest as text.
class Choices {
public:
    Choices(const uint8_t *bytes, size_t size) : m_rest(reinterpret_cast<const char *>(bytes), size) {}
    size_t below(size_t count)
    {
        if (m_rest.empty())
            return 0;
        const auto byte = static_cast<unsigned char>(m_rest[0]);
        m_rest.remove_prefix(1);
        return byte % count;
    }
    std::string_view rest() const { return m_rest; }

private:
    std::string_view m_rest;
};
