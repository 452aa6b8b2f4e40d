// Writes into a folder, for each mode and each verb of the companions, the words that a fuzzer may put into its runs:
//
//     fuzz-dictionary FOLDER      makes gwas3.dict, table-select.dict ...
#include "plot/verbs.h"
#include "tools/gather/verbs.h"
#include "tools/table/verbs.h"

#include <cstring>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>

// What stands in many inputs, as values of options and as bytes of files.
static constexpr const char *common[]
    = {"\\x0a", "\\x0d\\x0a", "\\x1e", "\\x09", " ", ",", ":", "0", "-1", "1", "2", "0.5", "0.0005", "1e308", "1e-320",
       "nan", "inf", "-inf", "NA", "2147483647", "2147483648", "-2147483648", "0:0.5,0.5:1", "A", "G", " 0 0 1",
       " 0.1 0.9 0", "yes\\x0a", "no\\x0a", "out\\x0a", "in.gz\\x0a", "in.zst\\x0a", "out.gz\\x0a"};

static void writeWords(const std::string &path, const Mode &mode)
{
    std::set<std::string> words(std::begin(common), std::end(common));
    for (const Option *option : mode.options) {
        words.insert(std::string(option->name) + "\\x0a");
        std::istringstream listed(option->words);
        for (std::string word; listed >> word;)
            words.insert(word + "\\x0a");
    }
    std::ofstream out(path);
    for (const std::string &word : words)
        out << '"' << word << "\"\n";
}

int main(int argc, char **argv)
{
    if (argc != 2)
        return 1;
    const std::string folder = argv[1] + std::string("/");
    for (const Mode *mode : allModes())
        writeWords(folder + mode->name() + ".dict", *mode);
    for (const Companion *companion : {&table::companion, &plot::companion, &gather::companion}) {
        const std::string name = companion->name + std::strlen("morvel-");
        for (const Mode *verb : companion->verbs) {
            if (verb != &gather::runVerb)  // starts other programs
                writeWords(folder + name + "-" + verb->name() + ".dict", *verb);
        }
    }
}
