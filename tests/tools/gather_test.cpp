// The companion morvel-gather, run as a program.
#include "scans/traitsummary.h"
#include "support/program.h"
#include "support/random.h"
#include "text/writer.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <sstream>

namespace fs = std::filesystem;
using Words = std::vector<std::string>;
using std::to_string;

static Words wordsOf(const std::string &text)
{
    Words words;
    std::istringstream in(text);
    for (std::string word; in >> word;)
        words.push_back(word == "(tab)" ? "\t" : word);
    return words;
}

static Result gather(const Folder &folder, const Words &words, const std::string &shell = "")
{
    return folder.runOther(MORVEL_PAGES_FOLDER "/morvel-gather", words, shell);
}

// Part `part` of a run of the program with these options.
static Result runPart(const Folder &folder, size_t part, size_t count, const std::string &options,
                      const std::string &inputs = "", const std::string &shell = "")
{
    Words words = wordsOf("run -part " + to_string(part) + " -of " + to_string(count) + " " + inputs + " --");
    words.push_back(std::getenv("MORVEL_PROGRAM"));
    for (const std::string &word : wordsOf(options + " -out part." + to_string(part)))
        words.push_back(word);
    return gather(folder, words, shell);
}

static Result join(const Folder &folder, const std::string &shell = "")
{
    return gather(folder, {"join", "-parts", "part.%", "-out", "joined"}, shell);
}

static std::string repeated(size_t count, const std::function<std::string(size_t)> &line)
{
    std::string text;
    for (size_t i = 0; i < count; ++i)
        text += line(i);
    return text;
}

static constexpr size_t people = 9, smallCount = 12;

// Among them empty lines, other line ends, lines that repeat the data of another one, and a last line without an end.
static std::string markers(uint64_t seed, size_t count, const std::vector<std::string> &kinds)
{
    RandomText random(seed);
    std::string same;
    return "\n" + repeated(count, [&](size_t i) {
        std::string data;
        for (size_t k = 0; k < people; ++k)
            data += " " + kinds[random.below(kinds.size())];
        if (i % 4 == 1)
            same = data;
        return "1 rs" + to_string(i) + " " + to_string(100 * i) + " A " + std::string(1 + i % 3 * 5, 'G')
            + (i % 4 == 3 ? same : data) + (i + 1 == count ? "" : i % 5 == 2 ? "\r\n" : i % 5 == 3 ? "\n\n" : "\n");
    });
}

static std::string phenotypes(uint64_t seed, bool areCases)
{
    RandomText random(seed);
    return repeated(smallCount, [&](size_t i) {
        std::string line = "ph\t" + to_string(i);
        for (size_t k = 0; k < people; ++k) {
            const std::string number = areCases ? to_string(1 + random.below(2)) : to_string(random.below(50));
            line += i == 5 || random.oneIn(8) ? " NA" : " " + number;
        }
        return line + "\n";
    });
}

// With a chromosome in many lines, one in one, and one in one at the end.
static std::string results(uint64_t seed)
{
    RandomText random(seed);
    return "chr pos p\n" + repeated(90, [&](size_t i) {
        const std::string label = i < 40 ? "1" : i == 40 ? "2" : i < 89 ? "X" : "Y";
        return label + " " + to_string(1000 * (i + 1)) + " "
            + (random.oneIn(9) && i < 89 ? "NA" : "1e-" + to_string(random.below(12)))
            + (i % 7 == 3 ? "\n\n" : "\n");
    });
}

static std::string samples(uint64_t seed, size_t count)
{
    RandomText random(seed);
    return "name\ta\tb\tc\n" + repeated(count, [&](size_t i) {
        std::string line = "sample " + to_string(i);
        for (size_t k = 0; k < 3; ++k)
            line += "\t0." + to_string(random.below(1000));
        return line + "\n";
    });
}

static void writeInputs(const Folder &folder, uint64_t seed)
{
    const std::vector<std::string> triplets = {"1 0 0", "0 1 0", "0 0 1", "0.1 0.8 0.1"};
    folder.write("gen", markers(seed, smallCount, triplets));
    folder.write("gaps", markers(seed, smallCount, {"0", "1", "2", "0.37", "1.5", "NA"}));
    folder.write("dose", markers(seed, smallCount, {"0", "1", "2", "0.37", "1.5", "-0.2", "2.6"}));
    folder.write("pheno", phenotypes(seed, false));
    folder.write("cases", phenotypes(seed, true));
    folder.write("results", results(seed));
    folder.write("samples", samples(seed, 100));
    folder.write("ref", samples(seed + 1, 3));
}

