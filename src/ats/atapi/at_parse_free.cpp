// Releasing and walking of result lists.
#include <stdlib.h>

#include "hearth/at_parse.h"

static_assert(sizeof(at_parse_result) == 4 * sizeof(void *));
static_assert(offsetof(at_parse_result, next_group) == 2 * sizeof(void *));

namespace {

void release_node(at_parse_result *node) {
    free(node->AtFieldName);
    free(node->AtFieldValue);
    free(node);
}

void release_chain(at_parse_result *head) {
    while (head != nullptr) {
        at_parse_result *next = head->next_field;
        release_node(head);
        head = next;
    }
}

}  // namespace

void free_node(at_parse_result *node) {
    if (node != nullptr) {
        release_node(node);
    }
}

void free_at_res_link(at_parse_result *head) {
    release_chain(head);
}

void free_at_cmd(at_parse_result *head) {
    while (head != nullptr) {
        at_parse_result *next = head->next_group;
        release_chain(head);
        head = next;
    }
}

void free_cops_link(at_parse_result *head) {
    free_at_cmd(head);
}

// Turns the chain round instead of calling itself, so that no length of chain costs stack.
void free_at_res_tree(at_parse_result *node) {
    at_parse_result *reversed = nullptr;
    while (node != nullptr) {
        at_parse_result *next = node->next_field;
        node->next_field = reversed;
        reversed = node;
        node = next;
    }
    release_chain(reversed);
}

// Required to walk the list and leave it at that.
int32_t print_operator(const at_parse_result *head) {
    for (const at_parse_result *group = head; group != nullptr; group = group->next_group) {
        const at_parse_result *field = group->next_field;
        while (field != nullptr) {
            field = field->next_field;
        }
    }
    return 0;
}
