// Input in a block of exactly its size, so that a read behind it is seen.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <memory>

namespace hearth::fuzz {

template <typename Unit>
struct Exact {
    explicit Exact(size_t size) : units(new Unit[size]) {}
    Exact(const uint8_t *data, size_t size) : Exact(size) { std::copy_n(data, size, units.get()); }

    Unit *get() const { return units.get(); }

    std::unique_ptr<Unit[]> units;
};

inline void require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}

}  // namespace hearth::fuzz
