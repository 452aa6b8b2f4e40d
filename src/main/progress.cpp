#include "main/progress.h"
#include "text/source.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <unistd.h>

static constexpr double firstShow = 2, interval = 0.5;  // seconds
static constexpr int64_t lookStep = 4096;               // bytes; a look at the clock takes as long as 20 of them

static bool isShown = false;

static double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Progress::Progress(const std::string &file, const std::string &outerFile, const char *unit)
    : m_isTerminal(isatty(STDERR_FILENO) == 1)
    , m_unit(unit)
    , m_file(file)
    , m_outerFile(outerFile)
    , m_outerLine(outerFile.empty() ? 1 : 0)
    , m_start(now())
    , m_nextShow(m_start + firstShow)
{
}

Progress::~Progress()
{
    hide();
}

void Progress::hide()
{
    if (isShown)
        std::fputs("\r\033[K", stderr);
    isShown = false;
}

double Progress::partDone() const
{
    const double fileSize = text::contentSize(m_file);
    const double outerSize = m_outerFile.empty() ? 1 : text::contentSize(m_outerFile);
    if (fileSize == 0 || outerSize == 0)
        return 0;
    const double part = (m_outerDone + m_outerLine * double(m_passBytes) / fileSize) / outerSize;
    return std::min(part, 1.0);  // a last line may have no end
}

void Progress::look()
{
    m_nextLook = m_passBytes + lookStep;
    const double time = now();
    if (time < m_nextShow)
        return;
    m_nextShow = time + interval;
    std::fprintf(stderr, "\r%s\033[K", progressLine(partDone(), m_markers, time - m_start, m_unit).c_str());
    isShown = true;
}

std::string progressLine(double partDone, int64_t markers, double seconds, const char *unit)
{
    char text[64];
    std::string line;
    if (partDone > 0) {
        std::snprintf(text, sizeof text, "%d %% done, ", int(100 * partDone));
        line = text;
    }
    std::snprintf(text, sizeof text, "%.0f %s/s", double(markers) / seconds, unit);
    line += text;
    if (partDone > 0) {
        const auto left = static_cast<long long>(std::min(std::ceil(seconds / partDone * (1 - partDone)), 1e9));
        std::snprintf(text, sizeof text, ", %lld:%02lld:%02lld left", left / 3600, left / 60 % 60, left % 60);
        line += text;
    }
    return line;
}
