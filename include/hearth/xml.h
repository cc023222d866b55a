/*
 * Hearth: XML documents as trees in memory.
 *
 *     XML_Node *tree = NULL;
 *     if (cl_xmlParseFile("/app/webroot/data/x.xml", &tree) == 0) {
 *         XML_Node *port = cl_xmlFindNodeByName(tree, "config.lan.port");
 *         ...
 *         cl_xmlFreeNode(tree);
 *     }
 *
 * Two levels: the cl_xml functions give small result numbers, one of XML_RESULT_*; the ZEX_XML
 * functions of the same tail do the same and give the inner code that stands behind the number.
 * Unless told otherwise a function leaves its out arguments and the tree as they were when it
 * fails.
 *
 * A tree is owned by whoever holds its first node and goes back through cl_xmlFreeNode. Nothing
 * here is locked: a tree belongs to one thread at a time. Nothing blocks except the functions that
 * take a file path, which block as the file system does.
 */
#ifndef HEARTH_XML_H
#define HEARTH_XML_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* Results of the cl_xml functions. */
enum {
    XML_RESULT_OK = 0,
    XML_RESULT_PARAM = 1,      /* unusable argument, or a node in the wrong state */
    XML_RESULT_RESERVED = 6,   /* never given */
    XML_RESULT_NO_MEMORY = 7,  /* allocation failed */
    XML_RESULT_EXISTS = 14,    /* the element has this attribute already */
    XML_RESULT_NOT_FOUND = 15, /* no such attribute or node */
    XML_RESULT_SYNTAX = 16,    /* not a document that the parser takes */
    XML_RESULT_BAD_URL = 17,   /* an index in a url is 0 or stands in the wrong place */
    XML_RESULT_OPEN = 18,      /* the file could not be opened */
    XML_RESULT_WRITE = 19,     /* the file was written short */
    XML_RESULT_READ = 20,      /* the file could not be read */
    XML_RESULT_UNKNOWN = -1    /* no number for this inner code */
};

/* Results of the ZEX_XML functions; 0 is success. */
enum {
    ZEX_XML_ERR_PARAM = 0x1F000701,
    ZEX_XML_ERR_EXISTS = 0x1F000702,
    ZEX_XML_ERR_NOT_FOUND = 0x1F000703,
    ZEX_XML_ERR_NO_MEMORY = 0x1F000704,
    ZEX_XML_ERR_SYNTAX = 0x1F000705,
    ZEX_XML_ERR_BAD_URL = 0x1F000706,
    ZEX_XML_ERR_OPEN = 0x1F000707,
    ZEX_XML_ERR_WRITE = 0x1F000708,
    ZEX_XML_ERR_READ = 0x1F000709,
    ZEX_XML_ERR_RESERVED = 0x1F00070A,
    ZEX_XML_ERR_END = 0x1F00070B
};

/* Node types. */
enum { XML_NODE_ELEMENT = 0, XML_NODE_ATTRIBUTE = 1 };

/*
 * An element or an attribute. Made and changed by the functions below only: a node's texts are
 * its own and are not replaced or freed from outside.
 */
typedef struct XML_Node XML_Node;
/* A node, as told above. */
struct XML_Node {
    char *name;                 /* without the prefix; NULL when it was cleared */
    char *value;                /* text of an element, value of an attribute, or NULL */
    uint32_t type;              /* XML_NODE_ELEMENT or XML_NODE_ATTRIBUTE */
    char *prefix;               /* namespace prefix as written, or NULL */
    XML_Node *parent;           /* the element that holds this node, or NULL */
    XML_Node *first_child;      /* elements only */
    XML_Node *last_child;       /* elements only */
    XML_Node *previous_sibling; /* elements only */
    XML_Node *next_sibling;     /* next element, or next attribute of the same element */
    XML_Node *first_attribute;  /* elements only; the chain is in order of addition */
};

/* A growing text. The bytes are terminated by a NUL once there are any. */
typedef struct XML_Membuf {
    char *data;        /* owned by the buffer, or NULL */
    uint32_t length;   /* bytes in use */
    uint32_t capacity; /* bytes that fit, the terminator not counted */
    uint32_t growth;   /* bytes by which the buffer grows at least */
} XML_Membuf;

/* The number in XML_RESULT_* of an inner code; XML_RESULT_UNKNOWN for ZEX_XML_ERR_END and others.
 */
HEARTH_API int32_t cl_getErrorType(uint32_t code);

/* --- Documents --- */

