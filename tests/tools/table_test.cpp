// The companion morvel-table, run as a program.
#include "support/program.h"
#include "support/random.h"

#include <algorithm>
#include <gmock/gmock.h>

using Words = std::vector<std::string>;
using Rows = std::vector<Words>;

static Result table(const Folder &folder, const Words &words, const std::string &shell = "",
                    const std::string &redirection = "")
{
    return folder.runOther(MORVEL_PAGES_FOLDER "/morvel-table", words, shell, redirection);
}

// A run ends well where it has output; what it says on standard error is without the name.
static void expectTable(const Folder &folder, const Words &words, const std::string &output, const std::string &errors)
{
    SCOPED_TRACE(testing::PrintToString(words) + testing::PrintToString(folder.files()));
    const Result run = table(folder, words);
    EXPECT_EQ(run.output, output);
    EXPECT_EQ(run.errors, errors.empty() ? "" : "morvel-table: " + errors);
    EXPECT_EQ(run.status, output.empty() ? 1 : 0);
}

static std::string textOf(const Rows &rows, const std::string &delimiter)
{
    std::string text;
    for (const Words &row : rows) {
        for (size_t i = 0; i < row.size(); ++i)
            text += (i > 0 ? delimiter : "") + row[i];
        text += '\n';
    }
    return text;
}

static Rows turned(const Rows &rows)
{
    Rows result(rows[0].size());
    for (const Words &row : rows) {
        for (size_t i = 0; i < row.size(); ++i)
            result[i].push_back(row[i]);
    }
    return result;
}

static Rows randomRows(RandomText &random, size_t count, size_t width)
{
    Rows rows(count, Words(width));
    for (Words &row : rows) {
        for (std::string &field : row)
            field.assign(random.oneIn(5) ? 0 : random.oneIn(50) ? 300 : random.below(6), char('a' + random.below(26)));
    }
    return rows;
}

// Also with so little memory that the table goes through a temporary file in several runs; 1 MB is the least.
TEST(Transpose, IsThatOfAPlainVersionAndTwiceTheTableWhateverTheMemory)
{
    RandomText random(1);
    const struct {
        size_t rows, columns;
    } shapes[] = {{2, 2}, {2, 70}, {130, 65}, {3, 90000}, {90000, 3}, {700, 700}};
    for (const auto &shape : shapes) {
        const Folder folder;
        const Rows rows = randomRows(random, shape.rows, shape.columns);
        folder.write("in", textOf(rows, ","));
        for (const std::string memory : {"1", "3", "4000"}) {
            SCOPED_TRACE(std::to_string(shape.rows) + " rows, " + memory + " MB");
            const Words words = {"transpose", "-file", "-", "-delim", "comma", "-memory", memory};
            const Result run = table(folder, words, "cat in |", ">turned");
            ASSERT_EQ(run.status, 0) << run.errors;
            ASSERT_TRUE(folder.read("turned") == textOf(turned(rows), ","));
            table(folder, words, "cat turned |", ">again");
            ASSERT_TRUE(folder.read("again") == folder.read("in"));
        }
    }
}

// A phenotype table in random order with extras: every value must stand where the list has its individual.
TEST(Phenotypes, FollowTheListByNameWhateverTheOrderOfTheTable)
{
    RandomText random(2);
    for (int round = 0; round < 20; ++round) {
        const size_t count = 1 + random.below(round == 0 ? 20000 : 30);
        Rows people;
        for (size_t i = 0; i < count; ++i)
            people.push_back({"p" + std::to_string(i * 7), std::to_string(i), random.oneIn(4) ? "" : "0.5"});
        const Rows listed(people.begin(), people.end() - long(random.below(count)));
        Rows expected = {{"height", "weight"}};
        std::string list, ordered = "height\tid\tweight\n", shuffled = ordered;
        for (const Words &person : listed) {
            list += person[0] + "\n";
            expected.push_back({person[1], person[2].empty() ? "-" : person[2]});
            ordered += person[1] + "\t" + person[0] + "\t" + person[2] + "\n";
        }
        for (size_t i = count; i > 1; --i)
            std::swap(people[i - 1], people[random.below(i)]);
        for (const Words &person : people)
            shuffled += person[1] + "\t" + person[0] + "\t" + person[2] + random.lineEnd();
        const Folder folder;
        folder.write("table", shuffled);
        folder.write("list", list);
        const Words words = {"-file", "table", "-individuals", "list", "-id", "id", "-memory", "1"};
        const auto with = [&](Words more) { return more.insert(more.end(), words.begin(), words.end()), more; };
        const Result run = table(folder, with({"phenotypes", "-missing", "-,NA"}));
        ASSERT_EQ(run.output, textOf(turned(expected), " ")) << run.errors;
        const std::string left = std::to_string(count - listed.size()) + " row";
        EXPECT_EQ(run.errors.find(left) != run.errors.npos, count > listed.size()) << run.errors;
        ASSERT_EQ(table(folder, with({"reorder"})).output, ordered);
    }
}

