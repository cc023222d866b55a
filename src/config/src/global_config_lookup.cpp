// The layered lookup of items and files.

#include <stdlib.h>

#include "config/src/global_config.h"
#include "hearth/osa_file.h"
#include "hearth/xml.h"

extern "C" __attribute__((weak)) int32_t drvStartModeGet(void);

using hearth::Owned;
using hearth::config::ConfigLock;
using hearth::config::g_state;
using hearth::config::hand_out;
using hearth::config::kDefaultFile;
using hearth::config::kLongestPrefix;
using hearth::config::kPathSize;
using hearth::config::kShortestPrefix;
using hearth::config::kStartModeUnknown;
using hearth::config::kStartModeWithoutSim;
using hearth::config::kUserData;
using hearth::config::Path;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr const char *kOperators = "/WebApp/";
constexpr const char *kOperatorConfig = "/config/";
constexpr const char *kCommonConfig = "/WebApp/common/config/";

using XmlTree = Owned<XML_Node, cl_xmlFreeNode>;

// What is looked for, and where the answer goes.
struct Query {
    const char *directory;
    const char *file;
    const char *item;
    char *value;
    uint32_t *length;
};

// These two end a search: the item, or that there is no room for it.
bool ends_search(int32_t result) {
    return result == CFG_OK || result == CFG_TOO_SMALL;
}

bool follows_sim() {
    return g_state.g_startMode != kStartModeWithoutSim;
}

// Asks for the start mode once, and takes notice of another SIM. Called with the lock held.
void begin_lookup() {
    HEARTH_LOG(OSA_LOG_ERROR, "[init_config]g_startMode = %ud\n ", g_state.g_startMode);
    if (g_state.g_startMode == kStartModeUnknown) {
        g_state.g_startMode =
            drvStartModeGet == nullptr ? 0 : static_cast<uint32_t>(drvStartModeGet());
        HEARTH_LOG(OSA_LOG_ERROR, "[init_config] get startMode = %ud\n ", g_state.g_startMode);
    }
    if (follows_sim()) {
        simst_change_handle();
    }
}

// The node that an item name stands for.
const XML_Node *find_item(const XML_Node *root, const char *item) {
    return strchr(item, '.') == nullptr ? cl_xmlGetNodeChildByName(root, item)
                                        : cl_xmlFindNodeByName(root, item);
}

// The buffers of a lookup, made before the first layer is looked at: without memory no later layer
// may answer in place of an earlier one.
struct Buffers {
    Path file;
    Path base;

    bool allocated() const {
        if (file.allocated() && base.allocated()) {
            return true;
        }
        HEARTH_LOG(OSA_LOG_ERROR, "[config] malloc failed!\n");
        return false;
    }
};

// The path of the first layer's file; false when there is none, which ends a lookup at once.
bool first_layer(const Query &query, Path &path) {
    uint32_t size = kPathSize;
    return cfg_get_userdata_path(query.directory, query.file, path.buffer(), &size) == CFG_OK;
}

int32_t look_in_product(const Query &query, Path &path) {
    uint32_t size = kPathSize;
    int32_t result = cfg_get_websdk_path(query.directory, query.file, path.buffer(), &size);
    return result != CFG_OK
               ? result
               : cfg_local_get_config(path.text(), query.item, query.value, query.length);
}

int32_t look_in_common(const Query &query, Path &path) {
    int32_t result =
        cfg_get_full_path(kCommonConfig, query.directory, query.file, path.buffer(), kPathSize);
    if (result != CFG_OK) {
        return result;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "finding config (%s) in common (%s) ...\n", query.item,
               query.directory);
    return cfg_local_get_config(path.text(), query.item, query.value, query.length);
}

// From now on this prefix alone is tried, until the SIM changes.
void settle_on(const char *prefix) {
    HEARTH_LOG(OSA_LOG_INFO, "custom config (%s) found. \n", prefix);
    memcpy(g_state.g_szImsi, prefix, strlen(prefix) + 1);
    g_state.g_cfgiCustomFlag = 1;
}

