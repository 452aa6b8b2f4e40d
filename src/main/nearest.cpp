#include "main/nearest.h"

#include <algorithm>
#include <cctype>
#include <vector>

using std::string_view;

std::string quoted(string_view word)
{
    return '"' + std::string(word) + '"';
}

static constexpr size_t editCost = 10;
static constexpr size_t caseCost = 1;

static size_t changeCost(char a, char b)
{
    if (a == b)
        return 0;
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b)) ? caseCost
                                                                                                      : editCost;
}

// Cost of turning one word into the other by inserting, deleting, changing and swapping neighbouring letters.
static size_t distance(string_view a, string_view b)
{
    std::vector<size_t> beforeLast, last, row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j)
        row[j] = j * editCost;
    for (size_t i = 1; i <= a.size(); ++i) {
        beforeLast = std::move(last);
        last = std::move(row);
        row.assign(1, i * editCost);
        for (size_t j = 1; j <= b.size(); ++j) {
            size_t cost
                = std::min({last[j] + editCost, row[j - 1] + editCost, last[j - 1] + changeCost(a[i - 1], b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                cost = std::min(cost, beforeLast[j - 2] + editCost);
            row.push_back(cost);
        }
    }
    return row.back();
}

std::string suggestion(string_view typed, std::span<const string_view> names)
{
    const size_t edits = typed.size() / 3;
    size_t least = edits * editCost + editCost;
    string_view nearest;
    for (const string_view name : names) {
        size_t cost = least;
        if (typed.size() >= 4 && name.starts_with(typed))
            cost = editCost;
        else if (name.size() <= typed.size() + edits && typed.size() <= name.size() + edits)
            cost = distance(typed, name);
        if (cost < least) {
            least = cost;
            nearest = name;
        }
    }
    const bool isLetter = typed.size() == 2 && typed[0] == '-';
    for (const string_view name : names) {
        if (nearest.empty() && (isLetter || typed.size() > 5) && name.starts_with(typed.substr(0, 5)))
            nearest = name;
    }
    return nearest.empty() ? "" : "; did you mean " + quoted(nearest) + "?";
}