TEST(Phenotypes, TakeTheIndividualsFromAnyListOfGenotypeFiles)
{
    const struct {
        const char *name, *text;
    } lists[] = {
        {"names", "b\r\n\na \nc"},
        {"x.fam", "f1 b 0 0 1 -9\nf1\ta 0 0 2 -9\nf2 c 0 0 0 -9\n"},
        {"psam", "##source\n#FID\tIID\tSEX\n0\tb\t1\n0\ta\t1\n0\tc\t1\n"},
        {"iid.psam", "#IID\tSEX\nb\t1\na\t1\nc\tNA\n"},
        {"sample", "ID_1 ID_2 missing sex\n0 0 0 D\n1 b 0 1\n1 a 0 2\n2 c 0 2\n"},
        {"one", "ID missing\n0 0\nb 0\na 0\nc 0\n"},
        {"vcf", "##fileformat=VCFv4.2\n##x\n#CHROM\tPOS\tID\tREF\tALT\tQUAL\tFILTER\tINFO\tFORMAT\tb\ta\tc\n1\t1\n"},
    };
    const Folder folder;
    folder.write("table", "ID y\na 1\nb 2\nc 3\n");
    for (const auto &list : lists) {
        folder.write(list.name, list.text);
        const Words words = {"phenotypes", "-file", "table", "-delim", "space", "-individuals", list.name};
        const Result run = table(folder, words);
        EXPECT_EQ(run.output + run.errors, "y 2 1 3\n") << list.name;
    }
}

TEST(Phenotypes, AreRefusedOrToldOfWhereSomethingIsLikelyToBeWrong)
{
    const struct {
        const char *table, *list;
        Words more;
        const char *output, *errors;
    } cases[] = {
        {"ID\ty\na\t1\n", "a\nb\nc\n", {}, "",
         "2 individuals of 'list' without a row in 'table': b, c; -absent missing gives missing values\n"},
        {"ID\ty\na\t1\n", "b\na\n", {"-absent", "missing"}, "y NA 1\n",
         "1 individual of 'list' without a row in 'table', filled with missing values: b\n"},
        {"ID\ty\na\t1\n", "a\nb\nc\nd\ne\nf\ng\nh\ni\nj\nk\n", {}, "",
         "10 individuals of 'list' without a row in 'table': b, c, d, e, f, g, h, i, j, k; -absent missing gives missing "
         "values\n"},
        {"ID\ty\n01\t1\n", "1\n", {"-absent", "missing"}, "", "No individual of 'list' has a row in 'table': 1\n"},
        {"ID\ty\na\t1\nb\t2\na\t1\n", "a\nb\n", {}, "", "Individual \"a\" stands in the lines 2 and 4 of 'table'\n"},
        {"ID\ty\na\t1\n", "a\na\n", {}, "", "Individual \"a\" stands twice in 'list'\n"},
        {"ID\ty\na\t1\n", "1 a\n", {}, "", "Line 1 of 'list' has more than a name; -list tells another kind of file\n"},
        {"ID\ty\na\t1\n", "\n", {}, "", "'list' names no individuals\n"},
        {"ID\ty\na\t1,5\n", "a\n", {}, "",
         "Line 2 of 'table': \"y\" is \"1,5\", which is no number; name missing values by -missing\n"},
        {"ID\ty\na\tinf\n", "a\n", {}, "",
         "Line 2 of 'table': \"y\" is \"inf\", which is no number; name missing values by -missing\n"},
        {"ID\ty\na\tnan\nb\t.\nc\t1\n", "c\nb\na\n", {"-missing", ".,nan"}, "y 1 . .\n", ""},
        {"ID\ty\na\t1\n", "a\n", {"-missing", "no value"}, "", "\"no value\" cannot be a field of the result\n"},
        {"ID\ty\na\t-9\n", "a\n", {}, "y -9\n",
         "1 value of -9 taken as a number; where it means no value: -missing NA,-9\n"},
        {"ID\ty\ty\na\t1\t1\n", "a\n", {}, "", "'table' has two columns \"y\"\n"},
        {"ID\ty\t\na\t1\t1\n", "a\n", {}, "", "Column 3 of 'table' has no name\n"},
        {"ID\tthe y\na\t1\n", "a\n", {}, "",
         "Line 1 of 'table': the field 'the y' holds the delimiter of the result; -outdelim names another\n"},
        {"ID\tthe y\na\t1\n", "a\n", {"-outdelim", "tab"}, "the y\t1\n", ""},
        {"ID\ty\na\t1\n", "a\n", {"-columns", "Y"}, "", "'table' has no column \"Y\"; did you mean \"y\"?\n"},
        {"y\na\t1\n", "a\n", {}, "", "Line 1 of 'table' has one field\n"},
        {"ID y\na 1\n", "a\n", {}, "", "Line 1 of 'table' has one field; with -delim space it would have 2\n"},
        {"ID\ty\na\n", "a\n", {}, "", "Line 2 of 'table' has 1 field, the first one 2\n"},
        {"\n", "a\n", {}, "", "'table' is empty\n"},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("table", row.table);
        folder.write("list", row.list);
        Words words = {"phenotypes", "-file", "table", "-individuals", "list"};
        words.insert(words.end(), row.more.begin(), row.more.end());
        expectTable(folder, words, row.output, row.errors);
    }
}

