#include "crypto/crc32.h"

#include "crypto/cpu.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
// clang offers the instructions only if all of the library may use them.
#elif defined(__aarch64__) && (!defined(__clang__) || defined(__ARM_FEATURE_CRC32))
#define HEARTH_ARM_CRC32
#if !defined(__clang__)
#pragma GCC target("+crc")
#endif
#include <arm_acle.h>
#endif

namespace hearth {

#if defined(__x86_64__) || defined(__i386__)

namespace {

// x to a power modulo the polynomial, as the multiplication takes it: reflected, one bit higher.
constexpr long long power_of_x(int exponent) {
    long long value = 0x80000000;
    for (int i = 0; i < exponent; i++) {
        value = (value >> 1) ^ ((value & 1) != 0 ? kCrc32Polynomial : 0);
    }
    return value << 1;
}

#define HEARTH_TARGET_CRC __attribute__((target("pclmul,sse4.1")))

// Moves 128 bits of the message ahead by the distance that `powers` stands for and adds `next`.
[[gnu::always_inline]] HEARTH_TARGET_CRC inline __m128i fold(__m128i value, __m128i powers,
                                                             __m128i next) {
    __m128i low = _mm_clmulepi64_si128(value, powers, 0x00);
    __m128i high = _mm_clmulepi64_si128(value, powers, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

[[gnu::always_inline]] HEARTH_TARGET_CRC inline __m128i load(const uint8_t *from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(from));
}

}  // namespace

// Folds four strands of 128 bits over the message, joins them, and leaves the last 16 bytes and
// the rest to the tables.
HEARTH_TARGET_CRC uint32_t crc32_native(uint32_t crc, const uint8_t *data, size_t size) {
    constexpr long long kBy512[2] = {power_of_x(512 + 32), power_of_x(512 - 32)};
    constexpr long long kBy128[2] = {power_of_x(128 + 32), power_of_x(128 - 32)};
    const __m128i by512 = _mm_set_epi64x(kBy512[1], kBy512[0]);
    const __m128i by128 = _mm_set_epi64x(kBy128[1], kBy128[0]);
    __m128i strands[4];
    for (int i = 0; i < 4; i++) {
        strands[i] = load(data + 16 * i);
    }
    strands[0] = _mm_xor_si128(strands[0], _mm_cvtsi32_si128(static_cast<int>(crc)));
    for (data += 64, size -= 64; size >= 64; data += 64, size -= 64) {
#pragma GCC unroll 4
        for (int i = 0; i < 4; i++) {
            strands[i] = fold(strands[i], by512, load(data + 16 * i));
        }
    }
    __m128i value = fold(strands[0], by128, strands[1]);
    value = fold(value, by128, strands[2]);
    value = fold(value, by128, strands[3]);
    for (; size >= 16; data += 16, size -= 16) {
        value = fold(value, by128, load(data));
    }
    uint8_t last[16];
    _mm_storeu_si128(reinterpret_cast<__m128i *>(last), value);
    return crc32_tables(crc32_tables(0, last, sizeof last), data, size);
}

#elif defined(HEARTH_ARM_CRC32)

uint32_t crc32_native(uint32_t crc, const uint8_t *data, size_t size) {
    for (; size >= 8; size -= 8, data += 8) {
        crc = __crc32d(crc, load_native<uint64_t>(data));
    }
    return crc32_tables(crc, data, size);
}

#else

uint32_t crc32_native(uint32_t crc, const uint8_t *data, size_t size) {
    return crc32_tables(crc, data, size);
}

#endif

uint32_t crc32(uint32_t crc, const uint8_t *data, size_t size) {
    if (data == nullptr) {
        return 0;
    }
    bool native = size >= kCrc32NativeMinimum && (cpu_features() & kCpuCrc32) != 0;
    return ~(native ? crc32_native : crc32_tables)(~crc, data, size);
}

}  // namespace hearth
