// Lines and words of a file, whatever the block, against a plain reading of its bytes; again after a new start.
#include "bytes.h"
#include "text/bytes.h"
#include "text/fields.h"
#include "text/lines.h"
#include "text/unpack.h"

#include <algorithm>
#include <vector>

using Texts = std::vector<std::string>;

static Texts plainLines(std::string_view bytes, bool keepsReturns)
{
    Texts lines;
    while (!bytes.empty()) {
        const size_t end = std::min(bytes.find('\n'), bytes.size());
        std::string_view line = bytes.substr(0, end);
        if (end < bytes.size() && line.ends_with('\r') && !keepsReturns)
            line.remove_suffix(1);
        lines.emplace_back(line);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return lines;
}

static Texts plainWords(std::string_view bytes)
{
    Texts words;
    for (size_t at = 0; at < bytes.size();) {
        size_t end = at;
        while (end < bytes.size() && !text::isWhiteSpace(bytes[end]))
            ++end;
        if (end > at)
            words.emplace_back(bytes.substr(at, end - at));
        at = end + 1;
    }
    return words;
}

static void readLines(text::LineReader &in, const Texts &expected, bool keepsLines)
{
    std::string_view line;
    std::vector<std::string_view> lines;
    for (size_t i = 0; i < expected.size(); ++i) {
        expect(in.next(line) && line == expected[i]);
        // The bytes behind a line may be read.
        expect(std::count(line.data(), line.data() + line.size() + in.slack, 'x') >= 0);
        lines.push_back(line);
        expect(in.atEnd() == (i + 1 == expected.size()));
    }
    expect(!in.next(line));
    expect(!keepsLines || std::ranges::equal(lines, expected));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    throwFailures();
    Choices choices(bytes, size);
    const size_t block = 1 + choices.below(200), kind = choices.below(4);
    const std::string_view content = choices.rest();
    const MemoryFile file(content);
    if (text::makeUnpacker(-1, file.name(), content.substr(0, text::markSize)))
        return 0;
    text::LineReader in;
    expect(in.open(file.name(), block));
    if (kind & 1)
        in.keepReturns();
    if (kind & 2)
        in.keepLines();
    for (int pass = 0; pass < 2; ++pass) {
        readLines(in, plainLines(content, kind & 1), kind & 2);
        in.rewind();
    }
    text::TokenReader tokens(in);
    std::string_view token;
    for (const std::string &word : plainWords(content))
        expect(tokens.next(token) && token == word);
    expect(!tokens.next(token));

    in.rewind();
    std::string joined, words;
    for (const std::string &word : plainWords(content))
        joined += word + " ";
    for (std::string_view some; in.nextWords(some);) {
        for (const std::string &word : plainWords(some))
            words += word + " ";
    }
    expect(words == joined);
    return 0;
}
