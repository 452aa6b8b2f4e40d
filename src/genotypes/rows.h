// A row of results for every line of a genotype or dosage file.
#pragma once

#include "genotypes/markerhints.h"
#include "genotypes/options.h"
#include "text/writer.h"

#include <string_view>

// Each line that is not empty becomes a row of its leading columns, unless they are not wanted, and what `writeRow`
// adds. There are always as many blanks as leading columns. On purpose the row of the input's last line has no line
// break. A file that cannot be opened ends the run silently.
// `look` is for hints, without its leading columns.
void convertRows(const FormatOptions &chosen, bool hasLeadingColumns, MarkerLook look,
                 void (*writeRow)(std::string_view line, text::Writer &out));
