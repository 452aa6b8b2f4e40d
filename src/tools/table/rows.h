// Rows kept until they are asked for: in memory up to a limit, the rest in a temporary file.
#pragma once

#include "text/files.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace table {

// Keeps texts where they stay until all are given up; takes memory as it fills.
class Arena {
public:
    std::string_view keep(std::string_view bytes);
    void clear();
    size_t size() const { return m_size; }  // bytes kept

private:
    static constexpr size_t chunkSize = size_t(1) << 20;

    std::vector<std::unique_ptr<char[]>> m_chunks;
    size_t m_room = 0;  // at the end of the last chunk
    size_t m_size = 0;
    char *m_next = nullptr;
};

// Rows by their place, put in any order.
class RowStore {
public:
    RowStore(size_t count, size_t memory) : m_places(count), m_memory(memory) {}

    void put(size_t place, std::string_view row);
    // Valid until the next call.
    std::string_view get(size_t place);

private:
    struct Place {
        const char *kept = nullptr;  // null: in the file
        size_t offset = 0, size = 0;
    };
    std::vector<Place> m_places;
    size_t m_memory;
    Arena m_rows;
    std::optional<text::TemporaryFile> m_file;
    size_t m_fileSize = 0;
    std::string m_row;
};

}  // namespace table
