// One run from start to end.
#include "main/banner.h"
#include "main/console.h"
#include "main/hints.h"
#include "main/modes.h"
#include "main/options.h"
#include "main/timing.h"

#include <chrono>
#include <cstring>
#include <new>

static char argument[100];  // program path
static char mode[50];

// Copies the name after the first "-M" or "-m" to `mode`.
static void findModeName(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (i == argc - 1) {
            print("You need to specify the mode '-M'\n\n");
            quit();
        }
        if (std::strcmp(argv[i], "-M") == 0 || std::strcmp(argv[i], "-m") == 0) {
            copyBounded(mode, argv[i + 1]);
            return;
        }
    }
}

// On purpose a value is itself looked at as a possible option name.
static void collectOptions(int argc, char **argv, const Mode &chosen)
{
    for (int i = 1; i < argc - 1; ++i) {
        if (findOption(chosen, argv[i])) {
            Switches.emplace_back(argv[i]);
            Switches.emplace_back(argv[i + 1]);
        }
    }
}

int main(int argc, char **argv)
{
    startConsole();
    copyBounded(argument, argv[0]);
    welcome();
    for (int i = 1; i < argc; ++i)
        print("%d  %s\n", i, argv[i]);
    findModeName(argc, argv);
    if (wantsHints())
        showHints({argv + 1, argv + argc}, mode);
    const Mode *chosen = findMode(mode);
    if (chosen)
        collectOptions(argc, argv, *chosen);

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
    Switches.clear();
    finish(0);
}
