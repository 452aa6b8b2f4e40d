// Runs the real program in an empty folder of its own.
#pragma once

#include "main/modes.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

using Texts = std::vector<std::string>;

std::string contentOf(const std::string &path);  // "(no file)" where there is none

struct Result {
    int status = 0;            // exit status, or minus the signal that ended the run
    std::string output;        // all of standard output
    std::string messages;      // what the mode printed: without banner, arguments and time lines
    std::string errors;        // standard error
};

// A folder that exists as long as the object. File names are relative to it.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;

    std::string path(const std::string &name) const { return m_path + "/" + name; }
    void write(const std::string &name, std::string_view bytes) const;
    std::string read(const std::string &name) const;  // "(no file)" where there is none
    std::map<std::string, std::string> files() const;

    // Runs the program with these arguments. `shell` is put before it, as in "ulimit -f 1; ", and `redirection`
    // behind it; both are for the shell.
    Result run(const std::vector<std::string> &arguments, const std::string &shell = "",
            const std::string &redirection = "") const;
    // The same for another program, such as a companion, of the build.
    Result runOther(const std::string &program, const std::vector<std::string> &arguments, const std::string &shell = "",
                    const std::string &redirection = "") const;
    // The same for "-M mode".
    Result runMode(const std::string &mode, std::vector<std::string> options) const;

    // Runs the mode in a child of this process, which costs a tenth of starting the program; returns the exit
    // status. Messages go to the file "messages".
    int runInChild(const Mode &mode, const std::map<std::string, std::string> &options) const;

private:
    std::string m_path;
};

// How many times as long a child takes as without sanitizers, about.
#if defined(__SANITIZE_ADDRESS__)
constexpr uint64_t slowChild = 10;
#else
constexpr uint64_t slowChild = 1;
#endif
