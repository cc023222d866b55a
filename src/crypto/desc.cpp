#include "hearth/desc.h"

#include <string.h>

#include "base/bytes.h"
#include "crypto/cl_des_block.h"
#include "hearth/cl_des.h"

namespace {

using hearth::DesHalves;
using hearth::DesKeys;
using hearth::kDesBlock;
using hearth::kDesLanes;

// The two halves of a block, first byte most significant.
void enscrunch(const uint8_t *block, uint32_t (&halves)[2]) {
    halves[0] = hearth::load_be32(block);
    halves[1] = hearth::load_be32(block + 4);
}

// The word that the rounds take for the two halves, first byte lowest.
uint64_t un_scrunch(const uint32_t (&halves)[2]) {
    return uint64_t{hearth::swap_bytes(halves[1])} << 32 | hearth::swap_bytes(halves[0]);
}

// What each block is XORed with before and after the rounds; zero but for DESX.
struct Whiteners {
    uint64_t before = 0;
    uint64_t after = 0;
};

// The chain stays in the form that the rounds have: neither permutation is on the way from one
// block to the next.
void encrypt_chain(const DesKeys &keys, const Whiteners &whiteners, uint64_t chain, uint8_t *output,
                   const uint8_t *input, size_t size) {
    DesHalves before = hearth::des_enter(whiteners.before);
    DesHalves after = hearth::des_enter(whiteners.after);
    DesHalves state[1] = {hearth::des_enter(chain)};
    for (size_t at = 0; at < size; at += kDesBlock) {
        state[0] = state[0] ^ (hearth::des_enter(hearth::des_load(input + at)) ^ before);
        hearth::des_rounds(state, keys);
        state[0] = state[0] ^ after;
        hearth::des_store(output + at, hearth::des_leave(state[0]));
    }
}

// Decrypts `Lanes` neighbouring blocks. Returns the last of the cipher text, the next chain.
template <size_t Lanes>
uint64_t decrypt_lanes(const DesKeys &keys, const Whiteners &whiteners, uint64_t chain,
                       uint8_t *output, const uint8_t *input) {
    uint64_t cipher[Lanes];
    DesHalves state[Lanes];
    for (size_t i = 0; i < Lanes; i++) {
        cipher[i] = hearth::des_load(input + i * kDesBlock);
        state[i] = hearth::des_enter(cipher[i] ^ whiteners.after);
    }
    hearth::des_rounds(state, keys);
    for (size_t i = 0; i < Lanes; i++) {
        uint64_t plain = hearth::des_leave(state[i]) ^ whiteners.before ^ chain;
        hearth::des_store(output + i * kDesBlock, plain);
        chain = cipher[i];
    }
    return chain;
}

void decrypt_chain(const DesKeys &keys, const Whiteners &whiteners, uint64_t chain, uint8_t *output,
                   const uint8_t *input, size_t size) {
    constexpr size_t kStep = kDesLanes * kDesBlock;
    size_t at = 0;
    for (; size - at >= kStep; at += kStep) {
        chain = decrypt_lanes<kDesLanes>(keys, whiteners, chain, output + at, input + at);
    }
    for (; at < size; at += kDesBlock) {
        chain = decrypt_lanes<1>(keys, whiteners, chain, output + at, input + at);
    }
}

// The update of all three families; false for what it refuses.
template <typename Context>
bool update(Context *context, const Whiteners &whiteners, uint8_t *output, const uint8_t *input,
            uint32_t length) {
    if (context == nullptr || length % kDesBlock != 0 ||
        (length > 0 && (output == nullptr || input == nullptr))) {
        return false;
    }
    if (length == 0) {
        return true;
    }
    DesKeys keys(reinterpret_cast<const uint32_t *>(context->subkeys),
                 sizeof context->subkeys / sizeof(uint32_t));
    uint64_t chain = un_scrunch(context->chain);
    if (context->encrypt != 0) {
        encrypt_chain(keys, whiteners, chain, output, input, length);
        enscrunch(output + length - kDesBlock, context->chain);
    } else {
        enscrunch(input + length - kDesBlock, context->chain);
        decrypt_chain(keys, whiteners, chain, output, input, length);
    }
    return true;
}

template <typename Context>
bool start(Context *context, const uint8_t *key, const uint8_t *iv, int32_t encrypt) {
    if (context == nullptr || key == nullptr || iv == nullptr) {
        return false;
    }
    enscrunch(iv, context->initial);
    enscrunch(iv, context->chain);
    context->encrypt = encrypt;
    return true;
}

template <typename Context>
void restart(Context *context) {
    if (context != nullptr) {
        memcpy(context->chain, context->initial, sizeof context->chain);
    }
}

// The schedule of the wanted direction.
void set_key(const uint8_t *key, int32_t encrypt, uint32_t *subkeys) {
    uint32_t other[hearth::kDesSchedule];
    cl_desSetkey(key, encrypt != 0 ? subkeys : other, encrypt != 0 ? other : subkeys);
    hearth::wipe(other, sizeof other);
}

}  // namespace

void DES_CBCInit(DES_CBC_Context *context, const uint8_t *key, const uint8_t *iv, int32_t encrypt) {
    if (start(context, key, iv, encrypt)) {
        set_key(key, encrypt, context->subkeys);
    }
}

void DESX_CBCInit(DESX_CBC_Context *context, const uint8_t *key, const uint8_t *iv,
                  int32_t encrypt) {
    if (start(context, key, iv, encrypt)) {
        set_key(key, encrypt, context->subkeys);
        enscrunch(key + kDesBlock, context->input_whitener);
        enscrunch(key + 2 * kDesBlock, context->output_whitener);
    }
}

void DES3_CBCInit(DES3_CBC_Context *context, const uint8_t *key, const uint8_t *iv,
                  int32_t encrypt) {
    if (start(context, key, iv, encrypt)) {
        uint32_t other[3 * hearth::kDesSchedule];
        uint32_t *wanted = context->subkeys[0];
        cl_des3Set3keys(key, key + kDesBlock, key + 2 * kDesBlock, encrypt != 0 ? wanted : other,
                        encrypt != 0 ? other : wanted);
        hearth::wipe(other, sizeof other);
    }
}

// Required: one is the success of DES and DESX, zero that of triple DES.
int32_t DES_CBCUpdate(DES_CBC_Context *context, uint8_t *output, const uint8_t *input,
                      uint32_t length) {
    return update(context, {}, output, input, length) ? 1 : DES_CBC_BAD_LENGTH;
}

int32_t DESX_CBCUpdate(DESX_CBC_Context *context, uint8_t *output, const uint8_t *input,
                       uint32_t length) {
    Whiteners whiteners;
    if (context != nullptr) {
        whiteners = {un_scrunch(context->input_whitener), un_scrunch(context->output_whitener)};
    }
    bool done = update(context, whiteners, output, input, length);
    hearth::wipe(&whiteners, sizeof whiteners);
    return done ? 1 : DES_CBC_BAD_LENGTH;
}

int32_t DES3_CBCUpdate(DES3_CBC_Context *context, uint8_t *output, const uint8_t *input,
                       uint32_t length) {
    return update(context, {}, output, input, length) ? 0 : DES_CBC_BAD_LENGTH;
}

void DES_CBCRestart(DES_CBC_Context *context) {
    restart(context);
}

void DESX_CBCRestart(DESX_CBC_Context *context) {
    restart(context);
}

void DES3_CBCRestart(DES3_CBC_Context *context) {
    restart(context);
}
