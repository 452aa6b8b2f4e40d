#include "main/repeats.h"
#include "main/datahints.h"
#include "main/nearest.h"

#include <functional>
#include <utility>

static constexpr size_t mostNames = 1000000;

// False where it is there.
bool RepeatedNames::insert(uint64_t hash)
{
    const size_t mask = m_slots.size() - 1;
    size_t i = hash >> 1 & mask;
    for (; m_slots[i] != 0; i = (i + 1) & mask) {
        if (m_slots[i] == hash)
            return false;
    }
    if (m_count < mostNames) {
        m_slots[i] = hash;
        ++m_count;
    }
    return true;
}

void RepeatedNames::look(std::string_view name)
{
    if (!wantsDataHints() || name.empty())
        return;
    if (m_slots.size() <= 2 * m_count) {
        const std::vector<uint64_t> slots
            = std::exchange(m_slots, std::vector<uint64_t>(m_count == 0 ? 1024 : 4 * m_count));
        m_count = 0;
        for (const uint64_t hash : slots) {
            if (hash != 0)
                insert(hash);
        }
    }
    if (!insert(std::hash<std::string_view>()(name) | 1))
        addDataHint(std::string(m_kind) + " " + quoted(name.substr(0, 40)), m_what);
}
