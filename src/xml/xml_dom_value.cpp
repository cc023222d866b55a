#include <string_view>

#include "base/bytes.h"
#include "base/number.h"
#include "base/text.h"
#include "xml/xml_dom.h"
#include "xml/xml_store.h"

using hearth::xml::find_attribute;
using hearth::xml::Text;
using std::string_view;

namespace {

// One row per value type. The unsigned types take no sign; their limit below is unused.
struct ValueType {
    uint32_t type;
    unsigned size;  // bytes of the caller's object
    bool has_sign;
    uint64_t most;   // the largest number
    uint64_t least;  // the largest number behind a "-"
};
constexpr ValueType kValueTypes[] = {
    {XML_VALUE_BOOL, 4, false, 1, 0},
    {XML_VALUE_INT32, 4, true, INT32_MAX, uint64_t{1} << 31},
    {XML_VALUE_UINT32, 4, false, UINT32_MAX, 0},
    {XML_VALUE_INT16, 2, true, INT16_MAX, uint64_t{1} << 15},
    {XML_VALUE_UINT16, 2, false, UINT16_MAX, 0},
    {XML_VALUE_INT8, 1, true, INT8_MAX, uint64_t{1} << 7},
    {XML_VALUE_UINT8, 1, false, UINT8_MAX, 0},
};

const ValueType *find_type(uint32_t type) {
    for (const ValueType &row : kValueTypes) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

// The caller's object as the number that is written.
int64_t load_value(uint32_t type, const void *value) {
    using hearth::load_native;
    switch (type) {
        case XML_VALUE_INT32:
            return load_native<int32_t>(value);
        case XML_VALUE_INT16:
            return load_native<int16_t>(value);
        case XML_VALUE_UINT16:
            return load_native<uint16_t>(value);
        // Required: a negative byte is written as what it would be without a sign.
        case XML_VALUE_INT8:
        case XML_VALUE_UINT8:
            return load_native<uint8_t>(value);
        default:
            return load_native<uint32_t>(value);
    }
}

void store_value(unsigned size, int64_t number, void *value) {
    switch (size) {
        case 1:
            hearth::store_native(value, static_cast<uint8_t>(number));
            break;
        case 2:
            hearth::store_native(value, static_cast<uint16_t>(number));
            break;
        default:
            hearth::store_native(value, static_cast<uint32_t>(number));
            break;
    }
}

bool read_bool(string_view text, int64_t *number) {
    bool is_true = text == "1" || text == "true";
    *number = is_true ? 1 : 0;
    return is_true || text == "0" || text == "false";
}

bool read_integer(const ValueType &type, string_view text, int64_t *number) {
    bool negative = type.has_sign && text.starts_with('-');
    if (negative || (type.has_sign && text.starts_with('+'))) {
        text.remove_prefix(1);
    }
    uint64_t size = 0;
    if (!hearth::parse_number(text, &size) || size > (negative ? type.least : type.most)) {
        return false;
    }
    *number = negative ? -static_cast<int64_t>(size) : static_cast<int64_t>(size);
    return true;
}

int32_t read_value(const char *text, uint32_t type, void *value) {
    const ValueType *row = find_type(type);
    int64_t number = 0;
    if (row == nullptr || text == nullptr || value == nullptr ||
        !(type == XML_VALUE_BOOL ? read_bool(text, &number) : read_integer(*row, text, &number))) {
        return ZEX_XML_ERR_PARAM;
    }
    store_value(row->size, number, value);
    return 0;
}

int32_t write_value(XML_Node *node, uint32_t type, const void *value) {
    if (find_type(type) == nullptr || value == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    char text[24];
    int64_t number = load_value(type, value);
    if (type == XML_VALUE_BOOL) {
        hearth::copy_text(text, number != 0 ? "true" : "false");
    } else {
        *std::to_chars(text, text + sizeof text - 1, number).ptr = '\0';
    }
    char *copy = hearth::xml::duplicate(text);
    if (copy == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    hearth::xml::replace_text(node, Text::kValue, copy);
    return 0;
}

}  // namespace

int32_t ZEX_XML_SetNodeValueEx(XML_Node *node, uint32_t type, const void *value) {
    return node == nullptr ? ZEX_XML_ERR_PARAM : write_value(node, type, value);
}

int32_t ZEX_XML_GetNodeValueEx(const XML_Node *node, uint32_t type, void *value) {
    return node == nullptr ? ZEX_XML_ERR_PARAM : read_value(node->value, type, value);
}

int32_t ZEX_XML_SetAttrValueEx(XML_Node *node, const char *prefix, const char *name, uint32_t type,
                               const void *value) {
    if (node == nullptr || node->type != XML_NODE_ELEMENT || name == nullptr || *name == '\0') {
        return ZEX_XML_ERR_PARAM;
    }
    if (prefix != nullptr && *prefix == '\0') {
        prefix = nullptr;
    }
    XML_Node *attribute = find_attribute(node, prefix, name);
    if (attribute != nullptr) {
        return write_value(attribute, type, value);
    }
    attribute = hearth::xml::new_node(XML_NODE_ATTRIBUTE, prefix, name, nullptr);
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    int32_t result = write_value(attribute, type, value);
    if (result != 0) {
        hearth::xml::free_single_node(attribute);
        return result;
    }
    hearth::xml::link_attribute(node, attribute);
    return 0;
}

int32_t ZEX_XML_GetAttrValueEx(const XML_Node *node, const char *prefix, const char *name,
                               uint32_t type, void *value) {
    const char *text = nullptr;
    int32_t result =
        value == nullptr ? ZEX_XML_ERR_PARAM : ZEX_XML_GetAttr(node, prefix, name, &text);
    return result != 0 ? result : read_value(text, type, value);
}