// Tries the operator's directories from the longest prefix to the shortest. `probe` looks at the
// file in each that has it, whose path then stands in `buffers.file`, and gives the result.
template <typename Probe>
int32_t search_operators(Buffers &buffers, const char *what, const char *directory,
                         const char *file, int32_t result, int32_t without_prefix, Probe probe) {
    Path &base = buffers.base;
    for (uint32_t n = kLongestPrefix; n >= kShortestPrefix; n--) {
        if (g_state.g_szImsi[0] == '\0') {
            HEARTH_LOG(OSA_LOG_INFO,
                       "skip finding config (%s) in imsi dir, continue find in common ...\n", what);
            return without_prefix;
        }
        if (!base.start(kOperators)) {
            HEARTH_LOG(OSA_LOG_ERROR, "get full path failed\n");
            break;
        }
        char prefix[kLongestPrefix + 1] = {};
        memcpy(prefix, g_state.g_szImsi, strnlen(g_state.g_szImsi, n));
        base.append(prefix);
        if (base.exists()) {
            base.append(kOperatorConfig);
            result =
                cfg_get_full_path(base.text(), directory, file, buffers.file.buffer(), kPathSize);
            if (result == CFG_OK) {
                result = probe();
            }
            if (ends_search(result)) {
                settle_on(prefix);
                break;
            }
            HEARTH_LOG(OSA_LOG_ERROR, "cann't find config (%s) in (%s), continue find ...\n", what,
                       directory);
        }
        if (g_state.g_cfgiCustomFlag == 1) {
            break;
        }
    }
    return result;
}

// All four layers, with the lock held.
int32_t look_in_all(const Query &query, Buffers &buffers) {
    const char *path = buffers.file.text();
    int32_t result = cfg_local_get_config(path, query.item, query.value, query.length);
    if (ends_search(result)) {
        return result;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "cann't find config (%s) in (%s), continue find in websdk dir ...\n",
               query.item, query.directory);
    result = look_in_product(query, buffers.file);
    if (ends_search(result)) {
        return result;
    }
    HEARTH_LOG(OSA_LOG_DEBUG, "cann't find config (%s) in (%s), continue find in imsi dir ...\n",
               query.item, query.directory);
    if (follows_sim()) {
        cfg_get_imsi_value();
    }
    result = search_operators(
        buffers, query.item, query.directory, query.file, result, result,
        [&] { return cfg_local_get_config(path, query.item, query.value, query.length); });
    return ends_search(result) ? result : look_in_common(query, buffers.file);
}

int32_t tell(const Query &query, int32_t result) {
    if (result == CFG_OK) {
        HEARTH_LOG(OSA_LOG_DEBUG, "get config (%s) success\n", query.item);
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "get config (%s) failed\n", query.item);
    }
    return result;
}

bool is_whole(const Query &query) {
    if (query.directory != nullptr && query.file != nullptr && query.item != nullptr &&
        query.length != nullptr) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
    return false;
}

// Builds a path of a layer that starts with `base`, without a look at the disk.
int32_t layer_path(Path &path, const char *directory, const char *file, char *out,
                   uint32_t *length) {
    path.append(directory);
    if (file != nullptr) {
        path.append("/").append(file);
    }
    return path.valid() ? hand_out(path.text(), out, length) : CFG_INTERNAL;
}

// Copies a path that exists to a buffer of 256 bytes.
int32_t take_if_there(const Path &path, char *out) {
    if (!path.exists()) {
        return CFG_NO_FILE;
    }
    memcpy(out, path.text(), path.length());
    return CFG_OK;
}

// The user data, here as an exception not below the web root, and then the product.
int32_t find_in_first_layers(Path &path, Path &base, const char *directory, const char *file,
                             char *out) {
    if (path.append(kUserData).exists() &&
        take_if_there(path.append(directory).append("/").append(file), out) == CFG_OK) {
        return CFG_OK;
    }
    if (!base.start_product()) {
        HEARTH_LOG(OSA_LOG_ERROR, "[config]osa_get_websdk_config_fullpath failed\n");
        return CFG_INTERNAL;
    }
    return base.exists() ? take_if_there(base.append(directory).append("/").append(file), out)
                         : CFG_NO_FILE;
}

}  // namespace

