/*
 * Hearth: an intrusive doubly linked list and its sort.
 *
 * A node of the caller's begins with a cl_lst_node; the caller's data follow it. The list owns no
 * memory: nodes are the caller's, and only cl_lst_free gives them back, with free(). No function
 * here blocks, locks or tests its pointers unless that is said; a list belongs to one thread at a
 * time.
 */
#ifndef HEARTH_LIST_H
#define HEARTH_LIST_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* The links at the start of every node; NULL at either end of the list. */
typedef struct cl_lst_node {
    struct cl_lst_node *next; /* behind this one */
    struct cl_lst_node *prev; /* before this one */
} cl_lst_node;

/* A list. All zero is an empty one. */
typedef struct cl_lst {
    cl_lst_node *first; /* or NULL */
    cl_lst_node *last;  /* or NULL */
    uint32_t count;     /* of nodes */
} cl_lst;

/* Compares two nodes, negative, zero or positive; cl_lst_search gives it a node and the key. */
typedef int (*cl_lst_compare)(const void *element, const void *key);

/* Exchanges the data of two nodes, not their links. May be given the same node twice. */
typedef void (*cl_lst_swap)(void *left, void *right);

/* Makes the list empty; whatever it held is forgotten. */
HEARTH_API void cl_lst_init(cl_lst *list);

/* Links `node` behind `previous`, a node of the list, or first of all if that is NULL. */
HEARTH_API void cl_lst_insert(cl_lst *list, cl_lst_node *previous, cl_lst_node *node);

/* Links `node` behind the last one. */
HEARTH_API void cl_lst_add(cl_lst *list, cl_lst_node *node);

/* Appends the nodes of `second`, another list, which is empty afterwards. */
HEARTH_API void cl_lst_concat(cl_lst *list, cl_lst *second);

/* The number of nodes. */
HEARTH_API uint32_t cl_lst_count(const cl_lst *list);

/* The first node, NULL in an empty list. */
HEARTH_API cl_lst_node *cl_lst_first(const cl_lst *list);

/* The last node, NULL in an empty list. */
HEARTH_API cl_lst_node *cl_lst_last(const cl_lst *list);

/* The node behind this one, NULL behind the last. */
HEARTH_API cl_lst_node *cl_lst_next(const cl_lst_node *node);

/* The node before this one, NULL before the first. */
HEARTH_API cl_lst_node *cl_lst_prev(const cl_lst_node *node);

/* Takes `node`, a node of the list, out of it. The node is not freed and keeps its own links. */
HEARTH_API void cl_lst_delete(cl_lst *list, cl_lst_node *node);

/*
 * Moves a stretch of the list into another one.
 *   first   first node of the stretch; NULL, or the same as `behind`, for an empty stretch
 *   behind  the node behind the stretch's last one; NULL if the stretch reaches the list's end
 *   target  list that takes the stretch; what it held before is overwritten, not freed
 */
HEARTH_API void cl_lst_extract(cl_lst *list, cl_lst_node *first, cl_lst_node *behind,
                               cl_lst *target);

/*
 * Takes the first node out of the list and returns it; NULL if the list is empty. The count goes
 * down even then and wraps below 0, so test the list first.
 */
HEARTH_API cl_lst_node *cl_lst_get(cl_lst *list);

/* The node at an index from 0; NULL past the end. A negative index gives the first node. */
HEARTH_API cl_lst_node *cl_lst_nth(const cl_lst *list, int32_t index);

/* The node `count` steps behind `node`; NULL past the end. A negative count takes no step. */
HEARTH_API cl_lst_node *cl_lst_nstep(cl_lst_node *node, int32_t count);

/* The index from 0 of `node`; -1 if the list does not hold it. */
HEARTH_API int32_t cl_lst_find(const cl_lst *list, const cl_lst_node *node);

/* The first node for which compare(node, key) gives 0; NULL if there is none. */
HEARTH_API cl_lst_node *cl_lst_search(const cl_lst *list, cl_lst_compare compare, const void *key);

/*
 * Sorts in ascending order by quick_sort. Nodes stay where they are: `swap` moves their data. Not
 * stable.
 */
HEARTH_API void cl_lst_sort(cl_lst *list, cl_lst_compare compare, cl_lst_swap swap);

/* Frees every node with free() and makes the list empty. */
HEARTH_API void cl_lst_free(cl_lst *list);

/*
 * Sorts the stretch from `left` to `right`, both included, of the list that begins with `first`.
 * Does nothing if the list has fewer than two nodes.
 */
HEARTH_API void quick_sort(cl_lst_node *first, cl_lst_node *left, cl_lst_node *right,
                           cl_lst_compare compare, cl_lst_swap swap);

/*
 * Partitions the stretch from `left` to `right` around the data of its left node. Returns the node
 * where that has come to lie: nothing before it is greater, nothing behind it is less. NULL if
 * `first` is NULL or has no successor.
 */
HEARTH_API cl_lst_node *partion(cl_lst_node *first, cl_lst_node *left, cl_lst_node *right,
                                cl_lst_compare compare, cl_lst_swap swap);

HEARTH_END_DECLS

#endif
