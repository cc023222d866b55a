#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "base/guard.h"
#include "hearth/osa_file.h"
#include "hearth/xml.h"
#include "xml/xml_dom.h"
#include "xml/xml_escape.h"
#include "xml/xml_tree.h"

using hearth::XmlTree;
using std::string_view;

namespace {

constexpr string_view kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr uint32_t kMinGrowth = 1024;
constexpr size_t kMaxParentPath = 255;

using BufferGuard = hearth::Owned<XML_Membuf, XML_MembufDestroy>;

// Makes room for `size` more bytes. The buffer grows by half, so that a long document is not copied
// over and over.
bool make_room(XML_Membuf *buffer, size_t size) {
    if (size <= buffer->capacity - buffer->length) {
        return true;
    }
    if (size > UINT32_MAX - buffer->length) {
        return false;
    }
    buffer->growth = std::max(kMinGrowth, buffer->length / 2);
    return XML_MembufSetSize(buffer, buffer->length + static_cast<uint32_t>(size)) == 0;
}

// The functions below leave the terminator to the end of the document.

bool put(XML_Membuf *buffer, string_view text) {
    if (!make_room(buffer, text.size())) {
        return false;
    }
    memcpy(buffer->data + buffer->length, text.data(), text.size());
    buffer->length += static_cast<uint32_t>(text.size());
    return true;
}

// Appends characters up to the first that `ends` is true for, or up to where memory runs out:
// false then. `text` moves along.
template <typename Ends>
bool put_until(XML_Membuf *buffer, const char **text, Ends ends) {
    const char *from = *text;
    while (true) {
        if (ends(*from)) {
            *text = from;
            return true;
        }
        if (!make_room(buffer, 1)) {
            *text = from;
            return false;
        }
        char *to = buffer->data + buffer->length;
        char *end = buffer->data + buffer->capacity;
        while (to != end && !ends(*from)) {
            *to++ = *from++;
        }
        buffer->length = static_cast<uint32_t>(to - buffer->data);
    }
}

bool put_text(XML_Membuf *buffer, const char *text) {
    size_t length = strlen(text);
    if (length <= buffer->capacity - buffer->length) {
        return put(buffer, string_view(text, length));
    }
    return put_until(buffer, &text, [](char c) { return c == '\0'; });
}

bool put_name(XML_Membuf *buffer, const XML_Node *node) {
    return (node->prefix == nullptr || (put_text(buffer, node->prefix) && put(buffer, ":"))) &&
           put_text(buffer, node->name);
}

void tell_append_failed() {
    puts("XML_MemBufAppendStr failed ");
}

// Required: when memory runs out, that is a failure at "<" and ">" only. At the other escapes it
// is told and the text goes on without them, and any other character ends the text.
bool put_escaped(XML_Membuf *buffer, const char *text) {
    while (true) {
        bool all = put_until(buffer, &text, [](char c) {
            return hearth::xml::kEscapeOf[static_cast<uint8_t>(c)] != 0;
        });
        if (!all || *text == '\0') {
            return true;
        }
        if (!put(buffer, hearth::xml::escape_of(*text))) {
            if (*text == '<' || *text == '>') {
                return false;
            }
            tell_append_failed();
        }
        ++text;
    }
}

int32_t print_attribute(XML_Membuf *buffer, const XML_Node *attribute) {
    if (attribute->name == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    bool done = put_name(buffer, attribute) && put(buffer, "=\"") &&
                (attribute->value == nullptr || put_escaped(buffer, attribute->value)) &&
                put(buffer, "\"");
    return done ? 0 : ZEX_XML_ERR_NO_MEMORY;
}

// Required: a failure of an attribute behind the first ends the attributes and nothing else.
int32_t print_attributes(XML_Membuf *buffer, const XML_Node *first) {
    int32_t result = print_attribute(buffer, first);
    if (result != 0) {
        return result;
    }
    for (const XML_Node *next = first->next_sibling; next != nullptr; next = next->next_sibling) {
        if (!put(buffer, " ")) {
            return ZEX_XML_ERR_NO_MEMORY;
        }
        if (print_attribute(buffer, next) != 0) {
            break;
        }
    }
    return 0;
}

bool print_end_tag(XML_Membuf *buffer, const XML_Node *element) {
    return put(buffer, "</") && put_name(buffer, element) && put(buffer, ">\n");
}

// The end of an element's own line: with children an open start tag, else the whole element.
bool print_content(XML_Membuf *buffer, const XML_Node *element) {
    if (element->first_child != nullptr) {
        return put(buffer, ">\n");
    }
    if (element->value == nullptr) {
        return put(buffer, "/>\n");
    }
    return put(buffer, ">") && put_escaped(buffer, element->value) &&
           print_end_tag(buffer, element);
}

int32_t print_element(XML_Membuf *buffer, const XML_Node *element) {
    if (element->name == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    if (!put(buffer, "<") || !put_name(buffer, element)) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    if (element->first_attribute != nullptr) {
        if (!put(buffer, " ")) {
            return ZEX_XML_ERR_NO_MEMORY;
        }
        int32_t result = print_attributes(buffer, element->first_attribute);
        if (result != 0) {
            return result;
        }
    }
    return print_content(buffer, element) ? 0 : ZEX_XML_ERR_NO_MEMORY;
}

// Ends the elements above `node` whose last child has been printed, up to `root`.
int32_t print_ends_above(XML_Membuf *buffer, const XML_Node *root, const XML_Node *node) {
    while (node != root && node->parent != nullptr && node->parent->last_child == node) {
        node = node->parent;
        if (node->name == nullptr) {
            return ZEX_XML_ERR_PARAM;
        }
        if (!print_end_tag(buffer, node)) {
            return ZEX_XML_ERR_NO_MEMORY;
        }
    }
    return 0;
}

int32_t print_node(XML_Membuf *buffer, const XML_Node *root, const XML_Node *node) {
    if (node->type == XML_NODE_ATTRIBUTE) {
        return print_attribute(buffer, node);
    }
    if (node->type != XML_NODE_ELEMENT) {
        return 0;
    }
    int32_t result = print_element(buffer, node);
    return result != 0 || node->first_child != nullptr ? result
                                                       : print_ends_above(buffer, root, node);
}

// The next node below `root` in document order, or NULL.
const XML_Node *next_below(const XML_Node *root, const XML_Node *node) {
    if (node->first_child != nullptr) {
        return node->first_child;
    }
    while (node != root && node->next_sibling == nullptr) {
        node = node->parent;
    }
    return node == root ? nullptr : node->next_sibling;
}

// Prints a node and what is below it as a document. The buffer is new, and what it holds after a
// failure is not terminated.
int32_t print_document(XML_Membuf *buffer, const XML_Node *root) {
    if (!put(buffer, kHeader)) {
        tell_append_failed();
    }
    for (const XML_Node *node = root; node != nullptr; node = next_below(root, node)) {
        int32_t result = print_node(buffer, root, node);
        if (result != 0) {
            return result;
        }
    }
    if (buffer->data != nullptr) {
        buffer->data[buffer->length] = '\0';
    }
    return 0;
}

using Stream = hearth::Owned<FILE, osa_fclose>;

// Opens a file to be rewritten in place, or makes it.
Stream open_for_rewrite(const char *path) {
    FILE *file = osa_fopen(path, "r+");
    return Stream(file != nullptr ? file : osa_fopen(path, "w+"));
}

// Fills what a file that was longer has left with spaces.
void pad_to(FILE *file, long old_length) {
    long position = osa_ftell(file);
    if (position < 0 || old_length <= position || osa_ftruncate(fileno(file), position) != 1) {
        return;
    }
    for (; position < old_length; ++position) {
        fwrite(" ", 1, 1, file);
    }
}

}  // namespace

int32_t ZEX_XML_Transform(const XML_Node *node, char **text) {
    if (node == nullptr || text == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Membuf buffer;
    XML_MembufInit(&buffer);
    BufferGuard guard(&buffer);
    int32_t result = print_document(&buffer, node);
    if (result == 0) {
        *text = buffer.data;
        guard.release();
    }
    return result;
}

int32_t ZEX_XML_TransformFile(const XML_Node *node, const char *path) {
    if (node == nullptr || path == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    XML_Membuf text;
    XML_MembufInit(&text);
    BufferGuard guard(&text);
    int32_t result = print_document(&text, node);
    if (result != 0) {
        return result;
    }
    Stream file = open_for_rewrite(path);
    if (!file) {
        return ZEX_XML_ERR_OPEN;
    }
    osa_fseek(file.get(), 0, SEEK_END);
    long old_length = osa_ftell(file.get());
    osa_fseek(file.get(), 0, SEEK_SET);
    // Flushed before the file is cut, so that a cut file always holds the whole new document.
    if (osa_fwrite(text.data, 1, text.length, file.get()) != text.length ||
        osa_fflush(file.get()) != 0) {
        return ZEX_XML_ERR_WRITE;
    }
    pad_to(file.get(), old_length);
    return 0;
}

int32_t ZEX_XML_GetNodeOrAttrFromBuffer(const char *text, const char *path, char *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = '\0';
    XmlTree tree;
    if (path == nullptr || ZEX_XML_Parse(text, tree.out()) != 0) {
        return -1;
    }
    return ZEX_XML_GetNodeOrAttr_Node(tree.get(), path, out);
}

int32_t ZEX_XML_GetNodeOrAttr(const char *file, const char *path, char *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = '\0';
    XmlTree tree;
    if (path == nullptr || ZEX_XML_ParseFile(file, tree.out()) != 0) {
        return -1;
    }
    return ZEX_XML_GetNodeOrAttr_Node(tree.get(), path, out);
}

int32_t ZEX_XML_AddNodeToFile(const char *source_file, const char *parent_path, XML_Node **node,
                              const char *target_file) {
    if (parent_path == nullptr || node == nullptr || target_file == nullptr) {
        return -1;
    }
    XmlTree tree;
    if (ZEX_XML_ParseFile(source_file, tree.out()) != 0) {
        return -1;
    }
    string_view path(parent_path, strnlen(parent_path, kMaxParentPath));
    if (ZEX_XML_AppendChildNode(hearth::xml::find_by_path(tree.get(), path), *node) != 0) {
        return -1;
    }
    *node = nullptr;
    // Required: whether the target could be written is not told.
    [[maybe_unused]] int32_t written = ZEX_XML_TransformFile(tree.get(), target_file);
    return 0;
}
