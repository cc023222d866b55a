// A circular doubly linked list with a head; entries begin with their links.
#pragma once

#include <stdint.h>

namespace hearth::notify {

struct sdk_list {
    sdk_list *next;
    sdk_list *prev;
};

inline void sdk_list_init(sdk_list *head) {
    head->next = head;
    head->prev = head;
}

inline bool sdk_list_empty(const sdk_list *head) {
    return head->next == head;
}

// Puts an entry behind another, or behind the head.
inline void sdk_list_add(sdk_list *entry, sdk_list *behind) {
    entry->next = behind->next;
    entry->prev = behind;
    behind->next->prev = entry;
    behind->next = entry;
}

inline void sdk_list_add_tail(sdk_list *entry, sdk_list *head) {
    sdk_list_add(entry, head->prev);
}

// Takes an entry out; it then forms a list of its own.
inline void sdk_list_del(sdk_list *entry) {
    entry->prev->next = entry->next;
    entry->next->prev = entry->prev;
    sdk_list_init(entry);
}

}  // namespace hearth::notify
