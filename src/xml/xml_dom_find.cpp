#include <string_view>

#include "base/number.h"
#include "base/text.h"
#include "xml/xml_dom.h"

using hearth::xml::find_by_path;
using hearth::xml::find_named;
using hearth::xml::PathTokens;
using hearth::xml::text_is;
using std::string_view;

namespace hearth::xml {

XML_Node *find_named(const XML_Node *node, string_view name) {
    while (node != nullptr && !text_is(node->name, name)) {
        node = node->next_sibling;
    }
    return const_cast<XML_Node *>(node);
}

XML_Node *find_by_path(const XML_Node *node, string_view path) {
    PathTokens tokens(path);
    string_view token;
    XML_Node *found = nullptr;
    while (tokens.next(&token)) {
        found = find_named(node, token);
        if (found == nullptr) {
            return nullptr;
        }
        node = found->first_child;
    }
    return found;
}

}  // namespace hearth::xml

namespace {

constexpr size_t kMaxUrlLength = 511;

// What stands from `start`, which is in range, on. Unlike substr it needs nothing that throws.
string_view rest_of(string_view text, size_t start) {
    text.remove_prefix(start);
    return text;
}

// An attribute of this name, whatever its prefix, and of this value if one is given.
const XML_Node *find_attribute_by_value(const XML_Node *node, string_view name,
                                        const string_view *value) {
    const XML_Node *attribute = find_named(node->first_attribute, name);
    while (attribute != nullptr && value != nullptr && !text_is(attribute->value, *value)) {
        attribute = find_named(attribute->next_sibling, name);
    }
    return attribute;
}

XML_Node *find_by_attribute(const XML_Node *node, string_view element, string_view attribute,
                            const string_view *value) {
    XML_Node *found = find_named(node, element);
    while (found != nullptr && find_attribute_by_value(found, attribute, value) == nullptr) {
        found = find_named(found->next_sibling, element);
    }
    return found;
}

// Whether a part of a url names the node. A name with a prefix may stand anywhere in the token:
// required.
bool url_token_names(const XML_Node *node, string_view token) {
    if (node->prefix == nullptr || token.find(':') == string_view::npos) {
        return text_is(node->name, token);
    }
    if (node->name == nullptr) {
        return false;
    }
    string_view prefix = node->prefix;
    string_view name = node->name;
    for (size_t at = token.find(prefix); at != string_view::npos; at = token.find(prefix, at + 1)) {
        string_view behind = rest_of(token, at + prefix.size());
        if (behind.starts_with(':') && hearth::begins_with(rest_of(behind, 1), name)) {
            return true;
        }
    }
    return false;
}

// The first of a node and its next siblings that a part of a url names, or NULL.
const XML_Node *find_url_token(const XML_Node *node, string_view token) {
    while (node != nullptr && !url_token_names(node, token)) {
        node = node->next_sibling;
    }
    return node;
}

bool is_number(string_view token) {
    return token.find_first_not_of("0123456789") == string_view::npos;
}

// The index of a url names the N-th node from `first` on, which the name before it has found.
// NULL when there are fewer.
const XML_Node *nth_url_node(const XML_Node *first, string_view name, int32_t index) {
    const XML_Node *node = first;
    while (node != nullptr && index > 1) {
        node = find_url_token(node->next_sibling, name);
        --index;
    }
    return index < 1 ? nullptr : node;
}

// A path with predicates on its way through a tree.
struct PredicateWalk {
    const XML_Node *from;   // where the next name is looked for
    const XML_Node *found;  // the node of the latest predicate
    string_view attribute;  // of the latest predicate
    bool has_value;         // whether that was "[attr=value]"
};

// One "name[predicate]" at the start of `path`, which moves behind it. False when there is no
// such node.
bool walk_predicate(PredicateWalk *walk, string_view *path) {
    size_t open = path->find('[');
    size_t close = path->find(']', open);
    if (open == string_view::npos || close == string_view::npos) {
        return false;
    }
    string_view predicate = rest_of(hearth::first_part(*path, close), open + 1);
    const XML_Node *named = find_by_path(walk->from, hearth::first_part(*path, open));
    path->remove_prefix(close + 1);
    if (named == nullptr) {
        return false;
    }
    size_t equals = predicate.find('=');
    walk->has_value = equals != string_view::npos;
    walk->attribute = hearth::first_part(predicate, equals);
    string_view value = walk->has_value ? rest_of(predicate, equals + 1) : string_view();
    walk->found =
        find_by_attribute(named, named->name, walk->attribute, walk->has_value ? &value : nullptr);
    return walk->found != nullptr;
}

// The text at the end of a path with predicates: false when there is none.
bool read_by_predicates(const XML_Node *root, string_view path, const char **text) {
    PredicateWalk walk{root, nullptr, {}, false};
    while (true) {
        if (!walk_predicate(&walk, &path)) {
            return false;
        }
        if (path.empty()) {
            break;
        }
        if (path.front() == '[') {
            size_t close = path.find(']');
            if (close == string_view::npos) {
                return false;
            }
            walk.attribute = rest_of(hearth::first_part(path, close), 1);
            walk.has_value = false;
            break;
        }
        walk.from = walk.found->first_child;
        if (path.find('[') == string_view::npos) {
            const XML_Node *node = find_by_path(walk.from, path);
            *text = node == nullptr ? nullptr : node->value;
            return *text != nullptr;
        }
    }
    if (walk.has_value) {
        *text = walk.found->value;
        return *text != nullptr;
    }
    const XML_Node *attribute = find_named(walk.found->first_attribute, walk.attribute);
    if (attribute == nullptr) {
        return false;
    }
    *text = attribute->value == nullptr ? "" : attribute->value;
    return true;
}

}  // namespace

