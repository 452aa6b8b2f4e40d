// Four ways of reading a large genotype-triplet file of 750 individuals, to be compared by the time of the
// run. What is read is thrown away; what comes out is a few marker lines. What is compressed or a pipe is copied first,
// but for read1.
#include "main/console.h"
#include "modes/modes.h"
#include "text/decoder.h"
#include "text/fields.h"
#include "text/files.h"
#include "text/lines.h"
#include "text/readnumber.h"
#include "text/source.h"
#include "text/writer.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>

static char inputfile[26] = "FULLSET_750_165000.impute";
static char ctext2[6];  // characters of the number at hand
static constexpr int leadingColumns = 5;
static constexpr int numbersPerLine = 3 * 750;

static void readTest1()
{
    refuseSameFiles({inputfile}, {"OUTPUT.txt"});
    text::Writer out;
    if (!out.open("OUTPUT.txt"))
        quit();  // silent by design
    out.put("start\n");
    text::LineReader in;
    if (!in.open(inputfile))
        quit();
    out.put("file opened\n");

    text::TokenReader words(in);
    std::string_view word;
    [[maybe_unused]] volatile float number;
    while (words.next(word)) {
        for (int i = 1; i < leadingColumns; ++i)
            words.next(word);
        for (int i = 0; i < numbersPerLine && words.next(word); ++i)
            number = text::readFloat(word);
    }
    in.close();
    out.put("file closed\n");
    out.close();
}

static void readTest2()
{
    refuseSameFiles({inputfile}, {"OUTPUT2.txt"});
    const int file = text::openContent(inputfile);
    const std::unique_ptr<text::DecodedFile> in = file < 0 ? nullptr : text::openDecoded(file);
    if (!in)
        fatal("Input file not found\n");
    text::Writer out;
    if (!out.open("OUTPUT2.txt"))
        fatal("Output file not opened\n");
    out.put("before\n");

    if (!in->splitLines())
        text::onFailure("read", inputfile);
    out.put("after\n");
    out.close();
}

namespace {
struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
}  // namespace
using StandardFile = std::unique_ptr<std::FILE, CloseFile>;
using Memory = std::unique_ptr<char, decltype(&std::free)>;

static void readTest3()
{
    refuseSameFiles({inputfile}, {"OUTPUT2.txt"});
    text::Writer out;
    const bool hasOutput = out.open("OUTPUT2.txt");  // on purpose: the run goes on without
    if (hasOutput)
        out.put("before\n");
    const int file = text::openContent(inputfile);
    const StandardFile in(file < 0 ? nullptr : text::steadyStream(file, "r"));
    if (!in) {
        std::perror("Error opening file");
        quit();
    }

    char line[50000];
    std::u16string word;
    [[maybe_unused]] volatile double number;
    while (std::fgets(line, sizeof line, in.get())) {
        int wordCount = 0;
        for (const char *at = line;; ++at) {
            if (*at != ' ' && *at != '\0') {
                word += char16_t(static_cast<unsigned char>(*at));
                continue;
            }
            if (wordCount >= leadingColumns)
                number = text::readDouble(std::string(word.begin(), word.end()));
            word.clear();
            ++wordCount;
            if (*at == '\0')
                break;
        }
    }
    if (std::ferror(in.get()))
        text::onFailure("read", inputfile);
    if (hasOutput)
        out.put("after\n");
    out.close();
}

static long seek(int file, long offset, int from)
{
    const off_t place = lseek(file, offset, from);
    if (place < 0)
        text::onFailure("read", inputfile);
    return long(place);
}

static void readTest4()
{
    constexpr size_t readBytes = 3200000;
    constexpr size_t workSize = 24;
    flushConsole();
    const int in = text::openContent(inputfile);
    if (in < 0) {
        std::fputs("File error", stderr);
        quit();
    }
    const Memory block(static_cast<char *>(std::malloc(readBytes)), std::free);
    if (!block) {
        std::fputs("Memory error1", stderr);
        quit();
    }
    const Memory work(static_cast<char *>(std::malloc(workSize)), std::free);
    if (!work) {
        std::fputs("Memory error2", stderr);
        quit();
    }
    const long size = seek(in, 0, SEEK_END);
    print("c=%li result=%i size = %li entries=%i\n\n", 0L, 0, size, 0);

    std::u16string word;
    size_t position = 0;  // in ctext2
    int wordCount = 0;    // ended in this line
    for (long offset = 0; offset != size;) {
        seek(in, offset, SEEK_SET);
        const size_t bytes = text::readSome(in, block.get(), readBytes, inputfile);
        if (bytes == 0)
            break;
        for (size_t i = 0; i < bytes; ++i) {
            const char byte = block.get()[i];
            if (byte == ' ' || byte == '\n') {
                wordCount = byte == '\n' ? 0 : wordCount + 1;
                word.clear();
                position = 0;
            } else if (wordCount < leadingColumns) {
                word += char16_t(static_cast<unsigned char>(byte));
            } else if (position < sizeof ctext2) {  // the rest of a longer number is left out
                ctext2[position++] = byte;
            }
        }
        offset += long(bytes);
    }
    close(in);
}

constinit const Mode readTest1Mode = {{"read1"}, readTest1, {}, "Times reading FULLSET_750_165000.impute: words"};
constinit const Mode readTest2Mode
    = {{"read2"}, readTest2, {}, "Times reading FULLSET_750_165000.impute: lines of a text stream, split"};
constinit const Mode readTest3Mode
    = {{"read3"}, readTest3, {}, "Times reading FULLSET_750_165000.impute: lines, taken apart byte by byte"};
constinit const Mode readTest4Mode
    = {{"read4"}, readTest4, {}, "Times reading FULLSET_750_165000.impute: blocks, taken apart byte by byte"};
