// The settings daemon of settings.c in C++: the one process that writes the configuration. Others
// ask it over the bus, by the messages of settings.h.

#include "settings.h"

#include <unistd.h>

#include <cstdio>
#include <span>

#include "hearth/config.h"
#include "hearth/notify.h"

namespace {

// The library hands over the sender's bytes as they came: a text may lack its end.
const char *text(std::span<char> field) {
    field.back() = '\0';
    return field.data();
}

int32_t get(setting &asked, std::span<char> value) {
    auto length = static_cast<uint32_t>(value.size());
    return cfg_get_config(text(asked.directory), text(asked.item), value.data(), &length);
}

int32_t set(setting &asked) {
    return cfg_set_config(text(asked.directory), text(asked.item), text(asked.value));
}

// Runs on a thread of the library. `in` and `out` are the library's, for this call alone.
uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    auto *asked = static_cast<setting *>(in);
    int32_t result = CFG_BAD_INPUT;
    if (asked != nullptr && msg_id == SETTINGS_GET && out != nullptr) {
        result = get(*asked, {static_cast<char *>(out), SETTINGS_ROOM});
    } else if (asked != nullptr && msg_id == SETTINGS_SET) {
        result = set(*asked);
    }
    return static_cast<uint32_t>(result);
}

uint32_t on_event(uint32_t msg_id, uintptr_t arg1, uintptr_t arg2) {
    printf("settings: event %u with %lu and %lu\n", msg_id, static_cast<unsigned long>(arg1),
           static_cast<unsigned long>(arg2));
    return 0;
}

}  // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (init_notify() != 0 || register_notify_handler(SETTINGS_MODULE, on_request, on_event) != 0) {
        fputs("settings: cannot reach the notify server\n", stderr);
        return 1;
    }
    puts("settings: module 7 is on the bus");
    for (;;) {
        pause();
    }
}
