// Writing items of the user data layer.

#include <errno.h>
#include <sys/stat.h>

#include <string_view>

#include "base/text.h"
#include "config/src/global_config.h"
#include "hearth/osa_file.h"
#include "hearth/xml.h"

using hearth::Owned;
using hearth::config::ConfigLock;
using hearth::config::kDefaultFile;
using hearth::config::kPathSize;
using hearth::config::kUserData;
using hearth::config::Path;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr const char *kRootName = "config";

using XmlTree = Owned<XML_Node, cl_xmlFreeNode>;

// The child of that name, made as the first child when it is missing. NULL when that fails.
XML_Node *provide_child(XML_Node *parent, const char *name) {
    XML_Node *child = cl_xmlGetNodeChildByName(parent, name);
    if (child != nullptr) {
        return child;
    }
    XmlTree made;
    if (cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, name, nullptr, made.out()) != 0 ||
        cl_xmlAddFirstChildNode(parent, made.get()) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "create xml node failed!\n");
        return nullptr;
    }
    return made.release();
}

// The node that an item name stands for, made as far as it is missing. The first name of a dotted
// item stands for the root and is not looked at. The text is cut up. NULL when a node cannot be
// made.
XML_Node *provide_item(XML_Node *root, char *item) {
    if (strchr(item, '.') == nullptr) {
        return provide_child(root, item);
    }
    XML_Node *node = root;
    char *rest = nullptr;
    char *name = strtok_r(item, ".", &rest);
    while (node != nullptr && name != nullptr &&
           (name = strtok_r(nullptr, ".", &rest)) != nullptr) {
        node = provide_child(node, name);
    }
    return node;
}

// Whether a file that could not be read holds settings all the same, which a new document in its
// place would wipe out. `error` is what the parser met: it calls a document for which there was no
// memory a faulty one.
bool would_lose_settings(int32_t parse_result, int error, const char *path) {
    if (parse_result != XML_RESULT_NO_MEMORY && parse_result != XML_RESULT_OPEN &&
        parse_result != XML_RESULT_READ && error != ENOMEM) {
        return false;
    }
    osa_stat_t status;
    return osa_stat(path, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}

// The document of a file, or a new one. Empty on failure.
XmlTree open_document(const char *path) {
    XML_Node *root = nullptr;
    errno = 0;
    int32_t result = cl_xmlParseFile(path, &root);
    int error = errno;
    if (result == 0 && root != nullptr) {
        return XmlTree(root);
    }
    if (would_lose_settings(result, error, path)) {
        HEARTH_LOG(OSA_LOG_ERROR, "read xml file[%s] failed\n", path);
    } else if (cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, kRootName, nullptr, &root) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "create xml node failed!\n");
        root = nullptr;
    }
    return XmlTree(root);
}

int32_t save(const XML_Node *root, const char *path) {
    int32_t result = cl_xmlTransformFile(root, path);
    if (result != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "save xml file[%s] failed\n", path);
    }
    return result;
}

}  // namespace

int32_t cfg_recursively_mkdir(const char *path) {
    if (path == nullptr) {
        return 0;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "stating dir (%s) \n", path);
    osa_stat_t status;
    if (osa_stat(path, &status) == 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "return from existing dir (%s)\n", path);
        return 1;
    }
    const char *slash = strrchr(path, '/');
    if (slash == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "no parent directory !\n");
        return 0;
    }
    if (slash == path) {
        HEARTH_LOG(OSA_LOG_ERROR, "hit root directory !\n");
        return osa_mkdir(path);
    }
    char parent[kPathSize];
    hearth::copy_text(parent, std::string_view(path, static_cast<size_t>(slash - path)));
    if (cfg_recursively_mkdir(parent) != 1 || osa_mkdir(path) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "create dir %s failed!\n", path);
        return 0;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "mkdir %s success!\n", path);
    return 1;
}

int32_t set_config(const char *directory, const char *item, const char *value) {
    if (directory == nullptr || item == nullptr || value == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    Path path;
    hearth::HeapBlock<char> names(strdup(item));
    if (!path.allocated() || !names) {
        HEARTH_LOG(OSA_LOG_ERROR, "[config] malloc failed!\n");
        return CFG_INTERNAL;
    }
    if (!path.start(kUserData) || !path.append(directory).valid()) {
        return CFG_INTERNAL;
    }
    if (!path.exists() && cfg_recursively_mkdir(path.text()) != 1) {
        HEARTH_LOG(OSA_LOG_ERROR, "create dir %s failed!\n", path.text());
        return CFG_INTERNAL;
    }
    if (!path.append("/").append(kDefaultFile).valid()) {
        return CFG_INTERNAL;
    }
    XmlTree document = open_document(path.text());
    if (!document) {
        return CFG_INTERNAL;
    }
    // Required: the result is that of the save, also when the item could not be made.
    if (XML_Node *node = provide_item(document.get(), names.get())) {
        cl_xmlSetNode(node, nullptr, nullptr, value);
    }
    return save(document.get(), path.text());
}

int32_t cl_set_config(const char *directory, const char *item, const char *value) {
    return set_config(directory, item, value);
}

int32_t cfg_set_config(const char *directory, const char *item, const char *value) {
    ConfigLock lock;
    return set_config(directory, item, value);
}
