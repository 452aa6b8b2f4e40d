#include "main/hints.h"
#include "main/modes.h"
#include "support/program.h"
#include "support/scanmodel.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>

static std::string inManual(std::string text)
{
    for (size_t i = 0; (i = text.find('-', i)) != text.npos; i += 2)
        text.insert(i, "\\");
    return text;
}

// The default as the manual and the guide show it, or an empty text.
static std::string parenthesised(const std::string &text)
{
    return text.empty() ? "" : " (" + text + ")";
}

TEST(Help, IsThereForEveryModeAndOptionInTheManual)
{
    const std::string manual = contentOf(MORVEL_PAGES_FOLDER "/morvel.1");
    for (const Mode *mode : allModes()) {
        const std::string title = mode->name() + (mode->names[1] ? std::string(", ") + mode->names[1] : "");
        const size_t start = manual.find("\n.SS " + title + "\n");
        ASSERT_NE(start, manual.npos) << title;
        const std::string section = manual.substr(start, manual.find("\n.S", start + 1) - start);
        EXPECT_NE(section.find(inManual(mode->help) + "."), section.npos) << title;
        for (const Option *option : mode->options) {
            const std::string which = title + " " + option->name;
            EXPECT_GT(std::string(option->help).size(), 4u) << which;
            EXPECT_TRUE(option->kind != Value::Word || *option->words) << which;
            const size_t at = section.find("\\fB" + inManual(option->name) + "\\fR ");
            ASSERT_NE(at, section.npos) << which;
            EXPECT_NE(section.find(inManual(option->help), at), section.npos) << which;
            EXPECT_NE(section.find(inManual(parenthesised(option->shownDefault())), at), section.npos) << which;
        }
    }
    size_t last = 0;
    for (const std::string title :
         {"NAME", "SYNOPSIS", "DESCRIPTION", "MODES", "EXIT STATUS", "ENVIRONMENT", "FILES", "EXAMPLES", "SEE ALSO"}) {
        last = manual.find("\n.SH " + title + "\n", last);
        EXPECT_NE(last, manual.npos) << title;
    }
}

// Of a companion's manual and completion; verbs are rows as modes are.
TEST(Help, IsMadeForCompanionsFromTheirVerbs)
{
    const std::string manual = contentOf(MORVEL_PAGES_FOLDER "/morvel-table.1");
    const size_t start = manual.find("\n.SS transpose\n");
    ASSERT_NE(start, manual.npos);
    EXPECT_NE(manual.find("\n\\fB\\-quotes\\fR \\fBrefuse\\fR|\\fBremove\\fR|\\fBkeep\\fR\n", start), manual.npos);
    const Folder folder;
    folder.write("script", "source '" MORVEL_PAGES_FOLDER "/morvel-table.bash'\n"
                           "try() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _morvel-table\n"
                           "echo \"${COMPREPLY[*]}\"; }\ntry morvel-table re; try morvel-table select -c\n"
                           "try morvel-table check -content t\n");
    EXPECT_EQ(std::system(("bash " + folder.path("script") + " >" + folder.path("shown")).c_str()), 0);
    EXPECT_EQ(folder.read("shown"), "reorder\n-columns\ntable triplets\n");
}

TEST(Completion, KnowsModesOptionsAndWords)
{
    const struct {
        const char *words;  // the cursor is in the last one
        const char *completions;
    } cases[] = {
        {"morvel ''", "-M"},
        {"morvel -M gw", "gwas gwas2 gwas3 gwamafilter"},
        {"morvel -M levin ''", "-file -out -delim -header -columns"},
        {"morvel -M mf -ref", "-ref -refheader -refpops"},
        {"morvel -M GWAS -statistic ''", "r2 t p"},
        {"morvel -M gwas -pfile x -delim se", "semicolon"},
        {"morvel -M gwas3 -format ''", "-pfile -gfile -out -missing -delim -slope -statistic -statlimit"},
        {"morvel -M gwas2 -format d", "dosage"},
        {"morvel -M gwas -M le", ""},      // the first mode counts
        {"morvel -M gwas -pfile ''", ""},  // file names are the shell's own
        {"morvel -M read1 ''", ""},
    };
    const Folder folder;
    std::string script = "source '" MORVEL_PAGES_FOLDER "/morvel.bash'\ncomplete -p morvel\n"
                         "try() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _morvel; echo \"${COMPREPLY[*]}\"; }\n";
    std::string expected = "complete -o default -F _morvel morvel\n";
    for (const auto &row : cases) {
        script += "try " + std::string(row.words) + "\n";
        expected += std::string(row.completions) + "\n";
    }
    // The mode may stand behind the cursor.
    script += "COMP_WORDS=(morvel -co -M levin) COMP_CWORD=1; _morvel; echo \"${COMPREPLY[*]}\"\n";
    folder.write("script", script);
    EXPECT_EQ(std::system(("bash -u " + folder.path("script") + " >" + folder.path("shown")).c_str()), 0);
    EXPECT_EQ(folder.read("shown"), expected + "-columns\n");
}

// The hints on words separated by single blanks, of which two in a row make an empty one.
static std::string hintsOn(const std::string &line)
{
    const Texts words = line.empty() ? Texts() : plainFields(line, " ");
    std::vector<const char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(word.c_str());
    const auto isSwitch = [](const std::string &word) { return word == "-M" || word == "-m"; };
    const auto found = std::ranges::find_if(words, isSwitch);
    std::string lines;
    for (const std::string &hint : findHints(arguments, found == words.end() ? "" : found[1]))
        lines += hint + '\n';
    return lines;
}

