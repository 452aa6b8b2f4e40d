// Hints about data: each appears where it should, and changes nothing but standard error; right runs stay silent.
#include "support/program.h"

#include <gtest/gtest.h>

struct Case {
    const char *mode;
    std::map<std::string, std::string> files;
    std::vector<std::string> options;
    const char *hints;  // without "morvel: hint: "; other lines may stand around each of them
};

static const std::string dosages = "1 rs1 5 A G 0 1 2 1\n1 rs2 6 A G 2 0 1 1\n";
static const std::string triplets = "1 rs1 5 A G 0 1 0 0.1 0.2 0.7\n";

static Case gwas(const std::string &phenotypes, const char *hints, const std::string &genotypes = dosages)
{
    return {"gwas", {{"p", phenotypes}, {"g", genotypes}}, {"-pfile", "p", "-gfile", "g"}, hints};
}

static Case gwas3(const std::string &phenotypes, const std::string &genotypes, const char *hints)
{
    return {"gwas3", {{"p", phenotypes}, {"g", genotypes}}, {"-pfile", "p", "-gfile", "g"}, hints};
}

static Case gentoAd(const std::string &genotypes, const char *hints)
{
    return {"gentoAD", {{"g", genotypes}}, {"-file", "g"}, hints};
}

static Case peaks(const std::string &table, const char *hints, std::vector<std::string> more = {})
{
    more.insert(more.end(), {"-file", "t", "-delim", "space", "-chrcolumn", "1", "-lcolumn", "2", "-pcolumn", "3"});
    return {"peakscan3", {{"t", table}}, more, hints};
}

static Case prune(const std::string &table, const char *hints)
{
    return {"ldprune", {{"t", table}, {"m", "p r c\n1 1 0\n9 1 1\n"}},
            {"-file", "t", "-map", "m", "-delim", "space", "-poscolumn", "2", "-pcolumn", "3"}, hints};
}

static const char binHead[] = "with 6 bins R2 decides, whatever -statistic says, and -statlimit is a least R2; "
                              "3, 4 and 5 bins have p and t\n";

