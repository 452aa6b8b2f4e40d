#include "genotypes/options.h"

FormatOptions readFormatOptions(const InputOption &fileOption, const OutputOption &outputOption,
                                const IntegerOption &begOption, const IntegerOption &endOption)
{
    FormatOptions values;
    values.filename = fileOption.require();
    values.outname = outputOption.read(values.filename);
    values.beg = begOption.read();
    values.end = endOption.read();
    values.lastbeforegeno = leadingColumnsOption.read();
    unusedNameColumnOption.given();
    return values;
}
