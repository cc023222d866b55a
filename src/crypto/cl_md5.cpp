#include "hearth/cl_md5.h"

#include "base/bytes.h"
#include "crypto/cl_md5_block.h"
#include "crypto/digest.h"

namespace {

void store_length(uint8_t *to, uint64_t bits) {
    hearth::store_le32(to, static_cast<uint32_t>(bits));
    hearth::store_le32(to + 4, static_cast<uint32_t>(bits >> 32));
}

}  // namespace

int32_t cl_md5_init(cl_md5_context *context) {
    if (context == nullptr) {
        return 1;
    }
    *context = {
        .state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, .length = 0, .block = {}};
    return 0;
}

int32_t cl_md5_update(cl_md5_context *context, const void *data, uint32_t length) {
    if (context == nullptr || (data == nullptr && length > 0)) {
        return 1;
    }
    hearth::digest_update(context, static_cast<const uint8_t *>(data), length, hearth::md5_blocks);
    return 0;
}

int32_t cl_md5_final(cl_md5_context *context, uint8_t *digest) {
    if (context == nullptr || digest == nullptr) {
        return 1;
    }
    hearth::digest_pad(context, hearth::md5_blocks, store_length);
    for (size_t i = 0; i < 4; i++) {
        hearth::store_le32(digest + 4 * i, context->state[i]);
    }
    hearth::wipe(context, sizeof *context);
    return 0;
}

int32_t cl_md5Stream(const void *data, uint32_t length, uint8_t *digest) {
    if (data == nullptr || digest == nullptr) {
        return 1;
    }
    cl_md5_context context;
    if (cl_md5_init(&context) != 0 || cl_md5_update(&context, data, length) != 0 ||
        cl_md5_final(&context, digest) != 0) {
        hearth::wipe(&context, sizeof context);
        return 12;
    }
    return 0;
}
