#include "tools/table/turner.h"

#include <algorithm>
#include <cstring>

using std::string_view;

namespace table {

// Columns that are taken from the rows at a time, so that a row is fetched from memory once for many of them.
static constexpr size_t bandWidth = 64;

Turner::Turner(size_t width, char delimiter, size_t memory) : m_width(width), m_delimiter(delimiter), m_memory(memory)
{
}

void Turner::add(string_view row)
{
    // A row costs its bytes, its view twice while the list grows, and a part of the columns in the making.
    const size_t cost = m_text.size() + row.size() + 2 * sizeof(string_view) * (m_rows.size() + 1);
    if (cost > m_memory / 2 && !m_rows.empty())
        spill();
    m_rows.push_back(m_text.keep(row));
}

// Appends the first `count` fields of what is left of the row to the columns, each with a delimiter.
static void takeFields(string_view &row, size_t count, char delimiter, std::string *columns)
{
    for (size_t i = 0; i < count; ++i) {
        const void *found = std::memchr(row.data(), delimiter, row.size());
        const size_t size = found ? size_t(static_cast<const char *>(found) - row.data()) : row.size();
        columns[i].append(row, 0, size);
        columns[i] += delimiter;
        row.remove_prefix(std::min(size + 1, row.size()));
    }
}

// Puts one column after another, as a line with its end, and gives the rows up.
template <class Put>
void Turner::turn(Put put)
{
    // Of few columns a part at a time, which takes less memory.
    const size_t band = std::clamp(m_width / 4, size_t(1), bandWidth);
    std::vector<std::string> columns(band);
    for (size_t first = 0; first < m_width; first += band) {
        const size_t count = std::min(band, m_width - first);
        for (string_view &row : m_rows)
            takeFields(row, count, m_delimiter, columns.data());
        for (size_t i = 0; i < count; ++i) {
            columns[i].back() = '\n';
            put(columns[i]);
            columns[i].clear();
        }
    }
    m_rows.clear();
    m_text.clear();
}

void Turner::spill()
{
    if (!m_file)
        m_file.emplace();
    const size_t first = m_fileSize;
    std::string pending;  // columns of few rows are short
    turn([&](string_view column) {
        pending += column;
        m_fileSize += column.size();
        if (pending.size() >= size_t(1) << 20) {
            m_file->append(pending);
            pending.clear();
        }
    });
    m_file->append(pending);
    m_runs.push_back({first, m_fileSize});
}

namespace {

// Reads a run from its beginning to its end, a part at a time.
class RunReader {
public:
    RunReader(const text::TemporaryFile &file, size_t first, size_t end, size_t bufferSize)
        : m_file(file), m_next(first), m_end(end), m_bufferSize(bufferSize)
    {
    }

    // Copies the next column without its line end.
    void copyColumn(text::Writer &out)
    {
        for (;;) {
            if (m_rest.empty())
                refill();
            const size_t size = std::min(m_rest.find('\n'), m_rest.size());
            out.put(m_rest.substr(0, size));
            const bool isEnd = size < m_rest.size();
            m_rest.remove_prefix(size + isEnd);
            if (isEnd)
                return;
        }
    }

private:
    void refill()
    {
        m_buffer.resize(std::min(m_bufferSize, m_end - m_next));
        m_file.read(m_buffer.data(), m_buffer.size(), m_next);
        m_next += m_buffer.size();
        m_rest = m_buffer;
    }

    const text::TemporaryFile &m_file;
    size_t m_next, m_end;  // not yet read
    size_t m_bufferSize;
    std::string m_buffer;
    string_view m_rest;  // of the buffer
};

}  // namespace

void Turner::merge(text::Writer &out)
{
    const size_t bufferSize = std::clamp(m_memory / m_runs.size(), size_t(1) << 14, size_t(4) << 20);
    std::vector<RunReader> readers;
    readers.reserve(m_runs.size());
    for (const Run &run : m_runs)
        readers.emplace_back(*m_file, run.first, run.end, bufferSize);
    for (size_t column = 0; column < m_width; ++column) {
        for (size_t i = 0; i < readers.size(); ++i) {
            if (i > 0)
                out.put(m_delimiter);
            readers[i].copyColumn(out);
        }
        out.put('\n');
    }
}

void Turner::write(text::Writer &out)
{
    if (m_runs.empty()) {
        turn([&](string_view column) { out.put(column); });
        return;
    }
    spill();
    merge(out);
}

}  // namespace table
