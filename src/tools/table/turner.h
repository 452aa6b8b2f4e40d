// Rows to columns, of a table of any size.
#pragma once

#include "text/files.h"
#include "text/writer.h"
#include "tools/table/rows.h"

#include <optional>
#include <string_view>
#include <vector>

namespace table {

// Takes rows of equal width, and writes the columns as rows. Rows that do not fit into the memory any more are turned
// there and put into a temporary file, a run; at the end, each column is put together from all runs. So a table larger
// than memory is read once, and its bytes go once to the disk and back.
class Turner {
public:
    // About `memory` bytes are held at most, but a row and a column of a run in any case.
    Turner(size_t width, char delimiter, size_t memory);

    void add(std::string_view row);
    void write(text::Writer &out);

private:
    struct Run {
        size_t first, end;  // in the temporary file
    };

    void spill();
    template <class Put>
    void turn(Put put);
    void merge(text::Writer &out);

    size_t m_width;
    char m_delimiter;
    size_t m_memory;
    Arena m_text;
    std::vector<std::string_view> m_rows;  // what is left of each row
    std::vector<Run> m_runs;
    std::optional<text::TemporaryFile> m_file;
    size_t m_fileSize = 0;
};

}  // namespace table