/*
 * Parses a document.
 *   text  the whole document, terminated; not changed, and needed during the call only
 *   tree  receives the first top-level element, with the others on its sibling chain; owned by
 *         the caller. NULL when the text is refused.
 * Returns PARAM for null pointers and an empty text, NO_MEMORY or SYNTAX.
 */
HEARTH_API int32_t cl_xmlParse(const char *text, XML_Node **tree) HEARTH_MUST_CHECK;
HEARTH_API int32_t ZEX_XML_Parse(const char *text, XML_Node **tree) HEARTH_MUST_CHECK;

/*
 * Parses a file. The path is used as it stands; a byte of value 0 ends the document.
 *   tree  as for cl_xmlParse, but left alone on failure
 * Returns PARAM for null pointers, OPEN, READ, NO_MEMORY or SYNTAX, also for an empty file.
 */
HEARTH_API int32_t cl_xmlParseFile(const char *path, XML_Node **tree) HEARTH_MUST_CHECK;
HEARTH_API int32_t ZEX_XML_ParseFile(const char *path, XML_Node **tree) HEARTH_MUST_CHECK;

/*
 * Prints a node and what is below it as a document.
 *   text  receives the text; the caller frees it with cl_xmlFreeMem
 * Returns PARAM for null pointers and a nameless element, or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlTransform(const XML_Node *node, char **text) HEARTH_MUST_CHECK;
HEARTH_API int32_t ZEX_XML_Transform(const XML_Node *node, char **text) HEARTH_MUST_CHECK;

/*
 * Prints a node and what is below it over a file, which is created if need be. The file is
 * rewritten in place and never shrinks: what the text leaves of its old length is filled with
 * spaces. Nothing is synced to storage.
 * Returns PARAM, NO_MEMORY, OPEN or WRITE; before WRITE the file has been changed in part.
 */
HEARTH_API int32_t cl_xmlTransformFile(const XML_Node *node, const char *path) HEARTH_MUST_CHECK;
HEARTH_API int32_t ZEX_XML_TransformFile(const XML_Node *node, const char *path) HEARTH_MUST_CHECK;

/*
 * Reads one text of a document by a path as for ZEX_XML_GetNodeOrAttr_Node.
 *   file   path of the document
 *   text   the document itself
 *   out    receives the text, empty on failure; must be large enough
 * Returns 0, or -1.
 */
HEARTH_API int32_t ZEX_XML_GetNodeOrAttr(const char *file, const char *path, char *out);
HEARTH_API int32_t ZEX_XML_GetNodeOrAttrFromBuffer(const char *text, const char *path, char *out);

/*
 * Parses a file, appends a node below a parent in it, and prints the result over another file.
 *   source_file  path of the document
 *   parent_path  dotted path of the parent; what passes 255 bytes is cut off
 *   node         the node to append, handed over: set to NULL on success
 *   target_file  path of the file to write; a failure to write it is not told
 * Returns 0, or -1 with the node still the caller's.
 */
HEARTH_API int32_t ZEX_XML_AddNodeToFile(const char *source_file, const char *parent_path,
                                         XML_Node **node, const char *target_file);

/* --- Walking --- */

/* The node beside, above or below; NULL when there is none and for a NULL node. */
HEARTH_API XML_Node *cl_xmlGetNodeParent(const XML_Node *node);
HEARTH_API XML_Node *cl_xmlGetNodeFirstChild(const XML_Node *node);
HEARTH_API XML_Node *cl_xmlGetNodeLastChild(const XML_Node *node);
HEARTH_API XML_Node *cl_xmlGetNodeNextSibling(const XML_Node *node);
HEARTH_API XML_Node *cl_xmlGetNodePrevSibling(const XML_Node *node);
HEARTH_API XML_Node *ZEX_XML_GetNodeParent(const XML_Node *node);
HEARTH_API XML_Node *ZEX_XML_GetNodeFirstChild(const XML_Node *node);
HEARTH_API XML_Node *ZEX_XML_GetNodeLastChild(const XML_Node *node);
HEARTH_API XML_Node *ZEX_XML_GetNodeNextSibling(const XML_Node *node);
HEARTH_API XML_Node *ZEX_XML_GetNodePrevSibling(const XML_Node *node);

/*
 * The next node in document order: the first child, else the next sibling, else the next sibling
 * of the nearest ancestor that has one, else NULL. NULL for a NULL node.
 */
HEARTH_API XML_Node *ZEX_XML_Iterator(const XML_Node *node);

