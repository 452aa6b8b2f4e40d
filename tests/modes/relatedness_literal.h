// The modes over pairs of relatives, step by step and with all rescans: their judges. The delimiter is a tab.
#pragma once

#include "support/genotypemodel.h"
#include "text/fields.h"
#include "text/readnumber.h"

#include <algorithm>
#include <map>

using std::string;
using std::to_string;
using Strings = std::vector<string>;

inline Strings splitAt(char separator, const string &text)
{
    std::vector<std::string_view> parts;
    text::splitFields(text, {&separator, 1}, parts);
    return Strings(parts.begin(), parts.end());
}

inline long placeOf(const Strings &list, const string &text)
{
    const auto found = std::find(list.begin(), list.end(), text);
    return found == list.end() ? -1 : found - list.begin();
}

inline string joinedBy(const char *separator, const Strings &list)
{
    string text;
    for (size_t i = 0; i < list.size(); ++i)
        text += (i > 0 ? separator : "") + list[i];
    return text;
}

struct LiteralRun {
    std::map<string, string> files;    // inputs before, and all files after
    std::map<string, string> options;  // "-file" is "in"
    string messages;
    int status = 0;

    string value(const string &name, const string &absent) const
    {
        return options.contains(name) ? options.at(name) : absent;
    }
    int integer(const string &name) const { return text::readInteger(value(name, "1")); }

    Strings lines(const string &file, bool keepsReturns) const
    {
        Strings result = splitAt('\n', files.at(file));
        for (size_t i = 0; !keepsReturns && i + 1 < result.size(); ++i) {
            if (result[i].ends_with('\r'))
                result[i].pop_back();
        }
        if (result.back().empty())
            result.pop_back();
        return result;
    }

    bool stop(const string &message)
    {
        messages += message;
        status = 1;
        return false;
    }

    bool family()
    {
        const double thold = text::readDouble(value("-threshold", "0.1"));
        const size_t fsize = size_t(std::max(integer("-familysize"), 2));
        messages = options.contains("-out") ? "" : "output name = input name + '.out'\n";
        messages += "running family()\n\n";
        string &out = files[value("-out", "in.out")] = "";
        string &stats = files[value("-out", "in.out") + ".stats"];
        const Strings all = lines("in", true);

        Strings mergedID;
        int order = 0, rowcounter = 0;
        const auto duplicate = [&] {
            return "Duplicate declaration (not used) at " + to_string(rowcounter) + "\n";
        };
        for (size_t i = value("-header", "") == "yes" || value("-header", "") == "Yes"; i < all.size(); ++i) {
            const Strings fields = splitAt('\t', all[i]);
            if (all[i].empty()) {
                messages += order > 0 ? duplicate() : "";
                continue;
            }
            ++rowcounter;
            if (fields.size() != 3)
                return stop("error in input file\n");
            order = -1;
            if (!(text::readDouble(fields[2]) >= thold))
                continue;
            order = fields[0] < fields[1] ? 1 : fields[1] < fields[0] ? 2 : 0;
            const string id1 = std::min(fields[0], fields[1]), id2 = std::max(fields[0], fields[1]);
            if (order == 0) {
                messages += "Comparison with self at " + to_string(rowcounter) + "\n";
            } else if (placeOf(mergedID, id1 + ".vs." + id2) >= 0) {
                messages += duplicate();
            } else {
                pairs.push_back({id1, id2, 1});
                mergedID.push_back(id1 + ".vs." + id2);
            }
        }

        size_t famnum = 0, totalfamilyind = 0, maxfam = 0;
        while (!pairs.empty()) {
            Strings Family = {pairs[0].ID1, pairs[0].ID2};
            pairs.erase(pairs.begin());
            for (size_t f = 0; f < Family.size(); ++f) {
                for (size_t j = 0; j < pairs.size(); ++j) {
                    if (!pairs[j].has(Family[f]))
                        continue;
                    const string other = Family[f] == pairs[j].ID1 ? pairs[j].ID2 : pairs[j].ID1;
                    if (placeOf(Family, other) < 0)
                        Family.push_back(other);
                    pairs.erase(pairs.begin() + long(j--));
                }
            }
            if (Family.size() < fsize)
                continue;
            ++famnum;
            maxfam = std::max(maxfam, Family.size());
            totalfamilyind += Family.size();
            if (value("-showmatrix", "") != "yes")
                continue;
            out += to_string(famnum) + ") " + to_string(Family.size()) + " x  " + joinedBy(" ", Family)
                   + "\n\n\t" + joinedBy("\t", Family) + "\n";
            for (const string &row : Family) {
                out += row;
                for (const string &column : Family) {
                    char cell[32] = "0";
                    for (const string &line : all) {
                        const Strings fields = splitAt('\t', line + "\t\t");
                        const string &first = fields[0], &second = fields[1];
                        if ((first == row && second == column) || (first == column && second == row))
                            std::snprintf(cell, sizeof cell, "%g", text::readDouble(fields[2]) + 0.0);
                    }
                    out.append("\t").append(row == column ? "1" : cell);
                }
                out += "\n";
            }
            out += "\n";
        }
        const double avg = famnum == 0 ? 0 : double(totalfamilyind) / double(famnum);
        stats += "fsize " + to_string(fsize) + " thold " + plainText(thold) + " totind "
                 + to_string(totalfamilyind) + " famnum " + to_string(famnum) + " avg " + plainText(avg)
                 + " maxfam " + to_string(maxfam) + "\n";
        return true;
    }

