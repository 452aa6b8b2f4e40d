#include "support/scanmodel.h"
#include "text/bytes.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>

Texts plainLines(const std::string &bytes)
{
    Texts lines;
    for (std::string line : plainFields(bytes + (bytes.ends_with('\n') ? "" : "\r"), "\n")) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (!line.empty())
            lines.push_back(line);
    }
    return lines;
}

Texts plainFields(const std::string &line, const std::string &delimiter)
{
    Texts fields;
    size_t first = 0;
    for (size_t end; (end = line.find(delimiter, first)) != line.npos; first = end + delimiter.size())
        fields.push_back(line.substr(first, end - first));
    fields.push_back(line.substr(first));
    return fields;
}

Texts plainWords(const std::string &line)
{
    std::string blanks = line;
    std::replace_if(blanks.begin(), blanks.end(), text::isWhiteSpace, ' ');
    Texts words = plainFields(blanks, " ");
    std::erase(words, "");
    return words;
}

std::string plainText(double value)
{
    if (std::isnan(value))
        return "nan";
    char text[40];
    std::snprintf(text, sizeof text, "%.6g", value == 0 ? 0.0 : value);
    return text;
}

PlainLine plainLine(const std::vector<std::pair<Long, Long>> &points)
{
    Long meanX = 0, meanY = 0, xx = 0, xy = 0, yy = 0, rest = 0;
    for (const auto &[x, y] : points)
        meanX += x / Long(points.size()), meanY += y / Long(points.size());
    for (const auto &[x, y] : points)
        xx += (x - meanX) * (x - meanX), xy += (x - meanX) * (y - meanY), yy += (y - meanY) * (y - meanY);
    for (const auto &[x, y] : points)
        rest += std::pow(y - meanY - xy / xx * (x - meanX), 2);
    return {xx, yy, xy / xx, std::sqrt(rest / Long(points.size() - 2) / xx), xy * xy / xx / yy};
}

TTest lookUpPlainly(const TTable &table, double r2, size_t points)
{
    const auto &[p, t] = table;
    const double value = std::sqrt(r2) * std::sqrt(double(points - 2) / (1 - r2));
    if (t.empty() || r2 >= 1 || !(value > 0))
        return {-1, -1};
    size_t row = 1;
    while (row <= 350 && t[row] <= value)
        ++row;
    return {value, row > 350 ? 5.1e-09
                             : p[row - 1] - (value - t[row - 1]) / (t[row] - t[row - 1]) * (p[row - 1] - p[row])};
}

std::vector<double> plainBorders(std::vector<double> values, size_t bins, bool isExact)
{
    std::sort(values.begin(), values.end());
    std::vector<double> borders = {values.front() - 1};
    const double width = (values.back() - values.front()) / double(bins), step = double(values.size()) / double(bins);
    for (size_t j = 1; j < bins; ++j)
        borders.push_back(isExact ? values[size_t(std::max(double(j) * step - 0.5, 0.0))]
                                  : values.front() + double(j) * width);
    borders.push_back(values.back() + 1);
    return borders;
}

static constexpr double missingValue = -999.999;

bool PlainScan::readTraits(const std::string &bytes)
{
    for (const std::string &line : plainLines(bytes)) {
        const Texts fields = plainFields(line, delimiter);
        Trait trait = {fields[0], {}, {}};
        std::vector<double> present;
        for (size_t i = 1; i < fields.size(); ++i) {
            const bool isMissing = fields[i].empty() || fields[i] == "NA";
            trait.values.push_back(isMissing ? missingValue : text::readDouble(fields[i]));
            if (!isMissing)
                present.push_back(trait.values.back());
        }
        if (bins > 0 && (!present.empty() || !isExact))
            trait.borders = present.empty() ? std::vector<double>(bins + 1) : plainBorders(present, bins, isExact);
        traits.push_back(trait);
        if (trait.values.size() != traits[0].values.size())
            error = "Inconsistent number of columns in pheno file\n";
    }
    return error.empty();
}

