#include "xml/xml_store.h"

#include <string.h>

#include <algorithm>
#include <bit>
#include <new>

using hearth::xml::Text;

namespace {

// What stands before the record of every node.
struct Cell {
    uintptr_t owner;  // the arena, or 0, and a bit for each text that is a block of its own
    XML_Node node;
};

struct TextField {
    Text which;
    char *XML_Node::*field;
};
constexpr TextField kTextFields[] = {
    {Text::kName, &XML_Node::name},
    {Text::kValue, &XML_Node::value},
    {Text::kPrefix, &XML_Node::prefix},
};

static_assert(
    [] {
        unsigned row = 0;
        for (const TextField &text : kTextFields) {
            if (static_cast<unsigned>(text.which) != row++) {
                return false;
            }
        }
        return true;
    }(),
    "the rows stand in the order of Text");

constexpr uintptr_t text_bit(Text which) {
    return uintptr_t{1} << static_cast<unsigned>(which);
}
constexpr uintptr_t kTextBits = 7;
static_assert(alignof(max_align_t) > kTextBits, "an arena's address leaves room for the bits");

// Slabs are as large as their document, within these bounds.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) && !defined(__SANITIZE_ADDRESS__)
#define __SANITIZE_ADDRESS__
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
// Each node and text has a slab of its own, so that overruns are seen.
constexpr size_t kMinSlab = 0;
constexpr size_t kMaxSlab = 0;
#else
constexpr size_t kMinSlab = 1024;
constexpr size_t kMaxSlab = 32 * 1024;
#endif

Cell *cell_of(XML_Node *node) {
    return reinterpret_cast<Cell *>(reinterpret_cast<char *>(node) - offsetof(Cell, node));
}

// The first place from `memory` on where a cell may stand.
char *align_up(char *memory) {
    return memory + (0 - reinterpret_cast<uintptr_t>(memory)) % alignof(Cell);
}

XML_Node *start_cell(void *memory, uintptr_t owner, uint32_t type) {
    Cell *cell = static_cast<Cell *>(memory);
    *cell = Cell{};
    cell->owner = owner;
    cell->node.type = type;
    return &cell->node;
}

}  // namespace

