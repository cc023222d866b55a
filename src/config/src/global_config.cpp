#include "config/src/global_config.h"

#include <algorithm>

#include "base/text.h"
#include "hearth/osa_file.h"
#include "hearth/osa_semaphore.h"

namespace {

// Made by whoever comes first and kept for the life of the process.
std::atomic<uintptr_t> g_icfgSem = 0;

}  // namespace

namespace hearth::config {

State g_state;

void ensure_lock() {
    if (g_icfgSem.load() != 0) {
        return;
    }
    uintptr_t made = osa_sem_create(1);
    uintptr_t none = 0;
    if (!g_icfgSem.compare_exchange_strong(none, made) && made != 0) {
        osa_sem_delete(made);
    }
}

bool take_lock() {
    uintptr_t semaphore = g_icfgSem.load();
    // A signal ends a wait; going on without the lock, and giving it back, would let two in.
    while (semaphore != 0 && osa_sem_take(semaphore, -1) != 1) {
    }
    return semaphore != 0;
}

void give_lock() {
    osa_sem_give(g_icfgSem.load());
}

Path &Path::append(std::string_view part) {
    if (!valid_) {
        return *this;
    }
    uint32_t used = length();
    valid_ = used + part.size() < kPathSize;
    if (valid_) {
        memcpy(text_.get() + used, part.data(), part.size());
        text_.get()[used + part.size()] = '\0';
    }
    return *this;
}

Path &Path::append_name(std::string_view name) {
    if (valid_ && (length() == 0 || text()[length() - 1] != '/')) {
        append("/");
    }
    return append(name);
}

bool Path::start(std::string_view logical) {
    // osa_getfullpath puts up to 13 bytes in front and knows no limit of its own.
    char full[kPathSize + sizeof "/app/webroot/"];
    valid_ = allocated() && logical.size() < kPathSize;
    if (valid_) {
        char copy[kPathSize];
        copy_text(copy, logical);
        valid_ = osa_getfullpath(copy, full) == 0 && strlen(full) < kPathSize;
    }
    if (valid_) {
        copy_text(text_.get(), kPathSize, full);
    }
    return valid_;
}

bool Path::start_product() {
    valid_ = allocated() && osa_get_websdk_config_fullpath("", text_.get(), kPathSize) == 0;
    return valid_;
}

void Path::cut_slash() {
    uint32_t used = length();
    if (used > 0 && text()[used - 1] == '/') {
        text_.get()[used - 1] = '\0';
    }
}

bool Path::exists() const {
    osa_stat_t status;
    return valid_ && osa_stat(text(), &status) == 0;
}

int32_t hand_out(std::string_view text, char *out, uint32_t *length) {
    if (out == nullptr || *length <= text.size()) {
        *length = static_cast<uint32_t>(text.size() + 1);
        return CFG_TOO_SMALL;
    }
    memset(out, 0, *length);
    memcpy(out, text.data(), text.size());
    return CFG_OK;
}

}  // namespace hearth::config