static std::vector<Case> cases()
{
    std::vector<Case> all = {
        // Right runs.
        gwas("h 1 2 3 4\nw 2.5 NA 1 -9.5\nv  2 3 1\n", ""),
        gwas3("h 1 2\n", triplets, ""),
        gentoAd(triplets, ""),
        peaks("1 5 0.1\n1 6 0.2\n1 6 0.3\n2 1 NA\n2 4 1e-3\n", ""),
        prune("a 1 0.1\nb 1 0.2\nc 5 0.01\n", ""),
        {"family", {{"t", "a b 0.5\n"}}, {"-file", "t", "-delim", "space"}, ""},
        // Fields that are no numbers.
        gwas("h 1 2,5 3 4\nw 1 2 4,5 3\n",
             "\"p\", line 1, field 3: \"2,5\" is no number and counts as 0; there are 2 such fields; a decimal comma? "
             "numbers have a point\n"),
        gwas("h 1 2 . 4\n",
             "\"p\", line 1, field 4: \".\" is no number and counts as 0; missing? give -missing .\n"),
        gwas("h 1 2 3 4\nw 2 3 4 1\n", "\"g\", line 2, field 6: \"x\" is no number and counts as 0\n",
             "1 rs1 5 A G 0 1 2 1\n1 rs2  6 A G x 0 1 1\n"),
        gwas("h 1 2 3 -9\n", "phenotype \"h\": the value -9 counts as a number; missing? give -missing -9\n"),
        gwas("h 1 2 3 NaN\n",
             "phenotype \"h\": has values that are nan, which are in no bin and spoil sums; missing? give -missing\n"),
        prune("a 1 NA\nb 2 NA\n", "\"t\", line 1, field 3: \"NA\" is no number and counts as 0; there are 2 such fields; "
                                  "missing? see \"Missing values\" in the guide\n"),
        // Header lines.
        gwas("IID 101 102 103 104\nh 1 2 3 4\n", "phenotype \"IID\": looks like a header line of numbered individuals; "
                                                 "if it is, remove it\n"),
        gwas("IID anna ben carl dan\nh 1 2 3 4\n", "\"p\", line 1, field 2: \"anna\" is no number and counts as 0; "
                                                  "there are 4 such fields; is the first line a header? remove it\n"),
        gwas("h 1 2 3 4\n", "\"g\", line 1, field 6: \"anna\" is no number and counts as 0; there are 4 such fields; "
                            "is the first line a header? remove it\n", "chr rs pos A B anna ben carl dan\n" + dosages),
        peaks("chr pos p\n1 5 0.1\n", "\"t\", line 1, field 2: \"pos\" is no number and counts as 0; there are 2 such "
                                      "fields; is the first line a header? give -header yes\n"),
        prune("snp pos p\na 2 0.1\n", "\"t\", line 1, field 2: \"pos\" is no number and counts as 0; there are 2 such "
                                      "fields; is the first line a header? give -dataheader yes\n"),
        {"family", {{"t", "id1 id2 ibd\na b 0.5\n"}}, {"-file", "t", "-delim", "space"},
         "\"t\", line 1, field 3: \"ibd\" is no number and counts as 0; is the first line a header? give -header yes\n"},
        // Numbers of individuals.
        gwas("h 1 2 3\n", "the phenotype line has 3 values, the genotype file 4 individuals\n"),
        gwas("h;1;2;3;4\n", "the phenotype line has 0 values, the genotype file 4 individuals; only one field: is "
                            "-delim right?\n"),
        gwas("anna 1\nben 2\ncarl 3\ndan 4\n", "the phenotype line has 1 values, the genotype file 4 individuals; "
                                               "individuals in rows? the scans want a phenotype a line\n"),
        gwas("h 1 2\n", "the phenotype line has 2 values, the genotype file 6 individuals; triplets where dosages are "
                        "read? gentoAD makes dosages, and gwas2 takes -format triplet\n", triplets),
        gwas3("h 1 2 3 4\n", dosages, "the phenotype line has 4 values, the genotype file 1 individuals; dosages where "
                                      "triplets are read?\n"),
        gwas3("h 1 2 \n", triplets, "the phenotype line has 3 values, the genotype file 2 individuals; a delimiter at "
                                    "the end of the line makes one more\n"),
        // Triplets.
        gentoAd("1 rs1 5 A G 0 0 0 0 1 0 0 0 0\n1 rs2 5 A G 1 0 0 1 0 0 0 0 0\n",
                "triplets of three zeros, which count as dosage 0 (missing?): 3 in 2 of 2 markers looked at\n"),
        gentoAd("1 rs1 5 A G 0 NaN 0 0 1 0\n",
                "triplets with nan, which spoil the marker: 1 in 1 of 1 markers looked at\n"),
        gentoAd("1 rs1 5 A G 0.5 0.3 0.3 0 1 0\n", "triplets with a sum other than 1 (another number of leading "
                                                   "columns?): 1 in 1 of 1 markers looked at\n"),
        gwas3("h 1 2\n", "1 rs1 5 A G 0 1 0 1 0 0\n1 rs2 5 A G 0 1 0 0 0 1.25\n",
              "marker rs2, individual 2: the dosage of 0 0 1.25 is no genotype\n"),
        // Order and names.
        peaks("1 5 0.1\n1 4 0.2\n2 5 0.1\n2 4 0.1\n", "chromosome 1: positions fall; sort the table; 2 such in all\n"),
        peaks("1 5 0.1\n2 4 0.2\n1 6 0.1\n1 7 0.1\n", "chromosome 1: comes back after another one, and counts as two; "
                                                     "sort the table\n"),
        prune("a 5 0.1\nb 3 0.2\nc 4 0.2\nd 1 0.2\n", "positions fall 2 times, first in line 2; sort the table, and give "
                                                     "one chromosome at a time\n"),
        {"gwas", {{"p", "h 1 2 3 4 5 6\n"}, {"g", "1 . 5 A G 0 0.1 1 1 1.9 1.8\n"}}, {"-pfile", "p", "-gfile", "g"},
         "phenotype \"h\": has a hit of a marker named \".\", as others may be; name markers by position and alleles\n"},
        // Bins.
        gwas("h 0 1 0 1\n", "phenotype \"h\": has fewer than three different values, which make no bins; regscan1 "
                            "takes such a trait\n"),
        {"gwas", {{"p", "h 1 2 3 100\n"}, {"g", dosages}}, {"-pfile", "p", "-gfile", "g", "-method", "quick"},
         "phenotype \"h\": a bin holds nobody, and takes part in the fit with a mean of 0; see the group columns\n"},
        {"gwas2", {{"p", "h 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 50 100\n"},
                   {"g", "1 rs1 5 A G 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n"}},
         {"-pfile", "p", "-gfile", "g", "-method", "quick"},
         "phenotype \"h\": a bin holds nearly all individuals; see the group columns\n"},
        {"gwas", {{"p", "h 1 2 3 4 5 6\n"}, {"g", "1 rs1 5 A G 0 0 0 1 1 2\n"}},
         {"-pfile", "p", "-gfile", "g", "-autobins", "6"}, binHead},
        {"gwas", {{"p", "h 1 2 3 4 5 6\n"}, {"g", "1 rs1 5 A G 0 0 0 1 1 2\n"}},
         {"-pfile", "p", "-gfile", "g", "-autobins", "6", "-statistic", "r2"}, ""},
        // Options that change nothing.
        {"gwas", {{"p", "h 1 2 3 4\n"}, {"g", dosages}, {"b", "0 1\n"}},
         {"-pfile", "p", "-gfile", "g", "-autobins", "3", "-binfile", "b", "-manualbins", "0:1"},
         "\"-binfile\" changes nothing: \"-autobins\" goes before it\n"
         "\"-manualbins\" changes nothing: \"-autobins\" and \"-binfile\" go before it\n"},
        {"gentoAD", {{"g", triplets}}, {"-file", "g", "-rs-loc", "2"},
         "\"-rs-loc\" changes nothing without \"-statistics yes\"\n"},
        peaks("1 5 0.1\n", "the limits of mode \"peakscan3\" are fixed: means of P from 5 on, scores above 0.0001, gaps "
                           "up to 19998\n", {"-gap", "5"}),
        // Files.
        {"avgAD", {}, {"-file", "nosuch"}, "\"nosuch\" cannot be opened: No such file or directory\n"},
        {"avgAD", {{"g", dosages}}, {"-file", "g", "-out", "no/such"},
         "\"no/such\" cannot be opened: there is no folder \"no\"\n"},
        {"gentoAD", {{"g", triplets}}, {"-out", "-bg", "-file", "g"},
         "wrote the output of gentoAD to \"-bg\": was a value missing before it? rm ./-bg\n"},
    };
    return all;
}