/* Stores the number of child elements. Returns 0, or PARAM for null pointers. */
HEARTH_API int32_t cl_xmlGetNodeChildNum(const XML_Node *node, uint32_t *count);
HEARTH_API int32_t ZEX_XML_GetNodeChildNum(const XML_Node *node, uint32_t *count);

/*
 * Reads a node. Each out argument may be NULL; the texts point into the tree and may be NULL.
 * Returns 0, or PARAM for a NULL node.
 */
HEARTH_API int32_t cl_xmlGetNodeValue(const XML_Node *node, uint32_t *type, const char **prefix,
                                      const char **name, const char **value);
HEARTH_API int32_t ZEX_XML_GetNodeValue(const XML_Node *node, uint32_t *type, const char **prefix,
                                        const char **name, const char **value);

/* The first child element with this name, or NULL. */
HEARTH_API XML_Node *cl_xmlGetNodeChildByName(const XML_Node *node, const char *name);

/*
 * Finds a node by names with dots between them. The first name is looked for in the start node
 * and its next siblings, each further one among the children of the node found before. Prefixes
 * do not matter. Returns the node of the last name, or NULL.
 */
HEARTH_API XML_Node *cl_xmlFindNodeByName(const XML_Node *node, const char *path);
HEARTH_API XML_Node *ZEX_XML_FindNodeByName(const XML_Node *node, const char *path);

/*
 * The first of a node and its next siblings with this element name that has an attribute of this
 * name and, unless value is NULL, of this value. NULL for other null arguments.
 */
HEARTH_API XML_Node *ZEX_XML_FindNodeByAttr(const XML_Node *node, const char *element,
                                            const char *attribute, const char *value);

/*
 * Finds a node by a url such as "root.items.3.name", at most 511 bytes. The first name must be
 * that of the start node, "prefix:name" where wanted; a number behind a name selects the N-th
 * sibling of that name, from 1.
 *   found  receives the node
 * Returns 0, PARAM, NOT_FOUND or BAD_URL.
 */
HEARTH_API int32_t ZEX_XML_GetNodeByUrl(const XML_Node *node, const char *url, XML_Node **found);

/*
 * Reads one text of a tree.
 *   path  dotted path as for cl_xmlFindNodeByName, where a name may be followed by "[attr=value]"
 *         or "[attr]", and "[attr]" at the end reads that attribute
 *   out   receives the text, empty on failure; must be large enough
 * Returns 0, or -1 when there is no such node, attribute or value.
 */
HEARTH_API int32_t ZEX_XML_GetNodeOrAttr_Node(const XML_Node *root, const char *path, char *out);

/* --- Attributes --- */

/*
 * Reads the value of an attribute; it points into the tree and may be NULL.
 *   prefix  prefix of the attribute, NULL for none
 * Returns 0, PARAM or NOT_FOUND.
 */
HEARTH_API int32_t cl_xmlGetAttr(const XML_Node *node, const char *prefix, const char *name,
                                 const char **value);
HEARTH_API int32_t ZEX_XML_GetAttr(const XML_Node *node, const char *prefix, const char *name,
                                   const char **value);

/*
 * Reads the first attribute of an element, or the one behind the attribute that is named. No out
 * argument may be NULL; the texts point into the tree. Returns 0, PARAM or NOT_FOUND.
 */
HEARTH_API int32_t cl_xmlGetFirstAttr(const XML_Node *node, const char **prefix, const char **name,
                                      const char **value);
HEARTH_API int32_t ZEX_XML_GetFirstAttr(const XML_Node *node, const char **prefix,
                                        const char **name, const char **value);
HEARTH_API int32_t cl_xmlGetNextSiblingAttr(const XML_Node *node, const char *prefix,
                                            const char *name, const char **next_prefix,
                                            const char **next_name, const char **next_value);
HEARTH_API int32_t ZEX_XML_GetNextSiblingAttr(const XML_Node *node, const char *prefix,
                                              const char *name, const char **next_prefix,
                                              const char **next_name, const char **next_value);

/*
 * Adds an attribute at the end. An empty prefix is none; value may be NULL.
 * Returns 0, PARAM for an empty name, EXISTS, or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlAddAttr(XML_Node *node, const char *prefix, const char *name,
                                 const char *value);
HEARTH_API int32_t ZEX_XML_AddAttr(XML_Node *node, const char *prefix, const char *name,
                                   const char *value);

/*
 * Changes the value of an attribute; a NULL or empty value leaves it with none. An empty prefix
 * is none. Returns 0, PARAM, NOT_FOUND or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlSetAttr(XML_Node *node, const char *prefix, const char *name,
                                 const char *value);
HEARTH_API int32_t ZEX_XML_SetAttr(XML_Node *node, const char *prefix, const char *name,
                                   const char *value);

/* Removes and frees an attribute. An empty prefix is none. Returns 0, PARAM or NOT_FOUND. */
HEARTH_API int32_t cl_xmlRemoveAttr(XML_Node *node, const char *prefix, const char *name);
HEARTH_API int32_t ZEX_XML_RemoveAttr(XML_Node *node, const char *prefix, const char *name);

