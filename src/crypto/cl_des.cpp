#include "hearth/cl_des.h"

#include <stdlib.h>
#include <string.h>

#include "base/bytes.h"
#include "base/guard.h"
#include "base/text.h"
#include "crypto/cl_des_block.h"
#include "hearth/desc.h"

namespace {

using hearth::DesHalves;
using hearth::DesKeys;
using hearth::kDesBlock;
using hearth::kDesLanes;
using hearth::kDesSchedule;

// The same rounds backwards.
void reverse_pairs(const uint32_t *encrypting, uint32_t *decrypting) {
    for (size_t i = 0; i < kDesSchedule; i += 2) {
        decrypting[kDesSchedule - 2 - i] = encrypting[i];
        decrypting[kDesSchedule - 1 - i] = encrypting[i + 1];
    }
}

template <size_t Lanes>
void crypt_lanes(const DesKeys &keys, const uint8_t *input, uint8_t *output) {
    DesHalves state[Lanes];
    for (size_t i = 0; i < Lanes; i++) {
        state[i] = hearth::des_enter(hearth::des_load(input + i * kDesBlock));
    }
    hearth::des_rounds(state, keys);
    for (size_t i = 0; i < Lanes; i++) {
        hearth::des_store(output + i * kDesBlock, hearth::des_leave(state[i]));
    }
}

// Runs `size` bytes, a multiple of 8.
void crypt_blocks(const DesKeys &keys, const uint8_t *input, uint8_t *output, size_t size) {
    constexpr size_t kStep = kDesLanes * kDesBlock;
    size_t at = 0;
    for (; size - at >= kStep; at += kStep) {
        crypt_lanes<kDesLanes>(keys, input + at, output + at);
    }
    for (; at < size; at += kDesBlock) {
        crypt_lanes<1>(keys, input + at, output + at);
    }
}

// What the ECB functions have in common before they run a block. The rounded length has to fit
// its 32 bits.
int32_t check_ecb(const void *key, const uint8_t *input, uint32_t length, const uint8_t *output,
                  const uint32_t *output_length) {
    if (key == nullptr || input == nullptr || output == nullptr || output_length == nullptr ||
        length == 0 || length > UINT32_MAX - 7) {
        return CL_CRYPT_ARGUMENT;
    }
    return *output_length < length ? CL_CRYPT_ROOM : CL_CRYPT_OK;
}

uint32_t rounded(uint32_t length) {
    return (length + 7) & ~uint32_t{7};
}

void encrypt_ecb(const DesKeys &keys, const uint8_t *input, uint32_t length, uint8_t *output,
                 uint32_t *output_length) {
    uint32_t whole = length & ~uint32_t{7};
    crypt_blocks(keys, input, output, whole);
    if (whole < length) {
        // Required: the partial block comes from the output.
        uint8_t last[kDesBlock] = {};
        memcpy(last, output + whole, length - whole);
        crypt_lanes<1>(keys, last, output + whole);
        hearth::wipe(last, sizeof last);
    }
    *output_length = rounded(length);
}

void decrypt_ecb(const DesKeys &keys, const uint8_t *input, uint32_t length, uint8_t *output,
                 uint32_t *output_length) {
    crypt_blocks(keys, input, output, rounded(length));
    *output_length = rounded(length);
}

using EcbDirection = void (*)(const DesKeys &keys, const uint8_t *input, uint32_t length,
                              uint8_t *output, uint32_t *output_length);

int32_t crypt_ecb(const uint32_t *schedule, size_t words, EcbDirection direction,
                  const uint8_t *input, uint32_t length, uint8_t *output, uint32_t *output_length) {
    int32_t result = check_ecb(schedule, input, length, output, output_length);
    if (result == CL_CRYPT_OK) {
        direction(DesKeys(schedule, words), input, length, output, output_length);
    }
    return result;
}

// Single DES, with the schedule of one direction made from the key.
int32_t crypt_ecb_with_key(const uint8_t *key, EcbDirection direction, const uint8_t *input,
                           uint32_t length, uint8_t *output, uint32_t *output_length) {
    if (key == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    uint32_t schedules[2][kDesSchedule];
    cl_desSetkey(key, schedules[0], schedules[1]);
    int32_t result = crypt_ecb(schedules[direction == decrypt_ecb ? 1 : 0], kDesSchedule, direction,
                               input, length, output, output_length);
    hearth::wipe(schedules, sizeof schedules);
    return result;
}

// A cipher of the CBC wrappers: runs whole blocks with a key block.
using CbcCipher = bool (*)(const uint8_t *key, bool encrypt, uint8_t *output, const uint8_t *input,
                           uint32_t length);

bool run_des(const uint8_t *key, bool encrypt, uint8_t *output, const uint8_t *input,
             uint32_t length) {
    DES_CBC_Context context;
    DES_CBCInit(&context, key, key + 8, encrypt);
    bool done = DES_CBCUpdate(&context, output, input, length) == 1;
    hearth::wipe(&context, sizeof context);
    return done;
}

bool run_des3(const uint8_t *key, bool encrypt, uint8_t *output, const uint8_t *input,
              uint32_t length) {
    DES3_CBC_Context context;
    DES3_CBCInit(&context, key, key + 24, encrypt);
    bool done = DES3_CBCUpdate(&context, output, input, length) == 0;
    hearth::wipe(&context, sizeof context);
    return done;
}

int32_t crypt_cbc(CbcCipher cipher, bool encrypt, const uint8_t *key, const uint8_t *input,
                  uint32_t length, uint8_t *output, uint32_t *output_length) {
    if (key == nullptr || input == nullptr || output == nullptr || output_length == nullptr ||
        length == 0 || length > UINT32_MAX - 7) {
        if (output_length != nullptr) {
            *output_length = 0;
        }
        return CL_CRYPT_ARGUMENT;
    }
    if (*output_length < length) {
        return CL_CRYPT_ROOM;
    }
    uint32_t padded_length = rounded(length);
    *output_length = padded_length;
    if (padded_length == length) {
        return cipher(key, encrypt, output, input, length) ? CL_CRYPT_OK : CL_CRYPT_FAILED;
    }
    auto padded = hearth::allocate_zeroed<uint8_t>(padded_length);
    if (!padded) {
        return CL_CRYPT_MEMORY;
    }
    memcpy(padded.get(), input, length);
    bool done = cipher(key, encrypt, output, padded.get(), padded_length);
    hearth::wipe(padded.get(), padded_length);
    return done ? CL_CRYPT_OK : CL_CRYPT_FAILED;
}

}  // namespace

int32_t cl_desKeyScdu(const uint8_t *key, uint32_t *schedule) {
    if (key == nullptr || schedule == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    constexpr uint32_t kHalf = 0x0fffffff;
    uint64_t bits = uint64_t{hearth::load_be32(key)} << 32 | hearth::load_be32(key + 4);
    uint64_t halves = hearth::permute(hearth::kDesKeyHalves, bits);
    auto c = static_cast<uint32_t>(halves >> 28);
    auto d = static_cast<uint32_t>(halves & kHalf);
    for (uint8_t shift : hearth::kDesKeyShifts) {
        c = (c << shift | c >> (28 - shift)) & kHalf;
        d = (d << shift | d >> (28 - shift)) & kHalf;
        uint64_t groups = hearth::permute(hearth::kDesRoundKey, uint64_t{c} << 28 | d);
        *schedule++ = static_cast<uint32_t>(groups >> 32);
        *schedule++ = static_cast<uint32_t>(groups);
    }
    return CL_CRYPT_OK;
}

int32_t cl_desSetkey(const uint8_t *key, uint32_t *encrypting, uint32_t *decrypting) {
    if (key == nullptr || encrypting == nullptr || decrypting == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    cl_desKeyScdu(key, encrypting);
    reverse_pairs(encrypting, decrypting);
    return CL_CRYPT_OK;
}

int32_t cl_des3Set2keys(const uint8_t *key1, const uint8_t *key2, uint32_t *encrypting,
                        uint32_t *decrypting) {
    return cl_des3Set3keys(key1, key2, key1, encrypting, decrypting);
}

int32_t cl_des3Set3keys(const uint8_t *key1, const uint8_t *key2, const uint8_t *key3,
                        uint32_t *encrypting, uint32_t *decrypting) {
    if (key1 == nullptr || key2 == nullptr || key3 == nullptr || encrypting == nullptr ||
        decrypting == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    // Encrypt, decrypt, encrypt; and backwards with the keys in reverse.
    constexpr size_t kSecond = kDesSchedule;
    constexpr size_t kThird = 2 * kDesSchedule;
    cl_desSetkey(key1, encrypting, decrypting + kThird);
    cl_desSetkey(key2, decrypting + kSecond, encrypting + kSecond);
    cl_desSetkey(key3, encrypting + kThird, decrypting);
    return CL_CRYPT_OK;
}

int32_t cl_desCrypt(const uint32_t *schedule, uint32_t words, const uint8_t *in, uint8_t *out) {
    if (schedule == nullptr || in == nullptr || out == nullptr ||
        (words != CL_DES_SCHEDULE && words != CL_DES3_SCHEDULE)) {
        return CL_CRYPT_ARGUMENT;
    }
    crypt_lanes<1>(DesKeys(schedule, words), in, out);
    return CL_CRYPT_OK;
}

int32_t cl_desECBEncrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                         uint32_t *output_length) {
    return crypt_ecb_with_key(key, encrypt_ecb, input, length, output, output_length);
}

int32_t cl_desECBDecrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                         uint32_t *output_length) {
    return crypt_ecb_with_key(key, decrypt_ecb, input, length, output, output_length);
}

int32_t cl_des3ECBEncrypt(const uint32_t *schedule, const uint8_t *input, uint32_t length,
                          uint8_t *output, uint32_t *output_length) {
    return crypt_ecb(schedule, CL_DES3_SCHEDULE, encrypt_ecb, input, length, output, output_length);
}

int32_t cl_des3ECBDecrypt(const uint32_t *schedule, const uint8_t *input, uint32_t length,
                          uint8_t *output, uint32_t *output_length) {
    return crypt_ecb(schedule, CL_DES3_SCHEDULE, decrypt_ecb, input, length, output, output_length);
}

int32_t cl_desCBCGenerateIV(uint8_t *iv) {
    if (iv == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    for (size_t filled = 0; filled < kDesBlock;) {
        auto drawn = static_cast<char>(rand() & 0xff);
        if (hearth::is_digit(drawn) || hearth::is_lower(drawn)) {
            iv[filled++] = static_cast<uint8_t>(drawn);
        }
    }
    return CL_CRYPT_OK;
}

int32_t cl_desCBCEncrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                         uint32_t *output_length) {
    return crypt_cbc(run_des, true, key, input, length, output, output_length);
}

int32_t cl_desCBCDecrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                         uint32_t *output_length) {
    return crypt_cbc(run_des, false, key, input, length, output, output_length);
}

int32_t cl_Encrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                   uint32_t *output_length) {
    return crypt_cbc(run_des3, true, key, input, length, output, output_length);
}

int32_t cl_Decrypt(const uint8_t *key, const uint8_t *input, uint32_t length, uint8_t *output,
                   uint32_t *output_length) {
    return crypt_cbc(run_des3, false, key, input, length, output, output_length);
}