    // relout6, or else relout5.
    bool relout(bool isMarking)
    {
        if (!readTables(isMarking))
            return false;
        const int mode = integer("-mode"), pidsize = isMarking ? 2 : std::max(1, integer("-pidsize"));
        size_t left = P_ID.size();  // pentrynum in relout6
        for (int whiletimes = 1; !pairs.empty() && left >= size_t(pidsize); ++whiletimes) {
            int maxcount = 0;
            Strings candidates;
            std::vector<double> IDvalues;  // of the candidates
            for (const string &name : P_ID) {
                int IDcount = 0;
                double IDvalue = 0.0;
                for (size_t j = 0; j < pairs.size() && !(isMarking && name == "NA"); ++j) {
                    IDcount += pairs[j].has(name);
                    IDvalue += pairs[j].has(name) ? pairs[j].value : 0;
                }
                if (IDcount > maxcount) {
                    maxcount = IDcount;
                    candidates.clear();
                    IDvalues.clear();
                }
                if (IDcount == maxcount && IDcount > 0) {
                    candidates.push_back(name);
                    IDvalues.push_back(IDvalue);
                }
            }
            if (candidates.empty())
                return true;
            if (candidates.size() > 1 && (mode < 0 || mode > 2))
                return stop("Wrong mode!\n");
            size_t loc = 0;
            double best = 999999.9;
            for (size_t i = 0; i < candidates.size() && mode > 0; ++i) {
                const double number = mode == 1 ? -IDvalues[i] : weightOf(candidates[i]);
                if (number < best)
                    best = number, loc = i;
            }
            const string chosen = candidates[loc];
            Strings row = {to_string(loc), chosen, to_string(maxcount), plainText(IDvalues[loc]),
                           to_string(left), to_string(candidates.size()), plainText(weightOf(chosen))};
            row.resize(mode == 2 ? 7 : 6);
            files[value("-out", "in.out")] += joinedBy(" ", row) + "\n";
            const auto isPaired = [&](const string &name) {
                return std::any_of(pairs.begin(), pairs.end(), [&](const Pair &pair) {
                    return pair.has(name) && (!isMarking || pair.value > 0);
                });
            };
            if (isMarking) {
                for (Pair &pair : pairs)
                    pair = pair.has(chosen) && pair.value > 0 ? Pair{"NA", "NA", 0} : pair;
                for (string &name : P_ID)
                    name = isPaired(name) ? name : "NA";
                left = P_ID.size() - size_t(std::count(P_ID.begin(), P_ID.end(), "NA"));
            } else {
                for (size_t j = 0; j < pairs.size(); ++j) {
                    if (pairs[j].has(chosen))
                        pairs.erase(pairs.begin() + long(j)), j -= j > 0;
                }
                for (size_t i = 0; i < P_ID.size(); ++i) {
                    if (isPaired(P_ID[i]))
                        continue;
                    P_ID.erase(P_ID.begin() + long(i));
                    PValues.erase(PValues.begin() + long(i));
                    i -= i > 0;
                }
                left = P_ID.size();
            }
            messages += to_string(whiletimes) + (isMarking ? " done; pentrynum" : " done; remaining ")
                        + to_string(left) + "\n";
        }
        return true;
    }

private:
    struct Pair {
        string ID1, ID2;
        double value;
        bool has(const string &name) const { return ID1 == name || ID2 == name; }
    };
    std::vector<Pair> pairs;
    Strings P_ID;
    std::vector<double> PValues;

