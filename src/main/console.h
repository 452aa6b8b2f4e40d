// Standard output, and the ways a run can end early.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#define MORVEL_FORMAT [[gnu::format(printf, 1, 2)]]

// Writes to standard output, which reaches the disk or the terminal at the latest with flushConsole().
MORVEL_FORMAT void print(const char *format, ...);
void printBytes(std::string_view bytes);
void flushConsole();

// Both end the run with status 1 and keep all output written so far: with a message, or silently.
MORVEL_FORMAT [[noreturn]] void fatal(const char *format, ...);
[[noreturn]] void quit();

// The end of every run: complete output, or a message and status 1.
[[noreturn]] void finish(int status);

// Makes failed reads and writes end the run, and keeps the standard streams apart from any file opened later. The
// messages of a companion, a line each, go to standard error behind its name, since standard output may be its result.
void startConsole(const char *companionName = nullptr);

// Copies the bytes and an end mark. What does not fit ends the process by abort, on purpose; all output written
// so far is kept.
void copyBounded(char *buffer, size_t size, std::string_view bytes);
template <size_t size>
void copyBounded(char (&buffer)[size], std::string_view bytes)
{
    copyBounded(buffer, size, bytes);
}

// To be called right before a mode opens its first file: ends the run where an output would be the same file as an
// input that exists, or as an output named before it, or an input is a regular file of another kind (text/foreign.h; a
// pipe is known only when it is read). Shows all messages so far, since long work may follow.
void refuseSameFiles(std::initializer_list<std::string> inputs, std::initializer_list<std::string> outputs);
