// A group out of a pool that resembles another group as a whole, whoever its members are.
#pragma once

#include "matching/forest.h"

class GroupMatching {
public:
    // The members to begin with; the group keeps their number.
    GroupMatching(const Standardised &data, const std::vector<uint32_t> &members);

    // The sum over the columns of (difference of means / SD)^2 + ln(SD of the members / SD)^2, SD being that of the
    // first set. A column without values there counts nothing; in one without spread there the difference is divided
    // by the SD of both sets, and the second part is left out. A ratio below 1e-9 counts as 1e-9, and members without a
    // value like a difference of 30.
    double objective() const;

    // A round: for every member in order the best exchange against anyone outside of the group, where that lowers the
    // objective. False where no exchange does.
    bool improve();

    const std::vector<uint32_t> &members() const { return m_members; }  // in the order of the pool

private:
    // What the members have in a column.
    struct Sums {
        double count = 0, values = 0, squares = 0;
        void add(double value, double times);
    };
    friend class ExchangeSearch;

    template <class SpreadTerm>
    static double term(const Sums &sums, bool hasSpread, SpreadTerm spreadTerm);
    void sumMembers();

    std::vector<bool> m_hasSpread;  // [column] of m_pool: in the first set; filled with it
    Points m_pool;                  // in units and from the mean of the first set, its columns with values alone
    Forest m_outside;               // present: not in the group
    std::vector<uint32_t> m_members;
    std::vector<Sums> m_sums;  // [column]
};
