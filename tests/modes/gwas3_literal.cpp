#include "modes/gwas3_literal.h"
#include "modes/df.h"
#include "text/readnumber.h"

#include <cmath>
#include <cstdio>
#include <vector>

using Texts = std::vector<std::string>;

static Texts linesOf(const std::string &bytes)
{
    Texts lines;
    for (size_t first = 0; first < bytes.size();) {
        size_t end = bytes.find('\n', first);
        std::string line = bytes.substr(first, end - first);
        if (end != bytes.npos && !line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty())
            lines.push_back(line);
        first = end == bytes.npos ? bytes.size() : end + 1;
    }
    return lines;
}

static Texts fieldsOf(const std::string &line, const std::string &delimiter)
{
    Texts fields;
    size_t first = 0;
    for (size_t end; (end = line.find(delimiter, first)) != line.npos; first = end + delimiter.size())
        fields.push_back(line.substr(first, end - first));
    fields.push_back(line.substr(first));
    return fields;
}

static Texts wordsOf(const std::string &line)
{
    Texts words(1);
    for (const char byte : line) {
        if (byte == ' ' || (byte >= '\t' && byte <= '\r')) {
            if (!words.back().empty())
                words.emplace_back();
        } else {
            words.back() += byte;
        }
    }
    if (words.back().empty())
        words.pop_back();
    return words;
}

static std::string number(double value)
{
    if (std::isnan(value))
        return "nan";
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value == 0 ? 0.0 : value);
    return text;
}

static std::string positive(double value)
{
    return value <= 0 ? "NA" : number(value);
}

void LiteralScan::run(const std::string &phenotypes, const std::string &genotypes)
{
    p.clear();
    t.clear();
    df1();
    hits = statistics = "(no file)";
    messages.clear();
    status = scan(phenotypes, genotypes) ? 0 : 1;
    p.clear();
    t.clear();
}

