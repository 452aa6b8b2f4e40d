#include "scans/phenotype.h"
#include "genotypes/markers.h"
#include "main/console.h"
#include "main/settings.h"
#include "scans/scanhints.h"
#include "text/fields.h"
#include "text/readnumber.h"

bool isMissingField(std::string_view field)
{
    return field.empty() || field == Missing;
}

double readPhenotypeValue(std::string_view field)
{
    return isMissingField(field) ? missingValue : text::readDouble(field);
}

static bool readFields(std::string_view line, size_t individuals, Phenotype &phenotype)
{
    text::FieldReader fields(line, Delim);
    std::string_view field;
    fields.next(field);
    phenotype.name = field;
    phenotype.values.clear();
    phenotype.values.reserve(individuals);
    phenotype.p2List.clear();
    phenotype.p2List.reserve(individuals);
    while (fields.next(field)) {
        const bool isMissing = isMissingField(field);
        if (phenotype.values.size() == individuals) {
            if (!isMissing)
                return false;
            continue;
        }
        phenotype.values.push_back(readPhenotypeValue(field));
        if (!isMissing)
            phenotype.p2List.push_back(phenotype.values.back());
    }
    return phenotype.values.size() == individuals;
}

bool readPhenotype(std::string_view line, size_t individuals, Phenotype &phenotype)
{
    const bool fits = readFields(line, individuals, phenotype);
    if (fits)
        lookAtPhenotype(phenotype.name, phenotype.values);
    else
        explainIndividuals(text::countFields(line, Delim) - 1, leadingColumns + individuals, false);
    return fits;
}

void refusePhenotype()
{
    fatal("Pheno file and geno file contain different number of individuals\n");
}
