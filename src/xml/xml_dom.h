// What the files of this folder share of the tree.
#pragma once

#include <string.h>

#include <string_view>

#include "base/text.h"
#include "hearth/xml.h"

namespace hearth::xml {

// As strcmp; two NULLs are equal, and NULL sorts first.
inline int compare_texts(const char *left, const char *right) {
    if (left == nullptr || right == nullptr) {
        return (left != nullptr) - (right != nullptr);
    }
    return strcmp(left, right);
}

// Whether a text that may be NULL is exactly this one. Most differ in the first byte already.
inline bool text_is(const char *text, std::string_view expected) {
    return text != nullptr && (expected.empty() || *text == expected.data()[0]) &&
           strncmp(text, expected.data(), expected.size()) == 0 && text[expected.size()] == '\0';
}

// The attribute with this prefix (NULL for none) and name, or NULL.
XML_Node *find_attribute(const XML_Node *node, const char *prefix, const char *name);

// The first of a node and its next siblings with this name, or NULL.
XML_Node *find_named(const XML_Node *node, std::string_view name);

// As ZEX_XML_FindNodeByName.
XML_Node *find_by_path(const XML_Node *node, std::string_view path);

// Links a new attribute at the end of the chain. False when the element has it already.
bool link_attribute(XML_Node *node, XML_Node *attribute);

// Whether a node stands alone.
inline bool is_detached(const XML_Node *node) {
    return node->parent == nullptr && node->previous_sibling == nullptr &&
           node->next_sibling == nullptr;
}

// Walks the dot-separated names of a path; empty ones are skipped.
class PathTokens {
  public:
    explicit PathTokens(std::string_view path) : rest_(path) {}

    // False at the end.
    bool next(std::string_view *token) {
        size_t start = rest_.find_first_not_of('.');
        if (start == std::string_view::npos) {
            return false;
        }
        rest_.remove_prefix(start);
        *token = hearth::first_part(rest_, rest_.find('.'));
        rest_.remove_prefix(token->size());
        return true;
    }

  private:
    std::string_view rest_;
};

}  // namespace hearth::xml
