#include "text/foreign.h"

namespace text {

using std::string_view;
using namespace std::string_view_literals;

ForeignHandler onForeign = nullptr;

// The length of the header, small, stands before the word; so no text begins like that.
static bool isBgen(string_view firstBytes)
{
    return firstBytes.size() >= 20 && firstBytes[7] == '\0' && firstBytes.substr(16, 4) == "bgen";
}

const char *foreignKind(string_view firstBytes)
{
    static constexpr struct {
        string_view mark;
        const char *kind;
    } kinds[] = {
        {"##fileformat=VCF"sv, "a VCF file"},
        {"BCF\x02"sv, "a BCF file"},
        {"\x6c\x1b\x01"sv, "a PLINK .bed file"},
        {"\x6c\x1b"sv, "a PLINK .pgen file"},
        {"\xfd\x37zXZ"sv, "an xz file"},
        {"BZh91AY&SY"sv, "a bzip2 file"},
        {"\xd0\xcf\x11\xe0"sv, "a spreadsheet (.xls)"},
        {"\xff\xfe"sv, "UTF-16 text"},
        {"\xfe\xff"sv, "UTF-16 text"},
        {"PK\x03\x04"sv, "a zip archive, as spreadsheets (.xlsx) are"},
    };
    for (const auto &[mark, kind] : kinds) {
        if (firstBytes.starts_with(mark))
            return kind;
    }
    return isBgen(firstBytes) ? "a BGEN file" : nullptr;
}

}  // namespace text
