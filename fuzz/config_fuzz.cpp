// Any bytes as a file of the configuration. Input: which files get the document, the room for a
// value, a line with the name of an item, then the document. Runs in a device root.
// libFuzzer: -max_len=2048 -dict=fuzz/config.dict
#include <stdint.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "exact_copy.h"
#include "hearth/config.h"
#include "hearth/sysguard.h"
#include "hearth/webserver.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

constexpr const char *kFiles[] = {
    "/app/webroot/data/userdata/global/config.xml",
    "/app/config/H1/config/global/config.xml",
    "/app/webroot/WebApp/00101/config/global/config.xml",
    "/app/webroot/WebApp/common/config/global/config.xml",
    "/app/webroot/WebApp/common/config/global/error_code_msg.xml",
    "/app/webroot/WebApp/common/config/sysguard/config.xml",
};
// The items that the operator's layer is found by.
constexpr const char *kSim =
    "<config><sim_state>2</sim_state><imsi_string>001010</imsi_string></config>";

void write_files(const std::string &document, uint8_t chosen) {
    for (const char *path : kFiles) {
        bool is_chosen = (chosen & 1) != 0;
        chosen = static_cast<uint8_t>(chosen >> 1);
        bool has_sim_items = path == kFiles[0];
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << (is_chosen       ? document
                                                  : has_sim_items ? std::string(kSim)
                                                                  : std::string());
    }
}

void look_up(const char *item, uint32_t room) {
    for (auto lookup : {cfg_get_config, cfg_get_config_common}) {
        Exact<char> value(room);
        uint32_t length = room;
        int32_t result = lookup("global", item, value.get(), &length);
        require(result != CFG_OK || room == 0 || memchr(value.get(), 0, room) != nullptr);
        require(result != CFG_TOO_SMALL || length > room);
    }
}

int read_nodes(XML_Node *user, XML_Node *product, XML_Node *common, void *item, void *) {
    const char *name = static_cast<const char *>(item);
    XML_Node *node = nullptr;
    (void)sysguard_get_node(user, product, common, name, &node);
    int32_t number = 0;
    (void)get_int_node_value(user, product, common, name, &number);
    Exact<char> text(16);
    (void)get_str_node_value(user, product, common, name, text.get(), 16);
    return 0;
}

}  // namespace

extern "C" int32_t app_get_product_name(char *name) {
    strcpy(name, "H1");
    return 0;
}

// A lookup that waits for the SIM's state does so without a pause.
extern "C" int32_t osa_sleep(uint32_t) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    std::string input(reinterpret_cast<const char *>(data) + 2, size - 2);
    size_t line_end = std::min(input.find('\n'), input.size());
    std::string item = input.substr(0, line_end).c_str();
    write_files(input.substr(std::min(line_end + 1, input.size())), data[0]);
    require(cl_init_mmap() == 1);
    cl_touch_simst();
    look_up(item.c_str(), data[1] % 64);
    char path[256];
    uint32_t length = sizeof path;
    (void)cfg_get_file_fullpath("global", "config.xml", path, &length);
    global_release_msg(global_get_error_msg(100002));
    (void)sysguard_get_xml(read_nodes, item.data(), nullptr, "config.server");
    (void)cfg_set_config("global", item.c_str(), "<value & more>");
    return 0;
}
