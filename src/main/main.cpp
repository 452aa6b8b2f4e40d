// One run from start to end.
#include "main/banner.h"
#include "main/console.h"
#include "main/datahints.h"
#include "main/hints.h"
#include "main/modes.h"
#include "main/options.h"
#include "main/timing.h"

#include <chrono>
#include <cstring>
#include <new>

static char argument[100];  // program path
static char mode[50];

// Copies the name after the first "-M" or "-m" to `mode`; without any words there is none, which is no error. False
// where nothing is left to be the name.
static bool findModeName(std::span<const char *const> arguments)
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (i + 1 == arguments.size())
            return false;
        if (std::strcmp(arguments[i], "-M") == 0 || std::strcmp(arguments[i], "-m") == 0) {
            copyBounded(mode, arguments[i + 1]);
            return true;
        }
    }
    return true;
}

int main(int argc, char **argv)
{
    startConsole();
    copyBounded(argument, argv[0]);
    welcome();
    for (int i = 1; i < argc; ++i)
        print("%d  %s\n", i, argv[i]);
    const bool isHinting = wantsHints();
    const std::span<const char *const> arguments{argv + 1, argv + argc};
    if (!findModeName(arguments)) {
        if (isHinting)
            showUsage(arguments);
        print("You need to specify the mode '-M'\n\n");
        quit();
    }
    const Mode *chosen = findMode(mode);
    if (isHinting) {
        showHints(arguments, mode);
        startDataHints(chosen);
    }
    if (chosen)
        takeSwitches(arguments, *chosen);

    const auto start = std::chrono::steady_clock::now();
    print("\nSTART TIME: %s", currentTime().c_str());
    if (chosen) {
        try {
            runMode(*chosen);
        } catch (const std::bad_alloc &) {
            fatal("Out of memory\n");
        }
    }
    print("END TIME: %s", currentTime().c_str());
    const auto elapsed = std::chrono::steady_clock::now() - start;
    print("%s", elapsedTime(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()).c_str());
    finish(0);
}
