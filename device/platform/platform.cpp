// libplatform.so of the desk: product name, start mode, and the operations log.

#include <fcntl.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "settings.h"

namespace {

constexpr size_t kNameSize = 32;
constexpr const char *kOperationsLog = "/var/log/operations.log";

}  // namespace

extern "C" {

// Fills `name`, 32 bytes, with the product's name ("product", HEARTH_PRODUCT). 0, or -1 when the
// desk has none.
int32_t app_get_product_name(char *name) {
    std::string product = hearth::platform::setting("product", "HEARTH_PRODUCT");
    if (product.empty() || product.size() >= kNameSize) {
        return -1;
    }
    strcpy(name, product.c_str());
    return 0;
}

// The start mode ("start_mode", HEARTH_START_MODE), 0 when the desk has none.
int32_t drvStartModeGet(void) {
    return atoi(hearth::platform::setting("start_mode", "HEARTH_START_MODE").c_str());
}

// Appends "[MODULE] SEVERITY TEXT" as one line to the operations log.
__attribute__((format(printf, 3, 4))) int32_t OM_PrintfWithModule(uint32_t module,
                                                                  uint32_t severity,
                                                                  const char *format, ...) {
    char text[512];
    va_list values;
    va_start(values, format);
    vsnprintf(text, sizeof text, format, values);
    va_end(values);
    std::string line = "[" + std::to_string(module) + "] " + std::to_string(severity) + " " + text;
    if (!line.ends_with('\n')) {
        line += '\n';
    }
    int fd = open(kOperationsLog, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (fd < 0) {
        return -1;
    }
    ssize_t written = write(fd, line.data(), line.size());
    close(fd);
    return written == static_cast<ssize_t>(line.size()) ? 0 : -1;
}

}  // extern "C"