/* --- Making and linking nodes --- */

/*
 * Makes a node that stands alone. Texts are copied; NULL or empty prefix and name mean none, an
 * empty value is an empty text.
 *   type  XML_NODE_ELEMENT, nothing else
 *   node  receives the node; the caller frees it, or links it into a tree
 * Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlCreateNode(uint32_t type, const char *prefix, const char *name,
                                    const char *value, XML_Node **node);
HEARTH_API int32_t ZEX_XML_CreateNode(uint32_t type, const char *prefix, const char *name,
                                      const char *value, XML_Node **node);

/*
 * Changes the texts of a node. NULL leaves a text as it is; an empty prefix or name clears it, an
 * empty value becomes an empty text. Returns 0, PARAM or NO_MEMORY; before NO_MEMORY the texts
 * given as empty have been cleared.
 */
HEARTH_API int32_t cl_xmlSetNode(XML_Node *node, const char *prefix, const char *name,
                                 const char *value);
HEARTH_API int32_t ZEX_XML_SetNode(XML_Node *node, const char *prefix, const char *name,
                                   const char *value);

/*
 * Links a node that stands alone, with what is below it, as the first or the last child.
 * Returns 0, or PARAM when the child is linked already, the parent is no element, or the parent
 * stands below the child.
 */
HEARTH_API int32_t cl_xmlAddFirstChildNode(XML_Node *parent, XML_Node *child);
HEARTH_API int32_t cl_xmlAppendChildNode(XML_Node *parent, XML_Node *child);
HEARTH_API int32_t ZEX_XML_AddFirstChildNode(XML_Node *parent, XML_Node *child);
HEARTH_API int32_t ZEX_XML_AppendChildNode(XML_Node *parent, XML_Node *child);

/*
 * Links a node that stands alone, with what is below it, behind or before another.
 * Returns 0, or PARAM when the anchor stands alone itself or below the node, or the node is
 * linked already.
 */
HEARTH_API int32_t cl_xmlAddNextSiblingNode(XML_Node *anchor, XML_Node *node);
HEARTH_API int32_t cl_xmlAddPrevSiblingNode(XML_Node *anchor, XML_Node *node);
HEARTH_API int32_t ZEX_XML_AddNextSiblingNode(XML_Node *anchor, XML_Node *node);
HEARTH_API int32_t ZEX_XML_AddPrevSiblingNode(XML_Node *anchor, XML_Node *node);

/*
 * Takes a node with what is below it out of its tree; it is the caller's then.
 * Returns 0, or PARAM for NULL and a node that stands alone.
 */
HEARTH_API int32_t cl_xmlRemoveNode(XML_Node *node);
HEARTH_API int32_t ZEX_XML_RemoveNode(XML_Node *node);

/*
 * Takes a node out of its tree and frees it with what is below it. A node without a parent goes
 * with its next siblings: freeing the first top-level element frees the whole document. NULL is
 * ignored. The memory of a parsed document is given back when its last node is freed.
 */
HEARTH_API void cl_xmlFreeNode(XML_Node *node);
HEARTH_API void ZEX_XML_FreeNode(XML_Node *node);

/*
 * Copies a node with its attributes; cl_xmlCloneNode copies what is below it as well.
 *   copy  receives the copy, which stands alone and is the caller's
 * Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlCloneNode(const XML_Node *node, XML_Node **copy);
HEARTH_API int32_t cl_xmlCloneNodeSelf(const XML_Node *node, XML_Node **copy);
HEARTH_API int32_t ZEX_XML_CloneNode(const XML_Node *node, XML_Node **copy);
HEARTH_API int32_t ZEX_XML_CloneNodeSelf(const XML_Node *node, XML_Node **copy);

/* --- Numbers in values --- */

