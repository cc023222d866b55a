/*
 * Hearth: the configuration of the directory "sysguard", one subtree in all its layers at once.
 *
 * The layers are the user data, the product, and the operator or else the common one, in this
 * order. Nothing is locked here; sysguard_get_xml may wait for the SIM as a lookup does.
 */
#ifndef HEARTH_SYSGUARD_H
#define HEARTH_SYSGUARD_H

#include "hearth/api.h"
#include "hearth/xml.h"

HEARTH_BEGIN_DECLS

/*
 * Receives the node of each layer, NULL where a layer has none, and the two arguments of
 * sysguard_get_xml. The nodes are valid during the call only. The result is ignored.
 */
typedef int32_t (*sysguard_callback)(XML_Node *userdata, XML_Node *product, XML_Node *common,
                                     void *first_argument, void *second_argument);

/* Builds the path of a layer's file, as cfg_get_userdata_path does. */
typedef int32_t (*sysguard_path_function)(const char *directory, const char *file, char *out,
                                          uint32_t *length);

/*
 * Opens "config.xml" in all layers and calls back with the node at `node_path` in each.
 *   callback         required
 *   first_argument   required; passed on
 *   second_argument  passed on
 *   node_path        names with dots between them, beginning with the root's
 * Returns 0, or -1 when a required argument is null.
 */
HEARTH_API int32_t sysguard_get_xml(sysguard_callback callback, void *first_argument,
                                    void *second_argument, const char *node_path);

/*
 * Finds a node of one layer.
 *   out_node         receives the node, which belongs to the document
 *   in_out_document  the layer's document; parsed here when it is NULL, and then the caller's to
 *                    free with cl_xmlFreeNode, also when the node is not found
 *   node_path        as above
 *   path_function    the layer's path
 * Returns 0 or -1.
 */
HEARTH_API int32_t sysguard_get_config_node(XML_Node **out_node, XML_Node **in_out_document,
                                            const char *node_path,
                                            sysguard_path_function path_function);

/*
 * The first child named `name` of the first of three nodes that has one; node 2 or node 3 must be
 * there. Returns 0 with the child in `out`, or -1 with `out` untouched.
 */
HEARTH_API int32_t sysguard_get_node(XML_Node *node1, XML_Node *node2, XML_Node *node3,
                                     const char *name, XML_Node **out);

/* The value of such a child as a number, from the first node whose child has a value. */
HEARTH_API int32_t get_int_node_value(XML_Node *node1, XML_Node *node2, XML_Node *node3,
                                      const char *name, int32_t *out);

/*
 * The same as a text.
 *   out   receives at most size - 1 bytes without a terminator: the caller clears it first
 *   size  bytes of `out`
 */
HEARTH_API int32_t get_str_node_value(XML_Node *node1, XML_Node *node2, XML_Node *node3,
                                      const char *name, char *out, uint32_t size);

HEARTH_END_DECLS

#endif
