// Text to septets and back, by alphabet.
#include "hearth/cl_7bit.h"

#include <string.h>

#include <algorithm>

#include "text/cl_7bit_lookup.h"
#include "text/cl_text_status.h"

using namespace hearth::text;

namespace {

// Text is looked through in blocks for characters that are their own septet in every base table:
// those are copied as they stand.
constexpr uint32_t kBlock = 16;

constexpr bool is_own_septet(uint32_t character) {
    bool sign_or_capital =
        character - 0x20 <= 0x5A - 0x20 && character != 0x24 && character != 0x40;
    return sign_or_capital || character - 0x61 <= 0x7A - 0x61;
}

constexpr bool own_septets_hold(const Alphabet &alphabet) {
    for (uint32_t character = 0; character < alphabet.size(); ++character) {
        if (is_own_septet(character) && alphabet[character] != character) {
            return false;
        }
    }
    return true;
}
static_assert(own_septets_hold(cl_7DefaultAlphabet) && own_septets_hold(cl_7TurkishAlphabet) &&
              own_septets_hold(cl_7PortugueseAlphabet));

template <typename Unit>
bool is_plain_block(const Unit *text) {
    bool plain = true;
    for (uint32_t i = 0; i < kBlock; ++i) {
        plain &= is_own_septet(text[i]);
    }
    return plain;
}

template <typename To, typename From>
void copy_block(To *to, const From *from) {
    for (uint32_t i = 0; i < kBlock; ++i) {
        to[i] = static_cast<To>(from[i]);
    }
}

// The library's own numbering of languages.
enum Language : uint32_t { kTurkish = 2, kPortuguese = 3, kSpanish = 4 };

constexpr uint32_t kNationalBase = 2;

struct LanguageRow {
    uint32_t language;
    const SeptetRow *compact;
    const Alphabet *extension;
    const Alphabet *base;
};

// Encoding takes the compact table and always the default base table, decoding the other two:
// that asymmetry is required.
constexpr LanguageRow kLanguages[] = {
    {kTurkish, cl_Simple_7TurkishExtTable, &cl_7TurkishExtAlphabet, &cl_7TurkishAlphabet},
    {kSpanish, cl_Simple_7SpanishExtTable, &cl_7SpanishExtAlphabet, &cl_7DefaultAlphabet},
    {kPortuguese, cl_Simple_7PortugueseExtTable, &cl_7PortugueseExtAlphabet,
     &cl_7PortugueseAlphabet},
};
constexpr LanguageRow kDefaultLanguage = {0, cl_Simple_7ExtTable, &cl_7ExtAlphabet,
                                          &cl_7DefaultAlphabet};

const LanguageRow &language_row(uint32_t language) {
    for (const LanguageRow &row : kLanguages) {
        if (row.language == language) {
            return row;
        }
    }
    return kDefaultLanguage;
}

const LanguageRow &language_row(const cl_7bitLanguage *language) {
    return language != nullptr ? language_row(language->language) : kDefaultLanguage;
}

// Appends the septet of the character, or its escape pair. False when it has neither.
bool append_septets(uint16_t character, const SeptetRow *compact, uint8_t *&septets) {
    uint32_t septet = default_septet(character);
    if (septet == kNoSeptet) {
        septet = extension_septet(compact, character);
        if (septet == kNoSeptet) {
            return false;
        }
        *septets++ = kEscape;
    }
    *septets++ = static_cast<uint8_t>(septet);
    return true;
}

template <typename Unit>
uint32_t to_septets(const Unit *text, uint32_t count, uint8_t *septets, uint32_t *length,
                    const LanguageRow &language) {
    if (uint32_t status = check_arguments(text, count, septets, length, 1)) {
        return status;
    }
    bool complete = true;
    uint8_t *next = septets;
    for (uint32_t at = 0; at < count;) {
        if (count - at >= kBlock && is_plain_block(text + at)) {
            copy_block(next, text + at);
            next += kBlock;
            at += kBlock;
            continue;
        }
        uint32_t end = at + std::min(kBlock, count - at);
        for (; at < end; ++at) {
            complete &= append_septets(text[at], language.compact, next);
        }
    }
    *next = 0;
    *length = static_cast<uint32_t>(next - septets);
    return complete ? CL_TEXT_OK : CL_TEXT_NO_SEPTET;
}

uint32_t ascii_to_septets(const char *text, uint32_t count, uint8_t *septets, uint32_t *length,
                          const LanguageRow &language) {
    return to_septets(reinterpret_cast<const uint8_t *>(text), count, septets, length, language);
}

// How septets are read: the tables, the highest value that is stored as it is, and whether an
// escape before a septet that the extension table lacks is dropped.
struct Reading {
    const Alphabet *base;
    const Alphabet *extension;
    uint16_t ceiling;
    bool drops_escape;
};

uint16_t character_at(const Alphabet &alphabet, uint8_t septet) {
    return septet < alphabet.size() ? alphabet[septet] : kNoCharacter;
}

// Reads the character that begins at `at` and steps past it; the status, and the character.
uint32_t read_character(const uint8_t *septets, uint32_t count, uint32_t &at,
                        const Reading &reading, uint16_t *character) {
    uint8_t septet = septets[at++];
    // 0x80 passes and is a septet without a character: required.
    if (septet > 0x80) {
        return CL_TEXT_NO_SEPTET;
    }
    if (septet != kEscape) {
        *character = character_at(*reading.base, septet);
    } else {
        if (at == count) {
            return CL_TEXT_NO_ROOM;
        }
        *character = character_at(*reading.extension, septets[at]);
        if (*character == kNoCharacter && reading.drops_escape) {
            return read_character(septets, count, at, reading, character);
        }
        ++at;
    }
    return *character == kNoCharacter ? CL_TEXT_NO_CHARACTER : CL_TEXT_OK;
}

template <typename Unit>
uint32_t to_text(const uint8_t *septets, uint32_t count, Unit *text, uint32_t *length,
                 const Reading &reading) {
    if (uint32_t status = check_arguments(septets, count, text, length, 1)) {
        return status;
    }
    uint32_t capacity = *length;
    uint32_t made = 0;
    for (uint32_t at = 0; at < count;) {
        if (count - at >= kBlock && capacity - made >= kBlock && is_plain_block(septets + at)) {
            copy_block(text + made, septets + at);
            made += kBlock;
            at += kBlock;
            continue;
        }
        uint32_t end = at + std::min(kBlock, count - at);
        while (at < end) {
            uint16_t character = 0;
            if (uint32_t status = read_character(septets, count, at, reading, &character)) {
                return status;
            }
            if (made == capacity) {
                return CL_TEXT_NO_ROOM;
            }
            text[made++] = static_cast<Unit>(character > reading.ceiling ? ' ' : character);
        }
    }
    text[made] = 0;
    *length = made;
    return CL_TEXT_OK;
}

// National language identifiers of 3GPP TS 23.038.
enum Identifier : uint32_t { kTurkishId = 1, kSpanishId = 2, kPortugueseId = 3 };

constexpr uint16_t kAsciiCeiling = 0xFF;
constexpr uint16_t kEuroCeiling = 0x20AC;
constexpr uint16_t kIberianCeiling = 0x20BC;

const Alphabet *base_of_identifier(uint32_t locking_table) {
    switch (locking_table) {
        case kTurkishId:
            return &cl_7TurkishAlphabet;
        case kPortugueseId:
            return &cl_7PortugueseAlphabet;
        default:
            return &cl_7DefaultAlphabet;
    }
}

Reading reading_of_identifiers(uint32_t locking_table, uint32_t shift_table) {
    const Alphabet *base = base_of_identifier(locking_table);
    switch (shift_table) {
        case kTurkishId:
            return {base, &cl_7TurkishExtAlphabet, kEuroCeiling, true};
        case kSpanishId:
            return {base, &cl_7SpanishExtAlphabet, kIberianCeiling, true};
        case kPortugueseId:
            return {base, &cl_7PortugueseExtAlphabet, kIberianCeiling, true};
        default:
            return {base, &cl_7ExtAlphabet, kEuroCeiling, true};
    }
}

uint32_t check(uint16_t character, const SeptetRow *compact, uint32_t *escaped) {
    uint32_t unwanted = 0;
    uint32_t &escape = escaped != nullptr ? *escaped : unwanted;
    escape = 0;
    if (default_septet(character) != kNoSeptet) {
        return 1;
    }
    escape = extension_septet(compact, character) != kNoSeptet;
    return escape;
}

}  // namespace

