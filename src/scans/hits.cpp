#include "scans/hits.h"
#include "main/console.h"
#include "main/settings.h"

#include <string>

void writeHitHeader(text::Writer &out)
{
    out.put("Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n");  // on purpose with a tab at the end
}

void writeHit(std::string_view phenotype, std::string_view marker, const Fit &fit, text::Writer &out)
{
    out.put(phenotype);
    out.put('\t');
    out.put(marker);
    out.put('\t');
    out.put(fit.slope);
    out.put('\t');
    out.put(fit.r2);
    out.put('\t');
    if (fit.t <= 0)
        out.put("NA");
    else
        out.put(fit.t);
    out.put('\t');
    if (fit.p <= 0)
        out.put("NA");
    else
        out.put(fit.p);
    out.put('\n');
}

void writeGroupColumns(text::Writer &out)
{
    for (int k = 1; k <= testgroups; ++k) {
        out.put(k > 1 ? "\tgroup" : "group");
        out.put(k);
    }
    out.put('\n');
}

// The name goes through a buffer of 100 bytes, on purpose.
static void printFileName(const char *what, const char *verb, const std::string &name, const char *end)
{
    char show[100];
    copyBounded(show, name);
    print("%s %s '%s'%s", what, verb, show, end);
}

void printFileNames(const char *best, const char *row)
{
    print("Your files:\n");
    printFileName("Phenotypes", "taken from", Phenoname, "\n");
    printFileName("Genotypes", "taken from", Genoname, "\n");
    printFileName(best, "are in", Outname, "\n");
    printFileName((std::string("Summary statistics by the ") + row).c_str(), "are in", Statsname, "\n\n");
}
