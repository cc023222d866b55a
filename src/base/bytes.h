// Words in byte buffers, in a fixed byte order, and the wiping of secrets.
#pragma once

#include <stdint.h>
#include <string.h>

#include <bit>

namespace hearth {

template <typename T>
T load_native(const void *from) {
    T value;
    memcpy(&value, from, sizeof value);
    return value;
}

template <typename T>
void store_native(void *to, T value) {
    memcpy(to, &value, sizeof value);
}

constexpr uint32_t swap_bytes(uint32_t value) {
    return __builtin_bswap32(value);
}

inline uint32_t load_le32(const void *from) {
    uint32_t value = load_native<uint32_t>(from);
    return std::endian::native == std::endian::little ? value : swap_bytes(value);
}

inline uint32_t load_be32(const void *from) {
    uint32_t value = load_native<uint32_t>(from);
    return std::endian::native == std::endian::big ? value : swap_bytes(value);
}

inline void store_le32(void *to, uint32_t value) {
    store_native(to, std::endian::native == std::endian::little ? value : swap_bytes(value));
}

inline void store_be32(void *to, uint32_t value) {
    store_native(to, std::endian::native == std::endian::big ? value : swap_bytes(value));
}

// Zeroes memory in a way that the compiler may not leave out.
inline void wipe(void *memory, size_t size) {
    memset(memory, 0, size);
    __asm__ __volatile__("" : : "r"(memory) : "memory");
}

}  // namespace hearth
