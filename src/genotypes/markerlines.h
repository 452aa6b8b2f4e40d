// The markers of a file that may be read more than once.
#pragma once

#include "genotypes/markers.h"

#include <string>

class MarkerLines {
public:
    explicit MarkerLines(text::LineReader &in) : m_in(in) {}
    MarkerLines(const MarkerLines &) = delete;

    // The first line, which next() gives again. Empty where there is none.
    std::string_view first()
    {
        m_isAtFirst = next(m_first);
        return m_first;
    }

    // The next line, which holds more than white space, valid until the next call. False after the last one.
    bool next(std::string_view &line)
    {
        if (m_isAtFirst) {
            line = m_first;
            m_isAtFirst = false;
            return true;
        }
        return read(line);
    }

    // Starts a pass over all lines, the first one after first(). None follows the last one, which spares a pipe its
    // copy.
    void startPass(bool isLast);

protected:
    ~MarkerLines() = default;
    virtual bool read(std::string_view &line) = 0;

    text::LineReader &m_in;

private:
    void prepareToReread();
    void rewind();

    bool m_hasPassed = false;
    bool m_isCopied = false;  // m_in, from its second line on
    std::string_view m_first;
    std::string m_keptFirst;  // and slack behind it, where it is read again
    bool m_isAtFirst = false;
};

// The lines as they are.
class PlainMarkerLines final : public MarkerLines {
public:
    using MarkerLines::MarkerLines;

private:
    bool read(std::string_view &line) override { return nextMarkerLine(m_in, line); }
};
