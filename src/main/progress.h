// How far a long run has come, on standard error.
#pragma once

#include <cstdint>
#include <string>

// Shows one line where standard error is a terminal, from two seconds on, and takes it away at the end: the
// part done of the genotype file, markers a second, time left. Elsewhere it shows nothing and costs an
// addition a line.
class Progress {
public:
    // A run that reads `file`, which is open or will be, once or, with an outer file, once per line of that one.
    // `unit` names what a line of the file holds.
    explicit Progress(const std::string &file, const std::string &outerFile = "", const char *unit = "markers");
    Progress(const Progress &) = delete;
    ~Progress();

    // A pass for an outer line of this size begins.
    void startPass(size_t lineSize)
    {
        m_outerDone += m_outerLine;
        m_outerLine = double(lineSize + 1);
        m_passBytes = 0;
        m_nextLook = 0;
    }

    // A marker's line of this size is done.
    void advance(size_t lineSize)
    {
        ++m_markers;
        m_passBytes += int64_t(lineSize) + 1;
        if (m_passBytes >= m_nextLook && m_isTerminal) [[unlikely]]
            look();
    }

    // Of the whole run, from 0 to 1; 0 where it cannot be told.
    double partDone() const;

    // Takes the line away; the next look shows it again. For messages that come in between.
    static void hide();

private:
    void look();

    bool m_isTerminal;
    const char *m_unit;
    std::string m_file;
    std::string m_outerFile;  // or empty
    double m_outerDone = 0;   // bytes of outer lines that are done, and of the current one
    double m_outerLine = 0;
    int64_t m_markers = 0;
    int64_t m_passBytes = 0;  // of the current pass
    int64_t m_nextLook = 0;   // at the clock, in bytes of the pass
    double m_start;           // seconds
    double m_nextShow;
};

// The line for this state: "37 % done, 1200 markers/s, 0:01:23 left". Unknown parts are left out.
std::string progressLine(double partDone, int64_t markers, double seconds, const char *unit = "markers");
