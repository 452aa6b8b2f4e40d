// The modes over pairs of relatives, step by step and with all rescans: their judges. The delimiter is a tab.
#pragma once

#include "support/scanmodel.h"
#include "text/readnumber.h"

#include <algorithm>
#include <map>

using std::string;
using std::to_string;

inline bool isIn(const Texts &list, const string &text)
{
    return std::count(list.begin(), list.end(), text) > 0;
}

inline string joinedBy(const char *separator, const Texts &list)
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

    string value(const string &name, const string &absent = "") const
    {
        return options.contains(name) ? options.at(name) : absent;
    }
    int integer(const string &name) const { return text::readInteger(value(name, "1")); }

    Texts lines(const string &file, bool keepsReturns) const
    {
        Texts result = plainFields(files.at(file), "\n");
        result.pop_back();  // every line of these inputs has an end
        for (string &line : result) {
            if (!keepsReturns && line.ends_with('\r'))
                line.pop_back();
        }
        return result;
    }

    void stop(const string &message)
    {
        messages += message;
        status = 1;
    }

    void family()
    {
        const double thold = text::readDouble(value("-threshold", "0.1"));
        const size_t fsize = size_t(std::max(integer("-familysize"), 2));
        messages = options.contains("-out") ? "" : "output name = input name + '.out'\n";
        messages += "running family()\n\n";
        string &out = files[value("-out", "in.out")] = "";
        string &stats = files[value("-out", "in.out") + ".stats"];
        const Texts all = lines("in", true);

        std::map<string, double> shown;  // the last value of each pair, a header's too
        for (const string &line : all) {
            const Texts fields = plainFields(line + "\t\t", "\t");
            shown[std::min(fields[0], fields[1]) + "\t" + std::max(fields[0], fields[1])] = text::readDouble(fields[2]);
        }
        Texts mergedID;
        int order = 0, rowcounter = 0;
        for (size_t i = value("-header") == "yes" || value("-header") == "Yes"; i < all.size(); ++i) {
            const Texts fields = plainFields(all[i], "\t");
            rowcounter += !all[i].empty();
            const string duplicate = "Duplicate declaration (not used) at " + to_string(rowcounter) + "\n";
            if (all[i].empty()) {
                messages += order > 0 ? duplicate : "";
                continue;
            }
            if (fields.size() != 3)
                return stop("error in input file\n");
            order = -1;
            if (!(text::readDouble(fields[2]) >= thold))
                continue;
            order = fields[0] < fields[1] ? 1 : fields[1] < fields[0] ? 2 : 0;
            const string id1 = std::min(fields[0], fields[1]), id2 = std::max(fields[0], fields[1]);
            if (order == 0) {
                messages += "Comparison with self at " + to_string(rowcounter) + "\n";
            } else if (isIn(mergedID, id1 + ".vs." + id2)) {
                messages += duplicate;
            } else {
                pairs.push_back({id1, id2, 1});
                mergedID.push_back(id1 + ".vs." + id2);
            }
        }

        size_t famnum = 0, totalfamilyind = 0, maxfam = 0;
        while (!pairs.empty()) {
            Texts Family = {pairs[0].ID1, pairs[0].ID2};
            for (size_t f = 0; f < Family.size(); ++f) {
                for (const Pair &pair : pairs) {
                    const string other = Family[f] == pair.ID1 ? pair.ID2 : pair.ID1;
                    if (pair.has(Family[f]) && !isIn(Family, other))
                        Family.push_back(other);
                }
            }
            std::erase_if(pairs, [&](const Pair &pair) { return isIn(Family, pair.ID1); });
            if (Family.size() < fsize)
                continue;
            ++famnum;
            maxfam = std::max(maxfam, Family.size());
            totalfamilyind += Family.size();
            if (value("-showmatrix") != "yes")
                continue;
            out += to_string(famnum) + ") " + to_string(Family.size()) + " x  " + joinedBy(" ", Family) + "\n\n\t"
                   + joinedBy("\t", Family) + "\n";
            for (const string &row : Family) {
                out += row;
                for (const string &column : Family) {
                    const double cell = shown[std::min(row, column) + "\t" + std::max(row, column)];
                    out += "\t" + plainText(row == column ? 1 : cell);
                }
                out += "\n";
            }
            out += "\n";
        }
        const double avg = famnum == 0 ? 0 : double(totalfamilyind) / double(famnum);
        stats += "fsize " + to_string(fsize) + " thold " + plainText(thold) + " totind " + to_string(totalfamilyind)
                 + " famnum " + to_string(famnum) + " avg " + plainText(avg) + " maxfam " + to_string(maxfam) + "\n";
    }

    // relout6, or else relout5.
    void relout(bool isMarking)
    {
        readTables(isMarking);
        const int mode = integer("-mode"), pidsize = isMarking ? 2 : std::max(1, integer("-pidsize"));
        size_t left = P_ID.size();  // pentrynum in relout6
        for (int whiletimes = 1; status == 0 && !pairs.empty() && left >= size_t(pidsize); ++whiletimes) {
            std::vector<int> IDcount(P_ID.size());
            std::vector<double> IDvalue(P_ID.size());
            for (size_t i = 0; i < P_ID.size(); ++i) {
                for (const Pair &pair : pairs) {
                    const bool counts = pair.has(P_ID[i]) && !(isMarking && P_ID[i] == "NA");
                    IDcount[i] += counts;
                    IDvalue[i] += counts ? pair.value : 0;
                }
            }
            const int maxcount = *std::max_element(IDcount.begin(), IDcount.end());
            if (maxcount == 0)
                return;
            const auto candidates = std::count(IDcount.begin(), IDcount.end(), maxcount);
            if (candidates > 1 && (mode < 0 || mode > 2))
                return stop("Wrong mode!\n");
            size_t chosen = size_t(std::find(IDcount.begin(), IDcount.end(), maxcount) - IDcount.begin());
            double best = 999999.9;
            for (size_t i = 0; i < P_ID.size() && mode > 0; ++i) {
                const double number = mode == 1 ? -IDvalue[i] : weightOf(P_ID[i]);
                if (IDcount[i] == maxcount && number < best)
                    best = number, chosen = i;
            }
            const string name = P_ID[chosen];
            const auto loc = std::count(IDcount.begin(), IDcount.begin() + long(chosen), maxcount);
            Texts row = {to_string(loc), name, to_string(maxcount), plainText(IDvalue[chosen]), to_string(left),
                         to_string(candidates), plainText(weightOf(name))};
            row.resize(mode == 2 ? 7 : 6);
            files[value("-out", "in.out")] += joinedBy(" ", row) + "\n";
            const auto isPaired = [&](const string &ID) {
                return std::any_of(pairs.begin(), pairs.end(), [&](const Pair &pair) {
                    return pair.has(ID) && (!isMarking || pair.value > 0);
                });
            };
            if (isMarking) {
                for (Pair &pair : pairs)
                    pair = pair.has(name) && pair.value > 0 ? Pair{"NA", "NA", 0} : pair;
                for (string &ID : P_ID)
                    ID = isPaired(ID) ? ID : "NA";
                left = P_ID.size() - size_t(std::count(P_ID.begin(), P_ID.end(), "NA"));
            } else {
                for (size_t j = 0; j < pairs.size(); ++j) {
                    if (pairs[j].has(name))
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
    }

private:
    struct Pair {
        string ID1, ID2;
        double value;
        bool has(const string &name) const { return ID1 == name || ID2 == name; }
    };
    std::vector<Pair> pairs;
    Texts P_ID;
    std::vector<double> PValues;

    double weightOf(const string &name) const
    {
        return PValues[size_t(std::find(P_ID.begin(), P_ID.end(), name) - P_ID.begin())];
    }

    void readTables(bool isMarking)
    {
        const bool isWeighted = options.contains("-pfile"), isMean = value("-pdefault") == "mean";
        float limit = text::readFloat(value("-limit", "1"));
        limit = !isMarking && limit < 0 ? 0 : limit;
        messages += isWeighted ? "" : "Flag '-pfile' not specified, so pfile not used.\n\n";
        const string pidsize = to_string(std::max(1, integer("-pidsize")));
        messages += isMarking ? "" : "limit= " + plainText(limit) + " pidsize=" + pidsize + "\n";
        messages += "Mode=" + to_string(integer("-mode")) + "\nPdefault=" + (isMean ? "1" : "0")
                    + "\nrunning relout" + (isMarking ? "6" : "5") + "()\n";
        files[value("-out", "in.out")] = "";
        const Texts all = lines("in", false);
        for (size_t i = value("-header") == "yes"; i < all.size(); ++i) {
            const Texts fields = plainFields(all[i], "\t");
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
        for (const string &line : isWeighted ? lines("p", false) : Texts()) {
            const Texts fields = plainFields(line + "\t", "\t");
            const auto has = [&](const Pair &pair) { return pair.has(fields[0]); };
            if (line.empty() || std::none_of(pairs.begin(), pairs.end(), has))
                continue;
            P_ID.push_back(fields[0]);
            PValues.push_back(text::readDouble(fields[1]));
            meanPval += PValues.back();
        }
        meanPval = isMean ? meanPval / double(P_ID.size()) : 0;
        messages += !isWeighted ? "All pval weights are set to 1\n" : isMarking ? "Pfile read\n" : "Pfile read in\n";
        for (const Pair &pair : pairs) {
            for (const string &name : {pair.ID1, pair.ID2}) {
                if (isIn(P_ID, name))
                    continue;
                P_ID.push_back(name);
                PValues.push_back(isWeighted ? meanPval : 1);
                messages += isWeighted ? "Impute " + name + " " + plainText(meanPval) + "\n" : "";
            }
        }
        messages += (isWeighted ? "Missing values entered. Total of " : "Pval file not used. Total of ")
                    + to_string(P_ID.size()) + " entries to start with.\nEntering main while\n";
    }
};