TEST(Table, ReadsWhatSpreadsheetsWriteOrSaysWhyNot)
{
    const struct {
        std::string text;
        Words more;
        const char *output, *errors;
    } cases[] = {
        {"a,\"b,c\"\r\n\"say \"\"x\"\"\",\r\n", {"-quotes", "remove", "-outdelim", "semicolon"},
         "a;say \"x\"\nb,c;\n", ""},
        {"a,\"b\"\n", {}, "", "Line 1 of 'in' has a field in double quotes; -quotes remove takes them off\n"},
        {"a,\"b\"\n", {"-quotes", "keep"}, "a\n\"b\"\n", ""},
        {"a,5\"\n", {}, "a\n5\"\n", ""},
        {"a,\"b\nc\",d\n", {"-quotes", "remove"}, "", "A quoted field does not end in line 1 of 'in'\n"},
        {"\"a\"b,c\n", {"-quotes", "remove"}, "",
         "Line 1 of 'in' has bytes between a closing quote and the delimiter\n"},
        {"\xef\xbb\xbfx,y\n1,2\n", {}, "x,1\ny,2\n", "'in' begins with a byte order mark, which is left out\n"},
        {"\xff\xfex", {}, "", "'in' is UTF-16 text; save it as UTF-8\n"},
        {"a,b\rc,d\r", {}, "", "Line 1 of 'in' holds a return in its middle; lines must end in \\n or \\r\\n\n"},
        {"a,,b\n", {}, "", "An empty field in the only row of 'in' would become an empty line\n"},
        {"a;b\nc;d\n", {}, "a;b,c;d\n", "'in' has one column; with -delim semicolon it would have 2\n"},
        {" a \t b\nc d  \n \n", {"-delim", "blanks"}, "a\tc\nb\td\n", ""},
    };
    for (const auto &row : cases) {
        const Folder folder;
        folder.write("in", row.text);
        Words words = {"transpose", "-file", "in"};
        words.insert(words.end(), row.more.begin(), row.more.end());
        if (!std::ranges::count(words, "-delim"))
            words.insert(words.end(), {"-delim", "comma"});
        expectTable(folder, words, row.output, row.errors);
    }
}

