// Runs a program whose system calls fail: those on the files of its working folder and on standard output.
//
//     failcalls LOG CALL KIND FIRST LAST NAME program arguments...
//
// Of the calls CALL (open, read, write, close, lseek, tell, sync, ftruncate, unlink, or any) on files whose name ends
// in NAME (empty: all), the FIRST-th to LAST-th are disturbed by KIND; with a LAST of 0 also all later ones of the same
// name on the same file:
//     EIO ENOSPC EINTR EACCES EROFS EMFILE EOPNOTSUPP   fail with this error
//     short     transfer one byte, or the first one of several pieces
//     full      write as a file system of 64 kB does that holds this file alone
//     cut, remove    the file is cut to half its size, or removed, before the call
// LOG gets a line with the number of these calls, of those behind the first failed one on the same file, and the
// program's peak memory in bytes, and one with the first disturbed call and its file. Ends as the program does.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <string>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t program;
static std::string call, kind, ending;
static long first, last;
static long calls = 0, callsAfterFailure = 0;
static std::string failedFile, disturbed;
static std::map<int, std::string> files = {{1, "standard output"}};  // open files of the program
static std::map<int, long> written;                                  // bytes, with "full"

static std::string textAt(unsigned long long address)
{
    std::string text;
    for (;; address += sizeof(long)) {
        errno = 0;
        const long word = ptrace(PTRACE_PEEKDATA, program, address, nullptr);
        if (errno != 0)
            return text;
        const auto *bytes = reinterpret_cast<const char *>(&word);
        const size_t size = strnlen(bytes, sizeof word);
        text.append(bytes, size);
        if (size < sizeof word)
            return text;
    }
}

static const char *nameOf(const user_regs_struct &r)
{
    switch (r.orig_rax) {
    case SYS_open: case SYS_openat: return "open";
    case SYS_read: case SYS_readv: case SYS_pread64: return "read";
    case SYS_write: case SYS_writev: case SYS_pwrite64: return "write";
    case SYS_close: return "close";
    case SYS_lseek: return r.rdx == SEEK_CUR ? "tell" : "lseek";
    case SYS_fsync: case SYS_fdatasync: return "sync";
    case SYS_ftruncate: return "ftruncate";
    case SYS_unlink: case SYS_unlinkat: return "unlink";
    default: return nullptr;
    }
}

static int errorOf(const std::string &name)
{
    static const std::map<std::string, int> errors = {{"EIO", EIO}, {"ENOSPC", ENOSPC}, {"EINTR", EINTR},
                                                      {"EACCES", EACCES}, {"EROFS", EROFS}, {"EMFILE", EMFILE},
                                                      {"EOPNOTSUPP", EOPNOTSUPP}};
    const auto found = errors.find(name);
    return found == errors.end() ? 0 : found->second;
}

// Relative names are the working folder's, but for libraries that are looked for there; and so are temporary files,
// which the caller puts there.
static bool isOurs(const std::string &file)
{
    static const std::string folder = std::string(get_current_dir_name()) + "/";
    return !file.empty() && file.find(".so.") == file.npos && (file[0] != '/' || (file + '/').starts_with(folder));
}

// Disturbs the call about to begin, which `r` may change. Returns the error that it shall end with, or 0.
static int disturb(user_regs_struct &r, const std::string &name, const std::string &file)
{
    const int fd = int(r.rdi);
    ++calls;
    callsAfterFailure += file == failedFile;
    const std::string which = name + ' ' + file;
    const bool isLasting = last == 0 && which == disturbed;
    if (calls != first && !isLasting && (calls < first || calls > last))
        return 0;
    if (calls == first)
        disturbed = which;
    if (kind == "cut" || kind == "remove") {
        struct stat status;
        if (kind == "remove")
            unlink(file.c_str());
        else if (stat(file.c_str(), &status) == 0 && truncate(file.c_str(), status.st_size / 2) != 0)
            std::perror("truncate");
        return 0;
    }
    if (kind == "short") {
        if (name == "read" || name == "write")
            r.rdx = std::min(r.rdx, 1ull);  // the size, or the number of pieces
        return 0;
    }
    int error = errorOf(kind);
    if (kind == "full") {
        r.rdx = std::min(r.rdx, 65536ull - written[fd]);
        written[fd] += long(r.rdx);
        error = r.rdx == 0 ? ENOSPC : 0;
    }
    if (error != 0)
        failedFile = file;
    return error;
}

// Returns the status that the program ended with.
static int trace()
{
    user_regs_struct r;
    int status, error = 0;
    bool isEntry = true, isStarted = false;
    std::string opened;
    for (int signal = 0;;) {
        ptrace(PTRACE_SYSCALL, program, nullptr, signal);
        waitpid(program, &status, 0);
        if (WIFEXITED(status) || WIFSIGNALED(status))
            return status;
        signal = 0;
        if (WSTOPSIG(status) != (SIGTRAP | 0x80)) {
            isStarted |= status >> 8 == (SIGTRAP | PTRACE_EVENT_EXEC << 8);
            signal = WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
            continue;
        }
        ptrace(PTRACE_GETREGS, program, nullptr, &r);
        const char *name = isStarted ? nameOf(r) : nullptr;
        if (isEntry && name) {
            const bool isByName = !std::strcmp(name, "open") || !std::strcmp(name, "unlink");
            const bool isAt = r.orig_rax == SYS_openat || r.orig_rax == SYS_unlinkat;
            std::string file;
            if (isByName)
                file = textAt(isAt ? r.rsi : r.rdi);
            else if (files.contains(int(r.rdi)))
                file = files[int(r.rdi)];
            opened = isByName && name[0] == 'o' && isOurs(file) ? file : "";
            if (isOurs(file) && file.ends_with(ending) && (call == "any" || call == name))
                error = disturb(r, name, file);
            if (!std::strcmp(name, "close"))
                files.erase(int(r.rdi));
            if (error != 0)
                r.orig_rax = ~0ull;  // no call at all
            ptrace(PTRACE_SETREGS, program, nullptr, &r);
        } else if (!isEntry) {
            if (error != 0) {
                r.rax = static_cast<unsigned long long>(-error);
                ptrace(PTRACE_SETREGS, program, nullptr, &r);
            }
            if (!opened.empty() && int(r.rax) >= 0)
                files[int(r.rax)] = opened;
            opened.clear();
            error = 0;
        }
        isEntry = !isEntry;
    }
}

int main(int argc, char **argv)
{
    if (argc < 8)
        return 2;
    call = argv[2], kind = argv[3], ending = argv[6];
    first = std::atol(argv[4]), last = std::atol(argv[5]);
    program = fork();
    if (program == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        std::raise(SIGSTOP);
        execv(argv[7], argv + 7);
        std::_Exit(127);
    }
    int status;
    waitpid(program, &status, 0);
    const long options = PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL;
    if (ptrace(PTRACE_SETOPTIONS, program, nullptr, options) != 0) {
        std::perror("ptrace");
        kill(program, SIGKILL);
        return 125;
    }
    status = trace();
    rusage usage;
    getrusage(RUSAGE_CHILDREN, &usage);
    std::ofstream(argv[1]) << calls << ' ' << callsAfterFailure << ' ' << usage.ru_maxrss * 1024 << '\n'
                           << disturbed << '\n';
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}
