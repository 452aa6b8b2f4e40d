// Compressed streams: damaged ones are refused the same way whatever the block, and the two libraries for gzip agree;
// what the writer packs is read back.
#include "bytes.h"
#include "text/inflate.h"
#include "text/source.h"
#include "text/writer.h"

#include <algorithm>

struct Content {
    std::string bytes;
    bool isWhole;
    bool operator==(const Content &) const = default;
};

static constexpr size_t most = 1 << 20;

static Content readBy(const std::string &name, size_t block)
{
    text::Source source;
    expect(source.open(name));
    Content content = {{}, true};
    std::string some(block, '\0');
    try {
        while (const size_t size = content.bytes.size() < most ? source.read(some.data(), block) : 0) {
            expect(size <= block);
            content.bytes.append(some, 0, size);
        }
    } catch (const std::runtime_error &) {
        content.isWhole = false;
    }
    return content;
}

// Behind a member's header.
static Content inflateBy(text::Inflater &inflater, std::string_view packed, size_t room)
{
    using State = text::Inflater::State;
    Content content = {{}, false};
    std::string some(room, '\0');
    inflater.start();
    for (State state = State::More; state == State::More && content.bytes.size() < most;) {
        const size_t left = packed.size();
        size_t size = 0;
        state = inflater.run(packed, some.data(), room, size);
        content.bytes.append(some, 0, size);
        content.isWhole = state == State::End;
        if (size == 0 && packed.size() == left)
            break;
    }
    return content;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size)
{
    throwFailures();
    Choices choices(bytes, size);
    const size_t block = 1 + choices.below(256), kind = choices.below(3);
    const std::string_view content = choices.rest();
    if (kind == 0) {
        const MemoryFile file(content);
        const Content large = readBy(file.name(), 1 << 16), small = readBy(file.name(), block);
        expect(large.isWhole == small.isWhole || large.bytes.size() >= most || small.bytes.size() >= most);
        if (large.isWhole && large.bytes.size() < most)
            expect(large == small);
    } else if (kind == 1) {
        const auto first = text::makeIsalInflater(), second = text::makeZlibInflater();
        const Content byFirst = first ? inflateBy(*first, content, block * 256) : Content();
        if (first && byFirst.bytes.size() < most) {
            const Content bySecond = inflateBy(*second, content, block);
            expect(byFirst.isWhole == bySecond.isWhole && (!byFirst.isWhole || byFirst == bySecond));
        }
    } else {
        for (const char *ending : {".gz", ".zst"}) {
            const std::string name = "/tmp/morvel-fuzz-" + std::to_string(getpid()) + ending;
            text::Writer out;
            expect(out.open(name));
            for (size_t at = 0; at < content.size(); at += block) {
                out.put(content.substr(at, block));
                if (at % 7 == 0)
                    out.flush();
            }
            out.close();
            const Content read = readBy(name, block);
            unlink(name.c_str());
            expect(read == Content{std::string(content), true});
        }
    }
    return 0;
}
