// Population matching: individuals of one data set matched with those of another. Not available yet.
#include "modes/modes.h"

constinit const Mode popSelMode = {{"popsel"}, reportUnavailable, {}, "Matches individuals between two data sets"};
