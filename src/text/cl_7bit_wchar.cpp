// The septet decoder of the device queries, on tables of its own.
#include <algorithm>

#include "hearth/cl_7bit.h"
#include "text/cl_7bit_tables.h"

using namespace hearth::text;

namespace {

using WideTable = std::array<uint32_t, 128>;

constexpr WideTable widened(const Alphabet &alphabet) {
    WideTable wide{};
    for (size_t i = 0; i < wide.size(); ++i) {
        wide[i] = alphabet[i];
    }
    return wide;
}

// The default extension table with the characters of these two septets the other way round.
constexpr SeptetRow kSwapped[] = {{0x0A, 0x000A}, {0x1B, 0x0020}};

}  // namespace

// C arrays cannot be computed: these are, and the exported names stand for them.
extern "C" {
extern const WideTable hearth_gsm_default_table = widened(cl_7DefaultAlphabet);
extern const WideTable hearth_gsm_ext_table = widened(with_rows(cl_7ExtAlphabet, kSwapped));
extern const uint32_t arrayGSM_7DefaultTable[128]
    __attribute__((alias("hearth_gsm_default_table")));
extern const uint32_t arrayGSM_7ExtTable[128] __attribute__((alias("hearth_gsm_ext_table")));
}

namespace {

constexpr uint16_t kHighestBase = 0x03A9;
constexpr uint16_t kHighestExtension = 0x20AC;

uint32_t entry(const uint32_t (&table)[128], uint8_t septet) {
    return septet < 128 ? table[septet] : kNoCharacter;
}

// Reads the character that begins at `at` and steps past it. False when there is none.
bool read_character(const uint8_t *septets, int32_t count, int32_t &at, uint16_t *character) {
    uint8_t septet = septets[at++];
    bool escaped = septet == kEscape;
    if (escaped) {
        if (at == count) {
            return false;
        }
        septet = septets[at++];
    }
    uint32_t value = entry(escaped ? arrayGSM_7ExtTable : arrayGSM_7DefaultTable, septet);
    if (value >= kNoCharacter) {
        return false;
    }
    bool blank = value > (escaped ? kHighestExtension : kHighestBase);
    *character = static_cast<uint16_t>(blank ? ' ' : value);
    return true;
}

}  // namespace

int32_t GSM_7BitToWCHAR(const uint8_t *septets, int32_t count, uint16_t *text, int32_t capacity,
                        int32_t *length) {
    if (septets == nullptr || text == nullptr || length == nullptr || capacity < 0) {
        return -1;
    }
    int32_t made = 0;
    for (int32_t at = 0; at < count; ++made) {
        uint16_t character = 0;
        if (!read_character(septets, count, at, &character)) {
            return -1;
        }
        if (capacity == 0) {
            continue;
        }
        if (made == capacity) {
            return -1;
        }
        text[made] = character;
    }
    text[std::min(made, capacity)] = 0;
    *length = made;
    return 0;
}