uint32_t cl_asciiTo7BIT(const char *text, uint32_t count, uint8_t *septets, uint32_t *length) {
    return ascii_to_septets(text, count, septets, length, kDefaultLanguage);
}

uint32_t cl_asciiTo7BITEx(const char *text, uint32_t count, uint8_t *septets, uint32_t *length,
                          const cl_7bitLanguage *language) {
    return ascii_to_septets(text, count, septets, length, language_row(language));
}

uint32_t cl_ucs2To7BIT(const uint16_t *text, uint32_t count, uint8_t *septets, uint32_t *length) {
    return to_septets(text, count, septets, length, kDefaultLanguage);
}

uint32_t cl_ucs2To7BITEx(const uint16_t *text, uint32_t count, uint8_t *septets, uint32_t *length,
                         const cl_7bitLanguage *language) {
    return to_septets(text, count, septets, length, language_row(language));
}

uint32_t cl_7bitToASCII(const uint8_t *septets, uint32_t count, char *text, uint32_t *length) {
    return cl_7bitToASCIIEx(septets, count, text, length, nullptr);
}

uint32_t cl_7bitToASCIIEx(const uint8_t *septets, uint32_t count, char *text, uint32_t *length,
                          const cl_7bitLanguage *language) {
    const LanguageRow &row = language_row(language);
    bool national = language != nullptr && (language->flags & kNationalBase) != 0;
    Reading reading{national ? row.base : &cl_7DefaultAlphabet, row.extension, kAsciiCeiling,
                    false};
    return to_text(septets, count, reinterpret_cast<uint8_t *>(text), length, reading);
}