static const char *const splitRuns[] = {
    "-M gwas -pfile pheno -gfile dose -statlimit 1 -slope 0",
    "-M GWAS -pfile pheno -gfile dose -autobins 4 -statistic r2 -statlimit 0.3",
    "-M gwas2 -pfile pheno -gfile gen -format triplet -statlimit 1 -slope 0",
    "-M gwas3 -pfile pheno -gfile gen -statlimit 1",
    "-M regscan1 -pfile pheno -gfile gaps -statlimit 1",
    "-M regscan1 -pfile pheno -gfile gen -statlimit 0.2 -type bins",
    "-M regscan1 -pfile cases -gfile gaps -statlimit 0.5 -type logistic",
    "-M gentoAD -file gen -statistics yes -rs-loc 2",
    "-M gentoAD -file gen -to-hard-call yes",
    "-M ADtogen -file dose",
    "-M avgAD -file dose",
    "-M avgAD -file dose -show only-values -beg 2",
    "-M avgGEN -file gen -end 3",
    "-M gentoletters -file gen -flip yes",
    "-M peakscan3 -file results -delim space -chrcolumn 1 -lcolumn 2 -pcolumn 3 -header yes",
    "-M mixfit -file samples -ref ref -refpops 3 -header yes -refheader yes -combinatorics yes",
    "-m mf -file samples -ref ref -refpops 3 -header yes -refheader yes -plimit 0.2",
};

// The results of one run, and those of its parts when joined; without console lines.
static void expectJoinedAsWhole(const Folder &folder, const std::string &options, size_t count,
                                const std::string &inputs = "", const std::string &wholeOptions = "")
{
    const std::string &all = wholeOptions.empty() ? options : wholeOptions;
    ASSERT_EQ(folder.run(wordsOf(all + " -out whole")).status, 0) << options;
    for (size_t part = 1; part <= count; ++part)
        ASSERT_EQ(runPart(folder, part, count, options, inputs).errors, "") << options << ", part " << part;
    ASSERT_EQ(join(folder).errors, "") << options << ", parts: " << count;
    size_t outputs = 0;
    for (const char *side : {"", ".stats", ".removed", ".ranges"}) {
        EXPECT_EQ(folder.read(std::string("joined") + side), folder.read(std::string("whole") + side))
            << options << ", parts: " << count;
        outputs += folder.read(std::string("whole") + side) != "(no file)";
    }
    size_t left = 0;
    for (const auto &[name, bytes] : folder.files())
        left += name.starts_with("joined") || name.starts_with(".");
    EXPECT_EQ(left, outputs) << options;
}

TEST(Gather, JoinsPartsToTheBytesOfOneRun)
{
    uint64_t seed = 1;
    for (const std::string options : splitRuns) {
        for (const size_t count : {3, 14}) {
            const Folder folder;
            writeInputs(folder, ++seed);
            expectJoinedAsWhole(folder, options, count);
        }
    }
}

static void pack(const Folder &folder, const std::string &name, const std::string &bytes)
{
    text::Writer out;
    out.open(folder.path(name));
    out.put(bytes);
}

// Blocks that lines go across, and lines that go across blocks.
TEST(Gather, SplitsCompressedBlocksAndFilesBehindEachOther)
{
    const Folder folder;
    const std::string first = markers(1, 3000, {"0.123", "1.75", "2"});
    const std::string wide = "1 rs1 1 A G" + repeated(90000, [](size_t i) { return i % 3 ? " 0.5" : " 1.25"; });
    const std::string second = wide + "\n" + markers(2, 1000, {"0", "1"}), third = "\n\n";
    pack(folder, "first.gz", first);
    pack(folder, "second.gz", second);
    folder.write("second", second);
    folder.write("third", third);
    folder.write("nothing", "");
    folder.write("list", "nothing\nfirst.gz\nsecond\nnothing\n\nsecond.gz\nthird\n");
    folder.write("all", first + "\n" + second + "\n" + second + "\n" + third);
    expectJoinedAsWhole(folder, "-M avgAD -file first.gz", 5);
    expectJoinedAsWhole(folder, "-M avgAD -file second.gz", 7);
    expectJoinedAsWhole(folder, "-M avgAD -file /dev/stdin", 9, "-inputs list", "-M avgAD -file all");

    std::string damaged = folder.read("first.gz");
    folder.write("second.gz", damaged.substr(0, damaged.size() - 28));  // without the empty block: cut between two
    for (size_t part = 1; part <= 5; ++part)
        EXPECT_EQ(runPart(folder, part, 5, "-M avgAD -file second.gz").errors,
                  "morvel-gather: Cannot read 'second.gz'\n");
    damaged[damaged.size() / 2] ^= 1;
    folder.write("first.gz", damaged);
    size_t failed = 0;
    for (size_t part = 1; part <= 5; ++part) {
        const Result run = runPart(folder, part, 5, "-M avgAD -file first.gz");
        failed += run.status == 1 && run.errors.find("Cannot read 'first.gz'\n") != run.errors.npos;
    }
    EXPECT_GE(failed, 1u);
    EXPECT_EQ(join(folder).status, 1);
}

