#include "xml/xml_dom.h"

#include <iterator>
#include <span>

#include "xml/xml_store.h"

using hearth::xml::find_attribute;
using hearth::xml::is_detached;
using hearth::xml::link_attribute;
using hearth::xml::Text;

namespace hearth::xml {

XML_Node *find_attribute(const XML_Node *node, const char *prefix, const char *name) {
    XML_Node *attribute = node->first_attribute;
    while (attribute != nullptr && (compare_texts(attribute->name, name) != 0 ||
                                    compare_texts(attribute->prefix, prefix) != 0)) {
        attribute = attribute->next_sibling;
    }
    return attribute;
}

bool link_attribute(XML_Node *node, XML_Node *attribute) {
    XML_Node **end = &node->first_attribute;
    for (; *end != nullptr; end = &(*end)->next_sibling) {
        if (compare_texts((*end)->name, attribute->name) == 0 &&
            compare_texts((*end)->prefix, attribute->prefix) == 0) {
            return false;
        }
    }
    *end = attribute;
    attribute->parent = node;
    return true;
}

}  // namespace hearth::xml

namespace {

bool is_empty(const char *text) {
    return text == nullptr || *text == '\0';
}

bool is_given_empty(const char *text) {
    return text != nullptr && *text == '\0';
}

const char *or_null(const char *text) {
    return is_empty(text) ? nullptr : text;
}

bool is_element(const XML_Node *node) {
    return node != nullptr && node->type == XML_NODE_ELEMENT;
}

// A new node with the texts as ZEX_XML_SetNode takes them.
XML_Node *make_node(uint32_t type, const char *prefix, const char *name, const char *value) {
    return hearth::xml::new_node(type, or_null(prefix), or_null(name), value);
}

// The topmost node above a node, if that stands alone; NULL in a document of several top-level
// elements.
const XML_Node *root_of(const XML_Node *node) {
    while (node->parent != nullptr) {
        node = node->parent;
    }
    return is_detached(node) ? node : nullptr;
}

// Whether `node` may be linked next to or below `place`.
bool may_link(const XML_Node *place, const XML_Node *node) {
    if (!is_detached(node) || node == place) {
        return false;
    }
    // A node that holds nothing is nobody's root: trees grow downwards without a climb each.
    bool holds_nodes = node->first_child != nullptr || node->first_attribute != nullptr;
    return !holds_nodes || root_of(place) != node;
}

// Links a node between two neighbours, either of them NULL, and mends the parent's ends.
void link_between(XML_Node *parent, XML_Node *previous, XML_Node *node, XML_Node *next) {
    node->parent = parent;
    node->previous_sibling = previous;
    node->next_sibling = next;
    if (previous != nullptr) {
        previous->next_sibling = node;
    } else if (parent != nullptr) {
        parent->first_child = node;
    }
    if (next != nullptr) {
        next->previous_sibling = node;
    } else if (parent != nullptr) {
        parent->last_child = node;
    }
}

void unlink_element(XML_Node *node) {
    XML_Node *parent = node->parent;
    XML_Node *previous = node->previous_sibling;
    XML_Node *next = node->next_sibling;
    if (previous != nullptr) {
        previous->next_sibling = next;
    } else if (parent != nullptr) {
        parent->first_child = next;
    }
    if (next != nullptr) {
        next->previous_sibling = previous;
    } else if (parent != nullptr) {
        parent->last_child = previous;
    }
}

void unlink_attribute(XML_Node *attribute) {
    if (attribute->parent == nullptr) {
        return;
    }
    XML_Node **link = &attribute->parent->first_attribute;
    while (*link != nullptr && *link != attribute) {
        link = &(*link)->next_sibling;
    }
    if (*link != nullptr) {
        *link = attribute->next_sibling;
    }
}

void unlink_node(XML_Node *node) {
    if (node->type == XML_NODE_ATTRIBUTE) {
        unlink_attribute(node);
    } else {
        unlink_element(node);
    }
    node->parent = nullptr;
    node->previous_sibling = nullptr;
    node->next_sibling = nullptr;
}

// Copies a node with its attributes; NULL when memory is out.
XML_Node *clone_alone(const XML_Node *node) {
    XML_Node *copy = hearth::xml::new_node(node->type, node->prefix, node->name, node->value);
    if (copy == nullptr) {
        return nullptr;
    }
    XML_Node **end = &copy->first_attribute;
    for (const XML_Node *from = node->first_attribute; from != nullptr; from = from->next_sibling) {
        *end = hearth::xml::new_node(from->type, from->prefix, from->name, from->value);
        if (*end == nullptr) {
            ZEX_XML_FreeNode(copy);
            return nullptr;
        }
        (*end)->parent = copy;
        end = &(*end)->next_sibling;
    }
    return copy;
}

// A text that a node is to get.
struct NewText {
    Text which;
    const char *from;
    char *copy;
};

// Copies all texts that are not NULL, or none when memory is out.
bool duplicate_all(std::span<NewText> texts) {
    for (NewText &text : texts) {
        if (text.from == nullptr) {
            continue;
        }
        text.copy = hearth::xml::duplicate(text.from);
        if (text.copy == nullptr) {
            for (NewText &made : texts) {
                XML_Free(made.copy);
                made.copy = nullptr;
            }
            return false;
        }
    }
    return true;
}

}  // namespace

