#include "modes/relatedness.h"

#include <functional>
#include <new>

char pairDelimiter(std::string_view word)
{
    static constexpr struct {
        std::string_view word;
        char byte;
    } words[] = {
        {"space", ' '},
        {"comma", ','},
        {"semicolon", ';'},
        {"colon", ':'},
        {"slash", '\\'},  // on purpose: these two are crossed over
        {"bslash", '/'},
        {"dash", '-'},
        {"quote", '"'},
        {"squote", '\''},
    };
    for (const auto &row : words) {
        if (row.word == word)
            return row.byte;
    }
    return '\t';
}

PairFields splitPair(std::string_view line, char delimiter)
{
    PairFields fields = {};
    for (std::string_view *field : {&fields.first, &fields.second, &fields.value}) {
        ++fields.count;
        const size_t end = line.find(delimiter);
        *field = line.substr(0, end);
        if (end == line.npos)
            return fields;
        line.remove_prefix(end + 1);
    }
    ++fields.count;
    return fields;
}

static uint32_t hashOf(std::string_view name)
{
    return uint32_t(std::hash<std::string_view>()(name));
}

Identifiers::Identifiers()
    : m_slots(1024, Slot{0, none})
{
}

// The slot that holds the name, or the free one where it would be put.
size_t Identifiers::slotOf(std::string_view name, uint32_t hash) const
{
    const size_t mask = m_slots.size() - 1;
    size_t i = hash & mask;
    while (m_slots[i].number != none && (m_slots[i].hash != hash || this->name(m_slots[i].number) != name))
        i = (i + 1) & mask;
    return i;
}

uint32_t Identifiers::number(std::string_view name)
{
    const uint32_t hash = hashOf(name);
    size_t i = slotOf(name, hash);
    if (m_slots[i].number != none)
        return m_slots[i].number;
    if (3 * (size() + 1) > 2 * m_slots.size()) {
        grow();
        i = slotOf(name, hash);
    }
    if (size() == none)
        throw std::bad_alloc();
    m_slots[i] = {hash, uint32_t(size())};
    m_bytes += name;
    m_ends.push_back(m_bytes.size());
    return m_slots[i].number;
}

uint32_t Identifiers::find(std::string_view name) const
{
    return m_slots[slotOf(name, hashOf(name))].number;
}

void Identifiers::grow()
{
    std::vector<Slot> slots(2 * m_slots.size(), Slot{0, none});
    const size_t mask = slots.size() - 1;
    for (const Slot &slot : m_slots) {
        if (slot.number == none)
            continue;
        size_t i = slot.hash & mask;
        while (slots[i].number != none)
            i = (i + 1) & mask;
        slots[i] = slot;
    }
    m_slots = std::move(slots);
}
