// hearth-web: the web server's end of the bus, without the web. It takes the daemons' hooks, asks
// one of them once it has registered, and prints what a browser would get.
//
//     hearth-web HOOK TARGET...

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include "hearth/notify.h"
#include "hearth/webserver.h"

namespace {

constexpr uint32_t kWebModule = 26;
constexpr uint32_t kRegister = 26001;
constexpr uint32_t kRequest = 26002;
constexpr uint32_t kFirstRoom = 64;

std::mutex g_mutex;
// The module behind each hook, guarded by g_mutex.
std::map<std::string, uint32_t> g_hooks;

uint32_t on_message(uint32_t msg_id, void *in, void *) {
    if (msg_id != kRegister || in == nullptr) {
        return 1;
    }
    web_hook_registration hook;
    memcpy(&hook, in, sizeof hook);
    std::lock_guard lock(g_mutex);
    g_hooks[std::string(hook.module_name, strnlen(hook.module_name, sizeof hook.module_name))] =
        hook.mid;
    return 0;
}

// The module of a hook, once it has registered; 0 when it has not in ten seconds.
uint32_t module_of(const std::string &name) {
    for (int i = 0; i < 200; i++) {
        {
            std::lock_guard lock(g_mutex);
            auto found = g_hooks.find(name);
            if (found != g_hooks.end()) {
                return found->second;
            }
        }
        usleep(50000);
    }
    return 0;
}

bool ask(uint32_t module, const char *name, const char *target) {
    struct {
        web_request head;
        char content[1];
    } request{};
    request.head.mid = module;
    snprintf(request.head.target, sizeof request.head.target, "%s", target);
    snprintf(request.head.module_name, sizeof request.head.module_name, "%s", name);
    char *answer = static_cast<char *>(calloc(1, kFirstRoom));
    int32_t result =
        send_notify_webserver(module, kRequest, &request, &answer, sizeof request, kFirstRoom);
    if (result == 0) {
        printf("%s -> %s\n", target, answer);
    } else {
        printf("%s: no answer, result %d\n", target, result);
    }
    free(answer);
    return result == 0;
}

}  // namespace

int main(int count, char **arguments) {
    if (count < 3) {
        fputs("usage: hearth-web HOOK TARGET...\n", stderr);
        return 2;
    }
    if (init_notify() != 0 || register_notify_handler(kWebModule, on_message, nullptr) != 0) {
        fputs("hearth-web: cannot reach the notify server\n", stderr);
        return 1;
    }
    uint32_t module = module_of(arguments[1]);
    if (module == 0) {
        fprintf(stderr, "hearth-web: no daemon has registered \"%s\"\n", arguments[1]);
        return 1;
    }
    bool answered = true;
    for (int i = 2; i < count; i++) {
        answered = ask(module, arguments[1], arguments[i]) && answered;
    }
    return answered ? 0 : 1;
}