TEST(Gather, HasTheChromosomesOfLdpruneOneBehindTheOther)
{
    const Folder folder;
    folder.write("map", "position rate cM\n1 1 0\n90000 1 9\n");
    const std::string options = "-M ldprune -map map -delim space -poscolumn 2 -pcolumn 3 -threshold 0.15 -file chr";
    std::string kept, removed;
    for (size_t part = 1; part <= 3; ++part) {
        folder.write("chr" + to_string(part), results(part));
        ASSERT_EQ(folder.run(wordsOf(options + to_string(part) + " -out own")).status, 0);
        kept += folder.read("own");
        removed += folder.read("own.removed");
        ASSERT_EQ(runPart(folder, part, 3, options + to_string(part)).errors, "");
    }
    ASSERT_EQ(join(folder).errors, "");
    EXPECT_EQ(folder.read("joined"), kept);
    EXPECT_EQ(folder.read("joined.removed"), removed);
    runPart(folder, 3, 3, options + "2");
    EXPECT_EQ(join(folder).errors.find("morvel-gather: Parts 2 and 3 are both of \"input -file "), 0u);
}

// t squared that are equal, or differ by roundings only, with several degrees of freedom; up to many of them.
TEST(Gather, SummariesOfPartsBecomeThatOfAllMarkers)
{
    const Significance significance(false);
    for (uint64_t seed = 1; seed <= 300; ++seed) {
        RandomText random(seed);
        const size_t kinds = 1 + random.below(4), parts = 1 + random.below(5);
        TraitSummary whole, joined;
        for (size_t part = 0; part < parts; ++part) {
            TraitSummary own;
            own.prepareToWrite();
            for (size_t i = random.below(random.oneIn(9) ? 3000 : 40); i-- > 0;) {
                const double level = random.oneIn(5) ? double(random.below(9)) : 9 * double(random.below(1000)) / 1000;
                const double squaredT = random.oneIn(20) ? NAN : level * (1 + 4e-13 * double(random.below(6)));
                const double slope = double(random.below(9)), freedom = double(100 - random.below(kinds));
                const std::string marker = "m" + to_string(random.below(1000000));
                for (TraitSummary *summary : {&whole, &own})
                    summary->add(slope, squaredT, freedom, marker, significance);
            }
            std::string words;
            text::Writer out;
            out.openToMemory(words);
            own.write(out);
            out.flush();
            const std::string rest = words.substr(1);  // behind the blank
            text::ExactNumbers numbers(rest);
            ASSERT_TRUE(joined.addWritten(numbers, significance)) << "seed " << seed;
        }
        std::string texts[2];
        for (const bool isWhole : {false, true}) {
            text::Writer out;
            out.openToMemory(texts[isWhole]);
            writeFindings(isWhole ? whole : joined, significance, out);
            out.flush();
        }
        ASSERT_EQ(texts[0], texts[1]) << "seed " << seed;
    }
}

