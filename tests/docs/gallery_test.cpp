// The gallery, with gnuplot. MORVEL_PICTURES names the folder where its pictures are kept, as scripts/test-more.sh does.
#include "plot/verbs.h"
#include "support/guide.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

TEST(Gallery, DrawsAPictureOfEveryKind)
{
    const char *kept = std::getenv("MORVEL_PICTURES");
    if (!kept)
        GTEST_SKIP() << "needs gnuplot";
    const Folder folder;
    std::filesystem::create_directory_symlink(MORVEL_SOURCE_FOLDER "/examples", folder.path("examples"));
    followPage("docs/gallery.md", folder);
    ASSERT_FALSE(HasFatalFailure());
    std::set<std::string> drawn;
    for (const Step &step : readSteps("docs/gallery.md")) {
        if (step.command.starts_with("morvel-plot " + step.section + " "))
            drawn.insert(step.section);
    }
    for (const Mode *kind : plot::companion.verbs)
        EXPECT_TRUE(drawn.contains(kind->name())) << kind->name();
    std::filesystem::copy(folder.path(""), kept,
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing
                              | std::filesystem::copy_options::skip_symlinks);
}
