#include "hearth/cl_sha256.h"

#include "base/bytes.h"
#include "crypto/cl_sha256_block.h"
#include "crypto/cpu.h"
#include "crypto/digest.h"

namespace {

hearth::DigestBlocks blocks() {
    return (hearth::cpu_features() & hearth::kCpuSha256) != 0 ? hearth::sha256_blocks_native
                                                              : hearth::sha256_blocks_portable;
}

void store_length(uint8_t *to, uint64_t bits) {
    hearth::store_be32(to, static_cast<uint32_t>(bits >> 32));
    hearth::store_be32(to + 4, static_cast<uint32_t>(bits));
}

}  // namespace

int32_t Sha256_Init(Sha256_Context *context) {
    if (context == nullptr) {
        return -1;
    }
    *context = {.state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c,
                          0x1f83d9ab, 0x5be0cd19},
                .length = 0,
                .block = {}};
    return 0;
}

int32_t Sha256_Update(Sha256_Context *context, const void *data, uint32_t length) {
    if (context == nullptr || (data == nullptr && length > 0)) {
        return -1;
    }
    hearth::digest_update(context, static_cast<const uint8_t *>(data), length, blocks());
    return 0;
}

int32_t Sha256_Final(Sha256_Context *context, uint8_t *digest) {
    if (context == nullptr || digest == nullptr) {
        return -1;
    }
    hearth::digest_pad(context, blocks(), store_length);
    for (size_t i = 0; i < 8; i++) {
        hearth::store_be32(digest + 4 * i, context->state[i]);
    }
    hearth::wipe(context, sizeof *context);
    return 0;
}

int32_t sha256(const void *data, uint32_t length, uint8_t *digest) {
    if (data == nullptr || length == 0 || digest == nullptr) {
        return -1;
    }
    Sha256_Context context;
    Sha256_Init(&context);
    Sha256_Update(&context, data, length);
    return Sha256_Final(&context, digest);
}
