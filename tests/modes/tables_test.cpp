// How modes check their options and columns.
#include "support/program.h"

#include <gtest/gtest.h>

TEST(Tables, RunsEndWithTheirMessages)
{
    const std::string announced = "output name = input name + '.out'\n";
    const std::string noFile = "You need to specify '-file'.\n\n";
    const std::string shift = "Running...\n\n";
    const std::string prune = "running ldPrune()\npositions have to be in ascending order in both files\n";
    const std::string noId = "id1 not defined\nid2 not defined\nid3 not defined\nClip2 not applied\n";
    const std::string on = "running peakScan3()\n\nClip function turned on\n", scan = noId + on;
    const std::string line = "Line ", fewer = " has fewer fields than column ";
    const std::vector<std::string> ld = {"-file", "in", "-map", "map", "-threshold", "1", "-out", "o",
                                              "-pcolumn", "2", "-poscolumn", "1", "-delim", "space"};
    const std::vector<std::string> peak
        = {"-file", "in", "-out", "o", "-lcolumn", "2", "-pcolumn", "3", "-chrcolumn", "1", "-delim", " "};
    const std::vector<std::string> named = {"-file", "in", "-out", "o", "-delim", "space"};
    const std::vector<std::string> inOnly = {"-file", "in"};
    const struct {
        const char *mode, *input;
        std::vector<std::string> first, options;  // the first ones count
        std::string messages;
        const char *side = "(no file)";  // of what the run leaves, "o.removed" or else "o"
    } cases[] = {
        {"gwamafilter", "", {}, {"-column", "2"}, noFile},
        {"gentoAD", "", {"-beg", "10", "-end", "5"}, named, "Invalid range selected: beg > end\n"},
        {"gentoAD", "", {"-rs-loc", "1.5"}, named, "Invalid rs number location selected\n"},
        {"gentoAD", "", {"-out", ""}, named, "running genToAd()\nOutput file not opened\n"},
        {"avggen", "1 r 7 A G 0 0 1 0 0 1\n1 s 8 A G 0 0 1 0 0\n", {"-beg", "2"}, named,
         "running avgGen()\n\nCounter < 1\n", "1 r 7 A G 0 0 1 2 0\n1 s 8 A G "},
        {"gentoLETTERS", "", {}, inOnly, noFile},  // collects no options
        {"family", "", {}, {"-out", "o"}, noFile},
        {"relout5", "", {}, {}, noFile},
        {"gwamafilter", "", {}, inOnly, announced + "Incorrect column\n"},
        {"gwamafilter", "", {"-column", "0"}, inOnly, announced + "Incorrect column\n"},
        {"ldprune", "", {"-file", ""}, ld, ""},
        {"ldprune", "", {"-pcolumn", ""}, ld, "-pcolumn not specified\n", ""},
        {"ldprune", "", {"-poscolumn", "-1"}, ld, "-poscolumn not specified\n", ""},
        {"ldprune", "", {"-file", "none"}, ld, prune, ""},
        {"ldprune", "1000 1\n1010 2\n1 1\n2 1\n", {}, ld, prune + "error!\n", "1010 2 dCM 0.01\n"},
        {"ldprune", "h\n\n1 1\n2\n", {"-dataheader", "yes"}, ld, prune + line + "4" + fewer + "2\n", ""},
        {"ldprune", "1 2\n", {"-poscolumn", "3"}, ld, prune + line + "1" + fewer + "3\n", ""},
        {"levin", "", {}, {}, noFile},
        {"levin", "", {"-columns", "1"}, inOnly, announced + "Incorrect number of columns specified\n"},
        {"levin", "", {"-columns", "1,2,"}, inOnly, announced + "Incorrect number of columns specified\n"},
        {"levin", "", {"-columns", "x,1"}, named, "Negative column numbers cannot be used\n"},
        {"levin", "1 1\n1\n", {}, named, shift + "Second column not found in data\n", "N corr first_Y\n"},
        {"levin", "1 1e999\n", {}, named, shift + "Dada contain non-numbers\n", "N corr first_Y\n"},
        {"levin", "NA 1\n", {}, named, shift + "Dada contain non-numbers\n", "N corr first_Y\n"},
        {"peakscan3", "", {}, {}, noFile},
        {"peakscan3", "", {"-lcolumn", "0"}, inOnly, announced + "Incorrect lcolumn\n"},
        {"peakscan3", "", {"-dots", "2.5"}, peak, "Incorrect dots\n"},
        {"peakscan3", "", {"-gap", "0.9"}, peak, "Incorrect gap\n"},
        {"peakscan3", "", {"-gap", "1.5", "-window", "1"}, peak, "Windows corrected to 2\n"},
        {"peakscan3", "", {"-window", "2", "-frame", "nan"}, peak, "Incorrect frame\n"},
        {"peakscan3", "", {"-threshold", "-0.1"}, peak, "Incorrect threshold\n"},
        {"peakscan3", "", {"-threshold", "0", "-peak-threshold", "-1"}, peak, "Incorrect peak_threshold\n"},
        {"peakscan3", "", {"-file", "none", "-id1", "1", "-id2", "0", "-id3", "-1", "-clip2", "1e6"}, peak,
         "id2 not defined\nClip2 = 1e+06\n" + on, ""},
        {"peakscan3", "1 2 3\n", {"-lcolumn", "4"}, peak, scan + line + "1" + fewer + "4\n", ""},
        {"peakscan3", "1\n1 2 3\n", {"-chrcolumn", "5", "-header", "yes"}, peak,
         scan + "extract header\n" + line + "2" + fewer + "5\n", ""},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("in", row.input);
        folder.write("map", "position rate cM\n1000 0 1\n5000 0 5\n");
        std::vector<std::string> options = row.first;
        options.insert(options.end(), row.options.begin(), row.options.end());
        const Result run = folder.runMode(row.mode, options);
        EXPECT_EQ(run.status, 1) << row.mode << ": " << row.messages;
        EXPECT_EQ(run.messages, row.messages) << row.mode;
        const std::string side = row.mode == std::string("ldprune") ? "o.removed" : "o";
        EXPECT_EQ(folder.read(side), row.side) << row.mode << ": " << row.messages;
    }
}
