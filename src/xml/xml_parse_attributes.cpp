#include "xml/xml_parse_attributes.h"

#include <string.h>
#include <sys/auxv.h>

#include <algorithm>
#include <bit>
#include <string_view>

#include "base/bytes.h"
#include "xml/xml_dom.h"

using std::string_view;

namespace {

constexpr size_t kMaxUnindexed = 16;
constexpr size_t kMinSlots = 64;

// SipHash with one round a word and three at the end: names that collide under a key of the
// process cannot be chosen from outside.
struct SipHash {
    uint64_t v[4];

    SipHash(uint64_t key0, uint64_t key1)
        : v{key0 ^ 0x736f6d6570736575, key1 ^ 0x646f72616e646f6d, key0 ^ 0x6c7967656e657261,
            key1 ^ 0x7465646279746573} {}

    void round() {
        v[0] += v[1];
        v[2] += v[3];
        v[1] = std::rotl(v[1], 13) ^ v[0];
        v[3] = std::rotl(v[3], 16) ^ v[2];
        v[0] = std::rotl(v[0], 32);
        v[2] += v[1];
        v[0] += v[3];
        v[1] = std::rotl(v[1], 17) ^ v[2];
        v[3] = std::rotl(v[3], 21) ^ v[0];
        v[2] = std::rotl(v[2], 32);
    }

    void word(uint64_t word) {
        v[3] ^= word;
        round();
        v[0] ^= word;
    }

    void text(string_view text) {
        uint64_t length = text.size();
        for (; text.size() >= 8; text.remove_prefix(8)) {
            word(hearth::load_native<uint64_t>(text.data()));
        }
        uint64_t tail = 0;
        memcpy(&tail, text.data(), text.size());
        word(tail);
        word(length);
    }

    uint64_t finish() {
        v[2] ^= 0xff;
        round();
        round();
        round();
        return v[0] ^ v[1] ^ v[2] ^ v[3];
    }
};

string_view text_or_empty(const char *text) {
    return text == nullptr ? "" : text;
}

uint64_t hash_of(const XML_Node *attribute) {
    // 16 random bytes that the kernel gives every process.
    const char *key = std::bit_cast<const char *>(getauxval(AT_RANDOM));
    SipHash hash(key == nullptr ? 0 : hearth::load_native<uint64_t>(key),
                 key == nullptr ? 0 : hearth::load_native<uint64_t>(key + 8));
    hash.text(text_or_empty(attribute->prefix));
    hash.text(text_or_empty(attribute->name));
    return hash.finish();
}

bool same_name(const XML_Node *left, const XML_Node *right) {
    return hearth::xml::compare_texts(left->name, right->name) == 0 &&
           hearth::xml::compare_texts(left->prefix, right->prefix) == 0;
}

}  // namespace

namespace hearth::xml {

bool AttributeList::holds(const XML_Node *attribute) const {
    const XML_Node *other = element_->first_attribute;
    while (other != nullptr && !same_name(other, attribute)) {
        other = other->next_sibling;
    }
    return other != nullptr;
}

// False when an attribute of this name is in the table.
bool AttributeList::insert(XML_Node *attribute) {
    size_t slot = hash_of(attribute) & (capacity_ - 1);
    while (slots_[slot] != nullptr) {
        if (same_name(slots_[slot], attribute)) {
            return false;
        }
        slot = (slot + 1) & (capacity_ - 1);
    }
    slots_[slot] = attribute;
    return true;
}

// Makes a table with room for twice the attributes there are. False when memory is out.
bool AttributeList::index_all() {
    size_t capacity = std::max(kMinSlots, std::bit_ceil(count_ * 4));
    if (capacity > allocated_) {
        XML_Free(slots_);
        slots_ = static_cast<XML_Node **>(XML_Malloc(capacity * sizeof(void *)));
        allocated_ = slots_ == nullptr ? 0 : capacity;
        capacity_ = 0;
        if (slots_ == nullptr) {
            return false;
        }
    }
    capacity_ = capacity;
    std::fill_n(slots_, capacity, nullptr);
    for (XML_Node *other = element_->first_attribute; other != nullptr;
         other = other->next_sibling) {
        insert(other);
    }
    return true;
}

bool AttributeList::append(XML_Node *attribute) {
    if (count_ < kMaxUnindexed) {
        if (holds(attribute)) {
            return false;
        }
    } else if ((count_ * 2 >= capacity_ && !index_all()) || !insert(attribute)) {
        return false;
    }
    (last_ == nullptr ? element_->first_attribute : last_->next_sibling) = attribute;
    attribute->parent = element_;
    last_ = attribute;
    ++count_;
    return true;
}

}  // namespace hearth::xml
