// Asks the settings daemon, over the bus:
//     ask get DIRECTORY ITEM
//     ask set DIRECTORY ITEM VALUE
//     ask note NUMBER NUMBER

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "hearth/notify.h"

namespace {

constexpr uint32_t kOwnModule = 8;
constexpr uint32_t kSettingsModule = 7;
enum Message : uint32_t { kGet = 1, kSet = 2, kNote = 3 };

struct Setting {
    char directory[64];
    char item[64];
    char value[64];
};

template <size_t N>
void put(char (&field)[N], const char *text) {
    snprintf(field, N, "%s", text);
}

int get(Setting &setting) {
    char value[64] = "";
    int32_t result =
        send_notify_ex(kSettingsModule, kGet, &setting, value, sizeof setting, sizeof value, 5);
    if (result != 0) {
        printf("no answer, result %d\n", result);
        return 1;
    }
    printf("%s %s = %s\n", setting.directory, setting.item, value);
    return 0;
}

}  // namespace

int main(int count, char **arguments) {
    std::string verb = count > 3 ? arguments[1] : "";
    if (init_notify() != 0 || register_notify_handler(kOwnModule, nullptr, nullptr) != 0) {
        fputs("ask: cannot reach the notify server\n", stderr);
        return 1;
    }
    Setting setting{};
    if (verb == "get" || (verb == "set" && count > 4)) {
        put(setting.directory, arguments[2]);
        put(setting.item, arguments[3]);
        put(setting.value, count > 4 ? arguments[4] : "");
    }
    if (verb == "get") {
        return get(setting);
    }
    if (verb == "set" && count > 4) {
        return send_notify_ex(kSettingsModule, kSet, &setting, nullptr, sizeof setting, 0, 5);
    }
    if (verb == "note") {
        post_notify(kSettingsModule, kNote, static_cast<uint32_t>(atoi(arguments[2])),
                    static_cast<uint32_t>(atoi(arguments[3])));
        return 0;
    }
    fputs("usage: ask get DIRECTORY ITEM | set DIRECTORY ITEM VALUE | note NUMBER NUMBER\n",
          stderr);
    return 2;
}
