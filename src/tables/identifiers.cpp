#include "tables/identifiers.h"
#include "text/files.h"

#include <algorithm>
#include <cstring>
#include <functional>

uint32_t Identifiers::hashOf(std::string_view name)
{
    return uint32_t(std::hash<std::string_view>()(name));
}

Identifiers::Identifiers() : m_slots(1024, Slot{0, noNumber})
{
}

std::string_view Identifiers::name(uint32_t number) const
{
    const Name &name = m_names[number];
    if (name.size <= Name::maxShort)
        return {name.bytes, name.size};
    uint64_t first;
    uint32_t size;
    std::memcpy(&first, name.bytes, sizeof first);
    std::memcpy(&size, name.bytes + sizeof first, sizeof size);
    return {m_longBytes.data() + first, size};
}

// The slot that holds the name, or the free one where it would be put.
size_t Identifiers::slotOf(std::string_view name, uint32_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t i = hash & mask;
    while (m_slots[i].number != noNumber && (m_slots[i].hash != hash || this->name(m_slots[i].number) != name))
        i = (i + 1) & mask;
    return i;
}

void Identifiers::fetchName(uint32_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t i = hash & mask;
    while (m_slots[i].number != noNumber && m_slots[i].hash != hash)
        i = (i + 1) & mask;
    if (m_slots[i].number != noNumber)
        __builtin_prefetch(&m_names[m_slots[i].number]);
}

uint32_t Identifiers::number(std::string_view name, uint32_t hash)
{
    size_t i = slotOf(name, hash);
    if (m_slots[i].number != noNumber)
        return m_slots[i].number;
    if (3 * (size() + 1) > 2 * m_slots.size()) {
        grow();
        i = slotOf(name, hash);
    }
    if (size() == noNumber || name.size() > UINT32_MAX)
        text::failMemory();
    m_slots[i] = {hash, uint32_t(size())};
    Name added = {};
    if (name.size() <= Name::maxShort) {
        std::copy(name.begin(), name.end(), added.bytes);
        added.size = uint8_t(name.size());
    } else {
        const uint64_t first = m_longBytes.size();
        const uint32_t size = uint32_t(name.size());
        std::memcpy(added.bytes, &first, sizeof first);
        std::memcpy(added.bytes + sizeof first, &size, sizeof size);
        added.size = Name::maxShort + 1;
        m_longBytes += name;
    }
    m_names.push_back(added);
    return m_slots[i].number;
}

uint32_t Identifiers::find(std::string_view name, uint32_t hash) const
{
    return m_slots[slotOf(name, hash)].number;
}

void Identifiers::grow()
{
    std::vector<Slot> slots(2 * m_slots.size(), Slot{0, noNumber});
    const size_t mask = slots.size() - 1;
    for (const Slot &slot : m_slots) {
        if (slot.number == noNumber)
            continue;
        size_t i = slot.hash & mask;
        while (slots[i].number != noNumber)
            i = (i + 1) & mask;
        slots[i] = slot;
    }
    m_slots = std::move(slots);
}
