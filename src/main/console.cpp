#include "main/console.h"
#include "main/datahints.h"
#include "main/progress.h"
#include "text/files.h"
#include "text/foreign.h"
#include "text/source.h"
#include "text/writer.h"

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

static const char *companion = nullptr;  // whose messages go to standard error; null: the program. Set by startConsole
static std::FILE *shown = stdout;        // or a stream on the same file. Set by startConsole
static bool isEnding = false;            // a second failure while the first one is reported adds no further line

[[noreturn]] static void failConsole()
{
    static bool isReported = false;
    if (!isReported) {
        isReported = isEnding = true;
        std::fputs("Cannot write 'standard output'\n", stderr);
        text::Writer::flushAll();
    }
    std::_Exit(1);
}

[[noreturn]] static void failTransfer(const char *action, const std::string &name)
{
    if (isEnding)
        quit();
    isEnding = true;
    fatal("Cannot %s '%s'\n", action, name.c_str());
}

[[noreturn]] static void failForeign(const char *kind, const std::string &name)
{
    fatal("'%s' is %s, not a text table: see \"Files of other kinds\" in the guide\n", name.c_str(), kind);
}

// Ends the run where memory is wanted. No exception: compilers take a function that is compiled for several kinds of
// processor for one that throws none. Unwinding would also give incomplete outputs an end mark.
[[noreturn]] static void endWithoutMemory()
{
    std::set_new_handler([] { std::_Exit(1); });  // the end needs hardly any
    fatal("Out of memory\n");
}

void startConsole(const char *companionName)
{
    companion = companionName;
    // A closed standard stream must not become the number of a data file. Read-only: writing there still fails.
    int file;
    do {
        file = open("/dev/null", O_RDONLY);
    } while (file >= 0 && file <= 2);
    if (file > 2)
        close(file);
    if (std::FILE *const stream = shown == stdout ? text::steadyStream(STDOUT_FILENO, "w") : nullptr) {
        if (isatty(STDOUT_FILENO))
            std::setvbuf(stream, nullptr, _IOLBF, BUFSIZ);
        shown = stream;
    }
    // A reader that has gone and a file-size limit are failed writes like any other.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    text::onFailure = failTransfer;
    std::set_new_handler(endWithoutMemory);
    if (!companion)  // a companion may read lists out of other programs' files
        text::onForeign = failForeign;
}

static void printList(const char *format, std::va_list arguments)
{
    Progress::hide();
    if (companion)
        std::fprintf(stderr, "%s: ", companion);
    if (std::vfprintf(companion ? stderr : shown, format, arguments) < 0)
        failConsole();
}

void print(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    printList(format, arguments);
    va_end(arguments);
}

void printBytes(std::string_view bytes)
{
    Progress::hide();
    if (std::fwrite(bytes.data(), 1, bytes.size(), shown) != bytes.size())
        failConsole();
}

void flushConsole()
{
    if (std::fflush(shown) != 0)
        failConsole();
}

void finish(int status)
{
    Progress::hide();
    if (status == 0)
        text::Writer::closeAll();
    text::Writer::flushAll();
    flushConsole();
    showDataHints(status);
    std::exit(status);
}

void fatal(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    printList(format, arguments);
    va_end(arguments);
    finish(1);
}

void quit()
{
    finish(1);
}

void copyBounded(char *buffer, size_t size, std::string_view bytes)
{
    if (bytes.size() >= size) {
        text::Writer::flushAll();
        flushConsole();
        std::abort();
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    buffer[bytes.size()] = '\0';
}

void refuseSameFiles(std::initializer_list<std::string> inputs, std::initializer_list<std::string> outputs)
{
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        for (const std::string &input : inputs) {
            if (text::exists(input) && text::isSameFile(*output, input))
                fatal("Output file '%s' is also an input\n", output->c_str());
        }
        for (auto other = outputs.begin(); other != output; ++other) {
            if (text::isSameFile(*output, *other))
                fatal("Output file '%s' is also another output\n", output->c_str());
        }
    }
    for (const std::string &input : inputs)
        text::lookForForeign(input);
    for (const std::string &output : outputs)
        noteOutput(output);
    flushConsole();
}
