// The outer level: each function hands on to the inner one of the same tail.

#include <string.h>

#include <string_view>

#include "hearth/xml.h"
#include "xml/xml_dom.h"
#include "xml/xml_escape.h"

namespace {

struct ErrorType {
    int32_t number;
    uint32_t code;
};
constexpr ErrorType kErrorTypes[] = {
    {XML_RESULT_OK, 0},
    {XML_RESULT_PARAM, ZEX_XML_ERR_PARAM},
    {XML_RESULT_EXISTS, ZEX_XML_ERR_EXISTS},
    {XML_RESULT_NOT_FOUND, ZEX_XML_ERR_NOT_FOUND},
    {XML_RESULT_NO_MEMORY, ZEX_XML_ERR_NO_MEMORY},
    {XML_RESULT_SYNTAX, ZEX_XML_ERR_SYNTAX},
    {XML_RESULT_BAD_URL, ZEX_XML_ERR_BAD_URL},
    {XML_RESULT_OPEN, ZEX_XML_ERR_OPEN},
    {XML_RESULT_WRITE, ZEX_XML_ERR_WRITE},
    {XML_RESULT_READ, ZEX_XML_ERR_READ},
    {XML_RESULT_RESERVED, ZEX_XML_ERR_RESERVED},
};

int32_t mapped(int32_t code) {
    return cl_getErrorType(static_cast<uint32_t>(code));
}

int32_t append(XML_Membuf *buffer, std::string_view text) {
    return text.size() >= UINT32_MAX
               ? ZEX_XML_ERR_NO_MEMORY
               : XML_MemBufInsert(buffer, text.data(), static_cast<uint32_t>(text.size()),
                                  buffer->length);
}

}  // namespace

int32_t cl_getErrorType(uint32_t code) {
    for (const ErrorType &row : kErrorTypes) {
        if (row.code == code) {
            return row.number;
        }
    }
    return XML_RESULT_UNKNOWN;
}

int32_t cl_xmlParse(const char *text, XML_Node **tree) {
    return mapped(ZEX_XML_Parse(text, tree));
}

int32_t cl_xmlParseFile(const char *path, XML_Node **tree) {
    return mapped(ZEX_XML_ParseFile(path, tree));
}

int32_t cl_xmlTransform(const XML_Node *node, char **text) {
    return mapped(ZEX_XML_Transform(node, text));
}

int32_t cl_xmlTransformFile(const XML_Node *node, const char *path) {
    return mapped(ZEX_XML_TransformFile(node, path));
}

XML_Node *cl_xmlGetNodeParent(const XML_Node *node) {
    return ZEX_XML_GetNodeParent(node);
}

XML_Node *cl_xmlGetNodeFirstChild(const XML_Node *node) {
    return ZEX_XML_GetNodeFirstChild(node);
}

XML_Node *cl_xmlGetNodeLastChild(const XML_Node *node) {
    return ZEX_XML_GetNodeLastChild(node);
}

XML_Node *cl_xmlGetNodeNextSibling(const XML_Node *node) {
    return ZEX_XML_GetNodeNextSibling(node);
}

XML_Node *cl_xmlGetNodePrevSibling(const XML_Node *node) {
    return ZEX_XML_GetNodePrevSibling(node);
}

int32_t cl_xmlGetNodeChildNum(const XML_Node *node, uint32_t *count) {
    return mapped(ZEX_XML_GetNodeChildNum(node, count));
}

int32_t cl_xmlGetNodeValue(const XML_Node *node, uint32_t *type, const char **prefix,
                           const char **name, const char **value) {
    return mapped(ZEX_XML_GetNodeValue(node, type, prefix, name, value));
}

XML_Node *cl_xmlGetNodeChildByName(const XML_Node *node, const char *name) {
    bool usable = node != nullptr && name != nullptr;
    return usable ? hearth::xml::find_named(node->first_child, name) : nullptr;
}

