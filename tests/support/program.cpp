#include "support/program.h"
#include "main/console.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

std::string contentOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return file ? bytes.str() : "(no file)";
}

static std::string quoted(const std::string &word)
{
    std::string text = "'";
    for (const char byte : word)
        text += byte == '\'' ? "'\\''" : std::string(1, byte);
    text += '\'';
    return text;
}

// What stands between the start time and the end time, or the end of a run that failed.
static std::string modeMessages(const std::string &output)
{
    const size_t start = output.find("\nSTART TIME: ");
    if (start == output.npos)
        return "(no start time)";
    const size_t first = output.find("\n\n", start + 1);
    const size_t end = output.rfind("END TIME: ");
    return output.substr(first + 2, end == output.npos ? end : end - first - 2);
}

Folder::Folder()
{
    std::string name = fs::temp_directory_path() / "morvel-test-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no temporary folder");
    m_path = name;
}

Folder::~Folder()
{
    std::error_code error;
    fs::remove_all(m_path, error);
}

void Folder::write(const std::string &name, std::string_view bytes) const
{
    std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string Folder::read(const std::string &name) const
{
    return contentOf(path(name));
}

std::map<std::string, std::string> Folder::files() const
{
    std::map<std::string, std::string> result;
    for (const auto &entry : fs::directory_iterator(m_path))
        result[entry.path().filename()] = contentOf(entry.path());
    return result;
}

Result Folder::run(const std::vector<std::string> &arguments, const std::string &shell,
                const std::string &redirection) const
{
    const char *program = std::getenv("MORVEL_PROGRAM");
    if (!program)
        throw std::runtime_error("MORVEL_PROGRAM does not name the program under test");
    return runOther(program, arguments, shell, redirection);
}

Result Folder::runOther(const std::string &program, const std::vector<std::string> &arguments, const std::string &shell,
                        const std::string &redirection) const
{
    const Folder streams;
    std::string command = "cd " + quoted(m_path) + " && { " + shell + " " + quoted(program);
    for (const std::string &argument : arguments)
        command += " " + quoted(argument);
    command += " " + redirection + "; } >" + quoted(streams.path("out")) + " 2>" + quoted(streams.path("err"));

    const int status = std::system(command.c_str());
    Result run;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    if (run.status > 128)
        run.status = 128 - run.status;  // as the shell reports a signal
    run.output = contentOf(streams.path("out"));
    run.errors = contentOf(streams.path("err"));
    run.messages = modeMessages(run.output);
    return run;
}

Result Folder::runMode(const std::string &mode, std::vector<std::string> options) const
{
    options.insert(options.begin(), {"-M", mode});
    return run(options);
}

int Folder::runInChild(const Mode &mode, const std::map<std::string, std::string> &options) const
{
    const pid_t child = fork();
    if (child == 0) {
        if (chdir(m_path.c_str()) != 0 || !std::freopen("messages", "w", stdout))
            _exit(99);
        startConsole();
        Switches.clear();
        for (const auto &[name, value] : options)
            Switches.insert(Switches.end(), {name, value});
        ::runMode(mode);
        finish(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
