// The recipes, with the real tools, on the example data in other formats. MORVEL_RECIPES=1 tells that the tools are
// there, as scripts/test-more.sh sees to.
#include "support/guide.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

using Words = std::vector<std::string>;

static std::vector<Words> readWords(const std::string &text)
{
    std::vector<Words> rows;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        rows.emplace_back();
        for (std::string word; words >> word;)
            rows.back().push_back(word);
    }
    return rows;
}

// Of the individual at this place; another order than that of its number.
static std::string nameOf(size_t place)
{
    return "p" + std::to_string(1001 + place * 37 % 120).substr(1);
}

static std::string example(const std::string &name)
{
    return contentOf(MORVEL_SOURCE_FOLDER "/examples/" + name);
}

// The genotypes of all markers by position, and between the first two one with a missing value and one with three
// alleles, both of which have no place in any result.
static std::string makeVcf(std::vector<Words> markers)
{
    std::sort(markers.begin(), markers.end(),
              [](const Words &a, const Words &b) { return std::stoi(a[2]) < std::stoi(b[2]); });
    std::string text = "##fileformat=VCFv4.2\n##contig=<ID=1,length=250000000>\n"
                       "##FORMAT=<ID=GT,Number=1,Type=String,Description=\"Genotype\">\n"
                       "##FORMAT=<ID=DS,Number=1,Type=Float,Description=\"Dosage\">\n"
                       "##FORMAT=<ID=GP,Number=G,Type=Float,Description=\"Probabilities\">\n"
                       "#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT";
    for (size_t i = 0; i < 120; ++i)
        text += "\t" + nameOf(i);
    for (const Words &marker : markers) {
        std::string cells, last;
        for (size_t i = 5; i < marker.size(); i += 3) {
            const double het = std::stod(marker[i + 1]), hom = std::stod(marker[i + 2]), ref = std::stod(marker[i]);
            std::ostringstream cell;
            cell << '\t' << (ref > het && ref > hom ? "0/0" : hom > het ? "1|1" : i % 2 ? "0/1" : "1|0") << ':'
                 << het + 2 * hom << ':' << marker[i] << ',' << marker[i + 1] << ',' << marker[i + 2];
            cells += last;
            last = cell.str();
        }
        const std::string start = "\n1\t" + marker[2] + "\t";
        text += start + marker[1] + "\t" + marker[3] + "\t" + marker[4] + "\t.\t.\t.\tGT:DS:GP" + cells + last;
        if (marker[1] == "rs1001") {
            text += start + "gap\tA\tG\t.\t.\t.\tGT:DS:GP" + cells + "\t./.:.:.";
            text += start + "three\tA\tC,T\t.\t.\t.\tGT";
            for (size_t i = 0; i < 120; ++i)
                text += "\t1/2";
        }
    }
    return text + "\n";
}

// A row an individual, by their names, and one who has no genotypes.
static std::string makeTraits()
{
    const auto phenotypes = readWords(example("example.pheno"));
    std::map<std::string, std::string> rows;
    for (size_t i = 0; i < 120; ++i)
        rows[nameOf(i)] = phenotypes[0][i + 1] + "," + phenotypes[1][i + 1];
    rows["q1"] = "170,1";
    std::string text = "ID,height,noise\n";
    for (const auto &[name, values] : rows)
        text += name + "," + values + "\n";
    return text;
}

TEST(Recipes, ShowWhatTheirCommandsShowAndKeepEveryValueWithItsIndividual)
{
    if (!std::getenv("MORVEL_RECIPES"))
        GTEST_SKIP() << "needs bcftools, plink2, plink1.9 and tabix";
    const Folder folder;
    const auto markers = readWords(example("example.gen") + example("region.gen"));
    folder.write("study.vcf", makeVcf(markers));
    folder.write("traits.csv", makeTraits());
    folder.write("prepare",
                 "cd " + folder.path("") + " && bgzip study.vcf && tabix study.vcf.gz"
                 " && bcftools view -M 2 study.vcf.gz -Oz -o two.vcf.gz"
                 " && plink2 --vcf two.vcf.gz dosage=DS --make-pgen --export bgen-1.2 bits=16 ref-first --out imputed"
                 " && plink1.9 --vcf two.vcf.gz --keep-allele-order --make-bed --out chip");
    ASSERT_EQ(std::system(("bash " + folder.path("prepare") + " >" + folder.path("log") + " 2>&1").c_str()), 0)
        << folder.read("log");
    followPage("docs/recipes.md", folder);
    ASSERT_FALSE(HasFatalFailure());

    // Against the triplets themselves: dosages, and for "GT" and chips the likeliest genotype.
    std::map<std::string, Words> byName;
    for (const Words &marker : markers)
        byName[marker[1]] = marker;
    for (const std::string file : {"ds.ad", "gp.ad", "gt.ad", "bgen.ad", "pgen.ad", "bed.ad"}) {
        const auto rows = readWords(folder.read(file));
        const bool isCall = file == "gt.ad" || file == "bed.ad", isRounded = file == "bgen.ad" || file == "pgen.ad";
        EXPECT_EQ(rows.size(), 104u) << file;
        for (const Words &row : rows) {
            const Words &marker = byName[row[1]];
            ASSERT_EQ(row.size(), 125u) << file;
            ASSERT_EQ(marker.size(), 365u) << file << " " << row[1];
            ASSERT_EQ(Words(row.begin(), row.begin() + 5), Words(marker.begin(), marker.begin() + 5)) << file;
            for (size_t i = 0; i < 120; ++i) {
                const double ref = std::stod(marker[5 + 3 * i]), het = std::stod(marker[6 + 3 * i]);
                const double hom = std::stod(marker[7 + 3 * i]);
                const double dosage = !isCall ? het + 2 * hom : ref > het && ref > hom ? 0 : hom > het ? 2 : 1;
                ASSERT_NEAR(std::stod(row[5 + i]), dosage, isRounded ? 1e-4 : 1e-9) << file << " " << row[1];
            }
        }
    }
    // The example's phenotypes were in the order of its genotypes.
    EXPECT_EQ(folder.read("study.pheno"), example("example.pheno"));
    // The clumps have all hits of the trait, each once; the first of a clump has its least p-value.
    std::map<std::string, double> left;
    for (const Words &hit : readWords(folder.read("height.hits")))
        if (hit[0] == "height")
            left[hit[1]] = std::stod(hit[5]);
    for (const Words &clump : readWords(folder.read("clumps.clumped"))) {
        if (clump.empty() || clump[0] == "CHR")
            continue;
        const double least = left.at(clump[2]);
        EXPECT_EQ(left.erase(clump[2]), 1u);
        std::istringstream members(clump[11] == "NONE" ? "" : clump[11]);
        for (std::string member; std::getline(members, member, ',');) {
            member.resize(member.find('('));
            EXPECT_LE(least, left.at(member)) << member;
            left.erase(member);
        }
    }
    EXPECT_TRUE(left.empty());
}
