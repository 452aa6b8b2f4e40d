// Outputs that appear under their name only when they are complete.
#pragma once

#include "text/writer.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace text {

// A file that has no name while it is written, so that a run that is killed leaves nothing. On a file system without
// such files it waits under a fresh name in the same folder, and goes where the run ends early. What stands under the
// name is replaced at once and not before, and keeps its permissions; of a link, what it leads to is replaced. A pipe
// or a device has no other name to wait under: it is written as it stands.
class WholeFile {
public:
    WholeFile() = default;
    WholeFile(const WholeFile &) = delete;
    WholeFile &operator=(const WholeFile &) = delete;
    ~WholeFile();

    // Once for each object. False where the file cannot be made, with the reason in errno.
    bool open(const std::string &name);

    Writer out;  // what the file is to hold; a failed write goes to onFailure

    // Brings all of it to the disk; false where that fails, with the reason in errno.
    bool settle();
    // Gives it its name. False where that fails, with the reason in errno; nothing is left of it then.
    bool publish();

private:
    void openFresh();
    bool giveName();
    void discard();

    std::string m_name;            // to come; empty for what is written as it stands
    std::string m_waiting;         // the name until then, if any
    std::optional<mode_t> m_mode;  // permissions of what is replaced
    int m_file = -1;
};

}  // namespace text
