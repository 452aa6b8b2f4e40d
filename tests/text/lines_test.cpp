#include "support/program.h"
#include "text/fields.h"
#include "text/files.h"
#include "text/lines.h"
#include "text/writer.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

// All lines, each with "|" behind it when the reader says that more follows.
static Texts linesOf(const std::string &path, size_t block)
{
    text::LineReader in;
    EXPECT_TRUE(in.open(path, block));
    Texts lines;
    std::string_view line;
    while (in.next(line)) {
        lines.emplace_back(line);
        if (!in.atEnd())
            lines.back() += '|';
    }
    EXPECT_FALSE(in.next(line));
    return lines;
}

TEST(LineReader, EndsLinesAndTheFileWhateverTheBlock)
{
    const struct {
        const char *name;
        std::string bytes;
        Texts lines;
    } cases[] = {
        {"empty file", "", {}},
        {"no last line end", "a\nbc", {"a|", "bc"}},
        {"last line end", "a\nbc\n", {"a|", "bc"}},
        {"empty lines", "\n\na\n\n", {"|", "|", "a|", ""}},
        {"carriage returns", "a\r\nb\rc\r\r\n\r\nd\r", {"a|", "b\rc\r|", "|", "d\r"}},
        {"any byte", std::string("\0\xff\xef\xbb\xbf\n \t", 8), {std::string("\0\xff\xef\xbb\xbf|", 6), " \t"}},
        {"long line", std::string(1000, 'x') + "\ny\n", {std::string(1000, 'x') + "|", "y"}},
    };
    const Folder folder;
    for (const auto &row : cases) {
        folder.write("in", row.bytes);
        for (const size_t block : {1, 2, 7, 4096})
            EXPECT_EQ(linesOf(folder.path("in"), block), row.lines) << row.name << ", block " << block;
    }
}

// Lines of all sizes, also some that make the memory grow while others are kept.
TEST(LineReader, KeepsLines)
{
    std::mt19937 random(1);
    std::string bytes;
    while (bytes.size() < 20000000)
        bytes += std::string(random() % (random() % 50 ? 100000 : 6000000), char('a' + random() % 26)) + (random() % 2 ? "\n" : "\r\n");
    const Folder folder;
    folder.write("in", bytes);
    for (const size_t block : {4000, 300000}) {
        text::LineReader in;
        ASSERT_TRUE(in.open(folder.path("in"), block));
        in.keepLines();
        std::vector<std::string_view> lines;
        for (std::string_view line; in.next(line);)
            lines.push_back(line);
        size_t at = 0;
        for (const std::string_view line : lines) {
            ASSERT_TRUE(bytes.compare(at, line.size(), line) == 0);
            at = bytes.find('\n', at) + 1;
        }
        EXPECT_EQ(at, bytes.size());
    }
}

TEST(LineReader, StartsAgainAlsoOnPipesAndCompressedFilesAndRefusesFolders)
{
    const Folder folder;
    std::string bytes;
    for (int i = 0; i < 100000; ++i)  // more than a block
        bytes += std::to_string(i) + "\n";
    folder.write("in", bytes);
    ASSERT_EQ(std::system(("gzip -1 <" + folder.path("in") + " >" + folder.path("packed")).c_str()), 0);
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(popen(("cat " + folder.path("in")).c_str(), "r"), pclose);
    text::LineReader in;
    std::string_view line;
    for (const std::string &name : {folder.path("in"), folder.path("packed"), "/dev/fd/" + std::to_string(fileno(pipe.get()))}) {
        ASSERT_TRUE(in.openToReread(name));
        EXPECT_TRUE(in.next(line) && in.next(line));
        for (int pass = 0; pass < 2; ++pass) {
            in.rewind();
            std::string read;
            while (in.next(line))
                read.append(line) += '\n';
            EXPECT_TRUE(read == bytes) << name;
        }
    }
    for (const std::string &name : {folder.path("."), folder.path("missing"), std::string()})
        EXPECT_FALSE(in.open(name) || in.openToReread(name)) << name;
}

