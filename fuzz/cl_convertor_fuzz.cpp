// UTF-8, hexadecimal text, numbers and bytes of the air, whatever they hold.
// libFuzzer: -max_len=512
#include "hearth/cl_convertor.h"

#include "exact_copy.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

void read_utf8(const char *utf8, uint32_t count) {
    Exact<uint16_t> text(count + 1);
    uint32_t units = count;
    cl_utf8ToUCS2(utf8, count, text.get(), &units);
    require(units <= count && text.get()[units] == 0);
    if (units == 0) {
        return;
    }
    Exact<char> back(3 * size_t{units} + 1);
    uint32_t length = 3 * units;
    require(cl_ucs2ToUTF8(text.get(), units, back.get(), &length) == CL_TEXT_OK);
    Exact<uint16_t> again(units + 1);
    uint32_t length_again = units;
    if (length > 0) {
        require(cl_utf8ToUCS2(back.get(), length, again.get(), &length_again) == CL_TEXT_OK);
        require(std::equal(again.get(), again.get() + length_again, text.get()));
    }
    Exact<char> cut(count + 1);
    cl_ucs2ToUTF8ByLen(text.get(), units, cut.get(), count);
}

void read_bytes(const uint8_t *bytes, uint32_t count) {
    Exact<char> digits(2 * size_t{count} + 1);
    uint32_t length = 2 * count + 1;
    require(cl_bytesToString(bytes, count, digits.get(), &length) == CL_TEXT_OK);
    Exact<uint8_t> back(count);
    uint32_t made = count;
    require(cl_stringToBytes(digits.get(), length, back.get(), &made) == CL_TEXT_OK);
    require(made == count && std::equal(bytes, bytes + count, back.get()));
    Exact<uint16_t> units(count / 2 + 1);
    length = count / 2 + 1;
    require(cl_byteOrderToWideChar(bytes, count, units.get(), &length) == CL_TEXT_OK);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    uint32_t count = static_cast<uint32_t>(size);
    Exact<char> text(data, size);
    read_utf8(text.get(), count);
    Exact<uint8_t> bytes(data, size);
    read_bytes(bytes.get(), count);
    uint32_t made = count / 2;
    cl_stringToBytes(text.get(), count, bytes.get(), &made);
    uint32_t value = 0;
    cl_stringToNumeric(text.get(), count, data[0] % 2 == 0 ? 10 : 16, &value);
    return 0;
}
