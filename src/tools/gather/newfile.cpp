#include "tools/gather/newfile.h"
#include "main/console.h"
#include "text/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace gather {

namespace fs = std::filesystem;

namespace {
// Files without their name yet. The end of the run, by whatever way, takes them along.
struct Unnamed {
    std::vector<std::string> names;

    ~Unnamed()
    {
        for (const std::string &name : names)
            std::remove(name.c_str());
    }
};
}  // namespace

static Unnamed &unnamed()
{
    static Unnamed files;
    return files;
}

[[noreturn]] static void failFile(const char *what, const std::string &name)
{
    fatal("Cannot %s '%s': %s\n", what, name.c_str(), std::strerror(errno ? errno : EISDIR));
}

NewFile::NewFile(const std::string &name) : m_name(name)
{
    // As when it is opened to be written: a link stays, and what it leads to is made anew.
    std::error_code error;
    if (fs::is_symlink(name, error))
        m_name = fs::weakly_canonical(name, error).string();
    const fs::file_status status = fs::status(m_name, error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        fatal("Cannot write '%s': it is no regular file\n", name.c_str());
    const size_t base = m_name.rfind('/') + 1;  // 0 where there is none
    m_newName = m_name.substr(0, base) + ".new." + m_name.substr(base);
    std::remove(m_newName.c_str());  // of a run that was killed, or a link that must not be followed
    unnamed();                       // lives longer than what is opened
    errno = 0;
    if (!out.open(m_newName))
        failFile("write", name);
    unnamed().names.push_back(m_newName);
}

void NewFile::publish()
{
    out.close();
    settle(m_newName);
    if (std::rename(m_newName.c_str(), m_name.c_str()) != 0)
        failFile("write", m_name);
    std::erase(unnamed().names, m_newName);
}

uint64_t settle(const std::string &name)
{
    const int file = text::openToRead(name);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0)
        failFile("open", name);
    if (fsync(file) != 0 && errno != EINVAL)  // EINVAL: such as a pipe
        failFile("write", name);
    close(file);
    return uint64_t(status.st_size);
}

}  // namespace gather
