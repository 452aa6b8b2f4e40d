// Files of other programs that hold no text table, known by their first bytes.
#pragma once

#include <string>
#include <string_view>

namespace text {

// So many first bytes tell.
inline constexpr size_t foreignMarkSize = 20;

// What a file that begins so is, as in "a VCF file"; null for what may be a text table.
const char *foreignKind(std::string_view firstBytes);

// Called when the first bytes read from an open file tell that it is foreign, which pipes tell only then. The program
// installs one that ends the run; where there is none, the file is read like any other.
using ForeignHandler = void (*)(const char *kind, const std::string &name);
extern ForeignHandler onForeign;

}  // namespace text
