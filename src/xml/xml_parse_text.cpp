#include "xml/xml_parse_text.h"

#include <stdint.h>
#include <string.h>

#include <string_view>

#include "base/text.h"

using std::string_view;

namespace {

constexpr uint32_t kMaxCharacter = 0x10FFFF;

struct NamedReference {
    string_view text;
    char character;
};
constexpr NamedReference kNamedReferences[] = {
    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&apos;", '\''}, {"&quot;", '"'},
};

// The characters that a document may hold, beside 0xFFFE and 0xFFFF and up to kMaxCharacter.
bool is_xml_character(uint32_t character) {
    if (character < 0x20) {
        return character == '\t' || character == '\n' || character == '\r';
    }
    bool is_surrogate = character >= 0xD800 && character <= 0xDFFF;
    return !is_surrogate && character != 0xFFFE && character != 0xFFFF;
}

char *put_utf8(uint32_t character, char *to) {
    if (character < 0x80) {
        *to++ = static_cast<char>(character);
        return to;
    }
    int tail = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr uint8_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
    *to++ = static_cast<char>(kLead[tail] | character >> (6 * tail));
    while (tail-- > 0) {
        *to++ = static_cast<char>(0x80 | ((character >> (6 * tail)) & 0x3F));
    }
    return to;
}

// The character of the digits up to a ";", with `text` moved behind it; 0 for anything else.
uint32_t read_digits(string_view *text, uint32_t base) {
    uint32_t character = 0;
    for (size_t i = 0; i < text->size(); ++i) {
        if ((*text)[i] == ';') {
            text->remove_prefix(i + 1);
            return is_xml_character(character) ? character : 0;
        }
        int digit = hearth::hex_value((*text)[i]);
        if (digit < 0 || static_cast<uint32_t>(digit) >= base) {
            return 0;
        }
        character = character * base + static_cast<uint32_t>(digit);
        if (character > kMaxCharacter) {
            return 0;
        }
    }
    return 0;
}

// Resolves the reference that `text` begins with and moves `text` behind it. Returns the end of
// what it wrote, or NULL when there is no reference.
char *copy_reference(string_view *text, char *to) {
    for (const NamedReference &named : kNamedReferences) {
        if (text->starts_with(named.text)) {
            text->remove_prefix(named.text.size());
            *to = named.character;
            return to + 1;
        }
    }
    if (!text->starts_with("&#")) {
        return nullptr;
    }
    bool hexadecimal = text->starts_with("&#x");
    text->remove_prefix(hexadecimal ? 3 : 2);
    uint32_t character = read_digits(text, hexadecimal ? 16 : 10);
    return character == 0 ? nullptr : put_utf8(character, to);
}

}  // namespace

namespace hearth::xml {

char *copy_decoded(const char *from, size_t length, char *to) {
    string_view text(from, length);
    while (!text.empty()) {
        size_t plain = std::min(text.find('&'), text.size());
        memcpy(to, text.data(), plain);
        to += plain;
        text.remove_prefix(plain);
        if (!text.empty() && (to = copy_reference(&text, to)) == nullptr) {
            return nullptr;
        }
    }
    return to;
}

}  // namespace hearth::xml
