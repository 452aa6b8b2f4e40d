// The rooms of the source and what they may include, as docs/design.md lists them.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>

// The rooms of the table from top to bottom.
static std::map<std::string, size_t> readFloors()
{
    std::map<std::string, size_t> floors;
    std::ifstream design(MORVEL_SOURCE_FOLDER "/docs/design.md");
    std::string line;
    std::smatch room;
    while (std::getline(design, line)) {
        if (std::regex_search(line, room, std::regex("^\\| `src/(\\w+)` \\|")))
            floors[room[1]] = floors.size();
    }
    floors["tools"] = 0;  // may use all but the modes
    return floors;
}

TEST(Design, IncludesPointDownTheTableOfRooms)
{
    const auto floors = readFloors();
    const std::string source = MORVEL_SOURCE_FOLDER "/src";
    std::map<std::string, int> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(source)) {
        const std::string path = std::filesystem::relative(entry.path(), source).string();
        const std::string room = path.substr(0, path.find('/'));
        if (!entry.is_regular_file())
            continue;
        ASSERT_TRUE(floors.contains(room)) << path;
        ++files[room];
        std::ifstream in(entry.path());
        std::string line;
        std::smatch included;
        while (std::getline(in, line)) {
            if (!line.starts_with("#include \"") || !std::regex_search(line, included, std::regex("\"(\\w+)/(\\w+).h\"")))
                continue;
            const std::string other = included[1];
            ASSERT_TRUE(floors.contains(other)) << path << ": " << line;
            EXPECT_LE(floors.at(room), floors.at(other)) << path << ": " << line;
            const bool isOtherMode = room == "modes" && other == "modes" && included[2] != "modes"
                && path.find("/" + included[2].str() + ".") == path.npos;
            EXPECT_FALSE(isOtherMode) << path << ": " << line;
        }
    }
    EXPECT_EQ(files.size(), floors.size());
}
