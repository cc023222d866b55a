/* Reads an XML file, sets one element and writes the file back, in place:
 *     document FILE PATH VALUE
 * and saves the log file as a gzip file:
 *     document log FILE */

#include <stdio.h>
#include <string.h>

#include "hearth/gz.h"
#include "hearth/xml.h"

static int edit(const char *file, const char *path, const char *value) {
    XML_Node *tree = NULL;
    XML_Node *node = NULL;
    int failed = 1;
    if (cl_xmlParseFile(file, &tree) != XML_RESULT_OK) {
        fprintf(stderr, "document: cannot read %s\n", file);
        return 1;
    }
    node = cl_xmlFindNodeByName(tree, path);
    if (node == NULL) {
        fprintf(stderr, "document: %s has no %s\n", file, path);
    } else {
        printf("%s was %s\n", path, node->value == NULL ? "empty" : node->value);
        failed = cl_xmlSetNode(node, NULL, NULL, value) != XML_RESULT_OK ||
                 cl_xmlTransformFile(tree, file) != XML_RESULT_OK;
    }
    cl_xmlFreeNode(tree);
    return failed;
}

int main(int count, char **arguments) {
    if (count == 4) {
        return edit(arguments[1], arguments[2], arguments[3]);
    }
    if (count == 3 && strcmp(arguments[1], "log") == 0) {
        return osa_compress_log(arguments[2]) == 1 ? 0 : 1;
    }
    fputs("usage: document FILE PATH VALUE | document log FILE\n", stderr);
    return 2;
}
