// Hooks of the web server.

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "base/guard.h"
#include "base/log.h"
#include "base/text.h"
#include "hearth/webserver.h"
#include "libnotify_client.h"

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

static_assert(offsetof(web_request, target) == 8 && offsetof(web_request, module_name) == 72 &&
              sizeof(web_request) == kWebRequestSize && sizeof(web_hook_registration) == 20);

constexpr uint32_t kRegisterHook = 26001;
constexpr useconds_t kRetryPause = 100000;
constexpr size_t kNameSize = 16;

struct HookEntry {
    uint32_t mid;
    char name[kNameSize];
    web_hook handler;
    web_hook_release release;
};

// Entries are filled in order and never change again, so readers need no lock: they look at the
// first g_hook_count, which is raised when an entry is complete.
HookEntry g_module_maps[32];
std::atomic<uint32_t> g_hook_count;
pthread_mutex_t lock_g_module_maps = PTHREAD_MUTEX_INITIALIZER;  // for writing

// The first entry that a test likes, null if none.
template <typename Test>
const HookEntry *find_hook(Test test) {
    const HookEntry *begin = g_module_maps;
    const HookEntry *end = begin + g_hook_count.load(std::memory_order_acquire);
    const HookEntry *entry = std::find_if(begin, end, test);
    return entry == end ? nullptr : entry;
}

bool has_name(const HookEntry &entry, const web_request *request) {
    return hearth::field_text(request->module_name) == entry.name;
}

const HookEntry *find_hook_for(const web_request *request) {
    if (request == nullptr) {
        return nullptr;
    }
    return find_hook([request](const HookEntry &entry) {
        return has_name(entry, request) && entry.mid == request->mid && entry.handler != nullptr;
    });
}

char *call_hook(const HookEntry &entry, web_request *request) {
    return entry.handler(request->target, request->param, reinterpret_cast<char *>(request + 1));
}

// Sends a registration until the web server takes it, without limit.
void send_registration_to_web(const web_hook_registration &body, const char *failure) {
    for (;;) {
        web_hook_registration copy = body;
        int32_t result = send_notify(NOTIFY_MID_WEB, kRegisterHook, &copy, nullptr, sizeof copy, 0);
        if (result != -1 && result != NOTIFY_NO_ANSWER) {
            return;
        }
        HEARTH_LOG(OSA_LOG_ERROR, "%s", failure);
        usleep(kRetryPause);
    }
}

// Makes room for an answer in the caller's buffer. False, with the buffer as it was, without
// memory.
bool make_room(char **out, size_t capacity, size_t needed) {
    if (needed <= capacity) {
        return true;
    }
    char *grown = static_cast<char *>(realloc(*out, needed));
    if (grown == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify_webserver-->>realloc return error \n");
        return false;
    }
    *out = grown;
    return true;
}

int32_t answer_locally(const HookEntry &entry, web_request *request, char **out, uint32_t out_len) {
    HEARTH_LOG(OSA_LOG_INFO, "send_notify_webserver-->>invoke callback! \n");
    char *text = call_hook(entry, request);
    if (text == nullptr || *out == nullptr) {
        // Without a buffer the hook's text is not released: required.
        return 0;
    }
    size_t size = strlen(text) + 1;
    if (make_room(out, out_len, size)) {
        memcpy(*out, text, size);
    }
    if (entry.release != nullptr) {
        entry.release(text);
    }
    return 0;
}

// Takes the entry into the table if there is one left; false for a name that cannot be one.
bool store_hook(const HookEntry &hook, const char *name, web_hook_registration *body) {
    hearth::MutexLock lock(lock_g_module_maps);
    uint32_t count = g_hook_count.load(std::memory_order_relaxed);
    if (count == std::size(g_module_maps)) {
        return true;
    }
    size_t length = strnlen(name, kNameSize);
    if (length == 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "webserver_register_hookfunction-->>strlen(module_name)  = 0 \n");
        return false;
    }
    if (length == kNameSize) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "webserver_register_hookfunction-->>strlen(module_name) is too long\n");
        return false;
    }
    g_module_maps[count] = hook;
    hearth::copy_text(g_module_maps[count].name, name);
    hearth::copy_text(body->module_name, name);
    g_hook_count.store(count + 1, std::memory_order_release);
    return true;
}

}  // namespace

