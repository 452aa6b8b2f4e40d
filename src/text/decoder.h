// Reading a file as decoded text, by Qt's text stream. What needs Qt is a module of its own, loaded at first use: to
// load Qt and the libraries behind it takes as long as everything else that a short run does.
#pragma once

#include <memory>

namespace text {

class DecodedFile {
public:
    virtual ~DecodedFile() = default;

    // Takes all lines apart at single blanks; false where a read failed.
    virtual bool splitLines() = 0;
};

// Of an open file, which is closed in the end. Null when it cannot be read. A module that is not where it was installed
// goes to onFailure.
std::unique_ptr<DecodedFile> openDecoded(int file);

}  // namespace text