bool PlainScan::readMarkers(const std::string &bytes)
{
    const int individuals = traits.empty() ? -1 : int(traits[0].values.size()), width = bins > 0 ? 1 : 3;
    int columns = 0;
    size_t firstWords = 0;
    for (const std::string &line : plainLines(bytes)) {
        if (plainWords(line).empty())
            continue;
        columns = markers.empty() ? int(plainFields(line, delimiter).size()) : columns;
        Texts words = delimiter == "," || delimiter == ";" ? plainFields(line, delimiter) : plainWords(line);
        for (std::string &word : words) {
            const Texts bare = plainWords(word);
            word = bare.size() == 1 ? bare[0] : word;
        }
        firstWords = markers.empty() ? words.size() : firstWords;
        Marker marker = {words[1], {}, int(words.size()) < 5 + width * individuals};
        for (size_t i = 5; int(marker.values.size()) < individuals && !marker.isUneven; i += size_t(width)) {
            const double value = text::readDouble(words[i]);
            const float dosage = bins > 0 ? 0 : 2 * float(text::readDouble(words[i + 2]))
                + float(text::readDouble(words[i + 1]));
            marker.values.push_back(bins > 0 ? value : dosage + 0.5f);
        }
        marker.isUneven |= words.size() != firstWords;
        markers.push_back(marker);
    }
    if (bins == 0 && (columns - 5) / 3 != individuals)
        error = "Pheno file and geno file contain different number of individuals\n";
    return error.empty();
}

PlainScan::Groups PlainScan::binsOf(const Trait &trait, const Marker &marker) const
{
    Groups groups;
    for (size_t k = 0; k < bins; ++k) {
        double count = 0, dosages = 0, phenotypes = 0;
        for (size_t i = 0; i < trait.values.size(); ++i) {
            const double value = trait.values[i];
            if (value != missingValue && trait.borders[k] < value && value <= trait.borders[k + 1])
                ++count, dosages += marker.values[i], phenotypes += value;
        }
        groups.x.push_back(!hasMeans ? double(k) + 1 : count > 0 ? phenotypes / count : 0);
        groups.y.push_back(count > 0 ? dosages / count : 0);
        groups.counts.push_back(count);
    }
    return groups;
}

PlainScan::Groups PlainScan::classesOf(const Trait &trait, const Marker &marker)
{
    Groups groups = {{1, 2, 3}, {0, 0, 0}, {0, 0, 0}};
    for (size_t i = 0; i < trait.values.size(); ++i) {
        if (trait.values[i] == missingValue)
            continue;
        if (!(marker.values[i] > -1 && marker.values[i] < 3)) {
            error = "gValue error\n";
            return groups;
        }
        groups.y[size_t(std::trunc(marker.values[i]))] += trait.values[i];
        groups.counts[size_t(std::trunc(marker.values[i]))] += 1;
    }
    for (size_t k = 0; k < 3; ++k)
        groups.y[k] = groups.counts[k] > 0 ? groups.y[k] / groups.counts[k] : 0;
    return groups;
}

const TTable &tableFor(size_t points)
{
    static const TTable tables[] = {{}, df1(), df2(), df3(), df5(), df10()};
    return tables[points < 3 || points > 11 ? 0 : points <= 5 ? points - 2 : points <= 7 ? 4 : 5];
}

PlainScan::Fit PlainScan::fit(const Groups &groups) const
{
    const auto &[x, y, counts] = groups;
    const double n = double(x.size());
    double sx = 0, sy = 0, sxy = 0, sxx = 0, residuals = 0, total = 0;
    for (size_t k = 0; k < x.size(); ++k)
        sx += x[k], sy += y[k], sxy += x[k] * y[k], sxx += x[k] * x[k];
    const double slope = (n * sxy - sx * sy) / (n * sxx - sx * sx), intercept = (sy - slope * sx) / n;
    if (bins > 0 && (std::fabs(slope) < slopeLimit || bins <= 2))
        return {slope, -1, -1, -1};
    for (size_t k = 0; k < x.size(); ++k) {
        const double residual = y[k] - (intercept + slope * x[k]), deviation = y[k] - sy / n;
        residuals += residual * residual;
        total += deviation * deviation;
    }
    double r2 = total != 0 ? 1 - residuals / total : 0;
    r2 = r2 < 0 ? 0 : r2;
    const TTest test = lookUpPlainly(tableFor(x.size()), r2, x.size());
    return {slope, r2, test.t, test.p};
}

