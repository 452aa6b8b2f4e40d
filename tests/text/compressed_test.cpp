#include "support/program.h"
#include "text/files.h"
#include "text/inflate.h"
#include "text/lines.h"
#include "text/writer.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <zlib.h>
#include <zstd.h>

static const std::string refused = "(cannot read)";

// What a reader with this block says of a file with these bytes; each line ends, whether it did or not.
static std::string contentRead(const Folder &folder, const std::string &bytes, size_t block = 4096)
{
    struct Failed {};
    text::onFailure = [](const char *action, const std::string &) {
        EXPECT_STREQ(action, "read");
        throw Failed();
    };
    std::filesystem::remove(folder.path("in"));  // to write over a file can mean to wait for the disk
    folder.write("in", bytes);
    std::string content;
    try {
        text::LineReader in;
        EXPECT_TRUE(in.open(folder.path("in"), block));
        for (std::string_view line; in.next(line);)
            content.append(line) += '\n';
    } catch (Failed) {
        content = refused;
    }
    return content;
}

// The bytes of a file of this name that the writer makes, in two parts.
static std::string written(const Folder &folder, const std::string &name, const std::string &content,
                           bool isComplete = true)
{
    text::Writer out;
    EXPECT_TRUE(out.open(folder.path(name)));
    out.put(content.substr(0, content.size() / 2));
    out.flush();
    out.put(content.substr(content.size() / 2));
    isComplete ? text::Writer::closeAll() : text::Writer::flushAll();
    return folder.read(name);
}

