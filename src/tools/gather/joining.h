// The results of the parts as those of one run.
#pragma once

#include "tools/gather/parts.h"

namespace gather {

void joinBytes(const Parts &parts, const std::string &suffix, text::Writer &out);
void joinRows(const Parts &parts, const std::string &suffix, text::Writer &out);
void joinPhenotypeStatistics(const Parts &parts, text::Writer &out);
void joinMarkerStatistics(const Parts &parts, text::Writer &out);
void joinRegressions(const Parts &parts, text::Writer &hits, text::Writer &statistics);
void joinMixtures(const Parts &parts, text::Writer &out);

}  // namespace gather
