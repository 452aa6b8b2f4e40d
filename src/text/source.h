// The content of an input file, whether it is stored plain or compressed.
#pragma once

#include "text/unpack.h"

#include <memory>
#include <string>

namespace text {

// A file that begins with the mark of gzip or Zstandard is read as its content, whatever its name. A failed read goes
// to onFailure, and so does a compressed file that is damaged, cut, or has something else behind its end. Content of a
// foreign kind (foreign.h) goes to onForeign.
class Source {
public:
    Source() = default;
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;
    ~Source() { close(); }

    // False when the file is missing, unreadable or a folder, with the reason in errno.
    bool open(const std::string &name);
    void close();
    const std::string &name() const { return m_name; }

    // Some bytes of content, at most `bytes` > 0; 0 behind the last one.
    size_t read(char *to, size_t bytes)
    {
        if (m_kind == Kind::Plain) [[likely]]
            return readFile(to, bytes);
        return readByKind(to, bytes);
    }

    // False for a pipe, and for a compressed file: unpacking it again takes longer than reading a copy.
    bool startsAgainCheaply();
    // Reads on in an unnamed temporary file, at its beginning: `bytes` and what has not been read.
    void copyRest(std::string_view bytes);
    // Starts again at the first byte. A pipe cannot: that is a failed read.
    void rewind();
    // The descriptor of a plain file or a copy, to be closed by the caller from now on.
    int release();

    // As for contentSize().
    double size() const;

private:
    enum class Kind {
        Unknown,
        PlainHead,  // m_head comes first
        Plain,
        Packed
    };

    size_t readFile(char *to, size_t bytes);
    size_t readByKind(char *to, size_t bytes);
    size_t readOfKind(char *to, size_t bytes);
    void findKind();
    void forget();

    friend double contentSize(const std::string &name);
    static Source *firstOpen;

    std::string m_name;
    int m_file = -1;
    Kind m_kind = Kind::Unknown;
    char m_head[markSize] = {};  // read to find the kind
    size_t m_headSize = 0;
    size_t m_headNext = 0;  // first byte not handed out
    std::unique_ptr<Unpacker> m_unpacker;
    double m_content = 0;  // bytes unpacked so far
    Source *m_nextOpen = nullptr;
};

// Lets onForeign know where the file is a regular one of a foreign kind.
void lookForForeign(const std::string &name);

// How many bytes of content this file has. Of a compressed file that is open, by how much has come out of the part read
// so far; 0 where it cannot be told.
double contentSize(const std::string &name);

// For readers of other kinds: a descriptor at the first byte of the content, which is a file that can be read at any
// place. Of a pipe or a compressed file it is an unnamed copy. -1 when the file cannot be opened, with the reason in
// errno.
int openContent(const std::string &name);

}  // namespace text
