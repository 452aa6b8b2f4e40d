#include "modes/gwas3_literal.h"
#include "support/scanmodel.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>
#include <vector>

void LiteralScan::run(const std::string &phenotypes, const std::string &genotypes)
{
    hits = statistics = "(no file)";
    messages.clear();
    status = scan(phenotypes, genotypes) ? 0 : 1;
}

// At the delimiter where it is a comma or a semicolon.
Texts LiteralScan::wordsOf(const std::string &line) const
{
    Texts words = delimiter == "," || delimiter == ";" ? plainFields(line, delimiter) : plainWords(line);
    for (std::string &word : words) {
        const Texts bare = plainWords(word);
        word = bare.size() == 1 ? bare[0] : word;
    }
    return words;
}

bool LiteralScan::scan(const std::string &phenotypes, const std::string &genotypes)
{
    constexpr double missingNumber = -999.999;
    const Texts phenotypeLines = plainLines(phenotypes);
    Texts markerLines = plainLines(genotypes);
    std::erase_if(markerLines, [](const std::string &line) { return plainWords(line).empty(); });
    const int columns = phenotypeLines.empty() ? 0 : int(plainFields(phenotypeLines[0], delimiter).size());
    messages = "Phenotype file contains " + std::to_string(columns) + " columns and "
        + std::to_string(phenotypeLines.size()) + " rows\n";
    Texts names;
    std::vector<std::vector<double>> matrix;
    for (const std::string &line : phenotypeLines) {
        const Texts fields = plainFields(line, delimiter);
        if (int(fields.size()) != columns) {
            messages += "Inconsistent number of columns in pheno file\n";
            return false;
        }
        names.push_back(fields[0]);
        matrix.emplace_back();
        for (size_t i = 1; i < fields.size(); ++i) {
            const bool isMissing = fields[i].empty() || fields[i] == missing;
            matrix.back().push_back(isMissing ? missingNumber : text::readDouble(fields[i]));
        }
    }
    const int genotypeColumns = markerLines.empty() ? 0 : int(plainFields(markerLines[0], delimiter).size());
    if ((genotypeColumns - 5) / 3 != columns - 1) {
        messages += "Pheno file and geno file contain different number of individuals\n";
        return false;
    }
    const size_t individuals = columns > 0 ? size_t(columns - 1) : 0;
    hits = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";
    statistics = "Marker\tMarkerID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\t";
    statistics += statistic == 0 ? "R2" : statistic == 1 ? "t-value" : "p-value";
    statistics += "\tBestPheno\tgroup1\tgroup2\tgroup3\n";

    PlainDecisions decisions = {statistic, statisticLimit, slopeLimit, df1(), {}, {}};
    int totalHits = 0;
    std::vector<float> values(individuals);  // dosage plus a half
    for (size_t marker = 0; marker < markerLines.size(); ++marker) {
        const Texts words = wordsOf(markerLines[marker]);
        if (words.size() != wordsOf(markerLines[0]).size() || words.size() < 5 + 3 * individuals) {
            messages += "Inconsistent number of columns in geno file\n";
            hits += decisions.hits;
            return false;
        }
        for (size_t i = 0; i < individuals; ++i) {
            values[i] = 2 * float(text::readDouble(words[5 + 3 * i + 2]));
            values[i] += float(text::readDouble(words[5 + 3 * i + 1]));
            values[i] += 0.5f;
        }
        double abs_max_slope = 0, best_statistic = -1;
        std::string BestPheno = "NA";
        std::vector<double> rowCounts(3);
        for (size_t j = 0; j < names.size(); ++j) {
            std::vector<double> counts(3), means(3);
            for (size_t i = 0; i < individuals; ++i) {
                if (matrix[j][i] == missingNumber)
                    continue;
                if (!(values[i] > -1 && values[i] < 3)) {
                    messages += "gValue error\n";
                    hits += decisions.hits;
                    return false;
                }
                means[size_t(std::trunc(values[i]))] += matrix[j][i];
                counts[size_t(std::trunc(values[i]))] += 1;
            }
            for (size_t k = 0; k < 3; ++k)
                means[k] = counts[k] > 0 ? means[k] / counts[k] : 0;
            const PlainFit fit = fitPlainly({1, 2, 3}, means, decisions.table);
            abs_max_slope = std::max(abs_max_slope, std::fabs(fit.slope));
            const bool isBest = statistic == 2
                ? fit.p != -1 && (best_statistic == -1 || fit.p < best_statistic)
                : (statistic == 1 ? fit.t : fit.r2) > best_statistic;
            if (isBest) {
                best_statistic = statistic == 2 ? fit.p : statistic == 1 ? fit.t : fit.r2;
                BestPheno = names[j];
            }
            if (isBest || best_statistic == -1)
                rowCounts = counts;
            decisions.decide(fit, names[j], words[1]);
        }
        totalHits += decisions.counts[0];
        std::string counts = decisions.takeCounts();
        counts.insert(counts.find('\t', 1), "\t" + std::to_string(totalHits));
        statistics += words[1] + "\t" + std::to_string(marker + 1) + counts + "\t" + plainText(abs_max_slope) + "\t"
            + plainText(best_statistic) + "\t" + BestPheno;
        for (const double count : rowCounts)
            statistics += "\t" + plainText(count);
        statistics += "\n";
    }
    hits += decisions.hits;
    messages += "Genotype file contains " + std::to_string(genotypeColumns) + " columns and "
        + std::to_string(int(markerLines.size()) - 1)
        + " rows\nYour files:\nPhenotypes taken from 'p'\nGenotypes taken from 'g'\n"
          "Top phenotypes for each SNP are in 'o'\nSummary statistics by the SNP are in 'o.stats'\n\n";
    return true;
}