bool LiteralScan::scan(const std::string &phenotypes, const std::string &genotypes)
{
    constexpr double missingNumber = -999.999;
    const Texts phenotypeLines = linesOf(phenotypes), markerLines = linesOf(genotypes);
    const int columns = phenotypeLines.empty() ? 0 : int(fieldsOf(phenotypeLines[0], delimiter).size());
    messages = "Phenotype file contains " + std::to_string(columns) + " columns and "
        + std::to_string(phenotypeLines.size()) + " rows\n";
    Texts names;
    std::vector<std::vector<double>> matrix;
    for (const std::string &line : phenotypeLines) {
        const Texts fields = fieldsOf(line, delimiter);
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
    const int genotypeColumns = markerLines.empty() ? 0 : int(fieldsOf(markerLines[0], delimiter).size());
    if ((genotypeColumns - 5) / 3 != columns - 1) {
        messages += "Pheno file and geno file contain different number of individuals\n";
        return false;
    }
    const size_t individuals = columns > 0 ? size_t(columns - 1) : 0;
    hits = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";
    statistics = "Marker\tMarkerID\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\t";
    statistics += statistic == 0 ? "R2" : statistic == 1 ? "t-value" : "p-value";
    statistics += "\tBestPheno\tgroup1\tgroup2\tgroup3\n";

    int totalHits = 0;
    std::vector<float> values(individuals);  // dosage plus a half
    for (size_t marker = 0; marker < markerLines.size(); ++marker) {
        const Texts words = wordsOf(markerLines[marker]);
        if (words.size() != wordsOf(markerLines[0]).size() || words.size() < 5 + 3 * individuals) {
            messages += "Inconsistent number of columns in geno file\n";
            return false;
        }
        for (size_t i = 0; i < individuals; ++i) {
            values[i] = 2 * float(text::readDouble(words[5 + 3 * i + 2]));
            values[i] += float(text::readDouble(words[5 + 3 * i + 1]));
            values[i] += 0.5f;
        }
        int hitCount = 0, hits02 = 0, hits03 = 0, hits04 = 0;
        double abs_max_slope = 0, best_statistic = -1;
        std::string BestPheno = "NA";
        double rowCounts[3] = {0, 0, 0};
        for (size_t j = 0; j < names.size(); ++j) {
            double sums[3] = {0, 0, 0}, counts[3] = {0, 0, 0}, m[3];
            for (size_t i = 0; i < individuals; ++i) {
                const double y = matrix[j][i];
                if (y == missingNumber)
                    continue;
                const float value = values[i];
                if (!(value > -1 && value < 3)) {
                    messages += "gValue error\n";
                    return false;
                }
                sums[int(value)] += y;
                counts[int(value)] += 1;
            }
            for (int k = 0; k < 3; ++k)
                m[k] = counts[k] > 0 ? sums[k] / counts[k] : 0;
            const double slope
                = (3 * (m[0] + 2 * m[1] + 3 * m[2]) - 6 * (m[0] + m[1] + m[2])) / (14 * 3 - 36);
            const double absSlope = std::fabs(slope);
            const double sum = m[0] + m[1] + m[2];
            const double intercept = (sum - slope * 6) / 3;
            double SSres = 0, SStot = 0;
            for (int k = 0; k < 3; ++k) {
                const double fitted = intercept + slope * (k + 1);
                SSres += (m[k] - fitted) * (m[k] - fitted);
                SStot += (m[k] - sum / 3) * (m[k] - sum / 3);
            }
            double r2 = SStot == 0 ? 0 : 1 - SSres / SStot;
            if (r2 < 0)
                r2 = 0;
            double tValue = -1, pValue = -1;
            if (r2 < 1) {
                const double r = std::sqrt(r2);
                const double value = r * std::sqrt(1 / (1 - r2));
                if (value > 0) {
                    tValue = value;
                    size_t row = 1;
                    while (row <= 350 && t[row] <= value)
                        ++row;
                    pValue = row > 350
                        ? 5.1e-09
                        : p[row - 1] - (value - t[row - 1]) / (t[row] - t[row - 1]) * (p[row - 1] - p[row]);
                }
            }
            if (absSlope > abs_max_slope)
                abs_max_slope = absSlope;
            const bool isBest = statistic == 2
                ? pValue != -1 && (best_statistic == -1 || pValue < best_statistic)
                : (statistic == 1 ? tValue : r2) > best_statistic;
            if (isBest) {
                best_statistic = statistic == 2 ? pValue : statistic == 1 ? tValue : r2;
                BestPheno = names[j];
            }
            if (isBest || best_statistic == -1)
                std::copy(counts, counts + 3, rowCounts);
            const bool passes = statistic == 2 ? pValue <= statisticLimit && pValue != -1
                : statistic == 1               ? tValue >= statisticLimit && tValue != -1
                                               : r2 >= statisticLimit;
            if (!passes)
                continue;
            if (absSlope >= slopeLimit) {
                ++hitCount;
                hits += names[j] + "\t" + words[1] + "\t" + number(slope) + "\t" + number(r2) + "\t"
                    + positive(tValue) + "\t" + positive(pValue) + "\n";
            }
            if (absSlope < 0.25 * slopeLimit)
                ++hits02;
            else if (absSlope < 0.5 * slopeLimit)
                ++hits03;
            else if (absSlope >= 2 * slopeLimit)
                ++hits04;
        }
        totalHits += hitCount;
        statistics += words[1];
        for (const size_t count : {marker + 1, size_t(hitCount), size_t(totalHits), size_t(hits02),
                                   size_t(hits03), size_t(hits04)})
            statistics += "\t" + std::to_string(count);
        statistics += "\t" + number(abs_max_slope) + "\t" + number(best_statistic) + "\t" + BestPheno;
        for (const double count : rowCounts)
            statistics += "\t" + number(count);
        statistics += "\n";
    }
    messages += "Genotype file contains " + std::to_string(genotypeColumns) + " columns and "
        + std::to_string(int(markerLines.size()) - 1)
        + " rows\nYour files:\nPhenotypes taken from 'p'\nGenotypes taken from 'g'\n"
          "Top phenotypes for each SNP are in 'o'\nSummary statistics by the SNP are in 'o.stats'\n\n";
    return true;
}