TEST(Table, ChecksAndSelectsAndRefusesWordsThatItDoesNotKnow)
{
    Folder folder;
    folder.write("t", "ID\ty\tz\nb\t1\t2\na\t3\t4\n");
    folder.write("ba", "b\na\n");
    folder.write("ab", "a\nb\n");
    folder.write("b", "b\n");
    folder.write("twice", "ID\ty\nb\t1\nb\t1\n");
    folder.write("abc", "b\na\nc\n");
    folder.write("gen", "1 rs1 1 A G 1 0 0 0 0 1\n1 rs2 2 A G 1 0 0 0 0 1\n");
    folder.write("pheno", "y 1 3\n");
    const struct {
        Words words;
        const char *output, *errors;  // one of both
    } cases[] = {
        {{"select", "-file", "t", "-columns", "z,ID"}, "z\tID\n2\tb\n4\ta\n", ""},
        {{"select", "-file", "t", "-columns", "z,z"}, "", "The column \"z\" is chosen twice\n"},
        {{"check", "-file", "t"}, "2 individuals, 3 columns\n", ""},
        {{"check", "-file", "t", "-individuals", "ba"},
         "2 individuals, 3 columns: those of the list, in its order\n", ""},
        {{"check", "-file", "t", "-individuals", "ab"}, "", "Line 2 of 't' has \"b\", where 'ab' has \"a\"\n"},
        {{"check", "-file", "t", "-individuals", "b"}, "", "Line 3 of 't' has \"a\", but 'b' ends with \"b\"\n"},
        {{"check", "-file", "t", "-individuals", "abc"}, "", "'t' has 2 individuals, 'abc' has 3\n"},
        {{"check", "-file", "gen", "-content", "triplets", "-individuals", "ab"},
         "2 individuals, 2 markers: as many as in the list; such a file does not name them\n", ""},
        {{"check", "-file", "gen", "-content", "dosages", "-individuals", "ab"}, "",
         "'gen' has 6 individuals, 'ab' has 2\n"},
        {{"check", "-file", "gen", "-content", "triplets", "-last-bef-geno", "6"}, "",
         "Line 1 of 'gen' has 11 fields, which is not 6 and three an individual\n"},
        {{"check", "-file", "pheno", "-content", "phenotypes"}, "2 individuals, 1 phenotype\n", ""},
        {{"check", "-file", "twice"}, "", "Individual \"b\" stands in 'twice' again, in line 3\n"},
        {{"chekc"}, "", "There is no verb \"chekc\"; did you mean \"check\"?\n"},
        {{"check", "-flie", "t"}, "", "check has no option \"-flie\"; did you mean \"-file\"?\n"},
        {{"check", "-file"}, "", "Option -file has no value\n"},
        {{"select", "-file", "-columns", "y"}, "", "Option -file has no value\n"},
        {{"check", "-file", "t", "-file", "t"}, "", "Option -file is given twice\n"},
        {{"check", "-file", ""}, "", "Option -file has an empty value\n"},
        {{"check", "-file", "t", "-content", "x"}, "",
         "Option -content has no word \"x\"; its words are: table phenotypes dosages triplets\n"},
        {{"transpose", "-file", "t", "-memory", "0"}, "",
         "Option -memory takes a whole number from 1 on, not \"0\"\n"},
        {{"transpose", "-file", "t", "-memory", "1e3"}, "",
         "Option -memory takes a whole number from 1 on, not \"1e3\"\n"},
        {{"select", "-file", "t"}, "", "select needs the option -columns\n"},
        {{"transpose", "-file", "nosuch"}, "", "Cannot open 'nosuch': No such file or directory\n"},
        {{"transpose", "-file", "."}, "", "Cannot open '.': Is a directory\n"},
        {{"reorder", "-file", "t", "-individuals", "ab", "-out", "./ab"}, "", "Output file './ab' is also an input\n"},
        {{"transpose", "-file", "t", "-out", "/dev/full"}, "", "Cannot write '/dev/full'\n"},
        {{"--version"}, "morvel-table 1.3.7\n", ""},
    };
    for (const auto &row : cases)
        expectTable(folder, row.words, row.output, row.errors);
    EXPECT_EQ(folder.files().size(), 8u);
    EXPECT_THAT(table(folder, {}).errors, testing::HasSubstr("VERB -option value"));
    EXPECT_THAT(table(folder, {"check", "--help"}).output, testing::HasSubstr("\n    -content      what the "));
    // Behind what a file holds already, and never into the input.
    EXPECT_EQ(table(folder, {"transpose", "-file", "t"}, "", ">>pheno").status, 0);
    EXPECT_EQ(folder.read("pheno"), "y 1 3\nID\tb\ta\ny\t1\t3\nz\t2\t4\n");
    EXPECT_EQ(table(folder, {"transpose", "-file", "t"}, "", ">>t").status, 1);
    EXPECT_EQ(table(folder, {"transpose", "-file", "t"}, "", ">&-").errors,
              "morvel-table: Cannot write 'standard output'\n");
}
