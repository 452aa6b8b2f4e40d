#include "genotypes/rows.h"
#include "genotypes/columns.h"
#include "main/console.h"
#include "main/progress.h"
#include "text/lines.h"

void convertRows(const FormatOptions &chosen, bool hasLeadingColumns, MarkerLook look,
                 void (*writeRow)(std::string_view line, text::Writer &out))
{
    refuseSameFiles({chosen.filename}, {chosen.outname});
    text::LineReader in;
    text::Writer out;
    if (!out.open(chosen.outname) || !in.open(chosen.filename))
        quit();  // silent by design
    look.leadingColumns = chosen.lastbeforegeno;
    Progress progress(chosen.filename);
    std::string_view line;
    while (in.nextNonEmpty(line)) {
        lookAtMarker(line, look);
        if (hasLeadingColumns)
            copyPaddedColumns(line, chosen.lastbeforegeno, out);
        writeRow(line, out);
        progress.advance(line.size());
        if (!in.atEnd())
            out.put('\n');
    }
    out.close();
}
