// Texts such as the names of individuals, numbered.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Stands for no individual, no pair, no position.
inline constexpr uint32_t noNumber = UINT32_MAX;

// Numbers texts from 0 in the order in which they first come.
//
// A look-up waits for memory twice, for the slot and for the name. Whoever knows several names ahead has both
// fetched before the look-ups begin.
class Identifiers {
public:
    Identifiers();

    static uint32_t hashOf(std::string_view name);
    uint32_t number(std::string_view name, uint32_t hash);  // numbered now where it is new
    uint32_t number(std::string_view name) { return number(name, hashOf(name)); }
    uint32_t find(std::string_view name, uint32_t hash) const;  // noNumber where it has none
    uint32_t find(std::string_view name) const { return find(name, hashOf(name)); }
    std::string_view name(uint32_t number) const;
    size_t size() const { return m_names.size(); }

    void fetch(uint32_t number) const { __builtin_prefetch(&m_names[number]); }  // what name() needs
    // Fetch what the look-up of such a name begins with, and then, with that there, what it ends with.
    void fetchSlot(uint32_t hash) const { __builtin_prefetch(&m_slots[hash & (m_slots.size() - 1)]); }
    void fetchName(uint32_t hash) const;

private:
    struct Slot {
        uint32_t hash;
        uint32_t number;  // noNumber in a free slot
    };
    // Most names are short, and stand where they are looked for.
    struct Name {
        static constexpr size_t maxShort = 15;
        char bytes[maxShort];  // of a longer one: its first byte in m_longBytes and its size
        uint8_t size;          // maxShort + 1 for all longer ones
    };

    size_t slotOf(std::string_view name, uint32_t hash) const;
    void grow();

    std::vector<Name> m_names;  // [number]
    std::string m_longBytes;    // all longer names in a row
    std::vector<Slot> m_slots;  // a power of two, at most two thirds taken; a name is in the first
                                // slot that was free from the one that its hash names
};
