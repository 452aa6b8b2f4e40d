#include "main/progress.h"
#include "support/program.h"

#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

TEST(Progress, TellsPartSpeedAndTimeLeft)
{
    const struct {
        double partDone;
        int64_t markers;
        double seconds;
        const char *line;
    } cases[] = {
        {0.25, 5000, 10, "25 % done, 500 markers/s, 0:00:30 left"},
        {0.999, 10, 4000, "99 % done, 0 markers/s, 0:00:05 left"},
        {0.0001, 3, 2, "0 % done, 2 markers/s, 5:33:18 left"},
        {1, 30, 3, "100 % done, 10 markers/s, 0:00:00 left"},
        {0, 30, 3, "10 markers/s"},  // a pipe has no size
    };
    for (const auto &row : cases)
        EXPECT_EQ(progressLine(row.partDone, row.markers, row.seconds), row.line);
}

TEST(Progress, CountsBytesOfTheFileAndOfTheOuterFile)
{
    const Folder folder;
    folder.write("dosages", std::string(100, 'x'));
    folder.write("phenotypes", std::string(40, 'x'));
    Progress once(folder.path("dosages"));
    once.advance(24);
    EXPECT_EQ(once.partDone(), 0.25);
    once.advance(75);  // the last line has no end
    EXPECT_EQ(once.partDone(), 1);

    Progress passes(folder.path("dosages"), folder.path("phenotypes"));
    passes.startPass(9);
    passes.advance(99);
    EXPECT_EQ(passes.partDone(), 0.25);
    passes.startPass(29);
    passes.advance(49);
    EXPECT_EQ(passes.partDone(), 0.625);
    EXPECT_EQ(Progress("/dev/null").partDone(), 0);
}

// A terminal whose other side is kept here.
class Terminal {
public:
    Terminal()
        : m_master(posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0) {
            m_name = ptsname(m_master);
            m_slave = open(m_name.c_str(), O_RDWR | O_NOCTTY);  // keeps what was written until it is read
        }
    }
    ~Terminal()
    {
        close(m_slave);
        close(m_master);
    }
    Terminal(const Terminal &) = delete;

    const std::string &name() const { return m_name; }
    std::string shown() const
    {
        std::string bytes;
        for (pollfd file = {m_master, POLLIN, 0}; poll(&file, 1, 0) == 1 && file.revents & POLLIN;) {
            char part[4096];
            const ssize_t size = read(m_master, part, sizeof part);
            bytes.append(part, size > 0 ? size_t(size) : 0);
        }
        return bytes;
    }

private:
    int m_master, m_slave = -1;
    std::string m_name;
};

// Converts three markers that come through a pipe, the last ones after a pause, and with standard error
// there.
static Result convertSlowly(const Folder &folder, const std::string &pause, const std::string &errors)
{
    const std::string line = "1 rs1 10 A G 0 0 1" + std::string(5000, ' ') + "\\n";
    return folder.run({"-M", "gentoAD", "-file", "/dev/stdin", "-out", "out"},
                      "{ printf '" + line + "'; sleep " + pause + "; printf '" + line + line + "'; } | ",
                      errors.empty() ? "" : "2>" + errors);
}

TEST(Progress, ShowsOnATerminalAfterTwoSecondsOnly)
{
    const Terminal terminal;
    ASSERT_FALSE(terminal.name().empty());
    const Folder folder;
    const auto slow = convertSlowly(folder, "2.1", terminal.name());
    const std::string shown = terminal.shown();
    EXPECT_EQ(slow.status, 0);
    EXPECT_TRUE(shown.starts_with("\r1 markers/s\033[K") || shown.starts_with("\r0 markers/s\033[K"))
        << shown;
    EXPECT_TRUE(shown.ends_with("\r\033[K")) << shown;

    const auto fast = convertSlowly(folder, "0", terminal.name());
    EXPECT_EQ(terminal.shown(), "");
    EXPECT_EQ(slow.messages, fast.messages);

    const auto redirected = convertSlowly(folder, "2.1", "");
    EXPECT_EQ(redirected.errors, "");
    EXPECT_EQ(redirected.messages, slow.messages);
}
