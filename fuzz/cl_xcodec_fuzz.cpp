// The forms of SIM records and quoted texts, whatever they hold. The first byte chooses.
// libFuzzer: -max_len=512
#include "hearth/cl_xcodec.h"

#include "exact_copy.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

// A text that a form takes has the length that the form says. Form 80 comes back as it was.
void write_forms(const uint8_t *bytes, uint32_t count) {
    uint32_t units = count / 2;
    Exact<uint16_t> text(units + 1);
    for (uint32_t i = 0; i < units; i++) {
        text.get()[i] = static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
    }
    Exact<uint8_t> form(2 * size_t{units} + 4);
    uint32_t length = units + 3;
    if (cl_encode81(text.get(), units, form.get(), &length) == CL_TEXT_OK) {
        require(length == units + 3);
    }
    length = units + 4;
    if (cl_encode82(text.get(), units, form.get(), &length) == CL_TEXT_OK) {
        require(length == units + 4);
    }
    length = 2 * units + 1;
    if (cl_encode80(text.get(), units, form.get(), &length) == CL_TEXT_OK) {
        Exact<uint16_t> again(units + 1);
        uint32_t back = units + 1;
        require(cl_decode80(form.get(), length, again.get(), &back) == CL_TEXT_OK && back == units);
        require(std::equal(text.get(), text.get() + units, again.get()));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    uint32_t count = static_cast<uint32_t>(size - 1);
    Exact<uint8_t> bytes(data + 1, count);
    write_forms(bytes.get(), count);
    for (auto decode : {cl_decode80, cl_decode81, cl_decode82}) {
        uint32_t promised = count > 1 ? bytes.get()[1] : 0u;
        Exact<uint16_t> text(std::max(promised, count) + 1);
        uint32_t length = count;
        decode(bytes.get(), count, text.get(), &length);
    }
    // Here the capacity bounds all codings.
    uint32_t capacity = data[0] >> 2;
    Exact<uint16_t> text(capacity + 1);
    Exact<char> source(data + 1, count);
    uint32_t length = capacity;
    if (cl_decodeData(data[0] & 3, source.get(), count, text.get(), &length) != CL_TEXT_OK ||
        length == 0) {
        return 0;
    }
    require(length <= capacity);
    Exact<char> quoted(4 * size_t{length} + 11);
    uint32_t coding = 0;
    uint32_t room = 4 * length + 9;
    const cl_codecProfile profile{0, 0};
    require(cl_encodeData(&coding, text.get(), length, quoted.get(), &room, &profile) ==
            CL_TEXT_OK);
    Exact<uint16_t> again(length + 2);
    uint32_t back = length + 1;
    uint32_t status = cl_decodeData(coding, quoted.get() + 1, room - 2, again.get(), &back);
    // The escape is a character of the alphabet as well, and is not told from itself on the way
    // back.
    bool escapes = std::find(text.get(), text.get() + length, 0x1B) != text.get() + length;
    require(escapes || (status == CL_TEXT_OK && back == length &&
                        std::equal(again.get(), again.get() + back, text.get())));
    return 0;
}
