// Names that should tell things apart, for a hint on those that come again.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_set>

class RepeatedNames {
public:
    // What the names are of, as in "marker", and what to say of one that was there before.
    RepeatedNames(const char *kind, const char *what) : m_kind(kind), m_what(what) {}

    // Does nothing where no hints are wanted. Of more than a million different names only those are known.
    void look(std::string_view name);

private:
    const char *m_kind, *m_what;
    std::unordered_set<uint64_t> m_hashes;
};
