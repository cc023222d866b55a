// A tree as a short text for expectations: a node is PREFIX|NAME, [ATTRIBUTE=VALUE] for each
// attribute, ='VALUE', and its children in braces. What is NULL does not show.
#pragma once

#include <string>

#include "hearth/xml.h"

namespace hearth::test {

inline std::string dump_name(const XML_Node *node) {
    std::string text = node->prefix == nullptr ? "" : std::string(node->prefix) + "|";
    return text + (node->name == nullptr ? "" : node->name);
}

inline std::string dump(const XML_Node *node) {
    std::string text;
    for (const XML_Node *next = node; next != nullptr; next = next->next_sibling) {
        text += (next == node ? "" : " ") + dump_name(next);
        for (auto *a = next->first_attribute; a != nullptr; a = a->next_sibling) {
            text +=
                "[" + dump_name(a) + (a->value == nullptr ? "" : "=" + std::string(a->value)) + "]";
        }
        if (next->value != nullptr) {
            text += "='" + std::string(next->value) + "'";
        }
        if (next->first_child != nullptr) {
            text += "{" + dump(next->first_child) + "}";
        }
    }
    return text;
}

// Parses a text; "refused RESULT" when that fails.
inline std::string dump_parsed(const std::string &text) {
    XML_Node *tree = nullptr;
    int32_t result = cl_xmlParse(text.c_str(), &tree);
    std::string dumped = result == 0 ? dump(tree) : "refused " + std::to_string(result);
    cl_xmlFreeNode(tree);
    return dumped;
}

// Whether all links below a node agree with each other.
inline bool links_agree(const XML_Node *node) {
    const XML_Node *previous = nullptr;
    for (auto *child = node->first_child; child != nullptr; child = child->next_sibling) {
        if (child->parent != node || child->previous_sibling != previous || !links_agree(child)) {
            return false;
        }
        previous = child;
    }
    return node->last_child == previous;
}

}  // namespace hearth::test
