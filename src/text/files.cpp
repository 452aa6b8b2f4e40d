#include "text/files.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace text {

namespace fs = std::filesystem;

FailureHandler onFailure = [](const char *, const std::string &) { std::abort(); };

void failMemory()
{
    if (const std::new_handler handler = std::get_new_handler())
        handler();
    throw std::bad_alloc();
}

void (*onUnopened)(const std::string &name, int error) = nullptr;

void tellUnopened(const std::string &name)
{
    const int error = errno;
    if (onUnopened)
        onUnopened(name, error);
    errno = error;
}

// Where a name that does not exist yet would be created: a symbolic link that leads nowhere is followed too.
static fs::path targetOf(const std::string &name)
{
    std::error_code error;
    fs::path path = name;
    for (int links = 0; links < 40 && fs::is_symlink(path, error); ++links)
        path = path.parent_path() / fs::read_symlink(path, error);
    const fs::path target = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path.lexically_normal() : target;
}

std::string targetOfLink(const std::string &name)
{
    std::error_code error;
    return fs::is_symlink(name, error) ? targetOf(name).string() : name;
}

bool exists(const std::string &name)
{
    struct stat file;
    return stat(name.c_str(), &file) == 0;
}

bool isSameFile(const std::string &name1, const std::string &name2)
{
    if (name1.empty() || name2.empty())
        return false;
    struct stat file1, file2;
    const bool exists1 = stat(name1.c_str(), &file1) == 0;
    const bool exists2 = stat(name2.c_str(), &file2) == 0;
    if (exists1 != exists2)
        return false;
    if (exists1)
        return S_ISREG(file1.st_mode) && file1.st_dev == file2.st_dev && file1.st_ino == file2.st_ino;
    return targetOf(name1) == targetOf(name2);
}

int openToRead(const std::string &name)
{
    const int file = steadily([&] { return ::open(name.c_str(), O_RDONLY | O_CLOEXEC); });
    struct stat status;
    if (file >= 0 && fstat(file, &status) == 0 && !S_ISDIR(status.st_mode))
        return file;
    if (file >= 0) {
        ::close(file);
        errno = EISDIR;
    }
    tellUnopened(name);
    return -1;
}

// As ::read(), but a signal is no failure.
static ssize_t readSteadily(int file, char *to, size_t bytes)
{
    return steadily([=] { return ::read(file, to, bytes); });
}

bool writeSteadily(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = steadily([&] { return ::write(file, bytes.data(), bytes.size()); });
        if (written <= 0)
            return false;
        bytes.remove_prefix(size_t(written));
    }
    return true;
}

bool closeSteadily(int file)
{
    // EINTR leaves the file closed on Linux, with everything handed over.
    return ::close(file) == 0 || errno == EINTR;
}

bool settle(int file)
{
    return steadily([=] { return fsync(file); }) == 0 || errno == EINVAL;
}

size_t readSome(int file, char *to, size_t bytes, const std::string &name)
{
    const ssize_t got = readSteadily(file, to, bytes);
    if (got < 0)
        onFailure("read", name);
    return size_t(got);
}

void writeAll(int file, std::string_view bytes, const std::string &name)
{
    if (!writeSteadily(file, bytes))
        onFailure("write", name);
}

static int descriptorOf(void *cookie)
{
    return int(reinterpret_cast<intptr_t>(cookie));
}

std::FILE *steadyStream(int file, const char *mode)
{
    cookie_io_functions_t calls = {};
    calls.read = [](void *cookie, char *to, size_t bytes) { return readSteadily(descriptorOf(cookie), to, bytes); };
    calls.write = [](void *cookie, const char *bytes, size_t size) -> ssize_t {
        return writeSteadily(descriptorOf(cookie), {bytes, size}) ? ssize_t(size) : 0;
    };
    calls.close = [](void *cookie) { return ::close(descriptorOf(cookie)); };
    return fopencookie(reinterpret_cast<void *>(intptr_t(file)), mode, calls);
}

TemporaryFile::TemporaryFile()
{
    const char *chosen = std::getenv("TMPDIR");
    const std::string folder = chosen && *chosen ? chosen : "/tmp";
    m_name = "temporary file in " + folder;
    // Some file systems have no files without a name: there it is taken away right after.
    m_file = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (m_file < 0) {
        std::string name = folder + "/morvel-XXXXXX";
        m_file = mkostemp(name.data(), O_CLOEXEC);
        if (m_file < 0)
            onFailure("write", m_name);
        unlink(name.c_str());
    }
}

TemporaryFile::~TemporaryFile()
{
    if (m_file >= 0)
        ::close(m_file);
}

void TemporaryFile::append(std::string_view bytes)
{
    writeAll(m_file, bytes, m_name);
}

void TemporaryFile::read(char *to, size_t bytes, size_t offset) const
{
    while (bytes > 0) {
        const ssize_t done = steadily([&] { return ::pread(m_file, to, bytes, off_t(offset)); });
        if (done <= 0)
            onFailure("read", m_name);
        to += done;
        offset += size_t(done);
        bytes -= size_t(done);
    }
}

int TemporaryFile::release()
{
    return std::exchange(m_file, -1);
}

}  // namespace text
