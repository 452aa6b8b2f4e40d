// The second and third numbers of triplets, several at a time.
#pragma once

#include "text/fields.h"

#include <cstdint>
#include <span>

// P(AB) and P(BB) in thousandths; both are -1 where one is no short number, as text::readShortNumber() takes it.
struct HeteroHomo {
    bool isShort() const { return hetero >= 0; }

    int32_t hetero, homo;
};

struct TripletKernels {
    const char *name;
    bool (*isSupported)();

    // Reads the numbers of so many triplets, whose fields the walker has found.
    void (*read)(const text::FieldWalker<text::Separator::Blank> &walker, size_t triplets, HeteroHomo *numbers);

    static std::span<const TripletKernels> all();
};
