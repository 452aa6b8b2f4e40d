// What is split: the content of a file, or of several one behind the other, and its lines by their places.
#pragma once

#include "text/places.h"

#include <compare>
#include <string>
#include <string_view>
#include <vector>

namespace gather {

// A byte of the content: of the file number `file` the byte `byte` of what begins at `block` (text/places.h). It may
// stand right behind what is there, and so before the next file.
struct Place {
    size_t file = 0;
    uint64_t block = 0;
    size_t byte = 0;

    auto operator<=>(const Place &) const = default;
};

struct Content {
    std::vector<std::string> names;
    std::vector<uint64_t> sizes;  // as stored

    uint64_t size() const;
    Place end() const { return {names.size(), 0, 0}; }
};

// Ends the run where a file cannot be opened or cannot be read from any place.
Content openContent(std::vector<std::string> names);

// Ends the run where a file was cut, before any part of it is made.
void checkEnds(const Content &content);

// Reads what stands between two places.
class ContentReader {
public:
    ContentReader(const Content &content, const Place &from, const Place &to);
    ContentReader(const ContentReader &) = delete;

    // The next bytes, at least one, all of one file, valid until the next call; false at the end.
    bool next(std::string_view &bytes);
    Place placeOf(size_t i) const;                  // of these bytes the byte `i`, or right behind them
    bool isNewFile() const { return m_isNewFile; }  // they are the first of a file

private:
    bool open();

    const Content &m_content;
    const Place m_to;
    Place m_at;  // of the bytes read last
    text::PlaceReader m_file;
    bool m_isOpen = false, m_isNewFile = false;
    bool m_isPlain = true;
};

// Lines and where they begin; they end with their file at the latest.
class PlacedLines {
public:
    PlacedLines(const Content &content, const Place &from) : m_reader(content, from, content.end()), m_behind(from) {}

    // The next line without its end, valid until the next call; false after the last one.
    bool next(std::string_view &line);
    const Place &start() const { return m_start; }    // of this line
    const Place &behind() const { return m_behind; }  // it and its end

private:
    ContentReader m_reader;
    std::string_view m_bytes;
    size_t m_next = 0;  // of m_bytes
    std::string m_line;
    Place m_start, m_behind;
};

// The first line that begins behind this byte of all files as they are stored, or at it where a file begins there.
Place lineBehind(const Content &content, uint64_t offset);

}  // namespace gather
