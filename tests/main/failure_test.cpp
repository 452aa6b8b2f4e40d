// What every mode does when something fails that is not its data.
#include "support/program.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

static const char genotypes[] = "1 rs1 1 A G 0 0 1 0 1 0 1 0 0 1 0 0\n";
static const char dosages[] = "1 rs1 1 A G 2 1 0 0\n";
static const char phenotypes[] = "trait 4 3 2 1\n";

static const std::vector<std::string> conversion
    = {"-M", "gentoAD", "-file", "in.gen", "-out", "out", "-statistics", "yes"};
static const std::vector<std::string> scan = {"-M", "gwas", "-pfile", "in.pheno", "-gfile", "in.ad", "-out", "out"};

static const std::vector<std::string> fastScan = {"-M", "gwas3", "-pfile", "in.pheno", "-gfile", "in.gen", "-out", "out"};
static const std::vector<std::string> reversal = {"-M", "ADtogen", "-file", "in.ad", "-out", "out"};

static void writeInputs(const Folder &folder)
{
    folder.write("in.gen", genotypes);
    folder.write("in.ad", dosages);
    folder.write("in.pheno", phenotypes);
}

TEST(Failure, AFullDiskEndsTheRunWithOneLine)
{
    for (const auto &arguments : {conversion, scan, fastScan, reversal}) {
        for (const std::string name : {"out", "out.stats"}) {
            const Folder folder;
            writeInputs(folder);
            fs::create_symlink("/dev/full", folder.path(name));
            const Result run = folder.run(arguments);
            EXPECT_EQ(run.status, 1) << name;
            EXPECT_TRUE(run.messages.ends_with("\nCannot write '" + name + "'\n")) << run.messages;
            EXPECT_EQ(run.messages.find("Cannot"), run.messages.rfind("Cannot")) << run.messages;
        }
    }
    // A limit on file sizes fails in the middle of a large output.
    const Folder folder;
    std::string lines;
    for (int i = 0; i < 20000; ++i)
        lines += genotypes;
    folder.write("in.gen", lines);
    const Result run = folder.run({"-M", "gentoAD", "-file", "in.gen"}, "ulimit -f 100;");
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.messages.ends_with("\nCannot write 'in.gen.out'\n")) << run.messages;
    EXPECT_EQ(folder.read("in.gen.out.stats"), "(no file)");  // none was asked for
}

TEST(Failure, OfStandardOutputIsToldOnStandardError)
{
    for (const char *redirection : {">/dev/full", ">&-"}) {
        const Folder folder;
        writeInputs(folder);
        const Result run = folder.run(conversion, "", redirection);
        EXPECT_EQ(run.status, 1) << redirection;
        EXPECT_EQ(run.errors, "Cannot write 'standard output'\n") << redirection;
    }
}

TEST(Failure, OutputsThatAreInputsAreRefused)
{
    const std::string isInput = "' is also an input\n", isOutput = "' is also another output\n";
    const struct {
        std::vector<std::string> arguments;
        const char *linkTarget, *link;  // made before the run
        std::string message;
    } cases[] = {
        {{"-M", "gentoAD", "-file", "in.gen", "-out", "in.gen"}, "x", "y", "in.gen" + isInput},
        {{"-M", "gentoAD", "-file", "in.gen", "-out", "soft"}, "in.gen", "soft", "soft" + isInput},
        {{"-M", "gentoAD", "-file", "in.gen"}, "in.gen", "in.gen.out.stats", "in.gen.out.stats" + isInput},
        {{"-M", "gentoAD", "-file", "new", "-out", "./new"}, "x", "y", "./new" + isInput},
        {{"-M", "gentoAD", "-file", "in.gen", "-out", "out"}, "out", "out.stats", "out.stats" + isOutput},
        {{"-M", "gwas", "-pfile", "in.pheno", "-gfile", "in.ad", "-out", "in.ad"}, "x", "y", "in.ad" + isInput},
        {{"-M", "gwas", "-pfile", "in.pheno", "-gfile", "in.ad", "-out", "out"}, "in.pheno", "out.stats",
         "out.stats" + isInput},
        {{"-M", "gwas", "-pfile", "in.pheno", "-gfile", "in.ad", "-binfile", "bins", "-out", "bins"}, "x", "y",
         "bins" + isInput},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeInputs(folder);
        fs::create_symlink(row.linkTarget, folder.path(row.link));
        const auto before = folder.files();
        const Result run = folder.run(row.arguments);
        EXPECT_EQ(run.status, 1) << row.message;
        EXPECT_TRUE(run.messages.ends_with("Output file '" + row.message)) << run.messages;
        EXPECT_EQ(folder.files(), before) << row.message;
    }
    // Devices may be named twice.
    const Folder folder;
    writeInputs(folder);
    EXPECT_EQ(folder.run({"-M", "gentoAD", "-file", "/dev/null", "-out", "/dev/null"}).status, 0);
}

TEST(Failure, FilesThatCannotBeOpenedEndTheRun)
{
    const std::string running = "running genToAd()\n";
    const struct {
        const char *folder;  // stands in place of this file
        std::vector<std::string> arguments;
        std::string messages;
    } cases[] = {
        {"in.gen", conversion, running + "Input file not found\n"},
        {"out", conversion, running + "Output file not opened\n"},
        {"out.stats", conversion, running + "Summary file not opened\n"},
        {"other", {"-M", "gentoAD", "-file", "missing"}, running + "Input file not found\n"},
        {"other", {"-M", "gentoAD", "-file", "in.gen", "-out", ""}, running + "Output file not opened\n"},
        {"in.pheno", scan, "\nrunning gwas() ...\n\n"},
        {"in.ad", scan, "\nrunning gwas() ...\n\n"},
        {"out", scan, "\nrunning gwas() ...\n\n"},
        {"out.stats", scan, "\nrunning gwas() ...\n\n"},
        {"in.pheno", fastScan, ""},
        {"in.gen", fastScan, "Phenotype file contains 5 columns and 1 rows\n"},
        {"out.stats", fastScan, "Phenotype file contains 5 columns and 1 rows\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeInputs(folder);
        fs::remove(folder.path(row.folder));
        fs::create_directory(folder.path(row.folder));
        const Result run = folder.run(row.arguments);
        EXPECT_EQ(run.status, 1) << row.folder;
        EXPECT_TRUE(run.messages.ends_with(row.messages)) << row.folder << ": " << run.messages;
    }
}

TEST(Failure, NamesAreBytes)
{
    const Folder folder;
    const std::string name = "a b\n\xc3\xa4\xff'";
    folder.write(name, genotypes);
    EXPECT_EQ(folder.run({"-M", "gentoAD", "-file", name}).status, 0);
    EXPECT_EQ(folder.read(name + ".out"), dosages);
}

TEST(Failure, LocalesChangeNothing)
{
    for (const char *locale : {"LC_ALL=C", "LC_ALL=POSIX", "LC_ALL=de_DE.UTF-8", "LC_ALL=nowhere LANG=x"}) {
        const Folder folder;
        folder.write("in.gen", "1 rs1 1 A G 0 0.5 0.25 0 1e-1 0.12345678\n");
        const Result run = folder.run({"-M", "gentoAD", "-file", "in.gen"}, locale);
        EXPECT_EQ(run.errors, "") << locale;
        EXPECT_EQ(folder.read("in.gen.out"), "1 rs1 1 A G 1 0.346914\n") << locale;
    }
}
