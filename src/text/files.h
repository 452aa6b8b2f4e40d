// What readers and writers share: file identity, and how a failed transfer or a lack of memory is reported.
#pragma once

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>

namespace text {

// Called when reading or writing an open file fails, with "read" or "write" and the file's name. The program
// installs one that reports the failure and ends the run, so that no mode can overlook it; this layer itself
// never prints and never ends the process. Must not return.
using FailureHandler = void (*)(const char *action, const std::string &name);
extern FailureHandler onFailure;

// Where memory cannot be had: the handler that operator new calls as well, which must not return to here, or
// std::bad_alloc.
[[noreturn]] void failMemory();

// Told of every file that cannot be opened and the reason, an error number, if set: for hints to a person.
extern void (*onUnopened)(const std::string &name, int error);
// Calls it, with the reason that stands in errno and stays there.
void tellUnopened(const std::string &name);

// As the call of the system, which returns -1 where it fails; but a signal is no failure.
template <class Call>
auto steadily(const Call &call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// True where the name, or the link that it is, leads to a file of any kind.
bool exists(const std::string &name);

// What a symbolic link leads to in the end, whether or not that exists; any other name as it is.
std::string targetOfLink(const std::string &name);

// True when both names lead to the same regular file: by the same name, through a hard link or through
// symbolic links, also while the file does not exist yet. Pipes, devices and folders are never the same.
bool isSameFile(const std::string &name1, const std::string &name2);

// A descriptor for reading, or -1 with the reason in errno; a folder is refused.
int openToRead(const std::string &name);

// Closes an output; false where what was written may be lost, with the reason in errno.
bool closeSteadily(int file);

// Brings all that was written to the disk, of a pipe nothing; false where that fails, with the reason in errno.
bool settle(int file);

// Some bytes, at most `bytes`; 0 at the end of the file. `name` is for the message of a failure, which goes to
// onFailure.
size_t readSome(int file, char *to, size_t bytes, const std::string &name);

// Writes all of the bytes, also where signals interrupt; false where that fails, with the reason in errno.
bool writeSteadily(int file, std::string_view bytes);

// The same; `name` is for the message of a failure, which goes to onFailure.
void writeAll(int file, std::string_view bytes, const std::string &name);

// A stream of the C library on the descriptor, which goes on where a signal has interrupted a call: the library's own
// streams take that for a failure. Null when there is no memory.
std::FILE *steadyStream(int file, const char *mode);

// A file without a name in $TMPDIR, or in /tmp, that is gone when it is closed. Failures go to onFailure.
class TemporaryFile {
public:
    TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile();

    void append(std::string_view bytes);
    // Reads exactly `bytes` bytes from the offset on.
    void read(char *to, size_t bytes, size_t offset) const;
    // The descriptor, to be closed by the caller from now on.
    int release();

private:
    std::string m_name;  // for messages
    int m_file = -1;
};

}  // namespace text