TEST(DataHints, AppearWhereTheyShouldAndChangeNothingElse)
{
    for (const Case &row : cases()) {
        std::vector<std::string> arguments = {"-M", row.mode};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        std::map<std::string, std::string> files[2];
        Result runs[2];
        for (const bool isHinting : {false, true}) {
            const Folder folder;
            for (const auto &[name, bytes] : row.files)
                folder.write(name, bytes);
            runs[isHinting] = folder.run(arguments, isHinting ? "MORVEL_HINTS=1" : "MORVEL_HINTS=0");
            files[isHinting] = folder.files();
        }
        const std::string title = std::string(row.mode) + ": " + row.hints;
        EXPECT_EQ(runs[1].status, runs[0].status) << title;
        EXPECT_EQ(runs[1].messages, runs[0].messages) << title;
        EXPECT_EQ(files[1], files[0]) << title;
        EXPECT_EQ(runs[0].errors, "") << title;
        std::string expected(row.hints);
        EXPECT_EQ(runs[1].errors.empty(), expected.empty()) << title << runs[1].errors;
        for (size_t end; (end = expected.find('\n')) != expected.npos; expected.erase(0, end + 1)) {
            const std::string line = "morvel: hint: " + expected.substr(0, end + 1);
            EXPECT_NE(("\n" + runs[1].errors).find("\n" + line), std::string::npos) << line << runs[1].errors;
        }
    }
}

