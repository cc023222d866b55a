#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <utility>

#include "base/guard.h"
#include "base/io.h"
#include "hearth/xml.h"
#include "xml/xml_parse_attributes.h"
#include "xml/xml_parse_scan.h"
#include "xml/xml_parse_text.h"
#include "xml/xml_store.h"

using hearth::xml::Arena;
using hearth::xml::AttributeList;
using hearth::xml::class_of;
using hearth::xml::find_class;
using hearth::xml::find_markup;
using hearth::xml::kColon;
using hearth::xml::kEndsName;
using hearth::xml::kMayEndName;
using hearth::xml::kOneByteToken;
using hearth::xml::kQuote;
using hearth::xml::kReference;
using hearth::xml::kSpace;
using hearth::xml::kTagStart;
using hearth::xml::same_length;
using hearth::xml::skip_space;

namespace {

using ArenaGuard = hearth::Owned<Arena, hearth::xml::arena_free>;

// Where the next step of the parser goes on.
enum class Step {
    kAfterTag,        // a tag has ended, and a text may not follow
    kAfterStartTag,   // behind the ">" of a start tag
    kInsideStartTag,  // at the name of an attribute, which is the latest token
};

// The document is parsed in a copy that belongs to the tree. Names and values stay where they
// are; the byte behind each is overwritten by its terminator as soon as nothing can read it any
// more.
struct Parser {
    char *cursor;  // the next byte that is not read yet; a NUL ends the document
    char *token;   // the latest token; of no length where none could be read
    size_t token_length;
    uint8_t token_classes;   // of the characters of a name
    bool token_after_space;  // whether white space stands right before it
    bool plain_names;        // no element's name so far held a ":" or a reference
    bool current_open;       // the end of the current node is still to come
    Step step;
    XML_Node *first;
    XML_Node *current;  // the node reached so far
    Arena *arena;
    size_t nodes;  // linked into the tree
    AttributeList attributes;
};

bool begins(const char *text, const char *with) {
    return strncmp(text, with, strlen(with)) == 0;
}

// Behind the end of a text at or behind `from`; NULL when there is none.
char *behind(char *from, const char *end) {
    char *found = strstr(from, end);
    return found == nullptr ? nullptr : found + strlen(end);
}

// Behind the comment that stands at `start`, or NULL. Required: it may hold "--", and its end may
// not be "--->" unless it is "<!---->".
char *skip_comment(char *start) {
    char *end = strstr(start, "-->");
    if (end == nullptr || end - start < 4 || (end[-1] == '-' && end - start != 4)) {
        return nullptr;
    }
    return end + 3;
}

bool begins_misc(const char *text) {
    return text[0] == '<' && (text[1] == '!' || text[1] == '?');
}

// Skips the comments and processing instructions at the cursor, and white space between them.
bool skip_all_misc(Parser &parser) {
    for (; begins_misc(parser.cursor); parser.cursor = skip_space(parser.cursor)) {
        char *text = parser.cursor;
        char *next = nullptr;
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
    return true;
}

// Skips white space, comments and processing instructions. False where one is broken, and for an
// XML declaration, which stands at the start of a document only.
inline bool skip_misc(Parser &parser) {
    parser.cursor = skip_space(parser.cursor);
    return !begins_misc(parser.cursor) || skip_all_misc(parser);
}

bool is_empty_end(const char *text) {
    return text[0] == '/' && text[1] == '>';
}

// Whether one of the sequences that end a name stands here; the byte is of kMayEndName.
bool ends_name(const char *text) {
    return is_empty_end(text) || (text[0] != '/' && text[1] == text[0] && text[2] == '>');
}

// The end of the name that `text` begins with; `classes` receives those of its characters.
char *name_end(char *text, uint8_t *classes) {
    constexpr uint8_t kAny = 0xFF;
    *classes = 0;
    while (true) {
        text = find_class<kAny>(text);
        uint8_t kind = class_of(*text);
        if ((kind & kEndsName) != 0 || ((kind & kMayEndName) != 0 && ends_name(text))) {
            return text;
        }
        *classes |= kind;
        ++text;
    }
}

// The end of the token that stands at the cursor; the cursor itself where none begins.
char *token_end(Parser &parser) {
    char *text = parser.cursor;
    parser.token_classes = class_of(*text);
    if ((parser.token_classes & (kOneByteToken | kTagStart | kMayEndName)) == 0) {
        return name_end(text, &parser.token_classes);
    }
    switch (*text) {
        case '\0':
            return text;
        case '<':
            return text + (text[1] == '/' ? 2 : 1);
        case '/':
            return text + (text[1] == '>' ? 2 : 0);
        case ']':
        case '-':
            return name_end(text, &parser.token_classes);
        default:
            return text + 1;
    }
}

// Reads a token and returns its length. Where there is none, at the end of the text, at a broken
// comment, or at what no token begins with, that is 0 and the cursor stays.
inline size_t next_token(Parser &parser) {
    parser.cursor = skip_space(parser.cursor);
    bool readable = !begins_misc(parser.cursor) || skip_all_misc(parser);
    parser.token = parser.cursor;
    parser.token_after_space = (class_of(parser.cursor[-1]) & kSpace) != 0;
    parser.token_classes = 0;
    parser.cursor = readable ? token_end(parser) : parser.cursor;
    parser.token_length = static_cast<size_t>(parser.cursor - parser.token);
    return parser.token_length;
}

// The same where a name is expected: most begin right here, with a character of no class.
inline size_t next_name(Parser &parser) {
    if (class_of(*parser.cursor) != 0) {
        return next_token(parser);
    }
    parser.token = parser.cursor;
    parser.token_after_space = (class_of(parser.cursor[-1]) & kSpace) != 0;
    parser.cursor = name_end(parser.cursor, &parser.token_classes);
    parser.token_length = static_cast<size_t>(parser.cursor - parser.token);
    return parser.token_length;
}

// Whether the latest token is this one, of one or two bytes.
template <size_t Size>
bool token_is(const Parser &parser, const char (&text)[Size]) {
    return parser.token_length == Size - 1 && memcmp(parser.token, text, Size - 1) == 0;
}

bool token_is_quote(const Parser &parser) {
    return parser.token_length == 1 && (*parser.token == '"' || *parser.token == '\'');
}

// Steps over the ">" of an end tag.
bool skip_tag_end(Parser &parser) {
    parser.cursor = skip_space(parser.cursor);
    if (*parser.cursor != '>') {
        return false;
    }
    ++parser.cursor;
    return true;
}

// Gives a node the text of `length` bytes at `from`, where it stays unless it holds references.
// The caller terminates it there. An empty text leaves `slot` as it is.
bool take_text(Parser &parser, char *from, size_t length, bool has_references, char **slot) {
    if (length == 0) {
        return true;
    }
    if (!has_references) {
        *slot = from;
        return true;
    }
    char *text = hearth::xml::arena_text(parser.arena, length + 1);
    char *end = text == nullptr ? nullptr : hearth::xml::copy_decoded(from, length, text);
    if (end == nullptr) {
        return false;
    }
    *end = '\0';
    *slot = text;
    return true;
}

// A name with a ":" splits there, and neither side may be empty.
bool may_split(const char *name, size_t length, const char *colon) {
    return colon != name && colon != name + length - 1;
}

// The latest token as the name of an attribute, not terminated yet.
bool take_attribute_name(Parser &parser, XML_Node *attribute) {
    char *name = parser.token;
    size_t length = parser.token_length;
    bool references = (parser.token_classes & kReference) != 0;
    if ((parser.token_classes & kColon) == 0) {
        return take_text(parser, name, length, references, &attribute->name);
    }
    char *colon = static_cast<char *>(memchr(name, ':', length));
    size_t prefix = static_cast<size_t>(colon - name);
    return may_split(name, length, colon) &&
           take_text(parser, name, prefix, references, &attribute->prefix) &&
           take_text(parser, colon + 1, length - prefix - 1, references, &attribute->name);
}

// Terminates the name of an attribute, and its prefix, where they stand in the document.
void terminate_attribute_name(const XML_Node *attribute, char *name, size_t length) {
    if (attribute->prefix != nullptr) {
        *static_cast<char *>(memchr(name, ':', length)) = '\0';
    }
    name[length] = '\0';
}

// Required: an element's name is split when the element ends, and one left open keeps its name
// whole. References in the prefix are resolved a second time.
bool split_element_name(Parser &parser, XML_Node *element) {
    char *colon = parser.plain_names ? nullptr : strchr(element->name, ':');
    if (colon == nullptr) {
        return true;
    }
    size_t length = static_cast<size_t>(colon - element->name);
    bool references = memchr(element->name, '&', length) != nullptr;
    if (!may_split(element->name, strlen(element->name), colon) ||
        !take_text(parser, element->name, length, references, &element->prefix)) {
        return false;
    }
    *colon = '\0';
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
}

// Whether a name begins with the latest token.
bool begins_with_token(const char *name, const Parser &parser) {
    for (size_t i = 0; i < parser.token_length; ++i) {
        if (name[i] != parser.token[i]) {
            return false;
        }
    }
    return true;
}

// Ends the current node.
void close_element(Parser &parser) {
    parser.current_open = false;
}

// What follows the name of a start tag, unless it is the ">".
bool process_start_tag_end(Parser &parser, XML_Node *element, char *end_of_name) {
    if (next_token(parser) == 0) {
        return false;
    }
    bool empty = token_is(parser, "/>");
    bool ends = token_is(parser, ">");
    *end_of_name = '\0';
    if (empty && !split_element_name(parser, element)) {
        return false;
    }
    append_element(parser, element, !empty);
    if (empty || ends) {
        parser.step = empty ? Step::kAfterTag : Step::kAfterStartTag;
        return true;
    }
    parser.step = Step::kInsideStartTag;
    parser.attributes.start(element);
    return true;
}

// The rest of a start tag whose "<" has been read.
bool process_start_tag(Parser &parser) {
    if (next_name(parser) == 0) {
        return false;
    }
    XML_Node *element = hearth::xml::arena_node(parser.arena, XML_NODE_ELEMENT);
    char *end_of_name = parser.cursor;
    bool references = (parser.token_classes & kReference) != 0;
    parser.plain_names &= (parser.token_classes & (kReference | kColon)) == 0;
    if (element == nullptr ||
        !take_text(parser, parser.token, parser.token_length, references, &element->name)) {
        return false;
    }
    if (*end_of_name == '>') {
        *end_of_name = '\0';
        ++parser.cursor;
        append_element(parser, element, true);
        parser.step = Step::kAfterStartTag;
        return true;
    }
    return process_start_tag_end(parser, element, end_of_name);
}

// Steps over the rest of an end tag that is just a name and its ">", as most are.
bool skip_plain_end(Parser &parser, const char *name) {
    if (!parser.plain_names) {
        return false;
    }
    size_t length = same_length(name, parser.cursor);
    char *text = parser.cursor + length;
    // The name of an end tag that goes "a/>", "a-->" or "a]]>" ends earlier.
    if (name[length] != '\0' || *text != '>' || (class_of(text[-1]) & kMayEndName) != 0) {
        return false;
    }
    parser.cursor = text + 1;
    return true;
}

// The rest of an end tag whose "</" has been read. Required: the step stays as it is.
bool process_end_tag(Parser &parser) {
    if (!parser.current_open) {
        if (parser.current == nullptr || parser.current->parent == nullptr) {
            return false;
        }
        parser.current = parser.current->parent;
    }
    close_element(parser);
    if (skip_plain_end(parser, parser.current->name)) {
        return true;
    }
    return next_token(parser) != 0 && begins_with_token(parser.current->name, parser) &&
           parser.current->name[parser.token_length] == '\0' &&
           split_element_name(parser, parser.current) && skip_tag_end(parser);
}

// The rest of the end tag behind a text, from "</" on. Required: its name may be cut short.
bool process_text_end(Parser &parser, XML_Node *element) {
    if (parser.cursor[1] == '/') {
        parser.cursor += 2;
        if (skip_plain_end(parser, element->name)) {
            return true;
        }
    } else if (next_token(parser) == 0 || !token_is(parser, "</")) {
        return false;
    }
    next_token(parser);
    return begins_with_token(element->name, parser) && split_element_name(parser, element) &&
           skip_tag_end(parser);
}

// The text of an element, from its first byte that is no white space to the end tag.
bool process_text(Parser &parser) {
    if (!parser.current_open) {
        return false;
    }
    XML_Node *element = parser.current;
    char *start = parser.cursor;
    while (start[-1] == ' ') {
        --start;
    }
    char *end = find_markup(parser.cursor);
    bool references = *end == '&';
    if (references) {
        end = find_class<kTagStart>(end);
    }
    if (*end == '\0' ||
        !take_text(parser, start, static_cast<size_t>(end - start), references, &element->value)) {
        return false;
    }
    parser.cursor = end;
    if (!process_text_end(parser, element)) {
        return false;
    }
    *end = '\0';
    close_element(parser);
    parser.step = Step::kAfterTag;
    return true;
}

// The next quote like the one at `quote`, or NULL. `references` tells of an "&" before it.
char *find_closing_quote(char *quote, bool *references) {
    char *end = quote;
    do {
        end = find_class<kQuote | kReference>(end + 1);
        *references |= *end == '&';
    } while (*end != *quote && *end != '\0');
    return *end == '\0' ? nullptr : end;
}

// The quoted value that follows an attribute's name, which is the latest token. Nothing is
// terminated before the attribute is linked, since the parser may come back to what failed.
bool process_attribute_value(Parser &parser, XML_Node *attribute) {
    char *name = parser.token;
    size_t name_length = parser.token_length;
    if (next_token(parser) == 0 || !token_is(parser, "=") || next_token(parser) == 0 ||
        !token_is_quote(parser)) {
        return false;
    }
    bool references = false;
    char *end = find_closing_quote(parser.token, &references);
    if (end == nullptr ||
        !take_text(parser, parser.cursor, static_cast<size_t>(end - parser.cursor), references,
                   &attribute->value)) {
        return false;
    }
    terminate_attribute_name(attribute, name, name_length);
    if (!parser.attributes.append(attribute)) {
        return false;
    }
    *end = '\0';
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
    if (!parser.token_after_space) {
        return AttributeResult::kFailed;
    }
    XML_Node *attribute = hearth::xml::arena_node(parser.arena, XML_NODE_ATTRIBUTE);
    if (attribute == nullptr || !take_attribute_name(parser, attribute) ||
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
    if (!skip_misc(parser)) {
        return false;
    }
    const char *text = parser.cursor;
    if (*text == '<') {
        bool is_end = text[1] == '/';
        parser.cursor += is_end ? 2 : 1;
        return is_end ? process_end_tag(parser) : process_start_tag(parser);
    }
    if (*text == '\0') {
        return true;
    }
    return parser.step == Step::kAfterStartTag && *text != '>' && !is_empty_end(text) &&
           process_text(parser);
}

// Behind a document type that begins at `text`, or NULL. Single quotes mean nothing in it.
char *skip_document_type(char *text) {
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
        char *next = behind(parser.cursor, "?>");
        if (next == nullptr) {
            return false;
        }
        parser.cursor = next;
    }
    if (!skip_misc(parser)) {
        return false;
    }
    if (begins(parser.cursor, "<!DOCTYPE")) {
        char *next = skip_document_type(parser.cursor);
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

// Parses the document in an arena, which the tree owns then.
int32_t parse_in_place(ArenaGuard arena, char *document, XML_Node **tree) {
    Parser parser{};
    parser.cursor = document;
    parser.arena = arena.get();
    parser.plain_names = true;
    // Memory that runs out on the way counts as a bad document: required.
    if (!parse_document(parser)) {
        return ZEX_XML_ERR_SYNTAX;
    }
    arena.release()->live.store(parser.nodes, std::memory_order_relaxed);
    *tree = parser.first;
    return 0;
}

// Reads a file whole into a new arena. By four system calls, since most documents are small and
// read again for each lookup.
int32_t read_document(const char *path, ArenaGuard &arena, char **document) {
    hearth::Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    if (!file) {
        return ZEX_XML_ERR_OPEN;
    }
    off_t end = lseek(file.get(), 0, SEEK_END);
    if (end < 1) {
        return end < 0 ? ZEX_XML_ERR_READ : ZEX_XML_ERR_SYNTAX;
    }
    size_t length = static_cast<size_t>(end);
    arena.reset(hearth::xml::arena_new(length, document));
    if (!arena) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    bool whole = hearth::pread_all(file.get(), *document, length, 0) == end;
    return whole ? 0 : ZEX_XML_ERR_READ;
}

}  // namespace

int32_t ZEX_XML_Parse(const char *text, XML_Node **tree) {
    if (text == nullptr || *text == '\0' || tree == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    *tree = nullptr;
    size_t length = strlen(text);
    char *document = nullptr;
    ArenaGuard arena(hearth::xml::arena_new(length, &document));
    if (!arena) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    memcpy(document, text, length + 1);
    return parse_in_place(std::move(arena), document, tree);
}

int32_t ZEX_XML_ParseFile(const char *path, XML_Node **tree) {
    if (path == nullptr || tree == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    ArenaGuard arena;
    char *document = nullptr;
    int32_t result = read_document(path, arena, &document);
    return result != 0 ? result : parse_in_place(std::move(arena), document, tree);
}
