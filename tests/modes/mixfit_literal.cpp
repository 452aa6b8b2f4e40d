#include "modes/mixfit_literal.h"
#include "text/readnumber.h"

#include <cmath>
#include <cstdio>
#include <sstream>
#include <vector>

static std::vector<std::vector<float>> table;  // [value][population]
static std::vector<float> x;
static float minP, P1, P2, P3;

static std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return std::isnan(value) ? "nan" : text;
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
    std::vector<std::string> names;
    std::string out, line, field;
    std::vector<double> sums(n), combiSums(n);
    table.assign(n, std::vector<float>(n));
    std::istringstream referenceLines(references), sampleLines(samples);
    for (size_t i = 0; std::getline(referenceLines, line); ++i) {
        std::istringstream fields(line);
        std::getline(fields, names.emplace_back(), '\t');
        for (size_t j = 0; std::getline(fields, field, '\t'); ++j)
            table[j][i] = text::readFloat(field);
    }
    while (std::getline(sampleLines, line)) {
        std::istringstream fields(line);
        std::string id;
        std::getline(fields, id, '\t');
        for (x.clear(); x.size() < n && std::getline(fields, field, '\t');)
            x.push_back(text::readFloat(field));

        std::vector<float> d(n), mindiff(n), drop(n);
        size_t best = 0;
        float least = 999999.9f;
        for (size_t i = 0; i < n; ++i) {
            for (size_t j = 0; j < n; ++j)
                d[i] += std::fabs(table[j][i] - x[j]);
            if (d[i] < least)
                least = d[i], best = i;
        }
        out += "Best " + id;
        for (size_t rank = 0; rank < n; ++rank) {
            size_t first = 0;
            least = 9999.9f;
            for (size_t i = 0; i < n; ++i) {
                if (d[i] < least)
                    least = d[i], first = i;
            }
            out += " " + names[first] + " " + number(least);
            d[first] = 9999.9f;
        }
        out += "\n ";
        for (float k = 0; step + 1.0 > k; k += step)
            out += number(k) + " ";
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
            out += " __" + number(mindiff[i]) + "__" + number(location) + "\n";
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
                least = 9999.9f;
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
        const auto add = [&](std::vector<double> &to, size_t population, float proportion) {
            to[population] += proportion;
            return names[population] + " " + number(proportion) + " ";
        };
        if (!(plimit > 0) || hits == 3) {
            out += "3Hits " + id + " " + add(sums, one, P1);
            out += add(sums, two, P2);
            out += add(sums, three, P3) + "score: " + number(minP) + "\n";
        } else if (hits > 0) {
            // Who stays, by the place of the one and only smallest proportion.
            const bool drops1 = P1 < P2 && P1 < P3, drops3 = P3 < P1 && P3 < P2;
            const size_t A = drops1 ? two : one, B = drops3 ? two : three;
            if (hits == 2) {
                fit2(A, B, step);
                out += "2Hits " + id + " " + add(sums, A, P1);
                out += add(sums, B, P2) + "- - score: " + number(minP) + "\n";
            } else {
                minP = 0;
                for (size_t j = 0; j < n; ++j)
                    minP += std::fabs(table[j][A] - x[j]);
                out += "1Hit " + id + " " + add(sums, A, minP < 9999 ? 1.f : -9.f);
                out += "- - - score: " + number(minP < 9999 ? minP : 9999) + "\n";
            }
        }
        if (!combinatorics)
            continue;
        float proportions[3] = {-9, -9, -9}, score = 9999;
        size_t triple[3] = {0, 0, 0};
        for (size_t p = 0; p < n; ++p) {
            for (size_t q = p + 1; q < n; ++q) {
                for (size_t r = q + 1; r < n; ++r) {
                    fit3(p, q, r, step);
                    if (minP < score) {
                        score = minP;
                        proportions[0] = P1, proportions[1] = P2, proportions[2] = P3;
                        triple[0] = p, triple[1] = q, triple[2] = r;
                    }
                }
            }
        }
        out += "Combi " + id + " ";
        int absent = 0;
        for (int i = 0; i < 3; ++i) {
            if (proportions[i] > 0)
                out += add(combiSums, triple[i], proportions[i]);
            else
                ++absent;
        }
        out += absent == 1 ? "- - " : absent == 2 ? "- - - - " : "";
        out += "score: " + number(score) + "\n";
    }
    for (size_t i = 0; i < n; ++i)
        out += std::to_string(i) + " cumul_normal " + names[i] + " " + number(sums[i]) + "\n";
    out += "\n";
    for (size_t i = 0; combinatorics && i < n; ++i)
        out += std::to_string(i) + " cumul_combi " + names[i] + " " + number(combiSums[i]) + "\n";
    return out;
}
