// Names that should tell things apart, for a hint on those that come again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

class RepeatedNames {
public:
    // What the names are of, as in "marker", and what to say of one that was there before.
    RepeatedNames(const char *kind, const char *what) : m_kind(kind), m_what(what) {}

    // Does nothing where no hints are wanted. Of more than a million different names only those are known.
    void look(std::string_view name);

private:
    bool insert(uint64_t hash);

    const char *m_kind, *m_what;
    std::vector<uint64_t> m_slots;  // hashes, in the first free slot from the one that they name; 0 is free
    size_t m_count = 0;
};
