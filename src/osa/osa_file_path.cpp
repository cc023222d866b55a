// The places where logical paths meet the disk.
#include "osa/osa_file_path.h"

#include <pthread.h>
#include <stdio.h>

#include <string_view>

#include "base/guard.h"
#include "base/text.h"
#include "osa/bounded_text.h"

// The device's closed library; the address is null where it is not loaded.
extern "C" __attribute__((weak)) int32_t app_get_product_name(char *name);

namespace {

using std::string_view;

constexpr string_view kWebRoot = "/app/webroot";
constexpr string_view kConfigRoot = "/app/config";

pthread_mutex_t g_product_lock = PTHREAD_MUTEX_INITIALIZER;
// Guarded by g_product_lock.
char s_productName[32];

// Copies the product's name, empty while the device gives none. Asks until there is one.
void product_name(char (&name)[sizeof s_productName]) {
    hearth::MutexLock lock(g_product_lock);
    if (s_productName[0] == '\0' &&
        (app_get_product_name == nullptr || app_get_product_name(s_productName) != 0)) {
        puts("[config]osa_get_websdk_config_fullpath: call app_get_product_name failed");
    }
    hearth::copy_text(name, hearth::field_text(s_productName));
}

}  // namespace

int32_t osa_getfullpath(const char *path, char *out) {
    if (path == nullptr || out == nullptr) {
        puts("Error!in osa_getfullpath, param illegal.");
        return -1;
    }
    string_view logical = path;
    // The path may lie in `out` itself, so it moves before the prefix is written.
    size_t prefix = 0;
    if (!hearth::begins_with(logical, kWebRoot)) {
        prefix = kWebRoot.size() + (logical.starts_with('/') ? 0 : 1);
    }
    memmove(out + prefix, path, logical.size() + 1);
    if (prefix > 0) {
        memcpy(out, "/app/webroot/", prefix);
    }
    return 0;
}

int32_t osa_get_websdk_config_fullpath(const char *name, char *out, uint32_t size) {
    if (name == nullptr || out == nullptr || size == 0) {
        // The other function's name in the text is required.
        puts("Error!in osa_getfullpath, param illegal.");
        return -1;
    }
    char product[sizeof s_productName];
    product_name(product);
    string_view wanted = name;
    hearth::BoundedText path(out, size);
    if (!hearth::begins_with(wanted, kConfigRoot)) {
        path.append(kConfigRoot);
        if (product[0] != '\0') {
            path.append("/");
            path.append(product);
            path.append("/config");
        }
        if (!wanted.starts_with('/')) {
            path.append("/");
        }
    }
    path.append(wanted);
    return 0;
}
