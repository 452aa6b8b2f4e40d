// Hints about data, for a person at a terminal: what a run has met that may not be meant. Whoever meets it tells the
// fact here, in a few words; all is shown once, when the run ends. Where no hints are wanted nothing is kept, and facts
// that take time to find are not looked for.
#pragma once

#include "main/modes.h"
#include "text/lines.h"

#include <functional>
#include <string>
#include <string_view>

// From now on hints are kept; `mode` is null where there is none of that name.
void startDataHints(const Mode *mode);
bool wantsDataHints();

// One that stands for itself; told again it counts once.
void addDataHint(const std::string &hint);

// Something that may happen often: the hint names the first place and the number of places.
void addDataHint(const std::string &place, const std::string &what);

// One of which the text is known only at the end of the run; an empty text is none.
void addDataHint(std::string (*textAtTheEnd)());

// An output that will be made, under a name that may be an option's.
void noteOutput(const std::string &name);

// Reads a regular file again for a hint. A failure ends that, and nothing else.
void readAgain(const std::string &file, const std::function<void(text::LineReader &)> &look);

// Where a byte of an input stands, as in "FILE", line 1, field 2; to be called at the end of a run, since the file is
// read again for it.
std::string describePlace(const text::LineReader::Origin &origin);

// To be called at the end of a run.
void showDataHints(int status);
