// Where nodes and their texts live.
//
// A node made by hand is one block with its first texts behind it. The nodes of a parsed document
// share an arena, which holds the document too: most texts are parts of it. The arena goes when
// its last node is freed. A text that is set later is a block of its own.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <atomic>
#include <string_view>

#include "hearth/xml.h"

namespace hearth::xml {

struct Slab;

// Parsing hands out from the arena on one thread; `live` alone is shared later, when subtrees of
// one document belong to different threads.
struct Arena {
    std::atomic<size_t> live;  // nodes not freed yet
    Slab *slabs;               // behind the one that the arena itself stands in
    size_t slab_size;          // of the next one
    char *next;
    char *end;
};

// So many bytes behind a document are there and 0, which lets it be read in words.
constexpr size_t kDocumentPadding = sizeof(size_t);

// A new arena for a document of `length` bytes; NULL when memory is out. `document` receives the
// place for it, with the padding behind it; the byte before it is there and 0. The arena ends with
// arena_free, or with its last node.
Arena *arena_new(size_t length, char **document);
void arena_free(Arena *arena);

// A zeroed node, or `size` bytes of text. NULL when memory is out.
XML_Node *arena_node(Arena *arena, uint32_t type);
char *arena_text(Arena *arena, size_t size);

// The texts of a node.
enum class Text : unsigned { kName, kValue, kPrefix };

// A zeroed node outside any arena.
XML_Node *new_node(uint32_t type);

// The same with copies of the texts that are not NULL.
XML_Node *new_node(uint32_t type, const char *prefix, const char *name, const char *value);

// Frees the old text and stores the new one, a block from XML_Malloc that the node owns from then
// on, or NULL.
void replace_text(XML_Node *node, Text which, char *text);

// A copy in a block of its own; NULL when memory is out.
char *duplicate(std::string_view text);

// Frees a node alone: its texts and its record.
void free_single_node(XML_Node *node);

// Frees a node, its next siblings, and all that is below them. Takes no stack for depth.
void free_nodes(XML_Node *node);

}  // namespace hearth::xml
