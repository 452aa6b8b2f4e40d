#include "modes/mixfit_literal.h"
#include "support/scanmodel.h"
#include "text/readnumber.h"

#include <algorithm>
#include <cmath>

static std::vector<std::vector<float>> table;  // [value][population]
static std::vector<float> x;
static float minP, P1, P2, P3;

// The place of the first least value, 0 where none is below the limit.
static size_t leastOf(const std::vector<float> &values, float limit)
{
    size_t place = 0;
    for (size_t i = 0; i < values.size(); ++i) {
        if (values[i] < std::min(limit, values[place]))
            place = i;
    }
    return place;
}

static void fit3(size_t one, size_t two, size_t three, float step)
{
    minP = 9999;
    P1 = P2 = P3 = -9;
    const int intstep = int(step * 1000.0);
    for (int n = 0; n <= intstep + 999; n += intstep) {
        for (int nn = 0; nn <= intstep + 999; nn += intstep) {
            const int nnn = 1000 - n - nn;
            if (nnn < 0)
                continue;
            const float a = float(n / 1000.0), b = float(nn / 1000.0), c = float(nnn / 1000.0);
            float score = 0;
            for (size_t j = 0; j < x.size(); ++j)
                score += std::fabs(table[j][three] * c + table[j][two] * b + table[j][one] * a - x[j]);
            if (score < minP)
                minP = score, P1 = a, P2 = b, P3 = c;
        }
    }
}

static void fit2(size_t one, size_t two, float step)
{
    minP = 9999;
    P1 = P2 = -9;
    const int intstep = int(step * 1000.0);
    for (int n = 0; n <= intstep + 999 && n <= 1000; n += intstep) {
        const float a = float(n / 1000.0), b = float((1000 - n) / 1000.0);
        float score = 0;
        for (size_t j = 0; j < x.size(); ++j)
            score += std::fabs(table[j][two] * b + table[j][one] * a - x[j]);
        if (score < minP)
            minP = score, P1 = a, P2 = b;
    }
}

std::string LiteralFit::run(const std::string &references, const std::string &samples)
{
    const size_t n = size_t(K);
    Texts names;
    std::string out, id;
    std::vector<double> sums(n), combiSums(n);
    table.assign(n, std::vector<float>(n));
    for (const std::string &line : plainLines(references)) {
        const Texts fields = plainFields(line, "\t");
        for (size_t j = 0; j < n; ++j)
            table[j][names.size()] = text::readFloat(fields[j + 1]);
        names.push_back(fields[0]);
    }
    const auto report = [&](const char *label, std::vector<double> &to,
                            const std::vector<std::pair<size_t, float>> &proportions, const char *absent, float score) {
        out += label + id;
        for (const auto &[population, proportion] : proportions) {
            to[population] += proportion;
            out += " " + names[population] + " " + plainText(proportion);
        }
        out += absent + std::string(" score: ") + plainText(score) + "\n";
    };
    for (const std::string &line : plainLines(samples)) {
        const Texts fields = plainFields(line, "\t");
        id = fields[0];
        x.clear();
        for (size_t j = 0; j < n; ++j)
            x.push_back(text::readFloat(fields[j + 1]));

        std::vector<float> d(n), mindiff(n), drop(n);
        for (size_t i = 0; i < n; ++i) {
            for (size_t j = 0; j < n; ++j)
                d[i] += std::fabs(table[j][i] - x[j]);
        }
        const size_t best = leastOf(d, 999999.9f);
        out += "Best " + id;
        for (size_t rank = 0; rank < n; ++rank) {
            const size_t first = leastOf(d, 9999.9f);
            out += " " + names[first] + " " + plainText(std::min(9999.9f, d[first]));
            d[first] = 9999.9f;
        }
        out += "\n ";
        for (float k = 0; step + 1.0 > k; k += step)
            out += plainText(k) + " ";
        out += "= mindiff mindiff_loc abs_drop rel_drop\n";
        for (size_t i = 0; i < n; ++i) {
            float base = 0, location = -9.9f;
            mindiff[i] = 9999.9f;
            out += names[i] + " ";
            for (float k = 0; step + 1.0 > k; k += step) {
                float sum = 0;
                for (size_t j = 0; j < n; ++j)
                    sum += std::fabs(k * table[j][i] + (1 - k) * table[j][best] - x[j]);
                if (k == 0)
                    base = sum;
                if (sum < mindiff[i])
                    mindiff[i] = sum, location = k;
                char text[64];
                std::snprintf(text, sizeof text, "%.3f ", double(sum));
                out += std::isnan(sum) ? "nan " : text;
            }
            out += " __" + plainText(mindiff[i]) + "__" + plainText(location) + "\n";
            drop[i] = (base - mindiff[i]) / base;
        }
        drop[best] = 2;
        mindiff[best] = -2;
        size_t chosen[3];
        for (size_t &pick : chosen) {
            pick = 0;
            float most = -9999.9f;
            for (size_t i = 0; i < n; ++i) {
                if (drop[i] > most || (drop[i] == most && mindiff[i] < mindiff[pick]))
                    most = drop[i], pick = i;
            }
            if (step > most) {
                pick = 0;
                float least = 9999.9f;
                for (size_t i = 0; i < n; ++i) {
                    if (mindiff[i] < least || (mindiff[i] == least && drop[i] > drop[pick]))
                        least = mindiff[i], pick = i;
                }
            }
            drop[pick] = -9;
            mindiff[pick] = 9999.9f;
        }
        const auto [one, two, three] = chosen;
        fit3(one, two, three, step);
        const int hits = 3 - (plimit > P1) - (plimit > P2) - (plimit > P3);
        if (!(plimit > 0) || hits == 3) {
            report("3Hits ", sums, {{one, P1}, {two, P2}, {three, P3}}, "", minP);
        } else if (hits > 0) {
            // Who stays, by the place of the one and only smallest proportion.
            const bool drops1 = P1 < P2 && P1 < P3, drops3 = P3 < P1 && P3 < P2;
            const size_t A = drops1 ? two : one, B = drops3 ? two : three;
            if (hits == 2) {
                fit2(A, B, step);
                report("2Hits ", sums, {{A, P1}, {B, P2}}, " - -", minP);
            } else {
                minP = 0;
                for (size_t j = 0; j < n; ++j)
                    minP += std::fabs(table[j][A] - x[j]);
                report("1Hit ", sums, {{A, minP < 9999 ? 1.f : -9.f}}, " - - -", minP < 9999 ? minP : 9999);
            }
        }
        if (!combinatorics)
            continue;
        std::vector<std::pair<size_t, float>> nearest;
        float score = 9999;
        for (size_t p = 0; p < n; ++p) {
            for (size_t q = p + 1; q < n; ++q) {
                for (size_t r = q + 1; r < n; ++r) {
                    fit3(p, q, r, step);
                    if (minP < score) {
                        score = minP;
                        nearest = {{p, P1}, {q, P2}, {r, P3}};
                    }
                }
            }
        }
        std::erase_if(nearest, [](const auto &part) { return !(part.second > 0); });
        static const char *const absent[] = {"", " - - - -", " - -", ""};
        report("Combi ", combiSums, nearest, absent[nearest.size()], score);
    }
    for (size_t i = 0; i < n; ++i)
        out += std::to_string(i) + " cumul_normal " + names[i] + " " + plainText(sums[i]) + "\n";
    out += "\n";
    for (size_t i = 0; combinatorics && i < n; ++i)
        out += std::to_string(i) + " cumul_combi " + names[i] + " " + plainText(combiSums[i]) + "\n";
    return out;
}
