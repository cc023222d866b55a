// Texts for des_decrypt_base64, and texts there and back. Input: mode, capacity, then the text.
// libFuzzer: -max_len=512
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

#include <string>
#include <vector>

#include "hearth/cl_des.h"

namespace {

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

void decrypt(const std::string &text, uint32_t capacity, int32_t mode) {
    std::vector<char> output(capacity == 0 ? 1 : capacity, '#');
    int32_t result = des_decrypt_base64(text.c_str(), output.data(), capacity, mode);
    check(result == CL_CRYPT_OK || result == CL_CRYPT_ROOM || result == CL_CRYPT_FAILED);
}

void there_and_back(const std::string &text, int32_t mode) {
    std::string plain = text.c_str();
    std::vector<char> packed((plain.size() + 7) / 8 * 16 + 1);
    std::vector<char> back(plain.size() + 1);
    if (plain.empty()) {
        return;
    }
    check(des_encrypt_base64(plain.c_str(), packed.data(), static_cast<uint32_t>(packed.size()),
                             mode) == CL_CRYPT_OK);
    check(des_decrypt_base64(packed.data(), back.data(), static_cast<uint32_t>(back.size()),
                             mode) == CL_CRYPT_OK);
    check(plain == back.data());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    int32_t mode = 1 + data[0] % 2;
    std::string text(reinterpret_cast<const char *>(data + 2), size - 2);
    decrypt(text, data[1], mode);
    there_and_back(text, mode);
    return 0;
}
