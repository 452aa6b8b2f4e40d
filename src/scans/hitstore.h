// The rows of many phenotypes, which come marker by marker and are written phenotype by phenotype.
#pragma once

#include "text/files.h"
#include "text/writer.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Keeps rows in memory until they take more than `limit` bytes, then moves them to a temporary file.
class HitStore {
public:
    HitStore(size_t phenotypes, size_t limit);

    void add(size_t phenotype, std::string_view row);
    // Writes a phenotype's rows in the order in which they were added.
    void write(size_t phenotype, text::Writer &out);

private:
    struct Piece {
        size_t start;  // in the file
        size_t size;
    };
    struct Rows {
        std::vector<Piece> moved;
        std::string kept;  // the last ones
    };

    void moveToFile();

    std::vector<Rows> m_rows;  // [phenotype]
    size_t m_limit;
    size_t m_memory = 0;  // of the rows kept
    std::optional<text::TemporaryFile> m_file;
    size_t m_fileSize = 0;
};