namespace hearth::xml {

struct Slab {
    Slab *next;
};

Arena *arena_new(size_t length, char **document) {
    if (length > SIZE_MAX / 8) {
        return nullptr;
    }
    // Room for an element every 25 bytes, so that a document is one block as a rule.
    size_t nodes = kMaxSlab == 0 ? 0 : (length / 25 + 2) * sizeof(Cell);
    size_t before = sizeof(Arena) + 1 + length + kDocumentPadding;
    char *start = static_cast<char *>(XML_Malloc(before + nodes));
    if (start == nullptr) {
        return nullptr;
    }
    *document = start + sizeof(Arena) + 1;
    (*document)[-1] = '\0';
    memset(*document + length, '\0', kDocumentPadding);
    size_t slab_size = std::clamp(length, kMinSlab, kMaxSlab);
    return new (start) Arena{{0}, nullptr, slab_size, start + before, start + before + nodes};
}

void arena_free(Arena *arena) {
    Slab *slab = arena->slabs;
    while (slab != nullptr) {
        Slab *next = slab->next;
        XML_Free(slab);
        slab = next;
    }
    XML_Free(arena);
}

// Memory from a new slab. A request of more than a quarter of a slab gets one to itself, and the
// slab in use stays in use.
static char *arena_grow(Arena *arena, size_t size) {
    bool single = size > arena->slab_size / 4;
    size_t room = single ? size : arena->slab_size;
    if (room > SIZE_MAX - sizeof(Slab)) {
        return nullptr;
    }
    Slab *slab = static_cast<Slab *>(XML_Malloc(sizeof(Slab) + room));
    if (slab == nullptr) {
        return nullptr;
    }
    slab->next = arena->slabs;
    arena->slabs = slab;
    char *start = reinterpret_cast<char *>(slab + 1);
    if (!single) {
        arena->next = start + size;
        arena->end = start + room;
    }
    return start;
}

XML_Node *arena_node(Arena *arena, uint32_t type) {
    char *memory = align_up(arena->next);
    if (memory <= arena->end && static_cast<size_t>(arena->end - memory) >= sizeof(Cell)) {
        arena->next = memory + sizeof(Cell);
    } else {
        memory = arena_grow(arena, sizeof(Cell));
        if (memory == nullptr) {
            return nullptr;
        }
    }
    return start_cell(memory, reinterpret_cast<uintptr_t>(arena), type);
}

char *arena_text(Arena *arena, size_t size) {
    if (static_cast<size_t>(arena->end - arena->next) < size) {
        return arena_grow(arena, size);
    }
    char *text = arena->next;
    arena->next += size;
    return text;
}

XML_Node *new_node(uint32_t type) {
    void *memory = XML_Malloc(sizeof(Cell));
    return memory == nullptr ? nullptr : start_cell(memory, 0, type);
}

XML_Node *new_node(uint32_t type, const char *prefix, const char *name, const char *value) {
    const char *texts[] = {name, value, prefix};
    size_t size = sizeof(Cell);
    for (const char *text : texts) {
        size += text == nullptr ? 0 : strlen(text) + 1;
    }
    void *memory = XML_Malloc(size);
    if (memory == nullptr) {
        return nullptr;
    }
    XML_Node *node = start_cell(memory, 0, type);
    char *room = reinterpret_cast<char *>(cell_of(node) + 1);
    for (const TextField &text : kTextFields) {
        const char *from = texts[static_cast<unsigned>(text.which)];
        if (from != nullptr) {
            node->*text.field = room;
            room = stpcpy(room, from) + 1;
        }
    }
    return node;
}

void replace_text(XML_Node *node, Text which, char *text) {
    Cell *cell = cell_of(node);
    char *&slot = node->*kTextFields[static_cast<unsigned>(which)].field;
    if ((cell->owner & text_bit(which)) != 0) {
        XML_Free(slot);
    }
    slot = text;
    cell->owner = text == nullptr ? cell->owner & ~text_bit(which) : cell->owner | text_bit(which);
}

char *duplicate(std::string_view text) {
    char *copy = static_cast<char *>(XML_Malloc(text.size() + 1));
    if (copy != nullptr) {
        memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
    }
    return copy;
}

namespace {

// Nodes of one arena that are freed one after the other are subtracted from it together.
class Release {
  public:
    Release() = default;
    Release(const Release &) = delete;
    Release &operator=(const Release &) = delete;
    ~Release() { settle(); }

    void node(XML_Node *node) {
        Cell *cell = cell_of(node);
        if ((cell->owner & kTextBits) != 0) {
            for (const TextField &text : kTextFields) {
                replace_text(node, text.which, nullptr);
            }
        }
        if (cell->owner == 0) {
            XML_Free(cell);
            return;
        }
        Arena *arena = std::bit_cast<Arena *>(cell->owner);
        if (arena != arena_) {
            settle();
            arena_ = arena;
        }
        ++count_;
    }

  private:
    void settle() {
        if (arena_ != nullptr &&
            arena_->live.fetch_sub(count_, std::memory_order_acq_rel) == count_) {
            arena_free(arena_);
        }
        arena_ = nullptr;
        count_ = 0;
    }

    Arena *arena_ = nullptr;
    size_t count_ = 0;
};

}  // namespace

void free_single_node(XML_Node *node) {
    Release().node(node);
}

void free_nodes(XML_Node *node) {
    Release release;
    while (node != nullptr) {
        // The children go before the siblings, on one chain with them.
        XML_Node *next = node->next_sibling;
        if (node->first_child != nullptr) {
            node->last_child->next_sibling = next;
            next = node->first_child;
        }
        for (XML_Node *attribute = node->first_attribute; attribute != nullptr;) {
            XML_Node *behind = attribute->next_sibling;
            release.node(attribute);
            attribute = behind;
        }
        release.node(node);
        node = next;
    }
}

}  // namespace hearth::xml