TEST(Hints, NameWhatHasNoEffect)
{
    const struct {
        const char *words;
        const char *hints;
    } cases[] = {
        {"", "no mode is named, nothing runs; call morvel -M MODE -option value ...\n"},
        {"-M gwsa", "mode \"gwsa\" is unknown, nothing runs; did you mean \"gwas\"?\n"},
        {"-M peak", "mode \"peak\" is unknown, nothing runs; did you mean \"peakscan3\"?\n"},
        {"-M PEAKSCAN3", "mode \"PEAKSCAN3\" is unknown, nothing runs; did you mean \"peakscan3\"?\n"},
        {"-M -M fam", "mode \"-M\" is unknown, nothing runs\n"},
        {"-M bgen -x", "mode \"bgen\" runs nothing\n"},
        {"-M REGSCAN1", "mode \"REGSCAN1\" runs nothing; did you mean \"regscan1\"?\n"},
        {"-M gentoLETTERS -file x",
         "mode \"gentoLETTERS\" takes no options, all are ignored; \"gentoletters\" takes them\n"},
        {"-M read1", ""},
        {"-M read2 -file x", "mode \"read2\" takes no options, all are ignored\n"},
        {"-M gwas -slope -0.5 -missing -9 -delim - -statlimit 1e-8 -autobins +3 -out  -manualbins -.5:1,1:2", ""},
        {"-pfil x -M gwas -gfile",
         "option \"-pfil\" is ignored: mode \"gwas\" does not know it; did you mean \"-pfile\"?\n"
         "option \"-gfile\" is ignored: no value follows\n"},
        {"-M gwas3 -bintype -pfile x", "option \"-bintype\" is ignored: mode \"gwas3\" does not know it\n"},
        {"-out -file x -M fam",
         "option \"-out\" takes the next word, \"-file\", as its value; is its value missing?\n"},
        {"-M fam -out -flie x -file y",
         "option \"-out\" takes \"-flie\", which looks like an option, as its value; did you mean \"-file\"?\n"},
        {"-M fam -threshold high -familysize 2.5 -showmatrix YES -header Yes",
         "\"-threshold\" takes a number, and \"high\" counts as 0\n"
         "\"-familysize\" takes a whole number, and \"2.5\" counts as 0\n"
         "\"-showmatrix\" does not know \"YES\"; its words are yes, no\n"},
        {"-m fam -file a -file b -file a -M gwas", "option \"-file\" is given again; the first value, \"a\", counts\n"
                                                   "\"-M\" is ignored: mode \"fam\" was named before\n"},
        {"-M fam -familysize 1e1", "\"-familysize\" takes a whole number, and \"1e1\" counts as 0\n"},
        {"-M gwas -p x -delim slash -out x",
         "option \"-p\" is ignored: mode \"gwas\" does not know it; did you mean \"-pfile\"?\n"
         "\"-delim\" takes \"slash\" as it stands; its words are tab, space, comma, semicolon, colon\n"},
        {"-M levin -columns 1,2 --help", "mode \"levin\" takes these options; man morvel tells more\n"
                                        "  -file               table (required)\n"
                                        "  -out                output file (input name + .out)\n"
                                        "  -delim              between the fields; any other word is a tab (tab)\n"
                                        "  -header             yes or Yes: the first line is a header (no)\n"
                                        "  -columns            the two columns, from 1 (1,2)\n"},
        {"-M fam x", "\"x\" is ignored: no option stands before it\n"},
        {"x -M fam -file a b c", "\"x\" and further words, 3 in all, are ignored: no option stands before them\n"},
    };
    for (const auto &row : cases)
        EXPECT_EQ(hintsOn(row.words), row.hints) << row.words;
}

TEST(Hints, ShowOnATerminalOrOnRequestAndChangeNothingElse)
{
    const std::string hint = "morvel: hint: option \"-stat\" is ignored: mode \"gentoAD\" does not know it"
                             "; did you mean \"-statistics\"?\n";
    const std::vector<std::string> arguments = {"-M", "gentoAD", "-file", "in", "-stat", "yes"};
    const auto runWith = [&](const std::string &variable, const std::string &expectedErrors) {
        const Folder folder;
        folder.write("in", "1 rs1 10 A G 0 1 0\n");
        const Result run = folder.run(arguments, variable);
        EXPECT_EQ(run.errors, expectedErrors) << variable;
        return std::tuple(run.status, run.messages, folder.files());
    };
    const auto plain = runWith("env -u MORVEL_HINTS", "");
    EXPECT_EQ(runWith("MORVEL_HINTS=1", hint), plain);
    EXPECT_EQ(runWith("MORVEL_HINTS=0", ""), plain);
    EXPECT_EQ(runWith("MORVEL_HINTS=", ""), plain);

    const Folder folder;
    for (const std::string variable : {"-u MORVEL_HINTS", "MORVEL_HINTS=0"}) {
        const std::string command = "cd " + folder.path("") + " && script -qec 'env " + variable
                                    + " $MORVEL_PROGRAM -M gwsa >out' shown </dev/null >/dev/null";
        EXPECT_EQ(std::system(command.c_str()), 0);
        EXPECT_EQ(folder.read("shown").find("did you mean \"gwas\"?") != std::string::npos, variable[0] == '-');
        EXPECT_EQ(folder.read("out").find("hint"), std::string::npos);
    }
}
