#include <stdlib.h>

#include "hearth/list.h"

void cl_lst_init(cl_lst *list) {
    *list = {};
}

void cl_lst_insert(cl_lst *list, cl_lst_node *previous, cl_lst_node *node) {
    node->prev = previous;
    node->next = previous != nullptr ? previous->next : list->first;
    (node->prev != nullptr ? node->prev->next : list->first) = node;
    (node->next != nullptr ? node->next->prev : list->last) = node;
    list->count++;
}

void cl_lst_add(cl_lst *list, cl_lst_node *node) {
    cl_lst_insert(list, list->last, node);
}

void cl_lst_concat(cl_lst *list, cl_lst *second) {
    if (second->first == nullptr) {
        return;
    }
    second->first->prev = list->last;
    (list->last != nullptr ? list->last->next : list->first) = second->first;
    list->last = second->last;
    list->count += second->count;
    *second = {};
}

uint32_t cl_lst_count(const cl_lst *list) {
    return list->count;
}

cl_lst_node *cl_lst_first(const cl_lst *list) {
    return list->first;
}

cl_lst_node *cl_lst_last(const cl_lst *list) {
    return list->last;
}

cl_lst_node *cl_lst_next(const cl_lst_node *node) {
    return node->next;
}

cl_lst_node *cl_lst_prev(const cl_lst_node *node) {
    return node->prev;
}

void cl_lst_delete(cl_lst *list, cl_lst_node *node) {
    (node->prev != nullptr ? node->prev->next : list->first) = node->next;
    (node->next != nullptr ? node->next->prev : list->last) = node->prev;
    list->count--;
}

void cl_lst_extract(cl_lst *list, cl_lst_node *first, cl_lst_node *behind, cl_lst *target) {
    *target = {};
    if (first == nullptr || first == behind) {
        return;
    }
    cl_lst_node *last = behind != nullptr ? behind->prev : list->last;
    (first->prev != nullptr ? first->prev->next : list->first) = behind;
    (behind != nullptr ? behind->prev : list->last) = first->prev;
    first->prev = nullptr;
    last->next = nullptr;
    target->first = first;
    target->last = last;
    for (const cl_lst_node *node = first; node != nullptr; node = node->next) {
        target->count++;
    }
    list->count -= target->count;
}

cl_lst_node *cl_lst_get(cl_lst *list) {
    cl_lst_node *node = list->first;
    if (node == nullptr) {
        list->count--;  // required: an empty list's count wraps
        return nullptr;
    }
    cl_lst_delete(list, node);
    return node;
}

cl_lst_node *cl_lst_nth(const cl_lst *list, int32_t index) {
    return cl_lst_nstep(list->first, index);
}

cl_lst_node *cl_lst_nstep(cl_lst_node *node, int32_t count) {
    while (node != nullptr && count > 0) {
        node = node->next;
        count--;
    }
    return node;
}

int32_t cl_lst_find(const cl_lst *list, const cl_lst_node *node) {
    int32_t index = 0;
    for (const cl_lst_node *at = list->first; at != nullptr; at = at->next, index++) {
        if (at == node) {
            return index;
        }
    }
    return -1;
}

cl_lst_node *cl_lst_search(const cl_lst *list, cl_lst_compare compare, const void *key) {
    cl_lst_node *node = list->first;
    while (node != nullptr && compare(node, key) != 0) {
        node = node->next;
    }
    return node;
}

void cl_lst_sort(cl_lst *list, cl_lst_compare compare, cl_lst_swap swap) {
    if (list->first != list->last) {
        quick_sort(list->first, list->first, list->last, compare, swap);
    }
}

void cl_lst_free(cl_lst *list) {
    cl_lst_node *node = list->first;
    while (node != nullptr) {
        cl_lst_node *next = node->next;
        free(node);
        node = next;
    }
    *list = {};
}

namespace {

// Whether the way from `middle` to `left` is shorter than the one to `right`.
bool left_part_is_shorter(const cl_lst_node *left, const cl_lst_node *middle,
                          const cl_lst_node *right) {
    const cl_lst_node *back = middle;
    const cl_lst_node *forth = middle;
    while (back != left && forth != right) {
        back = back->prev;
        forth = forth->next;
    }
    return back == left;
}

}  // namespace

// Recurses into the shorter part and loops on the longer, so that no order of the data needs more
// stack than the logarithm of the length.
void quick_sort(cl_lst_node *first, cl_lst_node *left, cl_lst_node *right, cl_lst_compare compare,
                cl_lst_swap swap) {
    while (left != right) {
        cl_lst_node *middle = partion(first, left, right, compare, swap);
        if (middle == nullptr) {
            return;
        }
        if (left_part_is_shorter(left, middle, right)) {
            if (middle != left) {
                quick_sort(first, left, middle->prev, compare, swap);
            }
            left = middle->next;
        } else {
            if (middle != right) {
                quick_sort(first, middle->next, right, compare, swap);
            }
            right = middle->prev;
        }
    }
}

cl_lst_node *partion(cl_lst_node *first, cl_lst_node *left, cl_lst_node *right,
                     cl_lst_compare compare, cl_lst_swap swap) {
    if (first == nullptr || first->next == nullptr) {
        return nullptr;
    }
    cl_lst_node *pivot = left;
    while (left != right) {
        while (right != left && compare(right, pivot) >= 0) {
            right = right->prev;
        }
        swap(left, right);
        pivot = right;
        while (left != right && compare(left, pivot) <= 0) {
            left = left->next;
        }
        swap(left, right);
        // The pivot went along with the exchange.
        if (pivot == left) {
            pivot = right;
        } else if (pivot == right) {
            pivot = left;
        }
    }
    return left;
}
