#include "tools/gather/feed.h"
#include "genotypes/markers.h"
#include "main/console.h"
#include "text/files.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using std::string_view;

namespace gather {

namespace {
class Child {
public:
    // With standard input from a pipe, or as it is.
    Child(const Command &command, bool isFed);
    Child(const Child &) = delete;

    // False once the child reads no more, which is its own business.
    bool feed(string_view bytes);
    // Waits for its end; false unless that was a good one.
    bool finish();
    const std::string &end() const { return m_end; }

private:
    [[noreturn]] void become(const Command &command, int input);

    pid_t m_process;
    int m_pipe = -1;
    std::string m_end;
};
}  // namespace

// In the child. Should this process end first, the child must not take the end of its input for the end of the part.
void Child::become(const Command &command, int input)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (input >= 0)
        dup2(input, STDIN_FILENO);
    std::vector<char *> words;
    for (const std::string &word : command.words)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    execvp(words[0], words.data());
    dprintf(STDERR_FILENO, "morvel-gather: Cannot run '%s': %s\n", words[0], std::strerror(errno));
    _exit(127);
}

Child::Child(const Command &command, bool isFed)
{
    int ends[2] = {-1, -1};
    if (isFed && pipe2(ends, O_CLOEXEC) != 0)
        fatal("Cannot make a pipe: %s\n", std::strerror(errno));
    if (isFed)
        fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);  // fewer turns; what cannot be is as it was
    flushConsole();
    m_process = fork();
    if (m_process == 0)
        become(command, ends[0]);
    if (m_process < 0)
        fatal("Cannot run '%s': %s\n", command.words[0].c_str(), std::strerror(errno));
    if (isFed)
        close(ends[0]);
    m_pipe = ends[1];
}

bool Child::feed(string_view bytes)
{
    return text::writeSteadily(m_pipe, bytes);
}

bool Child::finish()
{
    if (m_pipe >= 0)
        close(m_pipe);
    int status = 0;
    text::steadily([&] { return waitpid(m_process, &status, 0); });
    m_end = WIFSIGNALED(status) ? "was ended by signal " + std::to_string(WTERMSIG(status))
                                : "ended with status " + std::to_string(WEXITSTATUS(status));
    return status == 0;
}

static void feedLines(const Content &content, const Cuts &cuts, bool endsOpen, Child &child)
{
    bool reads = child.feed(cuts.header);
    char last = '\n';
    string_view bytes;
    for (ContentReader lines(content, cuts.from, cuts.to); reads && lines.next(bytes); last = bytes.back())
        reads = (!lines.isNewFile() || last == '\n' || child.feed("\n")) && child.feed(bytes);
    if (reads && ContentReader(content, cuts.to, content.end()).next(bytes)) {
        // Not the last lines of all: an empty one behind them tells that more would follow.
        child.feed(last == '\n' ? "" : "\n");
        child.feed(endsOpen ? "\n" : "");
    }
}

void runCommand(const Command &command, const Content &content, const Cuts *cuts)
{
    Child child(command, cuts);
    if (cuts)
        feedLines(content, *cuts, command.rule->endsOpen, child);
    if (!child.finish())
        fatal("'%s' %s; the part is not complete\n", command.words[0].c_str(), child.end().c_str());
}

size_t columnsOf(const Content &content, const Cuts &cuts)
{
    ContentReader reader(content, cuts.from, cuts.to);
    std::string line;
    string_view bytes;
    while (reader.next(bytes)) {
        size_t end;
        if (reader.isNewFile() && hasWord(line))
            break;
        while ((end = bytes.find('\n')) != bytes.npos) {
            line.append(bytes, 0, end);
            bytes.remove_prefix(end + 1);
            if (hasWord(line))
                return countWords(line);
            line.clear();
        }
        line += bytes;
    }
    return countWords(line);
}

}  // namespace gather
