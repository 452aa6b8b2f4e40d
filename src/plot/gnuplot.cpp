#include "plot/gnuplot.h"
#include "main/console.h"
#include "text/files.h"
#include "text/wholefile.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace plot {

static constexpr const char missingMessage[] = "gnuplot is not there: install the package gnuplot-nox\n";

static bool isProgram(const std::string &path)
{
    struct stat file;
    return stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode) && access(path.c_str(), X_OK) == 0;
}

void requireGnuplot()
{
    const char *path = std::getenv("PATH");
    std::string_view rest = path ? path : "/usr/local/bin:/usr/bin:/bin";
    for (;;) {
        const size_t end = rest.find(':');
        if (isProgram(std::string(rest.substr(0, end)) + "/gnuplot"))
            return;
        if (end == rest.npos)
            fatal(missingMessage);
        rest.remove_prefix(end + 1);
    }
}

std::string escapedMarkup(std::string_view text)
{
    std::string escaped;
    for (const char byte : text) {
        switch (byte) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += byte;
        }
    }
    return escaped;
}

std::string scriptOf(const Figure &figure, Format format, const std::string &outName)
{
    const std::string width = std::to_string(figure.width()), height = std::to_string(figure.height());
    const auto fonts = [](double scale) {
        std::string sizes;
        for (const auto &[name, size] : {std::pair{"small", smallText}, {"plain", plainText}, {"large", largeText}})
            sizes += std::string(name) + "Font = \"sans-serif," + numberOf(size * scale) + "\"\n";
        return sizes;
    };
    const std::string shared = " noenhanced square font \"sans-serif,";
    std::string script = "# gnuplot 5.4\nset encoding utf8\n";
    // S: terminal units in a pixel; L: width of a line of a pixel; D: size of a dot of a pixel.
    if (format == Format::Png)
        script += "set terminal pngcairo size " + width + "," + height + shared
                  + "29\" background \"#ffffff\"\nS = 20.0; L = 1.0; D = 0.1\n" + fonts(0.75);
    else if (format == Format::Pdf)
        script += "set terminal pdfcairo size " + numberOf(figure.width() / pixelsPerInch) + ","
                  + numberOf(figure.height() / pixelsPerInch) + shared + "7\"\nS = 20.0; L = 0.48; D = 0.04\n"
                  + fonts(96 / pixelsPerInch);
    else
        script += "set terminal svg size " + width + "," + height + shared + "29\""
                  + (format == Format::Svg ? " background \"#ffffff\"" : "") + "\nS = 100.0; L = 1.0; D = 0.046\n"
                  + fonts(1);
    if (!outName.empty())
        script += "set output " + constantOfBytes(outName) + "\n";
    script += "X(x) = x*S/(" + width + "*S-1)\nY(y) = (" + height + "-y)*S/(" + height + "*S-1)\n";
    return script + figure.script();
}

struct Process {
    pid_t id;
    int output;
};