TEST(TokenReader, FindsWordsAcrossLineEnds)
{
    const Folder folder;
    folder.write("in", "  a b\n\n\tc\r\n  \nd\ve\f\nunended");
    text::LineReader in;
    ASSERT_TRUE(in.open(folder.path("in"), 3));
    text::TokenReader tokens(in);
    Texts words;
    for (std::string_view token; tokens.next(token);)
        words.emplace_back(token);
    EXPECT_EQ(words, (Texts{"a", "b", "c", "d", "e", "unended"}));
}

static Texts split(std::string_view line, std::string_view delimiter, bool keepEmpty = true)
{
    std::vector<std::string_view> fields;
    (keepEmpty ? text::splitFields : text::splitNonEmptyFields)(line, delimiter, fields);
    return {fields.begin(), fields.end()};
}

// Every field sought by its position, up to the first that is not there.
static Texts seek(const std::string &line, std::string_view delimiter)
{
    const std::string padded = line + std::string(text::LineReader::slack, '\0');
    Texts fields;
    for (;;) {
        const std::string_view field = text::findField({padded.data(), line.size()}, delimiter, fields.size());
        if (!field.data())
            return fields;
        fields.emplace_back(field);
    }
}

TEST(SplitFields, KeepsOrDropsEmptyFields)
{
    for (const char *line : {" a  b ", "a::b:::c", "", "ab", "::", ": :"}) {
        for (const char *delimiter : {" ", "::", "", ":"})
            EXPECT_EQ(seek(line, delimiter), split(line, delimiter)) << line << " by " << delimiter;
    }
    EXPECT_EQ(split(" a  b ", " "), (Texts{"", "a", "", "b", ""}));
    EXPECT_EQ(split(" a  b ", " ", false), (Texts{"a", "b"}));
    EXPECT_EQ(split("a::b:::c", "::"), (Texts{"a", "b", ":c"}));
    EXPECT_EQ(split("", ","), (Texts{""}));
    EXPECT_EQ(split("ab", ""), (Texts{"", "a", "b", ""}));
}

TEST(Writer, KeepsOrderAcrossItsBuffer)
{
    const Folder folder;
    std::string expected;
    text::Writer out;
    ASSERT_TRUE(out.open(folder.path("out")));
    for (const size_t size : {size_t(1), text::Writer::capacity - 1, text::Writer::capacity,
                              text::Writer::capacity + 1, size_t(3), 3 * text::Writer::capacity}) {
        const std::string bytes(size, char('a' + size % 26));
        out.put(bytes);
        out.replaceLast('\n');
        out.put(int64_t(size));
        expected += bytes.substr(1) + "\n" + std::to_string(size);
    }
    out.close();
    EXPECT_EQ(folder.read("out"), expected);
    EXPECT_FALSE(out.open(folder.path(".")));
}

TEST(IsSameFile, SeesThroughLinksAndWhatIsYetToExist)
{
    const Folder folder;
    namespace fs = std::filesystem;
    for (const char *name : {"a", "b"})
        folder.write(name, "");
    fs::create_hard_link(folder.path("a"), folder.path("hard"));
    fs::create_directory(folder.path("sub"));
    for (const auto &[target, name] :
         {std::pair("a", "soft"), {"new", "dangling"}, {"dangling", "twice"}, {"loop", "loop"}})
        fs::create_symlink(target, folder.path(name));
    const struct {
        const char *name1, *name2;
        bool isSame;
    } cases[] = {
        {"a", "./a", true},          {"a", "sub/../a", true},   {"a", "hard", true},      {"a", "soft", true},
        {"a", "b", false},           {"a", "new", false},       {"new", "./new", true},   {"new", "dangling", true},
        {"new", "twice", true},      {"new", "sub/new", false}, {"sub", "sub", false},    {"no/new", "no/new", true},
        {"loop", "new", false},
    };
    for (const auto &row : cases) {
        EXPECT_EQ(text::isSameFile(folder.path(row.name1), folder.path(row.name2)), row.isSame)
            << row.name1 << " " << row.name2;
    }
    EXPECT_FALSE(text::isSameFile("", ""));
    EXPECT_FALSE(text::isSameFile("/dev/null", "/dev/null"));
}
