#include "text/wholefile.h"
#include "text/files.h"

#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace text {

namespace {
// Names of files that wait for theirs. The end of the run takes them along, by whatever way it exits.
struct Waiting {
    std::vector<std::string> names;

    ~Waiting()
    {
        for (const std::string &name : names)
            unlink(name.c_str());
    }
};
}  // namespace

static Waiting &waiting()
{
    static Waiting files;
    return files;
}

static std::string folderOf(const std::string &name)
{
    const size_t slash = name.rfind('/');
    return slash == name.npos ? "" : name.substr(0, slash + 1);
}

// In the folder of `name`: not to be guessed, so that nobody can have put a file or a link there, and short, so that it
// fits wherever `name` does. The file that gets it must be made anew all the same.
static std::string waitFor(const std::string &name)
{
    uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number)
        return "";
    char fresh[32];
    std::snprintf(fresh, sizeof fresh, ".morvel-%016" PRIx64, number);
    return waiting().names.emplace_back(folderOf(name) + fresh);
}

static int openSteadily(const std::string &name, int flags, mode_t mode = 0)
{
    return steadily([&] { return ::open(name.c_str(), O_WRONLY | O_CLOEXEC | flags, mode); });
}

WholeFile::~WholeFile()
{
    discard();
}

bool WholeFile::open(const std::string &name)
{
    struct stat existing;
    const bool exists = stat(name.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        m_file = openSteadily(name, 0);
    } else if (exists || errno == ENOENT) {
        m_name = targetOfLink(name);
        if (exists)
            m_mode = existing.st_mode & 0777;
        openFresh();
    }
    const int written = m_file < 0 ? -1 : fcntl(m_file, F_DUPFD_CLOEXEC, 3);
    if (written < 0) {
        tellUnopened(name);
        return false;
    }
    out.openDescriptor(written, name);
    return true;
}

void WholeFile::openFresh()
{
    const mode_t mode = m_mode.value_or(0666);
    const std::string folder = folderOf(m_name);
    // Without /proc such a file could not be named.
    if (access("/proc/self/fd", X_OK) == 0)
        m_file = openSteadily(folder.empty() ? "." : folder, O_TMPFILE, mode);
    if (m_file >= 0)
        return;
    m_waiting = waitFor(m_name);
    m_file = openSteadily(m_waiting, O_CREAT | O_EXCL, mode);
}

bool WholeFile::settle()
{
    out.close();
    return text::settle(m_file);
}

bool WholeFile::publish()
{
    out.close();
    bool isWhole = m_name.empty() || ((!m_mode || fchmod(m_file, *m_mode) == 0) && giveName());
    isWhole = closeSteadily(std::exchange(m_file, -1)) && isWhole;
    const int error = errno;
    discard();
    errno = error;
    return isWhole;
}

// A file of this name that is there already is replaced at once, which linkat() cannot do.
bool WholeFile::giveName()
{
    const auto isLinked = [this](const std::string &name) {
        const std::string unnamed = "/proc/self/fd/" + std::to_string(m_file);
        return steadily([&] { return linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW); })
               == 0;
    };
    if (m_waiting.empty()) {
        if (isLinked(m_name))
            return true;
        if (errno != EEXIST)
            return false;
        m_waiting = waitFor(m_name);
        if (!isLinked(m_waiting))
            return false;
    }
    if (std::rename(m_waiting.c_str(), m_name.c_str()) != 0)
        return false;
    std::erase(waiting().names, m_waiting);
    m_waiting.clear();
    return true;
}

void WholeFile::discard()
{
    if (m_file >= 0)
        ::close(std::exchange(m_file, -1));
    if (m_waiting.empty())
        return;
    unlink(m_waiting.c_str());
    std::erase(waiting().names, m_waiting);
    m_waiting.clear();
}

}  // namespace text
