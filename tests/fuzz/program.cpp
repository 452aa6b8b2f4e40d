// One input is one run of the whole program or of a companion: its command, its words and all of its files.
//
//     gwas3                   or COMPANION-VERB, as table-select
//     -pfile                  a word a line
//     ...
//     \x1eNAME                each file behind this mark; compressed where NAME ends in .gz or .zst
//     its content, up to the next mark
//
// The run reads and writes in a folder of its own. Where kernels for several processors exist, a second run with the
// narrowest ones must write the same files. The environment's MORVEL_FUZZ_COMMAND lets inputs for other commands pass.
#include "genotypes/shortnumbers.h"
#include "main/console.h"
#include "mixture/kernels.h"
#include "plot/verbs.h"
#include "processors/wide.h"
#include "scans/binsums.h"
#include "scans/classsums.h"
#include "scans/logistic.h"
#include "scans/regression.h"
#include "scans/regressionkernels.h"
#include "text/decoder.h"
#include "text/writer.h"
#include "tools/gather/verbs.h"
#include "tools/table/verbs.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <set>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

int morvelMain(int argc, char **argv);  // of the program, renamed by the build

// No memory is told by an exception, which the sanitizer's own operator never throws.
void *operator new(size_t size)
{
    if (void *memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void *operator new[](size_t size)
{
    return operator new(size);
}
void operator delete(void *memory) noexcept
{
    std::free(memory);
}
void operator delete(void *memory, size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void *memory) noexcept
{
    std::free(memory);
}
void operator delete[](void *memory, size_t) noexcept
{
    std::free(memory);
}

// What needs Qt is a part of this program, since loading it would take longer than a run.
extern "C" text::DecodedFile *openDecodedFile(int file);
std::unique_ptr<text::DecodedFile> text::openDecoded(int file)
{
    return std::unique_ptr<DecodedFile>(openDecodedFile(file));
}

// Put before copyBounded() by the linker: a value that is too long ends the program by an abort that is no fault.
#define COPY_BOUNDED "_Z11copyBoundedPcmSt17basic_string_viewIcSt11char_traitsIcEE"
void copyForReal(char *buffer, size_t size, std::string_view bytes) asm("__real_" COPY_BOUNDED);
void copyOrEnd(char *buffer, size_t size, std::string_view bytes) asm("__wrap_" COPY_BOUNDED);
void copyOrEnd(char *buffer, size_t size, std::string_view bytes)
{
    if (bytes.size() >= size) {
        text::Writer::flushAll();
        std::_Exit(0);
    }
    copyForReal(buffer, size, bytes);
}

template <class Kernels>
static void useNarrowest()
{
    kernelsInUse<Kernels> = &Kernels::all().front();
}

static void useNarrowKernels()
{
    useNarrowest<ShortNumberKernels>();
    useNarrowest<ScanKernels>();
    useNarrowest<BinKernels>();
    useNarrowest<SumKernels>();
    useNarrowest<RegressionKernels>();
    useNarrowest<LogisticKernels>();
    useNarrowest<SearchKernels>();
}

static bool hasKernels(std::string_view command)
{
    return command.starts_with("gwas") || command == "regscan1" || command == "mixfit" || command == "gentoAD"
           || command == "gentoletters" || command.starts_with("avg") || command == "ADtogen";
}

struct Input {
    std::vector<std::string> words;
    std::vector<std::pair<std::string, std::string>> files;
};

// Nothing outside of the folder can be named.
static std::string nameIn(std::string name)
{
    std::ranges::replace(name, '/', '_');
    return name;
}

static Input takeApart(const std::string &bytes)
{
    constexpr char mark = '\x1e';
    Input input;
    size_t at = bytes.find(mark);
    std::istringstream words(bytes.substr(0, at));
    for (std::string word; std::getline(words, word);)
        input.words.push_back(nameIn(word.substr(0, word.find('\0'))));
    while (at < bytes.size()) {
        const size_t next = std::min(bytes.find(mark, at + 1), bytes.size());
        const size_t line = std::min(bytes.find('\n', at), next);
        const std::string name = nameIn(bytes.substr(at + 1, line - at - 1));
        input.files.emplace_back(name, bytes.substr(std::min(line + 1, next), next - std::min(line + 1, next)));
        at = next;
    }
    return input;
}

static void writeFiles(const Input &input)
{
    for (const auto &[name, content] : input.files) {
        text::Writer out;
        if (name.find('\0') == name.npos && out.open(name))
            out.put(content);
    }
}

// Files by their names, without those of the folder's other run.
static std::set<std::pair<std::string, std::string>> filesIn(const fs::path &folder)
{
    std::set<std::pair<std::string, std::string>> files;
    for (const auto &entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        if (entry.is_regular_file())
            files.emplace(entry.path().filename(), std::string(std::istreambuf_iterator<char>(file), {}));
    }
    return files;
}

static void compareRuns()
{
    if (filesIn(".") != filesIn("narrow"))
        std::abort();
}

// Goes on in a child, in a folder of its own; the parent, which waits for it, is told to go on as well.
static void runNarrowFirst(const Input &input)
{
    fs::create_directory("narrow");
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        fs::current_path("narrow");
        useNarrowKernels();
    } else if (child > 0) {
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFSIGNALED(status))
            std::raise(WTERMSIG(status));
        std::atexit(compareRuns);
    }
    writeFiles(input);
}