/* What the pointer of the four functions below points to. */
enum {
    XML_VALUE_BOOL = 0,   /* int32_t; written as "true" or "false", "1" and "0" are read too */
    XML_VALUE_INT32 = 1,  /* int32_t */
    XML_VALUE_UINT32 = 2, /* uint32_t */
    XML_VALUE_INT16 = 3,  /* int16_t */
    XML_VALUE_UINT16 = 4, /* uint16_t */
    XML_VALUE_INT8 = 5,   /* int8_t; a negative one is written as 128 to 255, and not read back */
    XML_VALUE_UINT8 = 6   /* uint8_t */
};

/*
 * Write and read the value of a node, or of an attribute, as a number. A number that is read must
 * be the whole text and in range; only signed types take a sign. Writing an attribute that is
 * missing adds it.
 *   type   one of XML_VALUE_*
 *   value  points to an object of that type
 * Returns 0, PARAM (also for a text that is missing or no such number), NO_MEMORY; reading an
 * attribute NOT_FOUND.
 */
HEARTH_API int32_t ZEX_XML_SetNodeValueEx(XML_Node *node, uint32_t type, const void *value);
HEARTH_API int32_t ZEX_XML_GetNodeValueEx(const XML_Node *node, uint32_t type, void *value);
HEARTH_API int32_t ZEX_XML_SetAttrValueEx(XML_Node *node, const char *prefix, const char *name,
                                          uint32_t type, const void *value);
HEARTH_API int32_t ZEX_XML_GetAttrValueEx(const XML_Node *node, const char *prefix,
                                          const char *name, uint32_t type, void *value);

/* --- Texts and memory --- */

/*
 * Copies a text with the five characters that a document cannot hold as they are replaced by
 * "&quot;", "&amp;", "&apos;", "&lt;" and "&gt;".
 *   out  receives the copy, freed by the caller with cl_xmlFreeMem; NULL for an empty text. When
 *        memory runs out it receives what has been made so far, freed likewise.
 * Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t cl_xmlReplaceToQuot(const char *text, char **out);

/* Frees a text that a function of this header handed over. NULL is ignored. */
HEARTH_API void cl_xmlFreeMem(void *memory);
HEARTH_API void ZEX_XML_FreeMem(void *memory);

/* The C library's malloc, calloc, free and realloc, through which all memory here comes. */
HEARTH_API void *XML_Malloc(size_t size);
HEARTH_API void *XML_Calloc(size_t count, size_t size);
HEARTH_API void XML_Free(void *memory);
HEARTH_API void *XML_Realloc(void *memory, size_t size);

/*
 * Checks four memory functions and does not use them.
 * Returns 0, or PARAM if one is NULL.
 */
HEARTH_API int32_t ZEX_XML_RegMemFunc(void *(*allocate)(size_t size),
                                      void *(*allocate_zeroed)(size_t count, size_t size),
                                      void (*release)(void *memory),
                                      void *(*reallocate)(void *memory, size_t size));

/* Does nothing. Returns NOT_FOUND. */
HEARTH_API int32_t ZEX_XML_RegDebugFunc(void (*function)(void));

/* The version of the XML functions, "V1.01". */
HEARTH_API const char *ZEP_XML_GetVersion(void);

/* --- Growing text: results are inner codes --- */

/* Makes an empty buffer that grows by 1024 bytes. */
HEARTH_API void XML_MembufInit(XML_Membuf *buffer);

/* Frees the text and makes the buffer empty. */
HEARTH_API void XML_MembufDestroy(XML_Membuf *buffer);

/*
 * Makes room for `size` bytes and a terminator. A buffer that is to hold less than it has may be
 * cut down to that size and one growth step. Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t XML_MembufSetSize(XML_Membuf *buffer, uint32_t size);

/*
 * Replaces the text by `length` bytes, or by a whole text. NULL makes the buffer empty.
 * The bytes must not be the buffer's own. Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t XML_MemBufAssign(XML_Membuf *buffer, const char *bytes, uint32_t length);
HEARTH_API int32_t XML_MemBufAssignStr(XML_Membuf *buffer, const char *text);

/*
 * Inserts `length` bytes at a position from 0 to the length of the text; NULL bytes insert
 * nothing. The bytes must not be the buffer's own. Returns 0, PARAM or NO_MEMORY.
 */
HEARTH_API int32_t XML_MemBufInsert(XML_Membuf *buffer, const char *bytes, uint32_t length,
                                    uint32_t position);

/* Appends one byte, or a whole text. Returns 0, PARAM or NO_MEMORY. */
HEARTH_API int32_t XML_MemBufAppend(XML_Membuf *buffer, char byte);
HEARTH_API int32_t XML_MemBufAppendStr(XML_Membuf *buffer, const char *text);

HEARTH_END_DECLS

#endif