// A hit's row, and its place among the classes of slopes.
void PlainScan::decide(const Fit &fit, const std::string &start, int (&counts)[4])
{
    const double slope = std::fabs(fit.slope);
    const bool isByR2 = statistic == 0 || (bins > 0 && (bins < 3 || bins > 5));
    if (!(isByR2           ? fit.r2 >= limit
          : statistic == 1 ? fit.t >= limit && fit.t != -1
                           : fit.p <= limit && fit.p != -1))
        return;
    if (slope >= slopeLimit) {
        ++counts[0];
        hits += start + "\t" + plainText(fit.slope) + "\t" + plainText(fit.r2) + "\t"
            + (fit.t <= 0 ? "NA" : plainText(fit.t)) + "\t" + (fit.p <= 0 ? "NA" : plainText(fit.p)) + "\n";
    }
    if (slope < 0.25 * slopeLimit)
        ++counts[1];
    else if (slope < 0.5 * slopeLimit)
        ++counts[2];
    else if (slope >= 2 * slopeLimit)
        ++counts[3];
}

// All phenotypes with a marker, or all markers with a phenotype: the row of statistics.
std::string PlainScan::scanOne(size_t number)
{
    const bool hasClasses = bins == 0;
    double largest = 0, best = -1;
    std::vector<double> shown(hasClasses ? 3 : bins);
    std::string bestName = "NA";
    int counts[4] = {};
    for (size_t k = 0; k < (hasClasses ? traits.size() : markers.size()); ++k) {
        const Trait &trait = traits[hasClasses ? k : number];
        const Marker &marker = markers[hasClasses ? number : k];
        if (!hasClasses && trait.borders.empty())
            continue;
        const Groups groups = hasClasses ? classesOf(trait, marker) : binsOf(trait, marker);
        if (!error.empty())
            return "";
        const Fit fitted = fit(groups);
        const double slope = std::fabs(fitted.slope);
        const double value = statistic == 0 ? fitted.r2 : statistic == 1 ? fitted.t : fitted.p;
        const bool isBest = !hasClasses      ? slope > largest
                            : statistic == 2 ? value != -1 && (best == -1 || value < best)
                                             : value > best;
        if (isBest) {
            best = value;
            bestName = hasClasses ? trait.name : marker.name;
        }
        if (isBest || !hasClasses || best == -1)
            shown = groups.counts;
        largest = std::max(largest, slope);
        decide(fitted, trait.name + "\t" + marker.name, counts);
    }
    totalHits = hasClasses ? totalHits + counts[0] : counts[0];
    std::string row = (hasClasses ? markers[number].name : traits[number].name) + "\t" + std::to_string(number + 1);
    for (const int count : {counts[0], totalHits, counts[1], counts[2], counts[3]})
        row += "\t" + std::to_string(count);
    row += "\t" + plainText(largest) + (hasClasses ? "\t" + plainText(best) : "") + "\t" + bestName;
    for (const double count : shown)
        row += "\t" + plainText(count);
    return row + "\n";
}

void PlainScan::run(const std::string &phenotypes, const std::string &genotypes)
{
    hits = statistics = "(no file)";
    if (!readTraits(phenotypes) || !readMarkers(genotypes))
        return;
    hits = "Pheno\tSNPID\tSlope\tR2\tt-value\tp-value\t\n";
    statistics = bins > 0 ? "Pheno\tPhenoID" : "Marker\tMarkerID";
    statistics += "\tHits\tTotHits\t<0.25*slope\t<0.5*slope\t>2*slope\tAbsMaxSlope\t";
    statistics += bins > 0 ? "BestSNP" : statistic == 0 ? "R2" : statistic == 1 ? "t-value" : "p-value";
    statistics += bins > 0 ? "" : "\tBestPheno";
    for (size_t k = 1; k <= (bins > 0 ? bins : 3); ++k)
        statistics += "\tgroup" + std::to_string(k);
    statistics += "\n";
    for (size_t i = 0; i < (bins > 0 ? traits.size() : markers.size()); ++i) {
        if (bins == 0 && markers[i].isUneven)
            error = "Inconsistent number of columns in geno file\n";
        const std::string row = error.empty() ? scanOne(i) : "";
        if (!error.empty())
            return;
        statistics += row;
    }
}
