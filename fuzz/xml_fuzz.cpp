// The parser on any bytes, and the tree functions on what it takes. The first line of the input
// is a path for the lookups, the rest a document.
// libFuzzer: -max_len=2048 -dict=fuzz/xml.dict
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "hearth/xml.h"

namespace {

constexpr int kMostAttributes = 100;

void check(bool holds) {
    if (!holds) {
        abort();
    }
}

void check_links(const XML_Node *tree) {
    for (const XML_Node *node = tree; node != nullptr; node = ZEX_XML_Iterator(node)) {
        check(node->name != nullptr && node->type == XML_NODE_ELEMENT);
        check(node->next_sibling == nullptr || node->next_sibling->previous_sibling == node);
        check(node->first_child == nullptr || node->first_child->parent == node);
        check(node->last_child == nullptr || node->last_child->next_sibling == nullptr);
    }
}

// A value that reads as a number is written as one that reads alike, but for a negative byte.
void read_number(XML_Node *node, uint32_t type) {
    uint32_t value = 0;
    uint32_t again = 0;
    if (ZEX_XML_GetNodeValueEx(node, type, &value) == 0 && type != XML_VALUE_INT8) {
        check(ZEX_XML_SetNodeValueEx(node, type, &value) == 0);
        check(ZEX_XML_GetNodeValueEx(node, type, &again) == 0 && value == again);
    }
}

void read_attributes(const XML_Node *node) {
    const char *prefix = nullptr;
    const char *name = nullptr;
    const char *value = nullptr;
    int32_t result = ZEX_XML_GetFirstAttr(node, &prefix, &name, &value);
    for (int count = 0; result == 0 && count < kMostAttributes; count++) {
        const char *found = nullptr;
        check(ZEX_XML_GetAttr(node, prefix, name, &found) == 0 && found == value);
        check(ZEX_XML_FindNodeByAttr(node, node->name, name, nullptr) != nullptr);
        uint32_t number = 0;
        ZEX_XML_GetAttrValueEx(node, prefix, name, XML_VALUE_BOOL, &number);
        result = ZEX_XML_GetNextSiblingAttr(node, prefix, name, &prefix, &name, &value);
    }
}

void quote(const char *text) {
    char *quoted = nullptr;
    check(cl_xmlReplaceToQuot(text, &quoted) == 0);
    check(quoted == nullptr || strpbrk(quoted, "<>\"'") == nullptr);
    cl_xmlFreeMem(quoted);
}

void read_values(XML_Node *tree) {
    for (XML_Node *node = tree; node != nullptr; node = ZEX_XML_Iterator(node)) {
        read_attributes(node);
        if (node->value == nullptr) {
            continue;
        }
        quote(node->value);
        for (uint32_t type = XML_VALUE_BOOL; type <= XML_VALUE_UINT8; type++) {
            read_number(node, type);
        }
    }
}

void use_tree(XML_Node *tree, const std::string &path, size_t room) {
    check_links(tree);
    std::string out(room, '\0');
    ZEX_XML_GetNodeOrAttr_Node(tree, path.c_str(), out.data());
    XML_Node *found = nullptr;
    ZEX_XML_GetNodeByUrl(tree, path.c_str(), &found);
    char *text = nullptr;
    char *copied = nullptr;
    XML_Node *copy = nullptr;
    check(cl_xmlTransform(tree, &text) == 0 && cl_xmlCloneNode(tree, &copy) == 0 &&
          cl_xmlTransform(copy, &copied) == 0 && std::string(text) == copied);
    XML_Node *again = nullptr;
    if (cl_xmlParse(text, &again) == 0) {
        check_links(again);
        read_values(again);
    }
    cl_xmlFreeNode(again);
    cl_xmlFreeNode(copy);
    cl_xmlFreeMem(text);
    cl_xmlFreeMem(copied);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string input(reinterpret_cast<const char *>(data), size);
    size_t line_end = std::min(input.find('\n'), input.size());
    std::string path = input.substr(0, line_end);
    std::string document = input.substr(std::min(line_end + 1, input.size()));
    XML_Node *tree = nullptr;
    if (cl_xmlParse(document.c_str(), &tree) == 0) {
        use_tree(tree, path, size + 1);
        cl_xmlFreeNode(tree);
    }
    return 0;
}