    double weightOf(const string &name) const { return PValues[size_t(placeOf(P_ID, name))]; }

    bool readTables(bool isMarking)
    {
        const bool isWeighted = options.contains("-pfile"), isMean = value("-pdefault", "") == "mean";
        float limit = text::readFloat(value("-limit", "1"));
        limit = !isMarking && limit < 0 ? 0 : limit;
        messages += isWeighted ? "" : "Flag '-pfile' not specified, so pfile not used.\n\n";
        const string pidsize = to_string(std::max(1, integer("-pidsize")));
        messages += isMarking ? "" : "limit= " + plainText(limit) + " pidsize=" + pidsize + "\n";
        messages += "Mode=" + to_string(integer("-mode")) + "\nPdefault=" + (isMean ? "1" : "0")
                    + "\nrunning relout" + (isMarking ? "6" : "5") + "()\n";
        files[value("-out", "in.out")] = "";
        const Strings all = lines("in", false);
        for (size_t i = value("-header", "") == "yes"; i < all.size(); ++i) {
            const Strings fields = splitAt('\t', all[i]);
            if (all[i].empty())
                continue;
            if (fields.size() < 3)
                return stop("Pair table line " + to_string(i + 1) + " has fewer than 3 fields\n");
            if (limit <= text::readFloat(fields[2]))
                pairs.push_back({fields[0], fields[1], text::readFloat(fields[2])});
        }
        messages += "Main table read in\n";
        if (pairs.empty())
            return stop("Nothing to remove!\nNo new files created.\n");
        double meanPval = 0;
        for (const string &line : isWeighted ? lines("p", false) : Strings()) {
            const Strings fields = splitAt('\t', line + "\t");
            const auto has = [&](const Pair &pair) { return pair.has(fields[0]); };
            if (line.empty() || std::none_of(pairs.begin(), pairs.end(), has))
                continue;
            P_ID.push_back(fields[0]);
            PValues.push_back(text::readDouble(fields[1]));
            meanPval += PValues.back();
        }
        meanPval = isMean ? meanPval / double(P_ID.size()) : 0;
        messages += !isWeighted ? "All pval weights are set to 1\n" : isMarking ? "Pfile read\n"
                                                                               : "Pfile read in\n";
        for (const Pair &pair : pairs) {
            for (const string &name : {pair.ID1, pair.ID2}) {
                if (placeOf(P_ID, name) >= 0)
                    continue;
                P_ID.push_back(name);
                PValues.push_back(isWeighted ? meanPval : 1);
                messages += isWeighted ? "Impute " + name + " " + plainText(meanPval) + "\n" : "";
            }
        }
        messages += (isWeighted ? "Missing values entered. Total of " : "Pval file not used. Total of ")
                    + to_string(P_ID.size()) + " entries to start with.\nEntering main while\n";
        return true;
    }
};
