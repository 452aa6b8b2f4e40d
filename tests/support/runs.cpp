#include "support/runs.h"

#include <gtest/gtest.h>

static bool isAs(const std::string &text, const std::string &expected)
{
    return expected.starts_with("...") ? text.ends_with(expected.substr(3)) : text == expected;
}

static void expectRun(const Runs &runs, const RunRow &row)
{
    const Folder folder;
    auto expected = runs.files;
    for (size_t i = 0; i < row.inputs.size(); ++i)
        expected[runs.inputs.at(i)] = row.inputs[i];
    for (const auto &[name, bytes] : expected)
        folder.write(name, bytes);
    Texts options = row.options;
    options.insert(options.end(), runs.options.begin(), runs.options.end());
    const Result run = folder.runMode(runs.mode, options);
    for (size_t i = 0; i < row.outputs.size(); ++i)
        expected[runs.outputs.at(i)] = row.outputs[i];

    SCOPED_TRACE(std::string(runs.mode) + ": " + row.name + testing::PrintToString(options));
    EXPECT_EQ(run.status, runs.status);
    const std::string &messages = row.messages ? *row.messages : runs.messages;
    EXPECT_TRUE(isAs(run.messages, messages)) << run.messages << "instead of\n" << messages;
    const auto left = folder.files();
    for (const auto &[name, bytes] : left)
        EXPECT_TRUE(expected.contains(name)) << name << ":\n" << bytes;
    for (const auto &[name, bytes] : expected) {
        const std::string found = folder.read(name);
        EXPECT_TRUE(isAs(found, bytes)) << name << ":\n" << found << "instead of\n" << bytes;
    }
}

void expectRuns(const Runs &runs, const std::vector<RunRow> &rows)
{
    for (const RunRow &row : rows)
        expectRun(runs, row);
}

Result convert(const Folder &folder, const std::string &mode, std::string_view input, Texts options)
{
    folder.write("in", input);
    options.insert(options.begin(), {"-file", "in", "-out", "out"});
    return folder.runMode(mode, options);
}
