// Base64 text of any characters, and bytes there and back.
// libFuzzer: -max_len=512
#include "hearth/cl_base64.h"

#include "exact_copy.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    uint32_t count = static_cast<uint32_t>(size);
    Exact<char> text(size + 1);
    std::copy_n(data, size, text.get());
    text.get()[size] = '\0';
    Exact<uint8_t> bytes(size);
    uint32_t length = count;
    cl_base64Decode(text.get(), count, bytes.get(), &length);
    require(length <= count);

    length = (count + 2) / 3 * 4;
    Exact<char> encoded(length + 1);
    require(cl_base64Encode(data, count, encoded.get(), &length) == CL_TEXT_OK);
    encoded.get()[length] = '\0';
    uint32_t made = count;
    require(cl_base64Decode(encoded.get(), length, bytes.get(), &made) == CL_TEXT_OK);
    require(made == count && std::equal(data, data + size, bytes.get()));
    return 0;
}