int32_t ZEX_XML_CreateNode(uint32_t type, const char *prefix, const char *name, const char *value,
                           XML_Node **node) {
    if (type != XML_NODE_ELEMENT || node == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Node *made = make_node(type, prefix, name, value);
    if (made == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    *node = made;
    return 0;
}

int32_t ZEX_XML_SetNode(XML_Node *node, const char *prefix, const char *name, const char *value) {
    if (node == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    const bool clears[] = {is_given_empty(prefix), is_given_empty(name), is_given_empty(value)};
    NewText texts[] = {{Text::kPrefix, or_null(prefix), nullptr},
                       {Text::kName, or_null(name), nullptr},
                       {Text::kValue, value, nullptr}};
    // Copied before anything is freed: the caller's texts may be the node's own. Required: what is
    // given as empty is cleared also when memory is out.
    bool copied = duplicate_all(texts);
    for (size_t i = 0; i < std::size(texts); ++i) {
        if (clears[i] || texts[i].copy != nullptr) {
            hearth::xml::replace_text(node, texts[i].which, texts[i].copy);
        }
    }
    return copied ? 0 : ZEX_XML_ERR_NO_MEMORY;
}

int32_t ZEX_XML_AddAttr(XML_Node *node, const char *prefix, const char *name, const char *value) {
    if (!is_element(node) || is_empty(name)) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Node *attribute = make_node(XML_NODE_ATTRIBUTE, prefix, name, value);
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    if (!link_attribute(node, attribute)) {
        hearth::xml::free_single_node(attribute);
        return ZEX_XML_ERR_EXISTS;
    }
    return 0;
}

int32_t ZEX_XML_SetAttr(XML_Node *node, const char *prefix, const char *name, const char *value) {
    if (node == nullptr || name == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Node *attribute = find_attribute(node, or_null(prefix), name);
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NOT_FOUND;
    }
    char *copy = nullptr;
    if (!is_empty(value) && (copy = hearth::xml::duplicate(value)) == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    hearth::xml::replace_text(attribute, Text::kValue, copy);
    return 0;
}

int32_t ZEX_XML_RemoveAttr(XML_Node *node, const char *prefix, const char *name) {
    if (node == nullptr || name == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Node *attribute = find_attribute(node, or_null(prefix), name);
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NOT_FOUND;
    }
    unlink_node(attribute);
    hearth::xml::free_single_node(attribute);
    return 0;
}

int32_t ZEX_XML_GetAttr(const XML_Node *node, const char *prefix, const char *name,
                        const char **value) {
    if (node == nullptr || name == nullptr || value == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    const XML_Node *attribute = find_attribute(node, prefix, name);
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NOT_FOUND;
    }
    *value = attribute->value;
    return 0;
}

static int32_t read_attribute(const XML_Node *attribute, const char **prefix, const char **name,
                              const char **value) {
    if (attribute == nullptr) {
        return ZEX_XML_ERR_NOT_FOUND;
    }
    *prefix = attribute->prefix;
    *name = attribute->name;
    *value = attribute->value;
    return 0;
}

int32_t ZEX_XML_GetFirstAttr(const XML_Node *node, const char **prefix, const char **name,
                             const char **value) {
    if (node == nullptr || prefix == nullptr || name == nullptr || value == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    return read_attribute(node->first_attribute, prefix, name, value);
}

int32_t ZEX_XML_GetNextSiblingAttr(const XML_Node *node, const char *prefix, const char *name,
                                   const char **next_prefix, const char **next_name,
                                   const char **next_value) {
    if (node == nullptr || name == nullptr || next_prefix == nullptr || next_name == nullptr ||
        next_value == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    const XML_Node *attribute = find_attribute(node, prefix, name);
    return attribute == nullptr
               ? ZEX_XML_ERR_NOT_FOUND
               : read_attribute(attribute->next_sibling, next_prefix, next_name, next_value);
}

XML_Node *ZEX_XML_GetNodeParent(const XML_Node *node) {
    return node == nullptr ? nullptr : node->parent;
}

XML_Node *ZEX_XML_GetNodeFirstChild(const XML_Node *node) {
    return node == nullptr ? nullptr : node->first_child;
}

XML_Node *ZEX_XML_GetNodeLastChild(const XML_Node *node) {
    return node == nullptr ? nullptr : node->last_child;
}

XML_Node *ZEX_XML_GetNodeNextSibling(const XML_Node *node) {
    return node == nullptr ? nullptr : node->next_sibling;
}

XML_Node *ZEX_XML_GetNodePrevSibling(const XML_Node *node) {
    return node == nullptr ? nullptr : node->previous_sibling;
}

int32_t ZEX_XML_GetNodeChildNum(const XML_Node *node, uint32_t *count) {
    if (node == nullptr || count == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    *count = 0;
    for (const XML_Node *child = node->first_child; child != nullptr; child = child->next_sibling) {
        ++*count;
    }
    return 0;
}

int32_t ZEX_XML_GetNodeValue(const XML_Node *node, uint32_t *type, const char **prefix,
                             const char **name, const char **value) {
    if (node == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    if (type != nullptr) {
        *type = node->type;
    }
    const struct {
        const char **out;
        const char *text;
    } texts[] = {{prefix, node->prefix}, {name, node->name}, {value, node->value}};
    for (const auto &text : texts) {
        if (text.out != nullptr) {
            *text.out = text.text;
        }
    }
    return 0;
}

int32_t ZEX_XML_AddFirstChildNode(XML_Node *parent, XML_Node *child) {
    if (!is_element(parent) || child == nullptr || !may_link(parent, child)) {
        return ZEX_XML_ERR_PARAM;
    }
    link_between(parent, nullptr, child, parent->first_child);
    return 0;
}

int32_t ZEX_XML_AppendChildNode(XML_Node *parent, XML_Node *child) {
    if (!is_element(parent) || child == nullptr || !may_link(parent, child)) {
        return ZEX_XML_ERR_PARAM;
    }
    link_between(parent, parent->last_child, child, nullptr);
    return 0;
}

// Elements alone have siblings in both directions.
static bool may_stand_beside(const XML_Node *anchor, const XML_Node *node) {
    return is_element(anchor) && node != nullptr && !is_detached(anchor) && may_link(anchor, node);
}

int32_t ZEX_XML_AddNextSiblingNode(XML_Node *anchor, XML_Node *node) {
    if (!may_stand_beside(anchor, node)) {
        return ZEX_XML_ERR_PARAM;
    }
    link_between(anchor->parent, anchor, node, anchor->next_sibling);
    return 0;
}

int32_t ZEX_XML_AddPrevSiblingNode(XML_Node *anchor, XML_Node *node) {
    if (!may_stand_beside(anchor, node)) {
        return ZEX_XML_ERR_PARAM;
    }
    link_between(anchor->parent, anchor->previous_sibling, node, anchor);
    return 0;
}

int32_t ZEX_XML_RemoveNode(XML_Node *node) {
    if (node == nullptr || is_detached(node)) {
        return ZEX_XML_ERR_PARAM;
    }
    unlink_node(node);
    return 0;
}

void ZEX_XML_FreeNode(XML_Node *node) {
    if (node == nullptr) {
        return;
    }
    if (node->parent != nullptr) {
        unlink_node(node);
    } else if (node->previous_sibling != nullptr) {
        node->previous_sibling->next_sibling = nullptr;
    }
    hearth::xml::free_nodes(node);
}

int32_t ZEX_XML_CloneNodeSelf(const XML_Node *node, XML_Node **copy) {
    if (node == nullptr || copy == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Node *made = clone_alone(node);
    if (made == nullptr) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    *copy = made;
    return 0;
}

int32_t ZEX_XML_CloneNode(const XML_Node *node, XML_Node **copy) {
    XML_Node *root = nullptr;
    int32_t result = ZEX_XML_CloneNodeSelf(node, &root);
    if (result != 0 || copy == nullptr) {
        ZEX_XML_FreeNode(root);
        return result != 0 ? result : ZEX_XML_ERR_PARAM;
    }
    // `from` and `to` walk the original and the copy in step.
    const XML_Node *from = node;
    XML_Node *to = root;
    while (true) {
        if (from->first_child != nullptr) {
            from = from->first_child;
        } else {
            while (from != node && from->next_sibling == nullptr) {
                from = from->parent;
                to = to->parent;
            }
            if (from == node) {
                *copy = root;
                return 0;
            }
            from = from->next_sibling;
            to = to->parent;
        }
        XML_Node *child = clone_alone(from);
        if (child == nullptr) {
            ZEX_XML_FreeNode(root);
            return ZEX_XML_ERR_NO_MEMORY;
        }
        link_between(to, to->last_child, child, nullptr);
        to = child;
    }
}

XML_Node *ZEX_XML_Iterator(const XML_Node *node) {
    if (node == nullptr) {
        return nullptr;
    }
    if (node->first_child != nullptr) {
        return node->first_child;
    }
    while (node->next_sibling == nullptr && node->parent != nullptr) {
        node = node->parent;
    }
    return node->next_sibling;
}

int32_t ZEX_XML_RegDebugFunc(void (* /*function*/)(void)) {
    return ZEX_XML_ERR_NOT_FOUND;
}

const char *ZEP_XML_GetVersion(void) {
    return "V1.01";
}