XML_Node *ZEX_XML_FindNodeByName(const XML_Node *node, const char *path) {
    return path == nullptr ? nullptr : find_by_path(node, path);
}

XML_Node *ZEX_XML_FindNodeByAttr(const XML_Node *node, const char *element, const char *attribute,
                                 const char *value) {
    if (element == nullptr || attribute == nullptr) {
        return nullptr;
    }
    string_view wanted = value == nullptr ? string_view() : string_view(value);
    return find_by_attribute(node, element, attribute, value == nullptr ? nullptr : &wanted);
}

int32_t ZEX_XML_GetNodeByUrl(const XML_Node *node, const char *url, XML_Node **found) {
    if (node == nullptr || url == nullptr || found == nullptr || strlen(url) > kMaxUrlLength) {
        return ZEX_XML_ERR_PARAM;
    }
    PathTokens tokens(url);
    string_view token;
    if (!tokens.next(&token) || !url_token_names(node, token)) {
        return ZEX_XML_ERR_NOT_FOUND;
    }
    string_view name;  // what an index would count; empty where none may stand
    while (tokens.next(&token)) {
        if (!is_number(token)) {
            node = find_url_token(node->first_child, token);
            name = token;
        } else {
            // The digits end at a "." or at the end of the url.
            int32_t index = hearth::to_int32(token.data());
            if (name.empty() || index == 0) {
                return ZEX_XML_ERR_BAD_URL;
            }
            node = nth_url_node(node, name, index);
            name = {};
        }
        if (node == nullptr) {
            return ZEX_XML_ERR_NOT_FOUND;
        }
    }
    *found = const_cast<XML_Node *>(node);
    return 0;
}

int32_t ZEX_XML_GetNodeOrAttr_Node(const XML_Node *root, const char *path, char *out) {
    if (out == nullptr) {
        return -1;
    }
    *out = '\0';
    if (root == nullptr || path == nullptr) {
        return -1;
    }
    const char *text = nullptr;
    if (strchr(path, '[') != nullptr) {
        if (!read_by_predicates(root, path, &text)) {
            return -1;
        }
    } else {
        const XML_Node *node = find_by_path(root, path);
        text = node == nullptr ? nullptr : node->value;
        if (text == nullptr) {
            return -1;
        }
    }
    strcpy(out, text);
    return 0;
}