TEST(DataHints, CountAFieldOnceWhereTheFileIsReadAgainAndReadPipes)
{
    const Folder folder;
    folder.write("p", "h 1 2 3 4\nw 4 3 2 1\n");
    folder.write("g", "1 rs1 5 A G 0 x 2 1\n1 rs2 5 A G 0 2 y 1\n");
    const std::vector<std::string> options = {"-M", "gwas", "-pfile", "p", "-out", "out", "-gfile"};
    const auto hintsOn = [&](const char *genotypes, const std::string &shell) {
        std::vector<std::string> arguments = options;
        arguments.push_back(genotypes);
        return folder.run(arguments, shell + " MORVEL_HINTS=1").errors;
    };
    EXPECT_EQ(hintsOn("g", ""), "morvel: hint: \"g\", line 1, field 7: \"x\" is no number and counts as 0; there are 2 such "
                                "fields; is the first line a header? remove it\n");
    EXPECT_EQ(hintsOn("/dev/stdin", "cat g |"), "morvel: hint: \"/dev/stdin\": \"x\" is no number and counts as 0; there are 2 "
                                                "such fields\n");
    folder.write("z", "");
    EXPECT_TRUE(hintsOn("z", "gzip -c g > z;").starts_with("morvel: hint: \"z\", line 1, field 7: \"x\" is"));
}

TEST(DataHints, StayOutOfARunWhereWhatTheyReadAgainIsDamaged)
{
    const Folder folder;
    std::string phenotypes = "h 1 2 3\n";
    for (int i = 0; i < 30000; ++i)
        phenotypes += "w" + std::to_string(i * 7919 % 30011) + " 1 2 3 4\n";
    folder.write("plain", phenotypes);
    folder.write("g", dosages);
    const auto run = [&](const std::string &variable) {
        return folder.run({"-M", "gwas", "-pfile", "p", "-gfile", "g", "-out", "o"},
                          "gzip -1 -c plain | head -c 100000 > p; " + variable);
    };
    const Result quiet = run("MORVEL_HINTS=0"), hinting = run("MORVEL_HINTS=1");
    EXPECT_NE(quiet.messages.find("different number of individuals"), std::string::npos) << quiet.messages;
    EXPECT_EQ(hinting.messages, quiet.messages);
    EXPECT_NE(hinting.errors.find("the phenotype line has 3 values"), std::string::npos) << hinting.errors;
}

TEST(Usage, IsShownOnStandardErrorToWhoNamesNoMode)
{
    const Folder folder;
    for (const char *word : {"--help", "-h", "help", "--version", "gentoAD"}) {
        const Result quiet = folder.run({word}, "MORVEL_HINTS=0"), run = folder.run({word}, "MORVEL_HINTS=1");
        EXPECT_EQ(quiet.errors, "");
        EXPECT_EQ(run.output, quiet.output);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors.find("did you mean \"-M gentoAD\"?") != std::string::npos, word == std::string("gentoAD"));
        EXPECT_NE(run.errors.find("\nmorvel: hint:   levin         Correlates a column"), std::string::npos) << run.errors;
        EXPECT_NE(run.errors.find("man morvel"), std::string::npos);
    }
    const Result none = folder.run({}, "MORVEL_HINTS=1");
    EXPECT_EQ(none.status, 0);
    EXPECT_NE(none.errors.find("\nmorvel: hint:   levin  "), std::string::npos);
}
