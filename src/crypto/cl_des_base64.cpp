#include <string.h>

#include "base/bytes.h"
#include "base/guard.h"
#include "hearth/cl_base64.h"
#include "hearth/cl_des.h"
#include "hearth/osa_memory.h"
#include "hearth/osa_string.h"

namespace {

using Cipher = int32_t (*)(const uint8_t *key, const uint8_t *input, uint32_t length,
                           uint8_t *output, uint32_t *output_length);

// A mode, with its key block in pieces, last letter first. A key that lies in the library hides a
// text from a glance, no more.
struct Mode {
    int32_t number;
    Cipher encrypt;
    Cipher decrypt;
    const char *pieces[3];
};

constexpr Mode kModes[] = {
    {1, cl_desCBCEncrypt, cl_desCBCDecrypt, {"4moor", "gnivil", "9pmal"}},
    {2, cl_Encrypt, cl_Decrypt, {"ekoms7kao/", "enots.mraw/", "srebme.wols"}},
};

// The key block of a mode, wiped at the end of its scope.
class FixedKey {
  public:
    explicit FixedKey(const Mode &mode) {
        char pieces[sizeof bytes_] = {};
        for (const char *piece : mode.pieces) {
            strncat(pieces, piece, sizeof pieces - 1 - strlen(pieces));
        }
        osa_string_reverse(pieces, bytes_, sizeof bytes_);
        hearth::wipe(pieces, sizeof pieces);
    }
    FixedKey(const FixedKey &) = delete;
    FixedKey &operator=(const FixedKey &) = delete;
    ~FixedKey() { hearth::wipe(bytes_, sizeof bytes_); }

    const uint8_t *bytes() const { return reinterpret_cast<const uint8_t *>(bytes_); }

  private:
    char bytes_[CL_DES3_CBC_KEY + 1] = {};
};

const Mode *find_mode(int32_t number) {
    for (const Mode &mode : kModes) {
        if (mode.number == number) {
            return &mode;
        }
    }
    return nullptr;
}

int32_t encode(const uint8_t *cipher, uint32_t size, char *output, uint32_t output_size) {
    uint32_t length = output_size;
    if (cl_base64Encode(cipher, size, output, &length) != CL_TEXT_OK || length >= output_size) {
        return CL_CRYPT_FAILED;
    }
    output[length] = '\0';
    return CL_CRYPT_OK;
}

// Decodes and decrypts into `buffer`. Returns the bytes of plain text, padding included; 0 for a
// text that is none of ours.
uint32_t read_cipher_text(const Mode &mode, const char *text, uint32_t text_length, uint8_t *buffer,
                          uint32_t capacity) {
    uint32_t length = capacity;
    if (cl_base64Decode(text, text_length, buffer, &length) != CL_TEXT_OK) {
        return 0;
    }
    // The zero byte that was encoded behind the cipher text belongs to no block.
    length &= ~uint32_t{7};
    FixedKey key(mode);
    uint32_t plain_length = capacity;
    return mode.decrypt(key.bytes(), buffer, length, buffer, &plain_length) == CL_CRYPT_OK
               ? plain_length
               : 0;
}

}  // namespace

int32_t des_encrypt_base64(const char *text, char *output, uint32_t output_size, int32_t mode) {
    const Mode *found = find_mode(mode);
    if (text == nullptr || output == nullptr || found == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    uint64_t text_length = strlen(text);
    uint64_t blocks = (text_length + 7) / 8;
    if (blocks * 16 + 1 > output_size) {
        return CL_CRYPT_ROOM;
    }
    auto cipher_length = static_cast<uint32_t>(blocks * 8);
    auto cipher = hearth::allocate_zeroed<uint8_t>(cipher_length + 1);
    if (!cipher) {
        return CL_CRYPT_MEMORY;
    }
    FixedKey key(*found);
    uint32_t length = cipher_length;
    int32_t result = found->encrypt(key.bytes(), reinterpret_cast<const uint8_t *>(text),
                                    static_cast<uint32_t>(text_length), cipher.get(), &length);
    // Required: a zero byte behind the cipher text is encoded with it.
    return result == CL_CRYPT_OK ? encode(cipher.get(), cipher_length + 1, output, output_size)
                                 : result;
}

int32_t des_decrypt_base64(const char *text, char *output, uint32_t output_size, int32_t mode) {
    const Mode *found = find_mode(mode);
    if (text == nullptr || output == nullptr || found == nullptr) {
        return CL_CRYPT_ARGUMENT;
    }
    size_t text_length = strlen(text);
    if (text_length > (UINT32_MAX - 2) / 2) {
        return CL_CRYPT_ARGUMENT;
    }
    auto capacity = static_cast<uint32_t>(2 * text_length + 2);
    auto plain = hearth::allocate_zeroed<uint8_t>(capacity);
    if (!plain) {
        return CL_CRYPT_MEMORY;
    }
    uint32_t padded_length =
        read_cipher_text(*found, text, static_cast<uint32_t>(text_length), plain.get(), capacity);
    size_t length = strnlen(reinterpret_cast<char *>(plain.get()), padded_length);
    int32_t result = padded_length == 0     ? CL_CRYPT_FAILED
                     : length > output_size ? CL_CRYPT_ROOM
                                            : CL_CRYPT_OK;
    if (result == CL_CRYPT_OK) {
        osa_memcpy(output, plain.get(), length);
        if (length < output_size) {
            output[length] = '\0';
        }
    }
    hearth::wipe(plain.get(), capacity);
    return result;
}
