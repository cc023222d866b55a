#include "hearth/sysguard.h"

#include <algorithm>

#include "base/number.h"
#include "config/src/global_config.h"

using hearth::config::kDefaultFile;
using hearth::config::kPathSize;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr const char *kDirectory = "sysguard";

// The layers, in order, with the text for one that has no node.
constexpr struct {
    sysguard_path_function path;
    const char *failure;
} kLayers[] = {
    {cfg_get_userdata_path, "[sysguard_get_xml] get userdata node error .\n "},
    {cfg_get_websdk_path, "[sysguard_get_xml] get websdk node error .\n "},
    {cfg_get_config_path, "[sysguard_get_xml] get common node error s.\n "},
};
constexpr size_t kLayerCount = sizeof kLayers / sizeof *kLayers;

// The value of the first node's child that has one, NULL for none.
const char *first_value(XML_Node *const (&nodes)[kLayerCount], const char *name) {
    for (XML_Node *node : nodes) {
        const XML_Node *child = node == nullptr ? nullptr : cl_xmlGetNodeChildByName(node, name);
        if (child != nullptr && child->value != nullptr && *child->value != '\0') {
            return child->value;
        }
    }
    // Both value helpers are required to log under the first one's name.
    HEARTH_LOG(OSA_LOG_ERROR, "[get_int_node_value]get node %s  value is null.\n", name);
    return nullptr;
}

bool can_read(XML_Node *const (&nodes)[kLayerCount], const char *name, const void *out) {
    bool any = std::any_of(std::begin(nodes), std::end(nodes),
                           [](const XML_Node *node) { return node != nullptr; });
    if (any && name != nullptr && out != nullptr) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "[get_int_node_value]get node param in is null.\n");
    return false;
}

// The document of a layer.
bool open_layer(XML_Node **document, sysguard_path_function path_function) {
    char path[kPathSize] = "";
    uint32_t length = sizeof path;
    if (path_function(kDirectory, kDefaultFile, path, &length) != CFG_OK) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "[sysguard_get_config_node] func_get_path:szFullPath = %s path failed.\n", path);
        return false;
    }
    if (cl_xmlParseFile(path, document) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "[sysguard_get_config_node]cl_xmlParseFile config.xml file failed.\n");
        return false;
    }
    return true;
}

}  // namespace

int32_t sysguard_get_config_node(XML_Node **out_node, XML_Node **in_out_document,
                                 const char *node_path, sysguard_path_function path_function) {
    if (out_node == nullptr || in_out_document == nullptr || node_path == nullptr ||
        path_function == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[sysguard_get_config_node] the param_in is null.\n");
        return -1;
    }
    if (*in_out_document == nullptr && !open_layer(in_out_document, path_function)) {
        return -1;
    }
    XML_Node *node = cl_xmlFindNodeByName(*in_out_document, node_path);
    if (node == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[sysguard_get_config_node]find config %s node failed \n",
                   node_path);
        return -1;
    }
    *out_node = node;
    return 0;
}

int32_t sysguard_get_xml(sysguard_callback callback, void *first_argument, void *second_argument,
                         const char *node_path) {
    if (callback == nullptr || first_argument == nullptr || node_path == nullptr) {
        return -1;
    }
    XML_Node *documents[kLayerCount] = {};
    XML_Node *nodes[kLayerCount] = {};
    for (size_t i = 0; i < kLayerCount; i++) {
        if (sysguard_get_config_node(&nodes[i], &documents[i], node_path, kLayers[i].path) != 0) {
            HEARTH_LOG(OSA_LOG_ERROR, "%s", kLayers[i].failure);
        }
    }
    callback(nodes[0], nodes[1], nodes[2], first_argument, second_argument);
    for (XML_Node *document : documents) {
        cl_xmlFreeNode(document);
    }
    return 0;
}

int32_t sysguard_get_node(XML_Node *node1, XML_Node *node2, XML_Node *node3, const char *name,
                          XML_Node **out) {
    // Required: node 1 alone is refused here, unlike in the two functions below.
    if ((node2 == nullptr && node3 == nullptr) || name == nullptr || out == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "[sysguard_get_node]get node param in is null.\n");
        return -1;
    }
    for (XML_Node *node : {node1, node2, node3}) {
        XML_Node *child = node == nullptr ? nullptr : cl_xmlGetNodeChildByName(node, name);
        if (child != nullptr) {
            HEARTH_LOG(OSA_LOG_INFO, "[sysguard_get_node]find node %s sucess.\n", name);
            *out = child;
            return 0;
        }
    }
    HEARTH_LOG(OSA_LOG_ERROR, "[sysguard_get_node]get node %s  not exist.\n", name);
    return -1;
}

int32_t get_int_node_value(XML_Node *node1, XML_Node *node2, XML_Node *node3, const char *name,
                           int32_t *out) {
    XML_Node *const nodes[] = {node1, node2, node3};
    const char *value = can_read(nodes, name, out) ? first_value(nodes, name) : nullptr;
    if (value == nullptr) {
        return -1;
    }
    *out = hearth::to_int32(value);
    return 0;
}

int32_t get_str_node_value(XML_Node *node1, XML_Node *node2, XML_Node *node3, const char *name,
                           char *out, uint32_t size) {
    XML_Node *const nodes[] = {node1, node2, node3};
    const char *value = can_read(nodes, name, out) ? first_value(nodes, name) : nullptr;
    if (value == nullptr) {
        return -1;
    }
    if (size > 0) {
        // Required: no terminator behind a value that fills the buffer.
        strncpy(out, value, size - 1);
    }
    return 0;
}
