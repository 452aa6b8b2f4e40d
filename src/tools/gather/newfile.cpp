#include "tools/gather/newfile.h"
#include "main/console.h"
#include "text/files.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace gather {

[[noreturn]] static void failFile(const char *what, const std::string &name)
{
    fatal("Cannot %s '%s': %s\n", what, name.c_str(), std::strerror(errno));
}

NewFile::NewFile(const std::string &name) : m_name(name)
{
    struct stat existing;
    if (stat(name.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode))
        fatal("Cannot write '%s': it is no regular file\n", name.c_str());
    if (!m_file.open(name))
        failFile("write", name);
}

void NewFile::publish()
{
    if (!m_file.settle() || !m_file.publish())
        failFile("write", m_name);
}

uint64_t settle(const std::string &name)
{
    const int file = text::openToRead(name);
    struct stat status;
    if (file < 0 || fstat(file, &status) != 0)
        failFile("open", name);
    if (!text::settle(file))
        failFile("write", name);
    close(file);
    return uint64_t(status.st_size);
}

}  // namespace gather
