// Hints about data: each appears where it should, and changes nothing but standard error; right runs stay silent.
#include "support/program.h"

#include <gtest/gtest.h>

struct Case {
    const char *mode;
    std::map<std::string, std::string> files;
    std::vector<std::string> options;
    const char *hints;  // without "morvel: hint: "; other lines may stand around each of them
    // What makes the run right and silent: the first text becomes the second one in all files and options, an option in
    // place of no text leaves with its value.
    std::pair<std::string, std::string> change = {};
};

using Change = std::pair<std::string, std::string>;
using Words = std::vector<std::string>;

static const std::string dosages = "1 rs1 5 A G 0 1 2 1\n1 rs2 6 A G 2 0 1 1\n";
static const std::string triplets = "1 rs1 5 A G 0 1 0 0.1 0.2 0.7\n";
static const std::string pairs = "ann ben 0.5\nann cat 0.25\n";
static const std::string populations = "N 1 0 0\nS 0 1 0\nE 0 0 1\n";

// More than the table of names begins with.
static std::string manyMarkers()
{
    std::string markers;
    for (int i = 0; i < 2000; ++i)
        markers += "1 m" + std::to_string(i) + " 5 A G 0 1 2 1\n";
    return markers;
}

static Words joined(Words words, const Words &more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

static Case scan(const char *mode, const std::string &phenotypes, const std::string &genotypes, const char *hints,
                 Change change, const Words &more = {})
{
    return {mode, {{"p", phenotypes}, {"g", genotypes}}, joined(more, {"-pfile", "p", "-gfile", "g"}), hints, change};
}

static Case gwas(const std::string &phenotypes, const char *hints, Change change, const std::string &genotypes = dosages)
{
    return scan("gwas", phenotypes, genotypes, hints, change);
}

static Case convert(const char *mode, const std::string &genotypes, const char *hints, Change change,
                    const Words &more = {})
{
    return {mode, {{"g", genotypes}}, joined(more, {"-file", "g"}), hints, change};
}

static Case peaks(const std::string &table, const char *hints, Change change, const Words &more = {})
{
    return {"peakscan3", {{"t", table}},
            joined(more, {"-file", "t", "-delim", "space", "-chrcolumn", "1", "-lcolumn", "2", "-pcolumn", "3"}), hints,
            change};
}

static Case prune(const std::string &table, const char *hints, Change change, const char *map = "p r c\n1 1 0\n9 1 1\n")
{
    return {"ldprune", {{"t", table}, {"m", map}},
            {"-file", "t", "-map", "m", "-delim", "space", "-poscolumn", "2", "-pcolumn", "3"}, hints, change};
}

static Case relout(const char *hints, const Words &more, Change change, const char *weights = "ann 1\nben 2\n")
{
    return {"relout5", {{"t", pairs}, {"w", weights}}, joined({"-file", "t", "-delim", "space"}, more), hints, change};
}

static Case mix(const std::string &samples, const std::string &references, const char *hints, Change change,
                const Words &more = {})
{
    return {"mixfit", {{"s", samples}, {"r", references}},
            joined({"-file", "s", "-ref", "r", "-refpops", "3", "-delim", "space"}, more), hints, change};
}

static Case match(const std::string &first, const std::string &pool, const char *hints, Change change,
                  const Words &more = {})
{
    return {"popsel", {{"c", first}, {"d", pool}}, joined({"-file1", "c", "-file2", "d", "-delim", "space"}, more), hints,
            change};
}

static std::vector<Case> cases()
{
    const Words limited = {"-limit", "0.2"};
    const std::string ten = " 11 12 13 14 15 16 17 18 19 20\n", noTen = " 14 12 13 11 15 16 17 18 19 20\n";
    const std::string tenZeros = "1 rs1 5 A G 0 0 0 0 0 0 0 0 0 0\n";
    const std::string three = "1 r 5 A G 0 1 0 1 0 0\n2 s 5 A G 1 0 0 0 0 1\n";
    return {
        // Right runs.
        gwas("h 1 2 3 4\nw 2.5 NA 1 -9.5\nv  2 3 1\n", "", {}),
        scan("gwas3", "h 1 2\n", triplets, "", {}),
        peaks("1 5 0.1\n1 6 0.2\n1 6 0.3\n2 1 NA\n2 4 1e-3\n", "", {}),
        scan("regscan1", "h 1 2 3 5\n", "1 rs1 5 A G 0 1 NA 1\n", "", {}),
        scan("regscan1", "h 1 2 3\n", "1 rs1 5 A G 0 0 0 0 1 0 NaN 0 0\n", "", {}),
        // Fields that are no numbers.
        gwas("h 1 2,5 3 4\nw 1 2 4,5 3\n",
             "\"p\", line 1, field 3: \"2,5\" is no number and counts as 0; there are 2 such fields; a decimal comma? "
             "numbers have a point\n", {",", "."}),
        gwas("h 1 2 . 4\n", "\"p\", line 1, field 4: \".\" is no number and counts as 0; missing? give -missing .\n",
             {".", "NA"}),
        gwas("h 1 2 3 4\n", "\"g\", line 2, field 6: \"0/1\" is no number and counts as 0; genotypes as in a VCF? see "
                            "\"Files of other kinds\" in the guide\n", {"0/1", "1"},
             "1 rs1 5 A G 0 1 2 1\n1 rs2  6 A G 0/1 0 1 1\n"),
        gwas("h 1 2 \"3\" 4\n", "\"p\", line 1, field 4: \"\"3\"\" is no number and counts as 0; numbers have no quotes "
                                "around them\n", {"\"", ""}),
        gwas("h 1 2 3 -9\n", "phenotype \"h\": the value -9 counts as a number; missing? give -missing -9\n", {"-9", "NA"}),
        gwas("h 1 2 3 -999\n", "phenotype \"h\": the value -999 counts as a number; missing? give -missing -999\n",
             {"h 1", "h -1"}),
        gwas("h 1 2 3 5 NaN\n",
             "phenotype \"h\": has values that are nan, which are in no bin and spoil sums; missing? give -missing\n",
             {"NaN", "NA"}, "1 rs1 5 A G 0 1 2 1 0\n"),
        prune("a 1 NA\nb 2 NA\n", "\"t\", line 1, field 3: \"NA\" is no number and counts as 0; there are 2 such fields; "
                                  "missing? see \"Missing values\" in the guide\n", {"NA", "1"}),
        // Header lines.
        gwas("IID 101 102 103 104\nh 1 2 3 4\n", "phenotype \"IID\": looks like a header line of numbered individuals; "
                                                 "if it is, remove it\n", {"IID 1", "h2 2"}),
        scan("gwas", "X" + ten, tenZeros, "phenotype \"X\": looks like a header line of numbered individuals; if it is, "
                                          "remove it\n", {ten, noTen}),
        gwas("\xef\xbb\xbfh 1 2 3 4\n", "the first phenotype's name begins with a byte order mark, which results show; save "
                                        "the file without\n", {"\xef\xbb\xbf", ""}),
        gwas("IID anna ben carl dan\nh 1 2 3 4\n", "\"p\", line 1, field 2: \"anna\" is no number and counts as 0; there "
                                                  "are 4 such fields; is the first line a header? remove it\n",
             {"IID anna ben carl dan\n", ""}),
        gwas("h 1 2 3 4\n", "\"g\", line 1, field 6: \"anna\" is no number and counts as 0; there are 4 such fields; "
                            "is the first line a header? remove it\n", {"chr rs pos A B anna ben carl dan\n", ""},
             "chr rs pos A B anna ben carl dan\n" + dosages),
        gwas("h 1 2 3 4\n", "\"g\", line 1, field 1: looks like a header line of numbered individuals; if it is, remove "
                            "it\n", {"chr rs pos A B 7 5 8 6\n", ""}, "chr rs pos A B 7 5 8 6\n" + dosages),
        convert("avgGEN", "c r p A B 7 7 7 8 8 8\n" + triplets, "\"g\", line 1, field 1: looks like a header line of "
                "numbered individuals; if it is, remove it\n", {"c r p A B 7 7 7 8 8 8\n", ""}),
        peaks("chr pos p\n1 5 0.1\n", "\"t\", line 1, field 2: \"pos\" is no number and counts as 0; there are 2 such "
                                      "fields; is the first line a header? give -header yes\n", {"chr pos p\n", ""}),
        prune("snp pos p\na 2 0.1\n", "\"t\", line 1, field 2: \"pos\" is no number and counts as 0; there are 2 such "
                                      "fields; is the first line a header? give -dataheader yes\n", {"snp pos p\n", ""}),
        {"family", {{"t", "id1 id2 ibd\na b 0.5\n"}}, {"-file", "t", "-delim", "space"},
         "\"t\", line 1, field 3: \"ibd\" is no number and counts as 0; is the first line a header? give -header yes\n",
         {"id1 id2 ibd\n", ""}},
        mix("id 1 2 3\nanna 1 0 0\n", "pop n s e\n" + populations, "\"r\", line 1, field 2: \"n\" is no number; there are 3 "
            "such fields; is the first line a header? give -refheader yes\n", {"pop n s e\n", ""}),
        match("id age\na 1\n", "b 1\nc 2\n", "\"c\", line 1, field 2: \"age\" is no number; is the first line a header? "
                                             "give -header1 yes\n", {"id age\n", ""}),
        match("a 1\n", "id age\nb 1\nc 2\n", "\"d\", line 1, field 2: \"age\" is no number; is the first line a header? "
                                             "give -header2 yes\n", {"id age\n", ""}),
        {"gwamafilter", {{"t", "a dir\nb ++-\n"}}, {"-file", "t", "-delim", "space", "-column", "2"},
         "\"t\", line \"a dir\": has no direction text of +, - and ? there; look at -column, -delim and -header\n",
         {"a dir\n", ""}},
        peaks("1 5 0.1\n1 6 0.2\n", "\"t\", line 1 is passed over as a header, but looks like the lines behind it\n",
              {"1 5 0.1\n", "chr pos p\n"}, {"-header", "yes"}),
        prune("a 2 0.1\n", "\"m\", line 1 is passed over as a header, but looks like the lines behind it\n",
              {"0 1 0\n", "p r c\n"}, "0 1 0\n1 1 0\n9 1 1\n"),
        // Numbers of individuals.
        gwas("h 1 2 3\n", "the phenotype line has 3 values, the genotype file 4 individuals\n", {"2 3\n", "2 3 4\n"}),
        gwas("h;1;2;3;4\n", "the phenotype line has 0 values, the genotype file 4 individuals; only one field: is "
                            "-delim right?\n", {";", " "}),
        gwas("anna 1\nben 2\ncarl 3\ndan 4\n", "the phenotype line has 1 values, the genotype file 4 individuals; "
                                               "individuals in rows? the scans want a phenotype a line\n",
             {"anna 1\nben 2\ncarl 3\ndan 4\n", "h 1 2 3 4\n"}),
        gwas("h 1  2 3 4\n", "the phenotype line has 5 values, the genotype file 4 individuals; two delimiters in a row "
                              "hold an empty value\n", {"  ", " "}),
        gwas("h 1 2 3 4\n", "the phenotype line has 4 values, the genotype file 0 individuals; are the fields of the "
                            "genotype file parted by blanks, and is its first line a marker's?\n", {",", " "}, "1,rs1,5,A,G,0,1,2,1\n"),
        {"gwas", {{"p", "h 1 2 3 4 1 2 0\n"}, {"g", "1 rs1 5 A G 0 1 2 1 0 2 1\n"}}, {"-pfile", "g", "-gfile", "p"},
         "the phenotype line has 11 values, the genotype file 3 individuals; are -pfile and -gfile exchanged?\n",
         {"1 rs1 5 A G 0 1 2 1 0 2 1", "h 1 2 5"}},
        gwas("h 1 2 5\n", "the phenotype line has 3 values, the genotype file 9 individuals; triplets where dosages are "
                          "read? gentoAD makes dosages, and gwas2 takes -format triplet\n",
             {"0 0 1 0 1 0 1 0 0", "0 1 2"}, "1 rs1 5 A G 0 0 1 0 1 0 1 0 0\n"),
        scan("gwas3", "h 1 2 3 4\n", dosages, "the phenotype line has 4 values, the genotype file 1 individuals; dosages "
             "where triplets are read?\n", {dosages, "1 rs1 5 A G 1 0 0 1 0 0 0 1 0 0 0 1\n"}),
        scan("gwas3", "h 1 2 \n", triplets, "the phenotype line has 3 values, the genotype file 2 individuals; a delimiter "
             "at the end of the line makes one more\n", {"2 \n", "2\n"}),
        scan("gwas3", "h,1,2\n", triplets, "the phenotype line has 2 values, the genotype file 0 individuals; -delim parts "
             "the fields of the genotype file too\n", {" ", ","}, {"-delim", "comma"}),
        scan("regscan1", "h 1 2 5\n", dosages, "the phenotype line has 3 values, the genotype file 4 individuals\n",
             {"2 5\n", "2 5 4\n"}),
        {"family", {{"t", pairs}}, {"-file", "t"}, "pair number 1 has fewer than three fields; is -delim right?\n", {" ", "\t"}},
        mix("a 1 0 0\n", "N 1 0\nS 0 1\nE 0 0\n", "\"r\": population number 1 has not 3 values; is -delim right?\n",
            {"N 1 0\nS 0 1\nE 0 0\n", populations}),
        match("a;1\n", "b;1\nc;2\n", "\"c\" has no columns of numbers; is -delim right?\n", {";", " "}),
        // Genotypes.
        convert("gentoAD", "1 rs1 5 A G 0 0 0 0 0.4 0.6 0 0 0\n1 rs2 5 A G 0.5 0 0.5 0.4 0.1 0.5 0 0 0\n",
                "\"g\", line 1, field 6: triplets of three zeros, which count as dosage 0 (missing?): 3, of 2 individuals, "
                "in 2 of 2 markers\n", {"0 0 0", "1 0 0"}),
        convert("avgGEN", "1 rs1 5 A G 0 1 0 0 0 0\n", "\"g\", line 1, field 9: triplets of three zeros, which count as 0 "
                "(missing?): 1, of 1 individual, in 1 of 1 markers\n", {"0 0 0", "0 0 1"}),
        convert("gentoletters", "1 rs1 5 A G 0 1 0 0 0 0\n", "\"g\", line 1, field 9: triplets of three zeros, which count "
                "as the second homozygote (missing?): 1, of 1 individual, in 1 of 1 markers\n", {"0 0 0", "0 0 1"}),
        scan("gwas3", "h 1 2\n", "1 rs1 5 A G 0 1 0 0 0 0\n", "\"g\", line 1, field 9: triplets of three zeros, which count "
             "as class 0 (missing?): 1, of 1 individual, in 1 of 1 markers\n", {"0 0 0", "0 0 1"}),
        scan("gwas2", "h 1 2 3\n", "1 rs1 5 A G 0 1 0 0 0 0 1 0 0\n", "\"g\", line 1, field 9: triplets of three zeros, which "
             "count as dosage 0 (missing?): 1, of 1 individual, in 1 of 1 markers\n", {"0 0 0 ", "0 0 1 "},
             {"-format", "triplet"}),
        scan("regscan1", "h 1 2 5\n", "1 rs1 5 A G 0 0 0 1 0 0 0 0 4\n", "\"g\", line 1, field 12: triplets with a sum other "
             "than 1 (dosages? another number of leading columns?): 1, of 1 individual, in 1 of 1 markers\n", {"4", "1"}),
        convert("gentoAD", "1 rs1 5 A G 0 NaN 0 0 1 0\n",
                "\"g\", line 1, field 6: nan (missing?): 1, of 1 individual, in 1 of 1 markers\n", {"NaN", "1"}),
        convert("avgAD", "1 rs1 5 A G 0 -9 2\n", "\"g\", line 1, field 7: negative dosages (missing?): 1, of 1 individual, in "
                "1 of 1 markers\n", {"-9", "1"}),
        convert("ADtogen", "1 rs1 5 A G 0 1 \n", "\"g\", line 1, field 8: empty fields (two blanks in a row, or one at the "
                "end of the line), which count as 0: 1, of 1 individual, in 1 of 1 markers\n", {"1 \n", "1\n"}),
        convert("avgAD", three, "triplets where dosages are read? In all markers looked at, every three values make 1; "
                "gentoAD makes dosages\n", {"1 0 0", "1 1 0"}),
        convert("gentoAD", "1 rs1 5 A G 0 1\n", "\"g\", first marker: 2 fields behind the 5 leading columns, which are not "
                "three for each individual; another number of leading columns?\n", {"0 1\n", "0 1 0\n"}),
        convert("avgAD", "1\trs1\t5\tA\tG\t0\n", "\"g\", first marker: no fields behind the 5 leading columns; fields are "
                "parted by single blanks, here by tabs?\n", {"\t", " "}),
        convert("avgAD", dosages + "1 rs3 7 A G 1\n", "marker number 3: has not as many fields as the first marker\n",
                {"7 A G 1", "7 A G 1 1 1 1"}),
        scan("gwas3", "h 1 2\n", "1 rs1 5 A G 0 1 0 1 0 0\n1 rs2 5 A G 0 1 0 0 0 1.25\n",
             "marker rs2, individual 2: the dosage of 0 0 1.25 is no genotype\n", {"1.25", "1"}),
        // Order and names.
        peaks("1 5 0.1\n1 4 0.2\n2 5 0.1\n2 4 0.1\n", "chromosome 1: positions fall; sort the table; 2 such in all\n",
              {" 4 ", " 6 "}),
        peaks("1 5 0.1\n2 4 0.2\n1 6 0.1\n1 7 0.1\n", "chromosome 1: comes back after another one, and counts as two; "
                                                     "sort the table\n", {"2 4 0.2\n", ""}),
        prune("a 5 0.1\nb 3 0.2\nc 4 0.2\nd 1 0.2\n", "positions fall 2 times, first in line 2; sort the table, and give "
                                                     "one chromosome at a time\n", {"b 3 0.2\nc 4 0.2\nd 1 0.2\n", ""}),
        gwas("h 1 2 3 4\nv 4 3 2 1\n", "marker \".\": has a name that was there before, and results tell markers by their "
             "names only; name them by position and alleles\n", {". 6", "rs2 6"},
             "1 . 5 A G 0 1 2 1\n" + manyMarkers() + "1 . 6 A G 2 0 1 1\n"),
        gwas("h 1 2 3 4\nh 4 3 2 1\n", "phenotype \"h\": has a name that was there before, and results tell phenotypes by "
                                       "their names only\n", {"h 4", "v 4"}),
        mix("a 1 0 0\n", "N 1 0 0\nN 0 1 0\nE 0 0 1\n", "population \"N\": is among the populations again\n", {"N 0", "S 0"}),
        mix("a 1 0 0\na 0 1 0\n", populations, "sample \"a\": is among the samples again\n", {"a 0", "b 0"}),
        relout("individual \"ann\": is in the weight table again, and has its first weight both times\n",
               joined(limited, {"-pfile", "w", "-mode", "2"}), {"ann 2", "ben 2"}, "ann 1\nann 2\n"),
        // Bins.
        gwas("h 0 1 0 1\n", "phenotype \"h\": has fewer than three different values, which make no bins; regscan1 "
                            "takes such a trait\n", {"h 0", "h 5"}),
        scan("gwas", "h 1 2 3 100\n", dosages, "phenotype \"h\": a bin holds nobody, and takes part in the fit with a mean "
             "of 0; see the group columns\n", {"quick", "exact"}, {"-method", "quick"}),
        scan("gwas2", "h 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 50 100\n",
             "1 rs1 5 A G 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n", "phenotype \"h\": a bin holds nearly all "
             "individuals; see the group columns\n", {"h 1 1", "h 40 1"}, {"-method", "quick"}),
        scan("gwas", "h 1 2 3 4 5 6\n", "1 rs1 5 A G 0 0 0 1 1 2\n", "with 6 bins R2 decides, whatever -statistic says, and "
             "-statlimit is a least R2; 3, 4 and 5 bins have p and t\n", {"-autobins", ""}, {"-autobins", "6"}),
        // Options that change nothing, or too much.
        {"gwas", {{"p", "h 1 2 3 4\n"}, {"g", dosages}, {"b", "0 0.3\n0.3 0.6\n0.6 1\n"}},
         {"-pfile", "p", "-gfile", "g", "-autobins", "3", "-binfile", "b"},
         "\"-binfile\" changes nothing: \"-autobins\" goes before it\n", {"-autobins", ""}},
        scan("gwas", "h 1 2 3 4\n", dosages, "\"-manualbins\" changes nothing: \"-autobins\" and \"-binfile\" go before it\n",
             {"-manualbins", ""}, {"-autobins", "3", "-manualbins", "0:1"}),
        scan("gwas", "h 1 2 3 4\n", dosages, "\"-bintype absolute\" is not usable: it ends every run; give fractions with "
             "\"-method quick\"\n", {"absolute", "relative"}, {"-bintype", "absolute"}),
        scan("gwas", "h 1 2 3 4\n", dosages, "\"-statlimit\" is not given: hits are all from an R2 or t of 0.05 on\n",
             {"r2", "p"}, {"-statistic", "r2"}),
        scan("regscan1", "h 1 2 3 4\n", dosages, "\"-autobins\" changes nothing without \"-type bins\"\n", {"rank", "bins"},
             {"-autobins", "3", "-type", "rank"}),
        convert("gentoAD", triplets, "\"-rs-loc\" changes nothing without \"-statistics yes\"\n", {"no", "yes"},
                {"-rs-loc", "2", "-statistics", "no"}),
        peaks("1 5 0.1\n", "the limits of mode \"peakscan3\" are fixed: means of P from 5 on, scores above 0.0001, gaps "
                           "up to 19998\n", {"-gap", ""}, {"-gap", "5"}),
        peaks("1 5 0.1\n", "option \"-clip\" is checked only: it changes nothing in mode \"peakscan3\"\n", {"-clip", ""},
              {"-clip", "no"}),
        relout("without \"-limit\" only pairs with a value of 1 and more count\n", {"-pidsize", "0.2"}, {"-pidsize", "-limit"}),
        relout("\"-pdefault\" changes nothing without \"-pfile\"\n", joined(limited, {"-pdefault", "mean"}),
               {"-pdefault", ""}),
        relout("\"-pdefault\" changes nothing but messages without \"-mode 2\"\n"
               "without \"-mode 2\" the weights of \"-pfile\" decide nothing; the order of its lines decides ties\n",
               joined(limited, {"-pfile", "w", "-pdefault", "mean", "-mode", "1"}), {"1", "2"}),
        relout("\"-mode 2\" decides nothing without \"-pfile\": all weights are 1\n", joined(limited, {"-mode", "2"}),
               {"-mode", ""}),
        match("a 1\nb 4\n", "c 1\nd 2\n", "\"-exact-order\" changes nothing: there is no exact stage, or it takes all "
              "together\n", {"9", "1"}, {"-exact-order", "file", "-exact-individuals", "9"}),
        // Files.
        convert("avgAD", dosages, "\"nosuch\" cannot be opened: No such file or directory\n", {"nosuch", "g"},
                {"-file", "nosuch"}),
        convert("avgAD", dosages, "\"no/such\" cannot be opened: there is no folder \"no\"\n", {"no/such", "o"},
                {"-out", "no/such"}),
        convert("avgAD", "", "\"g\" is empty\n", {}),
        convert("gentoAD", triplets, "wrote the output of gentoAD to \"-bg\": was a value missing before it? rm ./-bg\n",
                {"-bg", "o"}, {"-out", "-bg"}),
    };
}

static std::string changed(std::string text, const Change &change)
{
    for (size_t at = 0; !change.first.empty() && (at = text.find(change.first, at)) != text.npos; at += change.second.size())
        text.replace(at, change.first.size(), change.second);
    return text;
}

static Words changedOptions(const Words &options, const Change &change)
{
    Words words;
    for (size_t i = 0; i < options.size(); ++i) {
        if (options[i] == change.first && change.second.empty())
            ++i;
        else
            words.push_back(changed(options[i], change));
    }
    return words;
}

// With MORVEL_HINTS as told; `files` are those that are there in the end.
static Result runCase(const Case &row, const Change &change, const char *hints, std::map<std::string, std::string> &files)
{
    const Folder folder;
    for (const auto &[name, bytes] : row.files)
        folder.write(name, changed(bytes, change));
    const Result result = folder.run(joined({"-M", row.mode}, changedOptions(row.options, change)), hints);
    files = folder.files();
    return result;
}

TEST(DataHints, AppearWhereTheyShouldAndChangeNothingElseAndARightRunIsSilent)
{
    for (const Case &row : cases()) {
        std::map<std::string, std::string> files[3];
        const Result quiet = runCase(row, {}, "MORVEL_HINTS=0", files[0]);
        const Result hinting = runCase(row, {}, "MORVEL_HINTS=1", files[1]);
        const Result right = runCase(row, row.change, "MORVEL_HINTS=1", files[2]);
        const std::string title = std::string(row.mode) + ": " + row.hints;
        EXPECT_EQ(hinting.status, quiet.status) << title;
        EXPECT_EQ(hinting.messages, quiet.messages) << title;
        EXPECT_EQ(files[1], files[0]) << title;
        EXPECT_EQ(quiet.errors, "") << title;
        std::string expected(row.hints);
        EXPECT_EQ(hinting.errors.empty(), expected.empty()) << title << hinting.errors;
        for (size_t end; (end = expected.find('\n')) != expected.npos; expected.erase(0, end + 1)) {
            const std::string line = "morvel: hint: " + expected.substr(0, end + 1);
            EXPECT_NE(("\n" + hinting.errors).find("\n" + line), std::string::npos) << line << hinting.errors;
        }
        EXPECT_TRUE(row.change.first.empty() || (right.status == 0 && right.errors.empty()))
            << title << right.status << right.errors << right.messages;
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
                                "fields\n");
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