XML_Node *cl_xmlFindNodeByName(const XML_Node *node, const char *path) {
    return ZEX_XML_FindNodeByName(node, path);
}

int32_t cl_xmlGetAttr(const XML_Node *node, const char *prefix, const char *name,
                      const char **value) {
    return mapped(ZEX_XML_GetAttr(node, prefix, name, value));
}

int32_t cl_xmlGetFirstAttr(const XML_Node *node, const char **prefix, const char **name,
                           const char **value) {
    return mapped(ZEX_XML_GetFirstAttr(node, prefix, name, value));
}

int32_t cl_xmlGetNextSiblingAttr(const XML_Node *node, const char *prefix, const char *name,
                                 const char **next_prefix, const char **next_name,
                                 const char **next_value) {
    return mapped(
        ZEX_XML_GetNextSiblingAttr(node, prefix, name, next_prefix, next_name, next_value));
}

int32_t cl_xmlAddAttr(XML_Node *node, const char *prefix, const char *name, const char *value) {
    return mapped(ZEX_XML_AddAttr(node, prefix, name, value));
}

int32_t cl_xmlSetAttr(XML_Node *node, const char *prefix, const char *name, const char *value) {
    return mapped(ZEX_XML_SetAttr(node, prefix, name, value));
}

int32_t cl_xmlRemoveAttr(XML_Node *node, const char *prefix, const char *name) {
    return mapped(ZEX_XML_RemoveAttr(node, prefix, name));
}

int32_t cl_xmlCreateNode(uint32_t type, const char *prefix, const char *name, const char *value,
                         XML_Node **node) {
    return mapped(ZEX_XML_CreateNode(type, prefix, name, value, node));
}

int32_t cl_xmlSetNode(XML_Node *node, const char *prefix, const char *name, const char *value) {
    return mapped(ZEX_XML_SetNode(node, prefix, name, value));
}

int32_t cl_xmlAddFirstChildNode(XML_Node *parent, XML_Node *child) {
    return mapped(ZEX_XML_AddFirstChildNode(parent, child));
}

int32_t cl_xmlAppendChildNode(XML_Node *parent, XML_Node *child) {
    return mapped(ZEX_XML_AppendChildNode(parent, child));
}

int32_t cl_xmlAddNextSiblingNode(XML_Node *anchor, XML_Node *node) {
    return mapped(ZEX_XML_AddNextSiblingNode(anchor, node));
}

int32_t cl_xmlAddPrevSiblingNode(XML_Node *anchor, XML_Node *node) {
    return mapped(ZEX_XML_AddPrevSiblingNode(anchor, node));
}

int32_t cl_xmlRemoveNode(XML_Node *node) {
    return mapped(ZEX_XML_RemoveNode(node));
}

void cl_xmlFreeNode(XML_Node *node) {
    ZEX_XML_FreeNode(node);
}

int32_t cl_xmlCloneNode(const XML_Node *node, XML_Node **copy) {
    return mapped(ZEX_XML_CloneNode(node, copy));
}

int32_t cl_xmlCloneNodeSelf(const XML_Node *node, XML_Node **copy) {
    return mapped(ZEX_XML_CloneNodeSelf(node, copy));
}

void cl_xmlFreeMem(void *memory) {
    ZEX_XML_FreeMem(memory);
}

int32_t cl_xmlReplaceToQuot(const char *text, char **out) {
    if (text == nullptr || out == nullptr) {
        return XML_RESULT_PARAM;
    }
    XML_Membuf buffer;
    XML_MembufInit(&buffer);
    int32_t result = 0;
    while (result == 0 && *text != '\0') {
        const char *end = hearth::xml::plain_end(text);
        result = append(&buffer, std::string_view(text, static_cast<size_t>(end - text)));
        if (result == 0 && *end != '\0') {
            result = append(&buffer, hearth::xml::escape_of(*end++));
        }
        text = end;
    }
    *out = buffer.data;
    return mapped(result);
}
