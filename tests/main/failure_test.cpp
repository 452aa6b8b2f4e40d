// What happens when something fails that is not a mode's data, as far as the fault suite leaves it open.
#include "support/program.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>

static const char genotypes[] = "1 rs1 1 A G 0 0 1 0 1 0 1 0 0 1 0 0\n";

TEST(Failure, ALimitOnFileSizesEndsTheRunInTheMiddleOfAnOutput)
{
    const Folder folder;
    std::string lines;
    for (int i = 0; i < 20000; ++i)
        lines += genotypes;
    folder.write("in", lines);
    const Result run = folder.run({"-M", "gentoAD", "-file", "in"}, "ulimit -f 100;");
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.messages.ends_with("\nCannot write 'in.out'\n")) << run.messages;
}

TEST(Failure, AClosedStandardOutputIsToldOnStandardError)
{
    const Folder folder;
    folder.write("in", genotypes);
    const Result run = folder.run({"-M", "gentoAD", "-file", "in"}, "", ">&-");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "Cannot write 'standard output'\n");
}

TEST(Failure, ASecondOneAddsNoLine)
{
    const Folder folder;
    folder.write("in", genotypes);
    for (const char *name : {"out", "out.stats"})
        std::filesystem::create_symlink("/dev/full", folder.path(name));
    const Result run = folder.run({"-M", "gentoAD", "-file", "in", "-out", "out", "-statistics", "yes"});
    EXPECT_EQ(run.status, 1);
    const size_t first = run.messages.find("Cannot write 'out");
    EXPECT_NE(first, std::string::npos) << run.messages;
    EXPECT_EQ(run.messages.find("Cannot write", first + 1), std::string::npos) << run.messages;
}

// The names of files that end the run by an abort are shown behind all rows.
TEST(Failure, AnAbortKeepsTheRows)
{
    const Folder folder;
    folder.write("pheno", "a 1 2 3\n");
    folder.write("geno", "1 m 5 A G 0 1 2\n");
    for (const size_t size : {93, 94}) {  // 99 and 100 bytes with .stats
        const std::string name(size, 'o');
        const Result run = folder.run({"-M", "gwas", "-pfile", "pheno", "-gfile", "geno", "-out", name});
        EXPECT_EQ(run.status, size == 93 ? 0 : -SIGABRT);
        EXPECT_EQ(std::ranges::count(folder.read(name + ".stats"), '\n'), 2);
    }
}

TEST(Foreign, FilesAreRefusedByTheirFirstBytesBeforeAnyOutputIsTouched)
{
    using namespace std::string_literals;
    const struct {
        std::string bytes;
        const char *kind;  // null: a table
    } cases[] = {
        {"##fileformat=VCFv4.3\n#CHROM\tPOS\n", "a VCF file"},
        {"BCF\x02\x02\x10\0\0\0"s, "a BCF file"},
        {"\x14\0\0\0\x14\0\0\0\x50\0\0\0\x78\0\0\0bgen\x05\0\0\x40"s, "a BGEN file"},
        {"\x6c\x1b\x01\xdc"s, "a PLINK .bed file"},
        {"\xff\xfe" "1\0 \0"s, "UTF-16 text"},
        {"\xfe\xff\0" "1\0 "s, "UTF-16 text"},
        {"PK\x03\x04\x14\0"s, "a zip archive, as spreadsheets (.xlsx) are"},
        {"\x6c\x1b\x10\x00"s, "a PLINK .pgen file"},
        {"\xd0\xcf\x11\xe0\xa1\xb1", "a spreadsheet (.xls)"},
        {"\xfd" "7zXZ\0"s, "an xz file"},
        {"BZh91AY&SY\x01", "a bzip2 file"},
        {"BZh9 1 2 A G 0 1 0\n", nullptr},
        {"PK 1 2 A G 0 1 0\n", nullptr},
        {"BCF 1 2 A G 0 1 0\n", nullptr},
        {"##fileformat 1 2 A G 0 1 0\n", nullptr},
        {"1 rs1 12345 A G bgen 0 0 1\n", nullptr},
        {"", nullptr},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("in", row.bytes);
        folder.write("in.out", "kept");
        folder.write("in.out.stats", "kept");
        const Result run = folder.run({"-M", "gentoAD", "-file", "in"});
        EXPECT_EQ(run.status, row.kind ? 1 : 0) << row.bytes;
        EXPECT_EQ(folder.read("in.out") == "kept", row.kind != nullptr) << row.bytes;
        if (!row.kind)
            continue;
        const std::string line = "'in' is " + std::string(row.kind)
                                 + ", not a text table: see \"Files of other kinds\" in the guide\n";
        EXPECT_TRUE(run.messages.ends_with("()\n" + line)) << run.messages;
        EXPECT_EQ(folder.read("in.out.stats"), "kept") << row.bytes;
        folder.write("in.gz", "");
        EXPECT_EQ(folder.run({"-M", "avgAD", "-file", "in.gz", "-out", "new"}, "gzip -c in > in.gz;").status, 1);
        EXPECT_EQ(folder.read("new"), "(no file)") << row.bytes;
        // A pipe is known when it is read, which is after the outputs are opened.
        const Result piped = folder.run({"-M", "avgAD", "-file", "/dev/stdin", "-out", "out"}, "cat in |");
        EXPECT_EQ(piped.status, 1) << row.bytes;
        EXPECT_NE(piped.messages.find("'/dev/stdin' is " + std::string(row.kind)), std::string::npos) << row.bytes;
    }
}

TEST(Foreign, BytesInTheMiddleOfAFileMeanNothing)
{
    const Folder folder;
    std::string bytes = "1 rs1 1 A G 0 1 \n";
    for (int i = 0; i < 1000000; ++i)
        bytes += "\xff\xfe";
    folder.write("in", bytes);
    const auto average = [&](const std::string &shell) {
        return folder.run({"-M", "avgAD", "-file", "/dev/stdin", "-out", "out"}, shell + " |").status;
    };
    EXPECT_EQ(average("cat in"), 0);
    EXPECT_EQ(average("gzip -1c in"), 0);
}

TEST(Foreign, FilesAreRefusedAsEveryInputOfEveryMode)
{
    for (const Mode *mode : allModes()) {
        for (const Option *input : mode->options) {
            const bool isIgnored = mode->names[0] == std::string("regscan1") && input->name == std::string("-binfile");
            if (!mode->run || input->kind != Value::InputFile || isIgnored)
                continue;
            const Folder folder;
            folder.write("table", "a 1 1\n");
            folder.write("vcf", "##fileformat=VCFv4.2\n");
            const auto before = folder.files();
            std::vector<std::string> options = {input->name, "vcf"};
            for (const Option *option : mode->options) {
                const bool isFile = option->kind == Value::InputFile, isNumber = option->kind == Value::Integer;
                if (option != input && (isFile || isNumber) && option->taking.use == Use::Required)
                    options.insert(options.end(), {option->name, isFile ? "table" : "3"});
            }
            const Result run = folder.runMode(mode->name(), options);
            EXPECT_EQ(run.status, 1) << mode->name() << input->name;
            EXPECT_NE(run.messages.find("'vcf' is a VCF file"), std::string::npos) << mode->name() << input->name;
            EXPECT_EQ(folder.files(), before) << mode->name() << input->name;
        }
    }
}