static void run(Input &input)
{
    static char minusM[] = "-M";
    std::vector<char *> words;
    std::string name = "morvel", verb = input.words.front();
    const size_t dash = verb.find('-');
    if (dash != verb.npos) {
        name = verb.substr(0, dash);
        verb.erase(0, dash + 1);
    }
    words.push_back(name.data());
    if (name == "morvel")
        words.push_back(minusM);
    words.push_back(verb.data());
    for (size_t i = 1; i < input.words.size(); ++i)
        words.push_back(input.words[i].data());
    const int count = int(words.size());
    words.push_back(nullptr);
    if (name == "morvel")
        morvelMain(count, words.data());
    else if (name == "table")
        runCompanion(table::companion, count, words.data());
    else if (name == "plot")
        runCompanion(plot::companion, count, words.data());
    else if (name == "gather")
        runCompanion(gather::companion, count, words.data());
}

// A folder that is empty but for a gnuplot that draws nothing.
static void makeFolder()
{
    const char *chosen = std::getenv("MORVEL_FUZZ_FOLDER");
    const fs::path folder = chosen ? chosen : fs::temp_directory_path() / ("morvel-fuzz-" + std::to_string(getuid()));
    fs::remove_all(folder);
    fs::create_directories(folder / "tools");
    fs::create_symlink("/bin/echo", folder / "tools/gnuplot");
    setenv("PATH", (folder / "tools").c_str(), 1);
    setenv("TMPDIR", ".", 1);
    fs::create_directory(folder / "run");
    fs::current_path(folder / "run");
}

int main(int argc, char **argv)
{
    const fs::path path = argc > 1 ? fs::absolute(argv[1]) : "/dev/stdin";
    makeFolder();
#ifdef __AFL_HAVE_MANUAL_CONTROL
    __AFL_INIT();
#endif
    std::ifstream file(path, std::ios::binary);
    Input input = takeApart(std::string(std::istreambuf_iterator<char>(file), {}));
    const char *command = std::getenv("MORVEL_FUZZ_COMMAND");
    if (input.words.empty() || (command && input.words.front() != command))
        return 0;
    for (const auto &entry : fs::directory_iterator("."))
        fs::remove_all(entry.path());
    const rlimit most = {1 << 20, 1 << 20};
    setrlimit(RLIMIT_FSIZE, &most);
    if (hasKernels(input.words.front()))
        runNarrowFirst(input);
    else
        writeFiles(input);
    run(input);
    return 0;
}
