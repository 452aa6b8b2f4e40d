#include "modes/relatedness_literal.h"
#include "support/genotypemodel.h"
#include "text/readnumber.h"

#include <algorithm>

using std::string;
using Strings = std::vector<string>;

string LiteralRun::value(const string &option, const string &absent) const
{
    return options.contains(option) ? options.at(option) : absent;
}

Strings LiteralRun::lines(const string &file, bool keepsReturns) const
{
    Strings result;
    string rest = files.at(file);
    for (size_t end; (end = rest.find('\n')) != rest.npos; rest.erase(0, end + 1))
        result.push_back(rest.substr(0, end - (!keepsReturns && end > 0 && rest[end - 1] == '\r')));
    if (!rest.empty())
        result.push_back(rest);
    return result;
}

Strings LiteralRun::split(const string &line) const
{
    static const std::map<string, char> words
        = {{"space", ' '}, {"comma", ','},  {"semicolon", ';'}, {"colon", ':'},  {"slash", '\\'},
           {"bslash", '/'}, {"dash", '-'}, {"quote", '"'},     {"squote", '\''}};
    const auto word = words.find(value("-delim", "tab"));
    Strings fields(1);
    for (const char byte : line) {
        if (byte == (word == words.end() ? '\t' : word->second))
            fields.emplace_back();
        else
            fields.back() += byte;
    }
    return fields;
}

void LiteralRun::stop(const string &message)
{
    messages += message;
    status = 1;
}

static long placeOf(const Strings &list, const string &text)
{
    const auto found = std::find(list.begin(), list.end(), text);
    return found == list.end() ? -1 : found - list.begin();
}

static string joinedBy(const char *separator, const Strings &list)
{
    string text;
    for (size_t i = 0; i < list.size(); ++i)
        text += (i > 0 ? separator : "") + list[i];
    return text;
}

void LiteralRun::family()
{
    const double thold = text::readDouble(value("-threshold", "0.1"));
    const size_t fsize = size_t(std::max(text::readInteger(value("-familysize", "2")), 2));
    const string header = value("-header", "");
    const bool shows = value("-showmatrix", "") == "yes";
    messages += options.contains("-out") ? "" : "output name = input name + '.out'\n";
    messages += "running family()\n\n";
    string &out = files[value("-out", "in.out")] = "";
    string &stats = files[value("-out", "in.out") + ".stats"];
    const Strings all = lines("in", true);

    Strings ID1, ID2, mergedID;
    string key, id1, id2;
    int order = 0, rowcounter = 0;
    const auto accept = [&] {
        if (placeOf(mergedID, key) >= 0) {
            messages += "Duplicate declaration (not used) at " + std::to_string(rowcounter) + "\n";
            return;
        }
        ID1.push_back(id1);
        ID2.push_back(id2);
        mergedID.push_back(key);
    };
    for (size_t i = header == "yes" || header == "Yes"; i < all.size(); ++i) {
        if (all[i].empty()) {
            if (order > 0)
                accept();
            continue;
        }
        const Strings fields = split(all[i]);
        ++rowcounter;
        if (fields.size() != 3)
            return stop("error in input file\n");
        order = -1;
        if (!(text::readDouble(fields[2]) >= thold))
            continue;
        order = fields[0] < fields[1] ? 1 : fields[1] < fields[0] ? 2 : 0;
        if (order == 0) {
            messages += "Comparison with self at " + std::to_string(rowcounter) + "\n";
            continue;
        }
        id1 = fields[order == 1 ? 0 : 1];
        id2 = fields[order == 1 ? 1 : 0];
        key = id1 + ".vs." + id2;
        accept();
    }

    size_t famnum = 0, totalfamilyind = 0, maxfam = 0;
    while (!ID1.empty()) {
        const auto removePair = [&](size_t j) {
            ID1.erase(ID1.begin() + long(j));
            ID2.erase(ID2.begin() + long(j));
        };
        Strings Family = {ID1[0], ID2[0]};
        removePair(0);
        for (size_t f = 0; f < Family.size(); ++f) {
            for (size_t j = 0; j < ID1.size(); ++j) {
                if (Family[f] != ID1[j] && Family[f] != ID2[j])
                    continue;
                const string other = Family[f] == ID1[j] ? ID2[j] : ID1[j];
                if (placeOf(Family, other) < 0)
                    Family.push_back(other);
                removePair(j--);
            }
        }
        if (Family.size() < fsize)
            continue;
        ++famnum;
        maxfam = std::max(maxfam, Family.size());
        totalfamilyind += Family.size();
        std::vector<Strings> Matrix(Family.size(), Strings(Family.size(), "0"));
        for (const string &line : all) {
            Strings fields = split(line);
            fields.resize(std::max<size_t>(fields.size(), 3));
            const long index1 = placeOf(Family, fields[0]), index2 = placeOf(Family, fields[1]);
            if (line.empty() || index1 < 0 || index2 < 0)
                continue;
            char cell[32];
            std::snprintf(cell, sizeof cell, "%g", text::readDouble(fields[2]));
            Matrix[size_t(index1)][size_t(index2)] = Matrix[size_t(index2)][size_t(index1)] = cell;
        }
        if (!shows)
            continue;
        out += std::to_string(famnum) + ") " + std::to_string(Family.size()) + " x  " + joinedBy(" ", Family)
               + "\n\n\t" + joinedBy("\t", Family) + "\n";
        for (size_t row = 0; row < Family.size(); ++row) {
            Matrix[row][row] = "1";
            out += Family[row] + "\t" + joinedBy("\t", Matrix[row]) + "\n";
        }
        out += "\n";
    }
    stats += "fsize " + std::to_string(fsize) + " thold " + modelText(thold) + " totind "
             + std::to_string(totalfamilyind) + " famnum " + std::to_string(famnum) + " avg "
             + (famnum == 0 ? "0" : modelText(double(totalfamilyind) / double(famnum))) + " maxfam "
             + std::to_string(maxfam) + "\n";
}
