// Any bytes as septets and as octets to unpack, and back from what they made; as text to write.
// libFuzzer: -max_len=512
#include "hearth/cl_7bit.h"

#include "exact_copy.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

void read_septets(const uint8_t *septets, uint32_t count, cl_7bitLanguage language) {
    Exact<char> ascii(count + 1);
    uint32_t length = count;
    cl_7bitToASCIIEx(septets, count, ascii.get(), &length, &language);
    Exact<uint16_t> text(count + 1);
    length = count;
    if (cl_7bitToUCS2Ex(septets, count, text.get(), &length, &language) != CL_TEXT_OK) {
        return;
    }
    require(length <= count && text.get()[length] == 0);
    // What was read is in the alphabets: the default ones find a way back for their own text.
    Exact<uint8_t> again(2 * size_t{length} + 1);
    uint32_t made = 1;
    uint32_t status = cl_ucs2To7BIT(text.get(), length, again.get(), &made);
    require(length == 0 || status == CL_TEXT_OK || language.locking_table != 0 ||
            language.shift_table != 0);
}

// Text of 8-bit characters and of UCS-2 into septets, of which each takes two at most.
void write_septets(const uint8_t *bytes, uint32_t count, cl_7bitLanguage language) {
    Exact<uint8_t> septets(2 * size_t{count} + 1);
    uint32_t length = 1;
    Exact<char> text(bytes, count);
    cl_asciiTo7BITEx(text.get(), count, septets.get(), &length, &language);
    require(length <= 2 * count);
    Exact<uint16_t> wide(count + 1);
    length = count + 1;
    require(cl_8bitDecode(bytes, count, wide.get(), &length) == CL_TEXT_OK && length == count);
    for (uint32_t i = 0; i + 1 < count; i++) {
        wide.get()[i] = static_cast<uint16_t>(wide.get()[i] << 8 | bytes[i + 1]);
        uint32_t escaped = 0;
        cl_7bitCheck_Ex(wide.get()[i], language.language, &escaped);
        uint16_t folded = 0;
        cl_convert_Spanish_to_gsmdef(wide.get()[i], &folded);
    }
    length = 1;
    cl_ucs2To7BITEx(wide.get(), count, septets.get(), &length, &language);
    require(length <= 2 * count);
}

void unpack(const uint8_t *octets, uint32_t count, uint16_t shift) {
    Exact<uint8_t> septets(size_t{count} * 8 / 7 + 2);
    uint32_t length = count / 7 * 8;
    require(cl_7bitDecode(octets, count, septets.get(), &length) == CL_TEXT_OK);
    Exact<uint8_t> packed(count + 1);
    uint32_t back = count;
    require(cl_7bitEncode(septets.get(), length, packed.get(), &back) == CL_TEXT_OK);
    require(back == count && std::equal(octets, octets + count - 1, packed.get()));
    length = count * 2;
    cl_7bitDecodeEx(octets, count, septets.get(), &length, shift);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    Exact<uint8_t> input(data + 1, size - 1);
    uint32_t count = static_cast<uint32_t>(size - 1);
    read_septets(input.get(), count, {{data[0] & 7u}, {data[0] >> 3 & 7u}});
    write_septets(input.get(), count, {{data[0] & 7u}, {data[0] >> 3 & 7u}});
    unpack(input.get(), count, data[0] & 7);
    Exact<uint16_t> text(size);
    int32_t length = 0;
    GSM_7BitToWCHAR(input.get(), static_cast<int32_t>(count), text.get(),
                    static_cast<int32_t>(count), &length);
    return 0;
}
