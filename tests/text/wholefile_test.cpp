#include "support/program.h"
#include "text/wholefile.h"

#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(WholeFile, AppearsWhenItIsCompleteAndKeepsWhatItReplaces)
{
    const std::string content(300000, 'x');
    const struct {
        const char *name;
        std::vector<const char *> made;  // what can be read then
        mode_t mode;
    } cases[] = {
        {"new", {"new"}, 0640},
        {"old", {"old", "link"}, 0600},
        {"link", {"old", "link"}, 0600},
        {"dangling", {"ahead", "dangling"}, 0640},
        {"device", {}, 0666},
    };
    const mode_t mask = umask(027);
    for (const bool isPublished : {false, true}) {
        for (const auto &row : cases) {
            const Folder folder;
            folder.write("old", "before");
            fs::permissions(folder.path("old"), fs::perms(0600));
            for (const auto &[target, name] :
                 {std::pair("old", "link"), {"ahead", "dangling"}, {"/dev/null", "device"}})
                fs::create_symlink(target, folder.path(name));
            auto expected = folder.files();
            {
                text::WholeFile file;
                ASSERT_TRUE(file.open(folder.path(row.name)));
                file.out.put(content);
                for (const auto &[name, before] : expected)
                    EXPECT_EQ(folder.read(name), before) << row.name;
                EXPECT_TRUE(!isPublished || file.publish()) << row.name;
            }
            for (const char *name : isPublished ? row.made : std::vector<const char *>())
                expected[name] = content;
            EXPECT_EQ(folder.files(), expected) << row.name;
            for (const char *name : {"link", "dangling", "device"})
                EXPECT_TRUE(fs::is_symlink(folder.path(name))) << row.name;
            if (isPublished) {
                EXPECT_EQ(fs::status(folder.path(row.name)).permissions(), fs::perms(row.mode)) << row.name;
            }
        }
    }
    umask(mask);
}

TEST(WholeFile, LeavesNothingWhereItCannotHaveItsName)
{
    const Folder folder;
    text::WholeFile file, unfound, taken;
    EXPECT_FALSE(unfound.open(folder.path("none/out")));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(taken.open(folder.path(".")));
    EXPECT_EQ(errno, EISDIR);
    ASSERT_TRUE(file.open(folder.path("out")));
    fs::create_directory(folder.path("out"));
    EXPECT_FALSE(file.publish());
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path(".")), {}), 1);
}
