#include "tools/gather/content.h"
#include "main/console.h"

#include <cerrno>
#include <cstring>
#include <numeric>

using std::string_view;

namespace gather {

uint64_t Content::size() const
{
    return std::accumulate(sizes.begin(), sizes.end(), uint64_t(0));
}

Content openContent(std::vector<std::string> names)
{
    using Kind = text::PlaceReader::Kind;
    Content content = {std::move(names), {}};
    for (const std::string &name : content.names) {
        text::PlaceReader file;
        errno = 0;
        const Kind kind = file.open(name);
        if (kind == Kind::Missing)
            fatal("Cannot open '%s': %s\n", name.c_str(), std::strerror(errno));
        if (kind == Kind::Whole)
            fatal("'%s' can only be read as a whole; parts need a plain file, or blocks: zcat '%s' | bgzip >NEW.gz\n",
                  name.c_str(), name.c_str());
        content.sizes.push_back(file.size());
    }
    return content;
}

void checkEnds(const Content &content)
{
    for (const std::string &name : content.names) {
        text::PlaceReader file;
        file.open(name);
        file.checkEnd();
    }
}

ContentReader::ContentReader(const Content &content, const Place &from, const Place &to)
    : m_content(content), m_to(to), m_at(from)
{
}

// The file of m_at, at its block.
bool ContentReader::open()
{
    const text::PlaceReader::Kind kind = m_file.open(m_content.names[m_at.file]);
    if (kind == text::PlaceReader::Kind::Missing)
        fatal("Cannot open '%s': %s\n", m_content.names[m_at.file].c_str(), std::strerror(errno));
    m_isPlain = kind == text::PlaceReader::Kind::Plain;
    m_file.seek(m_at.block);
    return m_isOpen = true;
}

bool ContentReader::next(string_view &bytes)
{
    for (; m_at.file < m_content.names.size() && m_at.file <= m_to.file; m_at = {m_at.file + 1, 0, 0}) {
        const size_t skipped = m_isOpen ? 0 : m_at.byte;
        m_isNewFile = !m_isOpen && m_at.block == 0 && m_at.byte == 0;
        if (!m_isOpen)
            open();
        if (m_file.next(bytes, m_at.block)) {
            if (m_at.file == m_to.file && m_isPlain)
                bytes = bytes.substr(0, size_t(std::max(m_to.block, m_at.block) - m_at.block));
            else if (m_at.file == m_to.file && m_at.block >= m_to.block)
                bytes = bytes.substr(0, m_at.block == m_to.block ? m_to.byte : 0);
            m_at.byte = std::min(skipped, bytes.size());
            bytes.remove_prefix(m_at.byte);
            if (!bytes.empty())
                return true;
            if (skipped > 0)
                return next(bytes);
        }
        m_isOpen = false;
    }
    return false;
}

Place ContentReader::placeOf(size_t i) const
{
    return m_isPlain ? Place{m_at.file, m_at.block + i, 0} : Place{m_at.file, m_at.block, m_at.byte + i};
}

bool PlacedLines::next(string_view &line)
{
    m_line.clear();
    m_start = m_behind;
    for (bool isFirst = true;; isFirst = false) {
        if (m_next == m_bytes.size()) {
            m_next = 0;
            m_bytes = {};
            if (!m_reader.next(m_bytes))
                break;
            if (isFirst)
                m_start = m_reader.placeOf(0);
            else if (m_reader.isNewFile())
                break;
        }
        const size_t end = m_bytes.find('\n', m_next);
        m_line.append(m_bytes, m_next, end - m_next);
        m_next = end == m_bytes.npos ? m_bytes.size() : end + 1;
        m_behind = m_reader.placeOf(m_next);
        if (end != m_bytes.npos)
            break;
    }
    if (m_start == m_behind)
        return false;
    line = m_line;
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return true;
}

Place lineBehind(const Content &content, uint64_t offset)
{
    size_t file = 0;
    for (; file < content.sizes.size() && offset >= content.sizes[file]; ++file)
        offset -= content.sizes[file];
    if (file == content.sizes.size() || offset == 0)
        return {file, 0, 0};
    ContentReader reader(content, {file, offset, 0}, {file + 1, 0, 0});
    string_view bytes;
    while (reader.next(bytes)) {
        const size_t end = bytes.find('\n');
        if (end != bytes.npos)
            return reader.placeOf(end + 1);
    }
    return {file + 1, 0, 0};
}

}  // namespace gather