uint32_t cl_7bitToUCS2(const uint8_t *septets, uint32_t count, uint16_t *text, uint32_t *length) {
    return cl_7bitToUCS2Ex(septets, count, text, length, nullptr);
}

uint32_t cl_7bitToUCS2Ex(const uint8_t *septets, uint32_t count, uint16_t *text, uint32_t *length,
                         const cl_7bitLanguage *language) {
    Reading reading = language == nullptr
                          ? reading_of_identifiers(0, 0)
                          : reading_of_identifiers(language->locking_table, language->shift_table);
    return to_text(septets, count, text, length, reading);
}

uint32_t cl_7bitCheck(uint16_t character, uint32_t *escaped) {
    return check(character, cl_Simple_7ExtTable, escaped);
}

uint32_t cl_7bitCheck_Ex(uint16_t character, uint32_t language, uint32_t *escaped) {
    return check(character, language_row(language).compact, escaped);
}

uint32_t cl_8bitEncode(const uint8_t *bytes, uint32_t count, uint8_t *output, uint32_t *length) {
    if (uint32_t status = check_arguments(bytes, count, output, length, 1)) {
        return status;
    }
    *length = std::min(count, *length);
    memcpy(output, bytes, *length);
    return CL_TEXT_OK;
}

uint32_t cl_8bitDecode(const uint8_t *bytes, uint32_t count, uint16_t *text, uint32_t *length) {
    if (uint32_t status = check_arguments(bytes, count, text, length, uint64_t{count} + 1)) {
        return status;
    }
    std::copy_n(bytes, count, text);
    text[count] = 0;
    *length = count;
    return CL_TEXT_OK;
}

uint32_t cl_convert_Spanish_to_gsmdef(uint16_t character, uint16_t *folded) {
    if (folded == nullptr) {
        return CL_TEXT_BAD_ARGUMENT;
    }
    *folded = character;
    const FoldRow *row = std::lower_bound(
        std::begin(cl_SpainishToEnglish), std::end(cl_SpainishToEnglish), character,
        [](const FoldRow &fold, uint16_t wanted) { return fold.accented < wanted; });
    if (row == std::end(cl_SpainishToEnglish) || row->accented != character) {
        return CL_TEXT_NOT_IN_ALPHABET;
    }
    *folded = row->plain;
    return CL_TEXT_OK;
}
