// What MD5 and SHA-256 have in common: data gathered into blocks of 64 bytes, and the padding with
// a bit, zeros and the length.
#pragma once

#include <stdint.h>
#include <string.h>

#include <algorithm>

namespace hearth {

constexpr size_t kDigestBlock = 64;

// Digests `count` blocks of 64 bytes into a state.
using DigestBlocks = void (*)(uint32_t *state, const uint8_t *data, size_t count);

// Takes `size` bytes into a context with the fields state, length and block.
template <typename Context>
void digest_update(Context *context, const uint8_t *data, size_t size, DigestBlocks blocks) {
    size_t filled = static_cast<size_t>(context->length % kDigestBlock);
    context->length += size;
    if (filled > 0) {
        size_t taken = std::min(size, kDigestBlock - filled);
        memcpy(context->block + filled, data, taken);
        if (filled + taken < kDigestBlock) {
            return;
        }
        blocks(context->state, context->block, 1);
        data += taken;
        size -= taken;
    }
    if (size >= kDigestBlock) {
        blocks(context->state, data, size / kDigestBlock);
        data += size - size % kDigestBlock;
        size %= kDigestBlock;
    }
    if (size > 0) {
        memcpy(context->block, data, size);
    }
}

// Pads what is gathered and digests it. `store_length` writes the number of bits into eight bytes.
template <typename Context>
void digest_pad(Context *context, DigestBlocks blocks,
                void (*store_length)(uint8_t *to, uint64_t bits)) {
    size_t filled = static_cast<size_t>(context->length % kDigestBlock);
    context->block[filled++] = 0x80;
    if (filled > kDigestBlock - 8) {
        memset(context->block + filled, 0, kDigestBlock - filled);
        blocks(context->state, context->block, 1);
        filled = 0;
    }
    memset(context->block + filled, 0, kDigestBlock - 8 - filled);
    store_length(context->block + kDigestBlock - 8, context->length * 8);
    blocks(context->state, context->block, 1);
}

}  // namespace hearth
