#include "support/scanmodel.h"
#include "text/bytes.h"

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

PlainFit fitPlainly(const std::vector<double> &x, const std::vector<double> &y, const TTable &table)
{
    const auto &[p, t] = table;
    const double n = double(x.size());
    double sx = 0, sy = 0, sxy = 0, sxx = 0, residuals = 0, total = 0;
    for (size_t k = 0; k < x.size(); ++k) {
        sx += x[k];
        sy += y[k];
        sxy += x[k] * y[k];
        sxx += x[k] * x[k];
    }
    PlainFit fit = {(n * sxy - sx * sy) / (n * sxx - sx * sx), 0, -1, -1};
    const double intercept = (sy - fit.slope * sx) / n;
    for (size_t k = 0; k < x.size(); ++k) {
        const double residual = y[k] - (intercept + fit.slope * x[k]), deviation = y[k] - sy / n;
        residuals += residual * residual;
        total += deviation * deviation;
    }
    if (total != 0)
        fit.r2 = 1 - residuals / total;
    if (fit.r2 < 0)
        fit.r2 = 0;
    const double value = std::sqrt(fit.r2) * std::sqrt((n - 2) / (1 - fit.r2));
    if (t.empty() || fit.r2 >= 1 || !(value > 0))
        return fit;
    size_t row = 1;
    while (row <= 350 && t[row] <= value)
        ++row;
    fit.t = value;
    fit.p = row > 350 ? 5.1e-09
                      : p[row - 1] - (value - t[row - 1]) / (t[row] - t[row - 1]) * (p[row - 1] - p[row]);
    return fit;
}

void PlainDecisions::decide(const PlainFit &fit, const std::string &phenotype, const std::string &marker)
{
    const double slope = std::fabs(fit.slope);
    if (!(statistic == 0     ? fit.r2 >= limit
              : statistic == 1 ? fit.t >= limit && fit.t != -1
                               : fit.p <= limit && fit.p != -1))
        return;
    if (slope >= slopeLimit) {
        ++counts[0];
        hits += phenotype + "\t" + marker + "\t" + plainText(fit.slope) + "\t" + plainText(fit.r2) + "\t"
            + (fit.t <= 0 ? "NA" : plainText(fit.t)) + "\t" + (fit.p <= 0 ? "NA" : plainText(fit.p)) + "\n";
    }
    if (slope < 0.25 * slopeLimit)
        ++counts[1];
    else if (slope < 0.5 * slopeLimit)
        ++counts[2];
    else if (slope >= 2 * slopeLimit)
        ++counts[3];
}

std::string PlainDecisions::takeCounts()
{
    std::string text;
    for (int &count : counts) {
        text += "\t" + std::to_string(count);
        count = 0;
    }
    return text;
}
