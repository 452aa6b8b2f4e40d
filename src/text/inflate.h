// Decompression of a gzip member.
#pragma once

#include <memory>
#include <string_view>

namespace text {

// Takes what follows a member's header: compressed bytes, and behind them the checksum and the length of the content,
// which it compares. Memory does not depend on the input.
class Inflater {
public:
    enum class State { More, End, Damaged };

    virtual ~Inflater() = default;
    // A member begins.
    virtual void start() = 0;
    // Takes bytes off the front of `packed` and writes at most `room` > 0 bytes of content; `size` tells how many.
    // Stops where one of the two is used up, or at the end of the member.
    virtual State run(std::string_view &packed, char *to, size_t room, size_t &size) = 0;
};

// By ISA-L, which takes a third of zlib's time, or by zlib. Both are loaded here, since the program would start later
// with them; null where they are not installed.
std::unique_ptr<Inflater> makeIsalInflater();
std::unique_ptr<Inflater> makeZlibInflater();

}  // namespace text