int32_t cfg_local_get_config(const char *path, const char *item, char *value, uint32_t *length) {
    if (path == nullptr || item == nullptr || length == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    XmlTree document;
    int32_t result = cl_xmlParseFile(path, document.out());
    if (result != 0) {
        return result;
    }
    const XML_Node *node = find_item(document.get(), item);
    if (node == nullptr) {
        HEARTH_LOG(OSA_LOG_WARNING, "item[%s] not exist!\n", item);
        return CFG_NO_ITEM;
    }
    if (node->value == nullptr) {
        if (value != nullptr) {
            memset(value, 0, *length);
        }
        HEARTH_LOG(OSA_LOG_INFO, "item[%s] value is null!\n", item);
        return CFG_OK;
    }
    result = hand_out(node->value, value, length);
    if (result == CFG_TOO_SMALL) {
        HEARTH_LOG(OSA_LOG_WARNING, "Buffer size is not large enough to store message\n");
    }
    return result;
}

int32_t cfg_get_config(const char *directory, const char *item, char *value, uint32_t *length) {
    return cfg_get_file_config(directory, kDefaultFile, item, value, length);
}

int32_t cfg_get_file_config(const char *directory, const char *file, const char *item, char *value,
                            uint32_t *length) {
    ConfigLock lock;
    begin_lookup();
    Query query{directory, file, item, value, length};
    if (!is_whole(query)) {
        // Required: this one return leaves the semaphore taken.
        lock.keep();
        return CFG_BAD_INPUT;
    }
    Buffers buffers;
    if (!buffers.allocated() || !first_layer(query, buffers.file)) {
        return CFG_INTERNAL;
    }
    return tell(query, look_in_all(query, buffers));
}

int32_t cfg_get_config_common(const char *directory, const char *item, char *value,
                              uint32_t *length) {
    Query query{directory, kDefaultFile, item, value, length};
    if (!is_whole(query)) {
        return CFG_BAD_INPUT;
    }
    ConfigLock lock;
    Buffers buffers;
    if (!buffers.allocated() || !first_layer(query, buffers.file)) {
        return CFG_INTERNAL;
    }
    int32_t result = cfg_local_get_config(buffers.file.text(), item, value, length);
    return tell(query, ends_search(result) ? result : look_in_common(query, buffers.file));
}

int32_t cfg_get_websdk_config(const char *directory, const char *file, const char *item,
                              char *value, uint32_t *length) {
    Query query{directory, file, item, value, length};
    if (!is_whole(query)) {
        return CFG_BAD_INPUT;
    }
    ConfigLock lock;
    Buffers buffers;
    return buffers.allocated() ? tell(query, look_in_product(query, buffers.file)) : CFG_INTERNAL;
}

int32_t cfg_get_full_path(const char *base, const char *directory, const char *file, char *out,
                          uint32_t size) {
    if (base == nullptr || directory == nullptr || out == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    Path path;
    if (!path.allocated()) {
        HEARTH_LOG(OSA_LOG_ERROR, "malloc error\n");
        return CFG_BAD_INPUT;
    }
    if (!path.start(base) || !path.append(directory).exists()) {
        return CFG_NO_FILE;
    }
    const char *name = file == nullptr ? kDefaultFile : file;
    if (!path.append("/").append(name).exists()) {
        HEARTH_LOG(OSA_LOG_DEBUG, "config file[%s] not exist!\n", path.text());
        return CFG_NO_FILE;
    }
    // Required: the whole buffer of 256 bytes is cleared, whatever the size says.
    memset(out, 0, kPathSize);
    if (size > path.length()) {
        memcpy(out, path.text(), path.length());
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "buffer length too small!\n");
        memcpy(out, path.text(), size > 0 ? size - 1 : 0);
    }
    return CFG_OK;
}

int32_t cfg_get_config_path(const char *directory, const char *file, char *out, uint32_t *length) {
    ConfigLock lock;
    begin_lookup();
    if (directory == nullptr || length == nullptr) {
        return CFG_BAD_INPUT;
    }
    Buffers buffers;
    if (!buffers.allocated()) {
        return CFG_INTERNAL;
    }
    Path &found = buffers.file;
    if (follows_sim()) {
        cfg_get_imsi_value();
    }
    const char *name = file == nullptr ? kDefaultFile : file;
    int32_t result = search_operators(buffers, name, directory, file, CFG_NO_FILE, CFG_INTERNAL,
                                      [] { return CFG_OK; });
    if (result != CFG_OK &&
        cfg_get_full_path(kCommonConfig, directory, file, found.buffer(), kPathSize) != CFG_OK) {
        return CFG_NO_FILE;
    }
    return hand_out(found.text(), out, length);
}

int32_t cfg_get_file_fullpath(const char *directory, const char *file, char *out,
                              uint32_t *length) {
    if (directory == nullptr || file == nullptr || out == nullptr || length == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    Path path;
    Path base;
    if (!path.allocated() || !base.allocated()) {
        HEARTH_LOG(OSA_LOG_ERROR, "[config] malloc failed!\n");
        return CFG_INTERNAL;
    }
    {
        ConfigLock lock;
        memset(out, 0, kPathSize);
        if (find_in_first_layers(path, base, directory, file, out) == CFG_OK) {
            return CFG_OK;
        }
    }
    memset(out, 0, kPathSize);
    return cfg_get_config_path(directory, file, out, length);
}

int32_t cfg_get_websdk_path(const char *directory, const char *file, char *out, uint32_t *length) {
    if (directory == nullptr || length == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    Path path;
    return path.start_product() ? layer_path(path, directory, file, out, length) : CFG_INTERNAL;
}

int32_t cfg_get_userdata_path(const char *directory, const char *file, char *out,
                              uint32_t *length) {
    if (directory == nullptr || length == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "input error\n");
        return CFG_BAD_INPUT;
    }
    Path path;
    return path.start(kUserData) ? layer_path(path, directory, file, out, length) : CFG_INTERNAL;
}
