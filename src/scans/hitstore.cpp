#include "scans/hitstore.h"

#include <algorithm>

HitStore::HitStore(size_t phenotypes, size_t limit) : m_rows(phenotypes), m_limit(limit)
{
}

void HitStore::add(size_t phenotype, std::string_view row)
{
    std::string &kept = m_rows[phenotype].kept;
    m_memory -= kept.capacity();
    kept += row;
    m_memory += kept.capacity();
    if (m_memory > m_limit)
        moveToFile();
}

void HitStore::moveToFile()
{
    constexpr size_t bufferSize = size_t(1) << 20;
    if (!m_file)
        m_file.emplace();
    std::string buffer;
    for (Rows &rows : m_rows) {
        if (rows.kept.empty())
            continue;
        rows.moved.push_back({m_fileSize, rows.kept.size()});
        m_fileSize += rows.kept.size();
        buffer += rows.kept;
        std::string().swap(rows.kept);
        if (buffer.size() > bufferSize) {
            m_file->append(buffer);
            buffer.clear();
        }
    }
    m_file->append(buffer);
    m_memory = 0;
}

void HitStore::write(size_t phenotype, text::Writer &out)
{
    const Rows &rows = m_rows[phenotype];
    for (const Piece &piece : rows.moved) {
        for (size_t done = 0; done < piece.size;) {
            const size_t size = std::min(piece.size - done, text::Writer::capacity);
            char *bytes = out.reserve(size);
            m_file->read(bytes, size, piece.start + done);
            out.commit(bytes + size);
            done += size;
        }
    }
    out.put(std::string_view(rows.kept));
}
