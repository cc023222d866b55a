#include <stdint.h>
#include <string.h>
#include <strings.h>

#include <array>

#include "base/guard.h"
#include "hearth/osa_file.h"
#include "hearth/xml.h"
#include "xml/xml_parse_attributes.h"
#include "xml/xml_parse_text.h"
#include "xml/xml_store.h"

using hearth::xml::Arena;
using hearth::xml::AttributeList;

namespace {

using ArenaGuard = hearth::Owned<Arena, hearth::xml::arena_free>;
using ParsedText = hearth::Owned<char, XML_Free>;

// Where the next step of the parser goes on.
enum class Step {
    kAfterTag,        // a tag has ended, and a text may not follow
    kAfterStartTag,   // behind the ">" of a start tag
    kInsideStartTag,  // at the name of an attribute, which is the latest token
};

struct Parser {
    const char *cursor;  // the next byte that is not read yet; a NUL ends the document
    const char *token;   // the latest token; of no length where none could be read
    size_t token_length;
    Step step;
    XML_Node *first;
    XML_Node *current;  // the node reached so far
    bool current_open;  // its end is still to come
    Arena *arena;
    size_t nodes;  // linked into the tree
    AttributeList attributes;
};

enum CharacterClass : uint8_t {
    kOther = 0,
    kSpace = 1,
    kEndsName = 2,    // ends a name, white space included
    kMayEndName = 4,  // ends a name as the start of "/>", "]]>" or "-->"
    kOneByteToken = 8,
};

constexpr auto kClasses = [] {
    std::array<uint8_t, 256> classes{};
    for (char c : {' ', '\t', '\r', '\n'}) {
        classes[static_cast<uint8_t>(c)] = kSpace | kEndsName;
    }
    for (char c : {'>', '=', '"', '\''}) {
        classes[static_cast<uint8_t>(c)] = kEndsName | kOneByteToken;
    }
    for (char c : {'/', ']', '-'}) {
        classes[static_cast<uint8_t>(c)] = kMayEndName;
    }
    classes['<'] = kEndsName;
    classes['\0'] = kEndsName;
    return classes;
}();

uint8_t class_of(char c) {
    return kClasses[static_cast<uint8_t>(c)];
}

const char *skip_space(const char *text) {
    while ((class_of(*text) & kSpace) != 0) {
        ++text;
    }
    return text;
}

bool begins(const char *text, const char *with) {
    return strncmp(text, with, strlen(with)) == 0;
}

// Behind the end of a text at or behind `from`; NULL when there is none.
const char *behind(const char *from, const char *end) {
    const char *found = strstr(from, end);
    return found == nullptr ? nullptr : found + strlen(end);
}

// Behind the comment that stands at `start`, or NULL. Required: it may hold "--", and its end may
// not be "--->" unless it is "<!---->".
const char *skip_comment(const char *start) {
    const char *end = strstr(start, "-->");
    if (end == nullptr || end - start < 4 || (end[-1] == '-' && end - start != 4)) {
        return nullptr;
    }
    return end + 3;
}

// Skips white space, comments and processing instructions. False where one is broken, and for an
// XML declaration, which stands at the start of a document only.
bool skip_misc(Parser &parser) {
    while (true) {
        const char *text = skip_space(parser.cursor);
        parser.cursor = text;
        const char *next = nullptr;
        if (text[0] != '<' || (text[1] != '!' && text[1] != '?')) {
            return true;
        }
        if (begins(text, "<!--")) {
            next = skip_comment(text);
        } else if (text[1] == '!') {
            return true;
        } else if (strncasecmp(text, "<?xml ", 6) != 0 && strncasecmp(text, "<?xml?", 6) != 0) {
            next = behind(text, "?>");
        }
        if (next == nullptr) {
            return false;
        }
        parser.cursor = next;
    }
}

// Whether one of the sequences that end a name stands here; the byte is of kMayEndName.
bool ends_name(const char *text) {
    return text[0] == '/' ? text[1] == '>' : text[1] == text[0] && text[2] == '>';
}

const char *name_end(const char *text) {
    while (true) {
        uint8_t kind = class_of(*text);
        if (kind != kOther && ((kind & kEndsName) != 0 || ends_name(text))) {
            return text;
        }
        ++text;
    }
}

size_t token_length_at(const char *text) {
    if (*text == '<') {
        return text[1] == '/' ? 2 : 1;
    }
    if (*text == '/') {
        return text[1] == '>' ? 2 : 0;
    }
    if ((class_of(*text) & kOneByteToken) != 0) {
        return 1;
    }
    return static_cast<size_t>(name_end(text) - text);
}

// Reads a token and returns its length. Where there is none, at the end of the text, at a broken
// comment, or at what no token begins with, that is 0 and the cursor stays.
size_t next_token(Parser &parser) {
    bool readable = skip_misc(parser);
    parser.token = parser.cursor;
    parser.token_length = readable ? token_length_at(parser.cursor) : 0;
    parser.cursor += parser.token_length;
    return parser.token_length;
}

bool token_is(const Parser &parser, std::string_view text) {
    return std::string_view(parser.token, parser.token_length) == text;
}

// Steps over the ">" of an end tag.
bool skip_tag_end(Parser &parser) {
    parser.cursor = skip_space(parser.cursor);
    return *parser.cursor == '>' ? (++parser.cursor, true) : false;
}

// Copies a text with its references resolved. An empty one leaves `slot` as it is.
bool copy_text(Parser &parser, const char *from, size_t length, char **slot) {
    if (length == 0) {
        return true;
    }
    char *text = hearth::xml::arena_text(parser.arena, length + 1);
    if (text == nullptr) {
        return false;
    }
    char *end = hearth::xml::copy_decoded(from, length, text);
    if (end == nullptr) {
        return false;
    }
    *end++ = '\0';
    hearth::xml::arena_trim(parser.arena, text, length + 1, end);
    *slot = text;
    return true;
}

// A name with a ":" splits there, and neither side may be empty.
bool may_split(const char *name, size_t length, const char *colon) {
    return colon != name && colon != name + length - 1;
}

bool copy_attribute_name(Parser &parser, XML_Node *attribute) {
    const char *name = parser.token;
    size_t length = parser.token_length;
    const char *colon = static_cast<const char *>(memchr(name, ':', length));
    if (colon == nullptr) {
        return copy_text(parser, name, length, &attribute->name);
    }
    size_t prefix = static_cast<size_t>(colon - name);
    return may_split(name, length, colon) && copy_text(parser, name, prefix, &attribute->prefix) &&
           copy_text(parser, colon + 1, length - prefix - 1, &attribute->name);
}

// Required: an element's name is split when the element ends, and one left open keeps its name
// whole. The prefix is resolved a second time.
bool split_element_name(Parser &parser, XML_Node *element) {
    char *colon = strchr(element->name, ':');
    if (colon == nullptr) {
        return true;
    }
    if (!may_split(element->name, strlen(element->name), colon) ||
        !copy_text(parser, element->name, static_cast<size_t>(colon - element->name),
                   &element->prefix)) {
        return false;
    }
    element->name = colon + 1;
    return true;
}

// Links a new element below the current node if that is open, and beside it otherwise.
void append_element(Parser &parser, XML_Node *element, bool open) {
    XML_Node *current = parser.current;
    if (current == nullptr) {
        parser.first = element;
    } else if (parser.current_open) {
        // An open node has no children yet: once it has one, that or a later one is current.
        element->parent = current;
        current->first_child = element;
        current->last_child = element;
    } else {
        element->parent = current->parent;
        element->previous_sibling = current;
        current->next_sibling = element;
        if (element->parent != nullptr) {
            element->parent->last_child = element;
        }
    }
    ++parser.nodes;
    parser.current = element;
    parser.current_open = open;
    parser.attributes.start(element);
}

// Ends the current node.
void close_element(Parser &parser) {
    parser.current_open = false;
}

// The rest of a start tag whose "<" has been read.
bool process_start_tag(Parser &parser) {
    if (next_token(parser) == 0) {
        return false;
    }
    XML_Node *element = hearth::xml::arena_node(parser.arena, XML_NODE_ELEMENT);
    if (element == nullptr ||
        !copy_text(parser, parser.token, parser.token_length, &element->name) ||
        next_token(parser) == 0) {
        return false;
    }
    bool empty = token_is(parser, "/>");
    if (empty && !split_element_name(parser, element)) {
        return false;
    }
    append_element(parser, element, !empty);
    parser.step = empty                   ? Step::kAfterTag
                  : token_is(parser, ">") ? Step::kAfterStartTag
                                          : Step::kInsideStartTag;
    return true;
}

// The rest of an end tag whose "</" has been read. Required: the step stays as it is.
bool process_end_tag(Parser &parser) {
    if (next_token(parser) == 0) {
        return false;
    }
    if (!parser.current_open) {
        if (parser.current == nullptr || parser.current->parent == nullptr) {
            return false;
        }
        parser.current = parser.current->parent;
    }
    close_element(parser);
    return token_is(parser, parser.current->name) && split_element_name(parser, parser.current) &&
           skip_tag_end(parser);
}

// The text of an element from its first token to the end tag.
bool process_text(Parser &parser) {
    if (!parser.current_open) {
        return false;
    }
    XML_Node *element = parser.current;
    const char *start = parser.token;
    while (start[-1] == ' ') {
        --start;
    }
    const char *end = strchr(parser.token, '<');
    if (end == nullptr ||
        !copy_text(parser, start, static_cast<size_t>(end - start), &element->value)) {
        return false;
    }
    parser.cursor = end;
    if (next_token(parser) == 0 || !token_is(parser, "</")) {
        return false;
    }
    // Required: behind a text, the name in the end tag may be cut short.
    size_t length = next_token(parser);
    if (strncmp(parser.token, element->name, length) != 0 || !split_element_name(parser, element) ||
        !skip_tag_end(parser)) {
        return false;
    }
    close_element(parser);
    parser.step = Step::kAfterTag;
    return true;
}

// The quoted value that follows an attribute's name.
bool process_attribute_value(Parser &parser, XML_Node *attribute) {
    if (next_token(parser) == 0 || !token_is(parser, "=") || next_token(parser) == 0 ||
        !(token_is(parser, "\"") || token_is(parser, "'"))) {
        return false;
    }
    const char *end = strchr(parser.cursor, *parser.token);
    if (end == nullptr || !copy_text(parser, parser.cursor,
                                     static_cast<size_t>(end - parser.cursor), &attribute->value)) {
        return false;
    }
    if (!parser.attributes.append(attribute)) {
        return false;
    }
    ++parser.nodes;
    parser.cursor = end + 1;
    return true;
}

enum class AttributeResult { kFailed, kNextFollows, kTagEnds };

AttributeResult end_start_tag(Parser &parser) {
    parser.step = Step::kAfterStartTag;
    if (token_is(parser, "/>")) {
        if (!split_element_name(parser, parser.current)) {
            return AttributeResult::kFailed;
        }
        parser.step = Step::kAfterTag;
        close_element(parser);
        return AttributeResult::kTagEnds;
    }
    return token_is(parser, ">") ? AttributeResult::kTagEnds : AttributeResult::kFailed;
}

// One attribute, whose name is the latest token, and the token behind it.
AttributeResult process_attribute(Parser &parser) {
    if ((class_of(parser.token[-1]) & kSpace) == 0) {
        return AttributeResult::kFailed;
    }
    XML_Node *attribute = hearth::xml::arena_node(parser.arena, XML_NODE_ATTRIBUTE);
    if (attribute == nullptr || !copy_attribute_name(parser, attribute) ||
        !process_attribute_value(parser, attribute) || next_token(parser) == 0 ||
        *parser.token == '<') {
        return AttributeResult::kFailed;
    }
    bool is_name = (class_of(*parser.token) & kOneByteToken) == 0 && !token_is(parser, "/>");
    return is_name ? AttributeResult::kNextFollows : end_start_tag(parser);
}

// The attributes of a start tag. Required: a failure of any but the first passes, and the parser
// goes on in the step and at the token that it left behind.
bool process_attributes(Parser &parser) {
    AttributeResult result = process_attribute(parser);
    if (result == AttributeResult::kFailed) {
        return false;
    }
    while (result == AttributeResult::kNextFollows) {
        result = process_attribute(parser);
    }
    return true;
}

bool process_next(Parser &parser) {
    if (parser.step == Step::kInsideStartTag) {
        return process_attributes(parser);
    }
    if (next_token(parser) == 0 && *parser.cursor == '\0') {
        return true;
    }
    if (token_is(parser, "</")) {
        return process_end_tag(parser);
    }
    if (token_is(parser, "<")) {
        return process_start_tag(parser);
    }
    return !token_is(parser, ">") && !token_is(parser, "/>") &&
           parser.step == Step::kAfterStartTag && process_text(parser);
}

// Behind a document type that begins at `text`, or NULL. Single quotes mean nothing in it.
const char *skip_document_type(const char *text) {
    int64_t depth = 0;
    do {
        if (*text == '"') {
            text = strchr(text + 1, '"');
        }
        if (text == nullptr || *text == '\0') {
            return nullptr;
        }
        depth += *text == '<' ? 1 : *text == '>' ? -1 : 0;
        ++text;
    } while (depth > 0);
    return text;
}

// What may stand before the first element. White space may stand before the byte order mark, and
// none between that and the XML declaration.
bool skip_prolog(Parser &parser) {
    parser.cursor = skip_space(parser.cursor);
    if (begins(parser.cursor, "\xEF\xBB\xBF")) {
        parser.cursor += 3;
    }
    if (begins(parser.cursor, "<?xml ")) {
        const char *next = behind(parser.cursor, "?>");
        if (next == nullptr) {
            return false;
        }
        parser.cursor = next;
    }
    if (!skip_misc(parser)) {
        return false;
    }
    if (begins(parser.cursor, "<!DOCTYPE")) {
        const char *next = skip_document_type(parser.cursor);
        if (next == nullptr) {
            return false;
        }
        parser.cursor = next;
    }
    return skip_misc(parser) && *parser.cursor != '\0';
}

// Required: only the latest node counts as open or not. An ancestor without an end tag goes
// unnoticed behind a child that has ended.
bool parse_document(Parser &parser) {
    if (!skip_prolog(parser)) {
        return false;
    }
    do {
        if (!process_next(parser)) {
            return false;
        }
    } while (*parser.cursor != '\0');
    return parser.first != nullptr && !parser.current_open;
}

int32_t parse_text(const char *text, XML_Node **tree) {
    ArenaGuard arena(hearth::xml::arena_new(strlen(text)));
    if (!arena) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    Parser parser{text, text, 0, Step::kAfterTag, nullptr, nullptr, false, arena.get(), 0, {}};
    // Memory that runs out on the way counts as a bad document: required.
    if (!parse_document(parser)) {
        return ZEX_XML_ERR_SYNTAX;
    }
    arena.release()->live.store(parser.nodes, std::memory_order_relaxed);
    *tree = parser.first;
    return 0;
}

using Stream = hearth::Owned<FILE, osa_fclose>;

// Reads a whole file as a terminated text.
int32_t read_file(const char *path, ParsedText *text) {
    Stream file(osa_fopen(path, "rb"));
    if (!file) {
        return ZEX_XML_ERR_OPEN;
    }
    if (osa_fseek(file.get(), 0, SEEK_END) != 0) {
        return ZEX_XML_ERR_READ;
    }
    long length = osa_ftell(file.get());
    if (length < 1) {
        return ZEX_XML_ERR_SYNTAX;
    }
    size_t size = static_cast<size_t>(length);
    text->reset(static_cast<char *>(XML_Malloc(size + 1)));
    if (!*text) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    if (osa_fseek(file.get(), 0, SEEK_SET) != 0 ||
        osa_fread(text->get(), 1, size, file.get()) != size) {
        return ZEX_XML_ERR_READ;
    }
    text->get()[size] = '\0';
    return 0;
}

}  // namespace

int32_t ZEX_XML_Parse(const char *text, XML_Node **tree) {
    if (text == nullptr || *text == '\0' || tree == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    *tree = nullptr;
    return parse_text(text, tree);
}

int32_t ZEX_XML_ParseFile(const char *path, XML_Node **tree) {
    if (path == nullptr || tree == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    ParsedText text;
    int32_t result = read_file(path, &text);
    return result != 0 ? result : parse_text(text.get(), tree);
}