TEST(Gather, RefusesPartsThatDoNotBelongTogether)
{
    const std::string scan = "-M regscan1 -pfile pheno -gfile gen -statlimit 1";
    const auto move = [](const Folder &folder, const std::string &from, const std::string &to) {
        for (const char *side : {"", ".stats", ".tallies", ".part"})
            folder.write(to + side, folder.read(from + side));
    };
    const auto edit = [](const Folder &folder, const char *name, const std::string &from, const char *to) {
        std::string bytes = folder.read(name);
        folder.write(name, bytes.replace(bytes.find(from), from.size(), to));
    };
    const auto scanFast = [](const Folder &folder) {
        for (size_t part = 1; part <= 3; ++part)
            runPart(folder, part, 3, "-M gwas3 -pfile pheno -gfile gen");
    };
    const struct {
        const char *words;  // of the message
        std::function<void(const Folder &)> change;
    } cases[] = {
        {"Part 2 is missing: there is no 'part.2.part'", [](auto &f) { fs::remove(f.path("part.2.part")); }},
        {"Part 1 is missing", [](auto &f) { fs::remove(f.path("part.1.part")); }},
        {"'part.3' is part 2 of 3, where part 3 should be", [&](auto &f) { move(f, "part.2", "part.3"); }},
        {"'part.1' is part 3 of 3, where part 1 should be", [&](auto &f) { move(f, "part.3", "part.1"); }},
        {"Part 2, 'part.2', is one of 4 parts, part 1 one of 3", [&](auto &f) { runPart(f, 2, 4, scan); }},
        {"Part 3 is of another run than part 1: \"option -type rank\", not",
         [&](auto &f) { runPart(f, 3, 3, scan + " -type rank"); }},
        {"Part 2 is of another run than part 1: \"option -missing \", not", [&](auto &f) {
             Words words = wordsOf("run -part 2 -of 3 -- morvel -missing (empty) " + scan + " -out part.2");
             words[6] = std::getenv("MORVEL_PROGRAM");
             words[8] = "";
             gather(f, words);
         }},
        {"Part 2 is of another run than part 1: mode gwas3, not regscan1",
         [&](auto &f) { runPart(f, 2, 3, "-M gwas3 -pfile pheno -gfile gen"); }},
        {"Part 3 is of another run than part 1: \"input -pfile", [&](auto &f) {
             f.write("pheno", f.read("pheno") + "\n");
             runPart(f, 3, 3, scan);
         }},
        {"Part 3 is of another run than part 1: \"input -gfile", [&](auto &f) {
             f.write("gen2", f.read("gen"));
             runPart(f, 3, 3, "-M regscan1 -pfile pheno -gfile gen2 -statlimit 1");
         }},
        {"'part.2.stats' of part 2 has ", [](auto &f) { f.write("part.2.stats", "cut"); }},
        {"'part.2.stats' of part 2 has ", [](auto &f) { f.write("part.2.stats", f.read("part.2.stats") + "more"); }},
        {"Part 3 is missing its file 'part.3'", [](auto &f) { fs::remove(f.path("part.3")); }},
        {"'part.2.part' is no record of a part, or damaged",
         [](auto &f) { f.write("part.2.part", f.read("part.2.part").substr(0, 200)); }},
        {"'part.2.part' is no record of a part, or damaged", [&](auto &f) { edit(f, "part.2.part", "complete\n", ""); }},
        {"Part 2 does not begin where part 1 ends", [&](auto &f) { edit(f, "part.2.part", "from 0 ", "from 0 1"); }},
        {"begin with 33 columns, those of part 1 with 32",
         [&](auto &f) { edit(f, "part.2.part", "columns 32", "columns 33"); }},
        // Of the same sizes, as no run leaves them.
        {"'part.3.stats' has other phenotypes than part 1",
         [&](auto &f) { edit(f, "part.3.stats", "ph\t3", "ph\t4"); }},
        {"'part.3.tallies' is damaged", [&](auto &f) { edit(f, "part.3.tallies", " ", "x"); }},
        {"'part.2' has another header than part 1", [&](auto &f) { edit(f, "part.2", "Pheno", "pheno"); }},
        {"'part.3' has another header than part 1", [&](auto &f) {
             scanFast(f);
             edit(f, "part.3", "\t", " ");
         }},
        {"'part.3.stats' does not number its rows and sum up its hits", [&](auto &f) {
             scanFast(f);
             edit(f, "part.3.stats", "\t1\t", "\t2\t");
         }},
        {"'part.2' ends before it should", [&](auto &f) { edit(f, "part.2.stats", "\t4\t4\t", "\t4\t9\t"); }},
    };
    const Folder whole;
    writeInputs(whole, 3);
    for (size_t part = 1; part <= 3; ++part)
        ASSERT_EQ(runPart(whole, part, 3, scan).errors, "");
    for (const auto &row : cases) {
        const Folder folder;
        fs::copy(whole.path("."), folder.path("."),
                              fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        for (const char *name : {"gen", "pheno"})
            fs::last_write_time(folder.path(name), fs::last_write_time(whole.path(name)));
        row.change(folder);
        folder.write("joined", "before");
        const Result result = join(folder);
        EXPECT_EQ(result.status, 1) << row.words;
        EXPECT_EQ(result.errors.rfind("morvel-gather: ", 0), 0u) << row.words;
        EXPECT_NE(result.errors.find(row.words), result.errors.npos) << row.words << "\n" << result.errors;
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << row.words;
        EXPECT_EQ(folder.read("joined") + folder.read("joined.stats"), "before(no file)") << row.words;
    }
}

TEST(Gather, LeavesNoRecordOfAPartThatFailed)
{
    const struct {
        const char *options, *words, *shell = "";
    } cases[] = {
        {"-M gwas3 -pfile pheno -gfile ref", "ended with status 1; the part is not complete"},
        {"-M gentoAD -file big", "ended with status 1; the part is not complete", "ulimit -f 8;"},
        {"-M gentoAD -file none", "Cannot open 'none': No such file or directory"},
        {"-M gentoAD -file packed.zst", "'packed.zst' can only be read as a whole"},
        {"-M gentoAD -file part.1", "Output file 'part.1' is also an input"},
        {"-M gentoAD -file big", "Output file 'part.1' is also an input", "ln -f big part.1;"},
        {"-M ADtogen -file dose -beg 2", "With -beg, which counts lines, mode ADtogen cannot be split"},
        {"-M popsel -file1 gen", "Mode popsel cannot be split: every match depends on all individuals"},
        {"-M family -file gen", "Mode family is none of those that are split"},
        {"-M gentoad2 -file gen", "There is no mode \"gentoad2\""},
        {"-M gwas -pfile pheno -gfile /dev/stdin", "'/dev/stdin' cannot be the -gfile of a part"},
        {"-M gentoAD", "The command needs the option -file"},
        {"-file gen", "The command names no mode"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        writeInputs(folder, 1);
        pack(folder, "packed.zst", "1 rs1 1 A G 1 0 0\n");
        folder.write("big", markers(1, 3000, {"1 0 0", "0.2 0.8 0"}));
        folder.write("part.1", "1 rs1 1 A G 1 0 0\n");
        const Result result = runPart(folder, 1, 2, row.options, "", row.shell);
        EXPECT_EQ(result.status, 1) << row.options;
        EXPECT_NE(result.errors.find(row.words), result.errors.npos) << row.options << "\n" << result.errors;
        EXPECT_EQ(folder.read("part.1.part"), "(no file)") << row.options;
    }
    const Folder folder;
    writeInputs(folder, 1);
    EXPECT_EQ(gather(folder, wordsOf("run -part 3 -of 2 -- morvel -M gentoAD")).errors,
              "morvel-gather: There is no part 3 of 2\n");
    EXPECT_EQ(gather(folder, wordsOf("run -part 1 -of 2 -- ./none -M gentoAD -file gen -out part.1")).errors,
              "morvel-gather: Cannot run './none': No such file or directory\n"
              "morvel-gather: './none' ended with status 127; the part is not complete\n");
    // A part that is run again is not complete until then.
    ASSERT_EQ(runPart(folder, 1, 1, "-M gentoAD -file gen").errors, "");
    EXPECT_EQ(runPart(folder, 1, 1, "-M gwas3 -pfile pheno -gfile ref").status, 1);
    EXPECT_EQ(folder.read("part.1.part"), "(no file)");
}

TEST(Gather, LosesNothingWhereAResultCannotBeWritten)
{
    const Folder folder;
    folder.write("gen", markers(1, 3000, {"1 0 0", "0.2 0.8 0"}));
    for (size_t part = 1; part <= 2; ++part)
        ASSERT_EQ(runPart(folder, part, 2, "-M gentoAD -file gen -statistics yes").errors, "");
    folder.write("joined", "before");
    const auto before = folder.files();
    const struct {
        const char *out, *words, *shell = "";
    } cases[] = {
        {"joined", "Cannot write 'joined'", "ulimit -f 8;"},
        {"none/joined", "Cannot write 'none/joined': No such file or directory"},
        {"/dev/full", "Cannot write '/dev/full': it is no regular file"},
        {"part.2", "Output file 'part.2' is also an input"},
        {"part.1.part", "Output file 'part.1.part' is also an input"},
        {"gen", "Output file 'gen' is also an input"},
    };
    for (const auto &row : cases) {
        const Result result = gather(folder, {"join", "-parts", "part.%", "-out", row.out}, row.shell);
        EXPECT_EQ(result.status, 1) << row.out;
        EXPECT_EQ(result.errors, "morvel-gather: " + std::string(row.words) + "\n");
        EXPECT_EQ(folder.files(), before) << row.out;
    }
    // Compressed, and by a link.
    fs::create_symlink("joined", folder.path("link"));
    EXPECT_EQ(gather(folder, {"join", "-parts", "part.%", "-out", "link"}).errors, "");
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
    EXPECT_EQ(folder.read("joined"), folder.read("part.1") + folder.read("part.2"));
    EXPECT_EQ(gather(folder, {"join", "-parts", "part.%", "-out", "joined.gz"}).errors, "");
    ASSERT_EQ(folder.run(wordsOf("-M gentoAD -file gen -out whole.gz")).status, 0);
    EXPECT_EQ(folder.read("joined.gz"), folder.read("whole.gz"));
}
