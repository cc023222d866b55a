// Any bytes as the log's settings file. Runs in a device root.
// libFuzzer: -max_len=2048 -dict=fuzz/xml.dict

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "hearth/osa_log.h"

namespace {

// The library tells on standard output what the settings lack.
void prepare() {
    static bool prepared = false;
    if (!prepared) {
        std::filesystem::create_directories(
            std::filesystem::path(osa_get_log_cfgpath()).parent_path());
        prepared = freopen("/dev/null", "w", stdout) != nullptr;
    }
}

void expect(bool holds) {
    if (!holds) {
        abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    prepare();
    std::ofstream(osa_get_log_cfgpath(), std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char *>(data), static_cast<std::streamsize>(size));
    osa_set_log_mask("all", 0);
    osa_log_load_cfg();
    const log_setting *first = nullptr;
    default_log_filter(nullptr, 1, &first);
    expect(first != nullptr && first->name[0] == '\0');
    for (const log_setting *entry = first; entry != nullptr; entry = entry->next) {
        size_t length = strnlen(entry->name, sizeof entry->name);
        expect(length < sizeof entry->name);
        // Each entry decides for its own module: no two have one name. Of a long one the record
        // shows only the start, which others may share.
        const log_setting *found = nullptr;
        default_log_filter(entry->name, 1, &found);
        expect(found == entry || length == sizeof entry->name - 1);
    }
    return 0;
}