namespace hearth::notify {

void release_web_text(const uint8_t *request, char *text) {
    const web_request *web = reinterpret_cast<const web_request *>(request);
    const HookEntry *entry = find_hook([web](const HookEntry &candidate) {
        return has_name(candidate, web) && candidate.release != nullptr;
    });
    if (entry != nullptr) {
        entry->release(text);
    }
}

}  // namespace hearth::notify

extern "C" HEARTH_API int32_t webserver_register_hookfunction(uint32_t mid, const char *module_name,
                                                              web_hook handler,
                                                              web_hook_release release) {
    if (peek(g_my_mid) == 0 || module_name == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR,
                   "webserver_register_hookfunction-->>g_my_mid = 0 ||module_name = NULL \n");
        return -1;
    }
    // Without a free entry the registration goes out with an empty name: required.
    web_hook_registration body{mid, {}};
    if (!store_hook({mid, {}, handler, release}, module_name, &body)) {
        return -1;
    }
    send_registration_to_web(body, "webserver_register_hookfunction-->>send_notify() return err\n");
    return 0;
}

extern "C" HEARTH_API char *webserver_handle_normal(void *request) {
    if (request == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "webserver_handle_normal-->>in_param is NULL! \n");
        return nullptr;
    }
    web_request *web = static_cast<web_request *>(request);
    const HookEntry *entry = find_hook_for(web);
    if (entry == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "webserver_handle_normal-->>exit return NULL!\n");
        return nullptr;
    }
    return call_hook(*entry, web);
}

extern "C" HEARTH_API int32_t send_notify_webserver(uint32_t mid, uint32_t msg_id, void *request,
                                                    char **out, uint32_t in_len, uint32_t out_len) {
    if (out == nullptr) {
        return -1;
    }
    web_request *web = static_cast<web_request *>(request);
    const HookEntry *entry = find_hook_for(web);
    if (entry != nullptr) {
        return answer_locally(*entry, web, out, out_len);
    }
    int32_t seq_num =
        send_sync_msg_ex(mid, msg_id, request, *out, in_len, out_len, kSyncLimitSeconds);
    if (seq_num == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify_webserver-->>send_sync_msg return error \n");
        return -1;
    }
    ack_node *node = removed_node_from_list(static_cast<uint32_t>(seq_num));
    if (node == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify_webserver-->>removed_node_from_list return NULL \n");
        return -1;
    }
    const msg_header *frame = node->message;
    if (frame == nullptr || frame->ack_tag != NOTIFY_ANSWER) {
        HEARTH_LOG(OSA_LOG_ERROR, "send_notify_webserver-->>recv_msg is NULL return error \n");
        free_list_node(node);
        return NOTIFY_NO_ANSWER;
    }
    if (*out != nullptr && out_len != 0 && make_room(out, out_len, frame->data_len)) {
        memcpy(*out, frame + 1, frame->data_len);
    }
    free_list_node(node);
    return 0;
}

extern "C" HEARTH_API void register_restfulhandle_again(void) {
    HEARTH_LOG(OSA_LOG_INFO, "register_restfulhandle_again-->>enter!\n");
    usleep(kRetryPause);
    for (uint32_t i = 0; i < g_hook_count.load(std::memory_order_acquire); i++) {
        web_hook_registration body{g_module_maps[i].mid, {}};
        hearth::copy_text(body.module_name, g_module_maps[i].name);
        send_registration_to_web(body,
                                 "register_restfulhandle_again-->>send_notify() return err\n");
    }
    HEARTH_LOG(OSA_LOG_INFO, "register_restfulhandle_again-->>exit!\n");
}
