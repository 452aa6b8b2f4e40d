#include "text/files.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>

namespace text {

namespace fs = std::filesystem;

FailureHandler onFailure = [](const char *, const std::string &) { std::abort(); };

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

} // namespace text
