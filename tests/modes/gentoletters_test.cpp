#include "support/genotypemodel.h"

#include <gtest/gtest.h>

TEST(GenToLetters, SpellsTheMostProbableGenotype)
{
    const std::string marker = "1 r 7 A G ";
    expectRuns({"gentoletters", {"-file", "in", "-out", "out"}, {"in"}, {"out"}}, {
        {"each class", {marker + "0.9 0.1 0 0.1 0.8 0.1 0 0 1\n"}, {}, {marker + "AA AG GG"}},
        {"ties", {marker + "0.5 0.5 0 0 0.5 0.5 0.5 0 0.5 0 0 0 x  nan\n"}, {}, {marker + "GG GG GG GG GG"}},
        {"delimiter", {marker + "0 1 0\n"}, {"-genodelim", "comma"}, {marker + "A,G"}},
        {"other delimiters", {marker + "0 1 0\n"}, {"-genodelim", "slash, a word of more than 20 bytes"},
         {marker + "AG"}},
        {"flip", {"1 r 7 aTGcAx C 1 0 0 0 1 0\n"}, {"-flip", "yes", "-genodelim", "tab"},
         {"1 r 7 aTGcAx C TACGTx\tTACGTx TACGTx\tG"}},
    });
    // By its second name the mode collects no options.
    expectRuns({"gentoLETTERS", {}, {"in"}, {}, {}, "You need to specify '-file'.\n\n", 1},
        {{"", {""}, {"-file", "in"}}});
}

TEST(GenToLetters, AgreesWithAPlainVersion)
{
    const Model model = [](const std::vector<ModelLine> &lines, const OptionMap &options) {
        const bool flip = options.contains("-flip") && options.at("-flip") == "yes";
        const std::string Delim = options.contains("-genodelim") ? ":" : "";
        const LineText spell = [&](const ModelLine &line, const std::vector<long> &individuals) {
            std::string letters[2] = {line.at(modelInteger(options, "-gen1-loc", 4) - 1),
                                      line.at(modelInteger(options, "-gen2-loc", 5) - 1)};
            for (std::string &each : letters) {
                for (const char *pair : {"Aa", "Tt", "Gg", "Cc", "aT", "tA", "gC", "cG"})
                    std::replace(each.begin(), each.end(), pair[0], flip ? pair[1] : pair[0]);
            }
            std::string text;
            for (const long j : individuals) {
                const double loc1 = line.number(j), loc2 = line.number(j + 1), loc3 = line.number(j + 2);
                const bool isFirst = loc1 > loc2 && loc1 > loc3, isMixed = loc2 > loc1 && loc2 > loc3;
                text += (j == individuals[0] ? "" : " ") + letters[!isFirst && !isMixed] + Delim + letters[!isFirst];
            }
            return text;
        };
        ModelResult result = modelRows(lines, options, 3, true, spell);
        result.messages = flip ? "Attn: Strands are flipped\n\n" : "Strands not flipped\n\n";
        result.messages += "running genToLetters()\n\n";
        return result;
    };
    compareWithModel("gentoletters",
                     {{"-beg", {"2", "3", "0", "-1", "-7", "250", "x", ""}},
                      {"-end", {"1", "3", "0", "256", "257", "700", "99999999999"}},
                      {"-last-bef-geno", {"0", "-1", "-2", "2", "3", "800"}},
                      {"-gen1-loc", {"1", "3", "0", "900"}},
                      {"-gen2-loc", {"2", "-1"}},
                      {"-flip", {"yes", "no"}},
                      {"-genodelim", {"colon"}}},
                     model);
}
