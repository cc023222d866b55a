#include "crypto/cl_sha256_block.h"

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>

namespace hearth {

// The instructions keep the working words as (a b e f) and (c d g h), highest lane first.
__attribute__((target("sha,sse4.1,ssse3"))) void sha256_blocks_native(uint32_t *state,
                                                                      const uint8_t *data,
                                                                      size_t count) {
    const __m128i kBigEndian = _mm_set_epi64x(0x0c0d0e0f08090a0b, 0x0405060700010203);
    __m128i badc = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<__m128i *>(state)), 0xb1);
    __m128i hgfe = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<__m128i *>(state + 4)), 0x1b);
    __m128i abef = _mm_alignr_epi8(badc, hgfe, 8);
    __m128i cdgh = _mm_blend_epi16(hgfe, badc, 0xf0);
    for (; count > 0; count--, data += 64) {
        __m128i abef0 = abef;
        __m128i cdgh0 = cdgh;
        __m128i words[4];
        for (int i = 0; i < 4; i++) {
            __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i *>(data + 16 * i));
            words[i] = _mm_shuffle_epi8(raw, kBigEndian);
        }
#pragma GCC unroll 16
        for (int i = 0; i < 16; i++) {
            __m128i roots = _mm_load_si128(reinterpret_cast<const __m128i *>(kSha256Roots + 4 * i));
            __m128i sum = _mm_add_epi32(words[i % 4], roots);
            cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
            abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0e));
            if (i < 12) {
                __m128i late = words[(i + 3) % 4];
                __m128i middle = _mm_alignr_epi8(late, words[(i + 2) % 4], 4);
                __m128i early = _mm_sha256msg1_epu32(words[i % 4], words[(i + 1) % 4]);
                words[i % 4] = _mm_sha256msg2_epu32(_mm_add_epi32(early, middle), late);
            }
        }
        abef = _mm_add_epi32(abef, abef0);
        cdgh = _mm_add_epi32(cdgh, cdgh0);
    }
    __m128i feba = _mm_shuffle_epi32(abef, 0x1b);
    __m128i dchg = _mm_shuffle_epi32(cdgh, 0xb1);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state), _mm_blend_epi16(feba, dchg, 0xf0));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(state + 4), _mm_alignr_epi8(dchg, feba, 8));
}

}  // namespace hearth

// clang offers the instructions only if all of the library may use them.
#elif (defined(__aarch64__) || (defined(__arm__) && defined(__ARM_NEON))) && \
    (!defined(__clang__) || defined(__ARM_FEATURE_SHA2))

#if !defined(__clang__) && defined(__aarch64__)
#pragma GCC target("+crypto")
#elif !defined(__clang__)
#pragma GCC target("arch=armv8-a")
#pragma GCC target("fpu=crypto-neon-fp-armv8")
#endif
#include <arm_neon.h>

namespace hearth {

void sha256_blocks_native(uint32_t *state, const uint8_t *data, size_t count) {
    uint32x4_t abcd = vld1q_u32(state);
    uint32x4_t efgh = vld1q_u32(state + 4);
    for (; count > 0; count--, data += 64) {
        uint32x4_t abcd0 = abcd;
        uint32x4_t efgh0 = efgh;
        uint32x4_t words[4];
        for (int i = 0; i < 4; i++) {
            words[i] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(data + 16 * i)));
        }
#pragma GCC unroll 16
        for (int i = 0; i < 16; i++) {
            uint32x4_t sum = vaddq_u32(words[i % 4], vld1q_u32(kSha256Roots + 4 * i));
            uint32x4_t before = abcd;
            abcd = vsha256hq_u32(abcd, efgh, sum);
            efgh = vsha256h2q_u32(efgh, before, sum);
            if (i < 12) {
                uint32x4_t early = vsha256su0q_u32(words[i % 4], words[(i + 1) % 4]);
                words[i % 4] = vsha256su1q_u32(early, words[(i + 2) % 4], words[(i + 3) % 4]);
            }
        }
        abcd = vaddq_u32(abcd, abcd0);
        efgh = vaddq_u32(efgh, efgh0);
    }
    vst1q_u32(state, abcd);
    vst1q_u32(state + 4, efgh);
}

}  // namespace hearth

#else

namespace hearth {

void sha256_blocks_native(uint32_t *state, const uint8_t *data, size_t count) {
    sha256_blocks_portable(state, data, count);
}

}  // namespace hearth

#endif