// Without a shell, and without the user's own settings of gnuplot.
static Process startGnuplot(int input, int errors)
{
    int output[2];
    if (pipe2(output, O_CLOEXEC) != 0)
        fatal("Cannot start gnuplot: %s\n", std::strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    std::vector<char *> environment;
    static char locale[] = "LC_ALL=C.UTF-8";
    for (char **entry = environ; *entry; ++entry) {
        const std::string_view text = *entry;
        if (!text.starts_with("LC_") && !text.starts_with("LANG") && !text.starts_with("GNUTERM")
            && !text.starts_with("GNUPLOT"))
            environment.push_back(*entry);
    }
    environment.push_back(locale);
    environment.push_back(nullptr);
    char program[] = "gnuplot", defaults[] = "-d";
    char *const arguments[] = {program, defaults, nullptr};
    Process process = {0, output[0]};
    const int error = posix_spawnp(&process.id, program, &actions, nullptr, arguments, environment.data());
    posix_spawn_file_actions_destroy(&actions);
    close(output[1]);
    if (error == ENOENT)
        fatal(missingMessage);
    if (error != 0)
        fatal("Cannot start gnuplot: %s\n", std::strerror(error));
    return process;
}

static std::string readAll(int file)
{
    std::string bytes;
    std::array<char, 1 << 16> block;
    for (;;) {
        const ssize_t got = text::steadily([&] { return read(file, block.data(), block.size()); });
        if (got <= 0)
            break;
        bytes.append(block.data(), size_t(got));
    }
    close(file);
    return bytes;
}

static std::string runGnuplot(const std::string &script)
{
    text::TemporaryFile commands, log;
    commands.append(script);
    const int input = commands.release(), errors = log.release();
    lseek(input, 0, SEEK_SET);
    const Process process = startGnuplot(input, errors);
    close(input);
    std::string picture = readAll(process.output);
    int status = 0;
    text::steadily([&] { return waitpid(process.id, &status, 0); });
    lseek(errors, 0, SEEK_SET);
    const std::string messages = readAll(errors);
    if (status != 0 || picture.empty()) {
        size_t first = messages.find_first_not_of(" \t\r\n^");
        first = first == messages.npos ? messages.size() : first;
        fatal("gnuplot failed: %s\n",
              shownText(messages.substr(first, messages.find('\n', first) - first), 200).c_str());
    }
    return picture;
}

static void replaceFirst(std::string &text, const std::string &from, const std::string &to)
{
    const size_t place = text.find(from);
    if (place != text.npos)
        text.replace(place, from.size(), to);
}

// The size on paper, and what the picture shows for those who do not see it.
static std::string completedSvg(std::string svg, const Figure &figure)
{
    const auto size = [](int pixels) { return shownNumber(pixels / pixelsPerMillimetre) + "mm"; };
    replaceFirst(svg,
                 "width=\"" + std::to_string(figure.width()) + "\" height=\"" + std::to_string(figure.height()) + '"',
                 "width=\"" + size(figure.width()) + "\" height=\"" + size(figure.height())
                     + "\" role=\"img\" aria-labelledby=\"title desc\"");
    const size_t first = svg.find("<title>"), last = svg.find("</desc>");
    if (first != svg.npos && last != svg.npos)
        svg.replace(first, last - first,
                    "<title id=\"title\">" + escapedMarkup(figure.heading) + "</title>\n<desc id=\"desc\">"
                        + escapedMarkup(figure.description));
    // gnuplot names its plots for a script of its own that is not there.
    for (size_t place; (place = svg.find("<title>gnuplot_plot_")) != svg.npos;)
        svg.erase(place, svg.find("</title>", place) + 8 - place);
    return svg;
}

// 300 dots an inch, behind the header, which is always as long.
static std::string completedPng(std::string png)
{
    static constexpr char resolution[] = "\0\0\0\x09pHYs\0\0\x2e\x23\0\0\x2e\x23\x01\x78\xa5\x3f\x76";
    if (png.size() > 33)
        png.insert(33, resolution, sizeof resolution - 1);
    return png;
}

// Without the time, in as many bytes.
static std::string completedPdf(std::string pdf)
{
    const std::string key = "/CreationDate (D:";
    const size_t place = pdf.rfind(key);
    if (place != pdf.npos && pdf.size() > place + key.size() + 14)
        pdf.replace(place + key.size(), 14, "19700101000000");
    return pdf;
}

std::string drawn(const Figure &figure, Format format)
{
    const std::string picture = runGnuplot(scriptOf(figure, format));
    if (format == Format::Png)
        return completedPng(picture);
    return format == Format::Pdf ? completedPdf(picture) : completedSvg(picture, figure);
}

void writeWhole(const std::string &name, std::string_view bytes)
{
    text::WholeFile file;
    bool isWritten = file.open(name);
    if (isWritten) {
        file.out.put(bytes);
        isWritten = file.publish();
    }
    if (!isWritten)
        fatal("Cannot write '%s'\n", name.c_str());
}

}  // namespace plot