// By zlib, with everything that a header can have.
static std::string member(const std::string &content)
{
    std::string bytes(content.size() + 1000, '\0');
    Bytef extra[] = "ab\4\0BC\2\0", name[] = "name", comment[] = "comment";
    gz_header header = {};
    header.extra = extra, header.extra_len = 8, header.name = name, header.comment = comment, header.hcrc = 1;
    z_stream stream = {};
    deflateInit2(&stream, 6, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
    deflateSetHeader(&stream, &header);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(content.data()));
    stream.avail_in = uInt(content.size());
    stream.next_out = reinterpret_cast<Bytef *>(bytes.data());
    stream.avail_out = uInt(bytes.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    bytes.resize(stream.total_out);
    deflateEnd(&stream);
    return bytes;
}

static std::string randomLines(size_t count)
{
    std::mt19937_64 generator(7);
    std::string lines;
    for (size_t i = 0; i < count; ++i)
        lines += "rs" + std::to_string(generator() % 1000) + " 0 0.5 1\n";
    return lines;
}

static const std::string content = randomLines(9);

TEST(Compressed, IsReadToItsRightEndOrRefused)
{
    const Folder folder;
    const std::string gz = member(content), bgz = written(folder, "a.gz", content);
    const std::string zst = written(folder, "a.zst", content);
    const std::string cut = written(folder, "b.gz", content, false), cutZst = written(folder, "b.zst", content, false);
    const std::string skipped("\x5f\x2a\x4d\x18\3\0\0\0abc", 11), zeros(300000, '\0');
    const struct {
        const char *name;
        std::string bytes, content;
    } cases[] = {
        {"member", gz, content},
        {"members", gz + gz, content + content},
        {"empty members", member("") + gz + member(""), content},
        {"blocks", bgz, content},
        {"blocks twice", bgz + bgz, content + content},
        {"blocks and a member", bgz + gz, content + content},
        {"zeros behind a member", gz + zeros, content},
        {"zeros behind blocks", bgz + zeros, content},
        {"frames", zst + zst, content + content},
        {"skippable frames", skipped + zst + skipped, content},
        {"no more than a byte of a mark", "\x1f", "\x1f\n"},
        {"no more than three bytes of a mark", "\x28\xb5\x2f", "\x28\xb5\x2f\n"},
        {"no mark", "\x1fx\n\x28\xb5\x2f\xfe\n", "\x1fx\n\x28\xb5\x2f\xfe\n"},
        {"mark alone", "\x1f\x8b", refused},
        {"text behind a member", gz + "x", refused},
        {"zeros, then text", gz + zeros + "x", refused},
        {"zeros, then a member", gz + zeros + gz, refused},
        {"part of a mark behind a member", gz + "\x1f", refused},
        {"no empty block", cut, refused},
        {"no empty block, but zeros", cut + zeros, refused},
        {"no empty block, but a member", cut + gz, refused},
        {"no end of the frame", cutZst, refused},
        {"zeros behind a frame", zst + zeros, refused},
        {"a member behind a frame", zst + gz, refused},
    };
    for (const auto &row : cases) {
        for (const size_t block : {1, 2, 7, 4096})
            EXPECT_EQ(contentRead(folder, row.bytes, block), row.content) << row.name << ", block " << block;
    }
}

TEST(Compressed, ACutFrameIsNotTakenForAnEmptyOne)
{
    // A header of six bytes and an empty block; without the mark it looks like a frame to be skipped.
    const std::string frame = std::string("\x28\xb5\x2f\xfd") + "\x50\x2a\x4d\x18" + std::string("\2\0\0\0\0\0", 6);
    const Folder folder;
    EXPECT_EQ(contentRead(folder, frame, 1 << 16), refused);
}

TEST(Compressed, IsRefusedWhereverItIsCutOrDamaged)
{
    const Folder folder;
    const struct {
        std::string bytes;
        size_t markSize, untold;  // bytes that change nothing: times, systems, the window, "BC" in the first of blocks
    } cases[] = {
        {member(content), 2, 0},
        {written(folder, "a.gz", content), 2, 3 * 6 + 2},
        {written(folder, "a.zst", content), 4, 2},
    };
    for (const auto &row : cases) {
        size_t untold = 0;
        for (size_t i = row.markSize; i < row.bytes.size(); ++i) {
            EXPECT_EQ(contentRead(folder, row.bytes.substr(0, i)), refused) << "cut to " << i;
            for (const int bits : {0xff, 1}) {
                std::string damaged = row.bytes;
                damaged[i] = char(damaged[i] ^ bits);
                const std::string read = contentRead(folder, damaged);
                untold += bits == 0xff && read != refused;
                EXPECT_TRUE(read == refused || read == content) << "byte " << i << ", bits " << bits;
            }
        }
        EXPECT_LE(untold, row.untold) << row.markSize;
    }
}

// State and content, with so many bytes at a time.
static std::pair<text::Inflater::State, std::string> inflated(text::Inflater &inflater, std::string_view packed,
                                                              size_t bytes)
{
    using State = text::Inflater::State;
    std::string text(100000, '\0');
    size_t size = 0, last = 1;
    State state = State::More;
    inflater.start();
    while (state == State::More && (!packed.empty() || last > 0)) {
        std::string_view given = packed.substr(0, bytes);
        packed.remove_prefix(given.size());
        do {
            state = inflater.run(given, text.data() + size, std::min(bytes, text.size() - size), last);
            size += last;
        } while (state == State::More && !given.empty());
    }
    text.resize(state == State::End ? size : 0);
    return {state, text};
}

TEST(Inflater, DoesTheSameByEitherLibrary)
{
    const auto isal = text::makeIsalInflater(), zlib = text::makeZlibInflater();
    if (!isal)
        GTEST_SKIP() << "ISA-L is not installed";
    for (const size_t lines : {0, 1, 30, 4000}) {
        std::string packed = member(randomLines(lines)).substr(10 + 10 + 5 + 8 + 2);
        for (const size_t bytes : {1, 3, 1000, 1000000}) {
            const auto result = inflated(*isal, packed, bytes);
            EXPECT_TRUE(result.second == randomLines(lines)) << lines << " lines, " << bytes << " bytes";
            EXPECT_TRUE(result == inflated(*zlib, packed, bytes)) << lines << " lines, " << bytes << " bytes";
        }
        for (size_t i = 0; i < packed.size() && lines < 4000; ++i) {
            packed[i] ^= 4;
            EXPECT_TRUE(inflated(*isal, packed, 7) == inflated(*zlib, packed, 7)) << lines << " lines, byte " << i;
            packed[i] ^= 4;
        }
    }
}

TEST(Writer, CompressesSoThatTheUsualReadersTakeIt)
{
    const Folder folder;
    // The empty block of the SAM/BAM format, 4.1.2.
    const std::string end("\x1f\x8b\x08\x04\0\0\0\0\0\xff\6\0BC\2\0\x1b\0\3\0\0\0\0\0\0\0\0\0", 28);
    std::string noise;
    std::mt19937_64 generator(5);
    for (int i = 0; i < 300000; ++i)
        noise += char(generator());
    for (const std::string &text : {std::string(), content, randomLines(60000), noise}) {
        const std::string packed = written(folder, "a.gz", text), zst = written(folder, "a.zst", text);
        EXPECT_TRUE(packed.ends_with(end));
        std::string unpacked(text.size() + 1, '\0');
        gzFile file = gzopen(folder.path("a.gz").c_str(), "rb");
        EXPECT_EQ(gzread(file, unpacked.data(), unsigned(unpacked.size())), int(text.size()));
        EXPECT_EQ(gzclose(file), Z_OK);
        EXPECT_TRUE(unpacked.compare(0, text.size(), text) == 0);
        EXPECT_EQ(ZSTD_decompress(unpacked.data(), unpacked.size(), zst.data(), zst.size()), text.size());
        EXPECT_TRUE(unpacked.compare(0, text.size(), text) == 0);
    }
    EXPECT_EQ(written(folder, "a.gz.stats", content), content);
}

TEST(ContentSize, IsToldByWhatHasComeOutOfACompressedFile)
{
    const Folder folder;
    const std::string text = randomLines(60000);
    const std::string packed = written(folder, "a.gz", text);
    text::LineReader in;
    ASSERT_TRUE(in.open(folder.path("a.gz")));
    std::string_view line;
    for (int i = 0; i < 30000; ++i)
        in.next(line);
    EXPECT_NEAR(text::contentSize(folder.path("a.gz")) / double(text.size()), 1, 0.1);
    in.rewind();
    EXPECT_TRUE(in.next(line) && in.copyRestToReread());
    EXPECT_EQ(text::contentSize(folder.path("a.gz")), double(text.size() - line.size() - 1));
    in.close();
    EXPECT_EQ(text::contentSize(folder.path("a.gz")), double(packed.size()));
}
