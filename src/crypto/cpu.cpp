#include "crypto/cpu.h"

#include <atomic>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#elif defined(__aarch64__) || defined(__arm__)
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace hearth {
namespace {

// The answer of the processor. Every thread that finds it empty stores the same value.
std::atomic<uint32_t> g_features{0};

#if defined(__x86_64__) || defined(__i386__)

uint32_t ask_processor() {
    constexpr uint32_t kSse41AndSsse3 = bit_SSE4_1 | bit_SSSE3;
    uint32_t a = 0, b = 0, c = 0, d = 0;
    uint32_t features = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kSse41AndSsse3) != kSse41AndSsse3) {
        return features;
    }
    features |= (c & bit_PCLMUL) != 0 ? kCpuCrc32 : 0;
    if (__get_cpuid_count(7, 0, &a, &b, &c, &d) != 0) {
        features |= (b & bit_SHA) != 0 ? kCpuSha256 : 0;
    }
    return features;
}

#elif defined(__aarch64__)

uint32_t ask_processor() {
    unsigned long capabilities = getauxval(AT_HWCAP);
    return ((capabilities & HWCAP_SHA2) != 0 ? kCpuSha256 : 0) |
           ((capabilities & HWCAP_CRC32) != 0 ? kCpuCrc32 : 0);
}

#elif defined(__arm__)

uint32_t ask_processor() {
    unsigned long capabilities = getauxval(AT_HWCAP2);
    return ((capabilities & HWCAP2_SHA2) != 0 ? kCpuSha256 : 0) |
           ((capabilities & HWCAP2_CRC32) != 0 ? kCpuCrc32 : 0);
}

#else

uint32_t ask_processor() {
    return 0;
}

#endif

}  // namespace

uint32_t cpu_features() {
    uint32_t features = g_features.load(std::memory_order_relaxed);
    if (features == 0) {
        features = ask_processor() | kCpuAsked;
        g_features.store(features, std::memory_order_relaxed);
    }
    return features;
}

}  // namespace hearth
