// The attributes of the element that is being parsed.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "hearth/xml.h"

namespace hearth::xml {

// Appends attributes to an element in constant time each, also where a document holds an element
// with very many, or many whose names were chosen to collide.
class AttributeList {
  public:
    AttributeList() = default;
    AttributeList(const AttributeList &) = delete;
    AttributeList &operator=(const AttributeList &) = delete;
    ~AttributeList() { XML_Free(slots_); }

    // Goes on with an element that has no attributes yet.
    void start(XML_Node *element) {
        element_ = element;
        last_ = nullptr;
        count_ = 0;
        capacity_ = 0;
    }

    // Links an attribute at the end. False when the element has it already or memory is out.
    bool append(XML_Node *attribute);

  private:
    bool holds(const XML_Node *attribute) const;
    bool insert(XML_Node *attribute);
    bool index_all();

    XML_Node *element_ = nullptr;
    XML_Node *last_ = nullptr;
    size_t count_ = 0;
    XML_Node **slots_ = nullptr;  // hash table with linear probing, from the 17th attribute on
    size_t capacity_ = 0;         // slots in use for this element, a power of two
    size_t allocated_ = 0;        // slots there are
};

}  // namespace hearth::xml
