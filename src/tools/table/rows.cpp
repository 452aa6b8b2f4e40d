#include "tools/table/rows.h"

#include <algorithm>

using std::string_view;

namespace table {

string_view Arena::keep(string_view bytes)
{
    if (bytes.size() > m_room) {
        m_room = std::max(bytes.size(), chunkSize);
        m_chunks.push_back(std::make_unique_for_overwrite<char[]>(m_room));
        m_next = m_chunks.back().get();
    }
    const string_view kept = {m_next, bytes.copy(m_next, bytes.size())};
    m_next += bytes.size();
    m_room -= bytes.size();
    m_size += bytes.size();
    return kept;
}

void Arena::clear()
{
    m_chunks.clear();
    m_room = m_size = 0;
}

void RowStore::put(size_t place, string_view row)
{
    if (m_rows.size() + row.size() <= m_memory) {
        m_places[place] = {m_rows.keep(row).data(), 0, row.size()};
        return;
    }
    if (!m_file)
        m_file.emplace();
    m_file->append(row);
    m_places[place] = {nullptr, m_fileSize, row.size()};
    m_fileSize += row.size();
}

string_view RowStore::get(size_t place)
{
    const Place &row = m_places[place];
    if (row.kept || row.size == 0)
        return {row.kept, row.size};
    m_row.resize(row.size);
    m_file->read(m_row.data(), row.size, row.offset);
    return m_row;
}

}  // namespace table
