// Asks the settings daemon, over the bus:
//     ask get DIRECTORY ITEM
//     ask set DIRECTORY ITEM VALUE
//     ask note NUMBER NUMBER

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "hearth/notify.h"
#include "settings.h"

namespace {

constexpr uint32_t kOwnModule = 8;
constexpr int32_t kSeconds = 5;

// False for a text that the message has no room for.
template <size_t N>
bool put(char (&field)[N], const char *text) {
    return static_cast<size_t>(snprintf(field, N, "%s", text)) < N;
}

int refused(int32_t result) {
    fprintf(stderr, "ask: result %d\n", result);
    return 1;
}

int get(setting &asked) {
    char value[SETTINGS_ROOM] = "";
    int32_t result = send_notify_ex(SETTINGS_MODULE, SETTINGS_GET, &asked, value, sizeof asked,
                                    sizeof value, kSeconds);
    if (result != 0) {
        return refused(result);
    }
    printf("%s %s = %.*s\n", asked.directory, asked.item, SETTINGS_ROOM, value);
    return 0;
}

int set(setting &asked) {
    int32_t result =
        send_notify_ex(SETTINGS_MODULE, SETTINGS_SET, &asked, nullptr, sizeof asked, 0, kSeconds);
    return result == 0 ? 0 : refused(result);
}

// Nobody tells whether a notification has arrived.
int note(const char *first, const char *second) {
    post_notify(SETTINGS_MODULE, SETTINGS_NOTE, static_cast<uint32_t>(strtoul(first, nullptr, 10)),
                static_cast<uint32_t>(strtoul(second, nullptr, 10)));
    return 0;
}

}  // namespace

int main(int count, char **arguments) {
    std::string_view verb = count > 3 ? arguments[1] : "";
    setting asked{};
    bool fits = count > 3 && put(asked.directory, arguments[2]) && put(asked.item, arguments[3]) &&
                (count < 5 || put(asked.value, arguments[4]));
    if (!fits ||
        !((verb == "set" && count == 5) || (count == 4 && (verb == "get" || verb == "note")))) {
        fputs("usage: ask get DIRECTORY ITEM | set DIRECTORY ITEM VALUE | note NUMBER NUMBER\n",
              stderr);
        return 2;
    }
    if (init_notify() != 0 || register_notify_handler(kOwnModule, nullptr, nullptr) != 0) {
        fputs("ask: cannot reach the notify server\n", stderr);
        return 1;
    }
    if (verb == "note") {
        return note(arguments[2], arguments[3]);
    }
    return verb == "get" ? get(asked) : set(asked);
}
