#include "main/repeats.h"
#include "main/datahints.h"
#include "main/nearest.h"

#include <functional>

static constexpr size_t mostNames = 1000000;

void RepeatedNames::look(std::string_view name)
{
    if (!wantsDataHints() || name.empty())
        return;
    const uint64_t hash = std::hash<std::string_view>()(name);
    if (m_hashes.contains(hash))
        addDataHint(std::string(m_kind) + " " + quoted(name.substr(0, 40)), m_what);
    else if (m_hashes.size() < mostNames)
        m_hashes.insert(hash);
}
