// The web hook of hook.c in C++: module 9 answers the web server's requests for "device".

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "hearth/config.h"
#include "hearth/notify.h"
#include "hearth/webserver.h"
#include "hearth/xml.h"

namespace {

constexpr uint32_t kHookModule = 9;
constexpr int32_t kNotSupported = 100002;
constexpr int32_t kBusy = 100004;

struct FreeXml {
    void operator()(char *text) const { cl_xmlFreeMem(text); }
};
using XmlText = std::unique_ptr<char, FreeXml>;

// What global_release_msg frees, and so not from `new`; null without memory.
char *ssid_response(const char *ssid) {
    char *copy = nullptr;
    int32_t result = *ssid == '\0' ? XML_RESULT_OK : cl_xmlReplaceToQuot(ssid, &copy);
    XmlText escaped(copy);
    if (result != XML_RESULT_OK) {
        return nullptr;
    }
    std::string text = "<response><ssid>";
    text += escaped ? escaped.get() : "";
    text += "</ssid></response>";
    return strdup(text.c_str());
}

// Runs on a thread of the library, for each request. The addresses are the library's; the text
// that is returned goes to global_release_msg once it has been sent. A target of full length has no
// terminator.
char *on_request(char *target, uint32_t, char *) {
    if (std::string_view(target, strnlen(target, sizeof(web_request::target))) != "/api/wlan") {
        return global_get_error_msg(kNotSupported);
    }
    char ssid[64] = "";
    uint32_t length = sizeof ssid;
    char *answer = nullptr;
    if (cfg_get_config("wlan", "ssid", ssid, &length) == CFG_OK) {
        answer = ssid_response(ssid);
    }
    return answer != nullptr ? answer : global_get_error_msg(kBusy);
}

}  // namespace

int main() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    if (init_notify() != 0 || register_notify_handler(kHookModule, nullptr, nullptr) != 0) {
        fputs("hook: cannot reach the notify server\n", stderr);
        return 1;
    }
    // Waits until the web server is there.
    if (webserver_register_hookfunction(kHookModule, "device", on_request, global_release_msg) !=
        0) {
        fputs("hook: the hook is not registered\n", stderr);
        return 1;
    }
    puts("hook: \"device\" is registered");
    for (;;) {
        pause();
    }
}
