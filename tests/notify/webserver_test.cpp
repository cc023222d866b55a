// Hooks of the web server, against a scripted bus on which the test plays module 26.

#include "hearth/webserver.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <future>

#include "hearth/notify.h"
#include "support/bus.h"
#include "support/faults.h"
#include "support/log_capture.h"

namespace {

using namespace hearth::test;

constexpr uint32_t kMe = 12;
constexpr uint32_t kOther = 17;

std::atomic<int> g_released;
std::atomic<pid_t> g_hook_thread;

char *echo(char *target, uint32_t param, char *content) {
    g_hook_thread = gettid();
    char *text = nullptr;
    if (asprintf(&text, "%s|%u|%s", target, param, content) < 0) {
        return nullptr;
    }
    return text;
}

char *nothing(char *, uint32_t, char *) {
    return nullptr;
}

char *of_other(char *, uint32_t, char *) {
    return strdup("other");
}

void release(char *text) {
    g_released++;
    free(text);
}

std::string web_body(uint32_t mid, const char *name, const std::string &content) {
    web_request request{};
    request.mid = mid;
    request.param = 7;
    strcpy(request.target, "/api");
    memcpy(request.module_name, name, strnlen(name, sizeof request.module_name));
    return std::string(reinterpret_cast<char *>(&request), sizeof request) + content;
}

class Web : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(init_notify(), 0);
        peer_.emplace(server_.accept());
        ASSERT_EQ(register_notify_handler(kMe, nullptr, nullptr), 0);
        ASSERT_TRUE(peer_->receive());
    }

    Frame expect_frame() {
        auto frame = peer_->receive();
        EXPECT_TRUE(frame);
        return frame.value_or(Frame{});
    }

    void answer(const Frame &request, std::string body = "", uint32_t ack_tag = NOTIFY_ANSWER) {
        Frame answer = make_frame(NOTIFY_CALL, ack_tag, request.header.des_mid,
                                  request.header.src_mid, request.header.msg_id, std::move(body));
        answer.header.seq_num = request.header.seq_num;
        answer.header.ret_val = 0;
        peer_->send(answer);
    }

    // Takes the registration of one hook; returns its body as "MID NAME".
    std::string take_registration() {
        Frame frame = expect_frame();
        EXPECT_EQ(frame.header.msg_id, 26001u);
        EXPECT_EQ(frame.header.des_mid, 26u);
        EXPECT_EQ(frame.header.ack_len, 0u);
        EXPECT_EQ(frame.body.size(), 20u);
        answer(frame);
        return std::to_string(frame.body[0]) + " " + std::string(frame.body.c_str() + 4);
    }

    std::string add_hook(uint32_t mid, const char *name, web_hook hook,
                         web_hook_release release_text) {
        auto done = std::async(std::launch::async, [=] {
            return webserver_register_hookfunction(mid, name, hook, release_text);
        });
        std::string taken = take_registration();
        EXPECT_EQ(done.get(), 0);
        return taken;
    }

    ScriptedServer server_;
    std::optional<Peer> peer_;
};

TEST(WebAlone, NeedsAModule) {
    LogCapture log;
    EXPECT_EQ(webserver_register_hookfunction(kMe, "web", echo, release), -1);
    EXPECT_EQ(log.texts()[0],
              "2 webserver_register_hookfunction-->>g_my_mid = 0 ||module_name = NULL \n");
    log.clear();
    EXPECT_EQ(webserver_handle_normal(nullptr), nullptr);
    EXPECT_EQ(log.texts()[0], "2 webserver_handle_normal-->>in_param is NULL! \n");
    EXPECT_EQ(send_notify_webserver(kOther, 26002, nullptr, nullptr, 0, 0), -1);
}

TEST_F(Web, TakesNamesOfOneToFifteenCharacters) {
    LogCapture log;
    EXPECT_EQ(webserver_register_hookfunction(kMe, nullptr, echo, release), -1);
    EXPECT_EQ(webserver_register_hookfunction(kMe, "", echo, release), -1);
    EXPECT_EQ(webserver_register_hookfunction(kMe, "sixteen-letters!", echo, release), -1);
    auto texts = log.texts("notify/linux/notify_client/src/libnotify_client");
    std::erase_if(texts, [](const std::string &text) { return text[0] == '8'; });
    EXPECT_EQ(texts[1], "2 webserver_register_hookfunction-->>strlen(module_name)  = 0 \n");
    EXPECT_EQ(texts[2], "2 webserver_register_hookfunction-->>strlen(module_name) is too long\n");
    EXPECT_EQ(add_hook(kMe, "fifteen-letters", echo, release), "12 fifteen-letters");
}

TEST_F(Web, AsksUntilTheWebServerIsThere) {
    auto done = std::async(std::launch::async, [] {
        return webserver_register_hookfunction(kMe, "web", echo, release);
    });
    for (int i = 0; i < 3; i++) {
        answer(expect_frame(), "", NOTIFY_NOTICE);
    }
    EXPECT_EQ(take_registration(), "12 web");
    EXPECT_EQ(done.get(), 0);
}

TEST_F(Web, AnswersRequests) {
    add_hook(kMe, "web", echo, release);
    add_hook(33, "web", of_other, nullptr);
    add_hook(kMe, "null", nothing, release);
    struct Case {
        const char *what;
        std::string body;
        uint32_t ack_len;
        std::string expected;
        int released;
    };
    std::string whole = web_body(kMe, "web", "<a/>");
    for (const Case &c : {
             Case{"its hook", whole, 100, std::string("/api|7|<a/>\0", 12), 1},
             Case{"ack_len says little", whole, 1, std::string("/api|7|<a/>\0", 12), 1},
             Case{"no answer wanted", whole, 0, "", 0},
             Case{"content without an end", web_body(kMe, "web", ""), 100,
                  std::string("/api|7|\0", 8), 1},
             // The text is released by the first hook of that name that can.
             Case{"same name, other module", web_body(33, "web", "x"), 100,
                  std::string("other\0", 6), 1},
             Case{"no such module", web_body(34, "web", "x"), 100, "", 0},
             Case{"no such name", web_body(kMe, "we", "x"), 100, "", 0},
             Case{"empty name", web_body(0, "", "x"), 100, "", 0},
             Case{"name without an end", web_body(kMe, "web-web-web-web-", "x"), 100, "", 0},
             Case{"hook gives nothing", web_body(kMe, "null", "x"), 100, "", 0},
             Case{"short body", whole.substr(0, 87), 100, "", 0},
             Case{"no body", "", 100, "", 0},
         }) {
        SCOPED_TRACE(c.what);
        g_released = 0;
        Frame request = make_frame(NOTIFY_CALL, NOTIFY_PLAIN, 26, kMe, 26002, c.body);
        request.header.ack_len = c.ack_len;
        request.header.seq_num = 77;
        peer_->send(request);
        Frame got = expect_frame();
        EXPECT_EQ(got.header.seq_num, 77u);
        EXPECT_EQ(got.header.ret_val, 0);
        EXPECT_EQ(got.body, c.expected);
        usleep(10000);  // the text goes after the answer
        EXPECT_EQ(g_released, c.released);
    }
}

TEST_F(Web, RegistersAllHooksAgainWhenTheWebServerDies) {
    add_hook(kMe, "one", echo, release);
    add_hook(33, "two", echo, release);
    peer_->send(make_frame(NOTIFY_ONE_WAY, NOTIFY_NOTICE, NOTIFY_MID_SERVER, kMe, 26));
    EXPECT_EQ(take_registration(), "12 one");
    EXPECT_EQ(take_registration(), "33 two");
}

TEST_F(Web, HasRoomForThirtyTwoHooks) {
    for (int i = 0; i < 32; i++) {
        std::string name = "hook" + std::to_string(i);
        EXPECT_EQ(add_hook(kMe, name.c_str(), echo, release), "12 " + name);
    }
    EXPECT_EQ(add_hook(kMe, "late", echo, release), "12 ");
    std::string request = web_body(kMe, "late", "");
    EXPECT_EQ(webserver_handle_normal(request.data()), nullptr);
    request = web_body(kMe, "hook31", "x");
    char *text = webserver_handle_normal(request.data());
    EXPECT_STREQ(text, "/api|7|x");
    free(text);
}

TEST_F(Web, PassesRequestsOnForTheWebServer) {
    struct Case {
        const char *what;
        uint32_t out_len;
        std::string body;
        uint32_t ack_tag;
        int32_t expected;
        const char *out;
    };
    for (const Case &c : {
             Case{"fits", 8, std::string("text\0", 5), NOTIFY_ANSWER, 0, "text"},
             Case{"longer", 8, std::string(5000, 'x') + '\0', NOTIFY_ANSWER, 0, nullptr},
             Case{"no room wanted", 0, "text", NOTIFY_ANSWER, 0, "......."},
             Case{"nobody there", 8, "", NOTIFY_NOTICE, 3000, "......."},
         }) {
        SCOPED_TRACE(c.what);
        char *out = strdup(".......");
        std::string request = web_body(kOther, "web", "x");
        auto done = std::async(std::launch::async, [&] {
            return send_notify_webserver(kOther, 26002, request.data(), &out,
                                         static_cast<uint32_t>(request.size()), c.out_len);
        });
        Frame frame = expect_frame();
        EXPECT_EQ(frame.header.msg_id, 26002u);
        EXPECT_EQ(frame.header.ack_len, c.out_len);
        EXPECT_EQ(frame.body, request);
        answer(frame, c.body, c.ack_tag);
        EXPECT_EQ(done.get(), c.expected);
        EXPECT_STREQ(out, c.out != nullptr ? c.out : c.body.c_str());
        free(out);
    }
    EXPECT_EQ(send_notify_webserver(0, 26002, nullptr, nullptr, 0, 0), -1);
}

TEST_F(Web, CallsAHookOfItsOwnProcessItself) {
    add_hook(kMe, "web", echo, release);
    std::string request = web_body(kMe, "web", std::string(100, 'y') + '\0');
    char *out = strdup("....");
    EXPECT_EQ(send_notify_webserver(kOther, 26002, request.data(), &out, 0, 5), 0);
    EXPECT_EQ(std::string(out), "/api|7|" + std::string(100, 'y'));
    free(out);
    EXPECT_EQ(g_released, 1);
    EXPECT_EQ(g_hook_thread, gettid());

    out = strdup("....");
    arm_fault(Fault::kFail, kAllocations, 1);
    int32_t result = send_notify_webserver(kOther, 26002, request.data(), &out, 0, 5);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(result, 0);
    EXPECT_STREQ(out, "....") << "without memory the room stays as it was";
    free(out);
    EXPECT_EQ(g_released, 2);
}

TEST_F(Web, KeepsTheTextOfALocalHookWithoutABufferForIt) {
    static char text[] = "text";
    add_hook(
        kMe, "web", [](char *, uint32_t, char *) -> char * { return text; },
        [](char *) { g_released++; });
    std::string request = web_body(kMe, "web", "x");
    char *out = nullptr;
    EXPECT_EQ(send_notify_webserver(kOther, 26002, request.data(), &out, 0, 0), 0);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(g_released, 0);
}

// ---- Bodies of responses

constexpr char kErrorBody[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<error>\r\n<code>%s</code>\r\n"
    "<message>%s</message>\r\n</error>\r\n";

std::string error_body(const char *code, const char *message) {
    char text[1000];
    snprintf(text, sizeof text, kErrorBody, code, message);
    return text;
}

void write_table(const char *text) {
    const std::string folder = "/app/webroot/WebApp/common/config/global";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/error_code_msg.xml") << text;
}

TEST(ErrorMessages, AreLookedUpByTheirCode) {
    write_table(
        "<errors><e code=\"5\" msg=\"five &lt;5&gt;\"/><other code=\"-7\" msg=\"minus\"/>"
        "<e code=\"5\" msg=\"late\"/><e code=\"6\"/><e msg=\"none\"/>"
        "<e code=\"12345678\" msg=\"cut\"/></errors>");
    struct Case {
        int32_t code;
        std::string expected;
    };
    for (const Case &c : {
             Case{0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<response>OK</response>\r\n"},
             Case{100004, error_body("100004", "busy")},
             Case{5, error_body("5", "five <5>")},
             Case{-7, error_body("-7", "minus")},
             Case{6, error_body("6", "")},
             Case{8, error_body("8", "")},
             Case{123456789, error_body("12345678", "cut")},
             Case{INT32_MIN, error_body("-2147483", "")},
         }) {
        char *text = global_get_error_msg(c.code);
        EXPECT_EQ(text, c.expected);
        global_release_msg(text);
    }
    global_release_msg(nullptr);
    // The fixed bodies are one text each and survive their release.
    EXPECT_EQ(global_get_error_msg(0), global_get_error_msg(0));
    EXPECT_STREQ(global_get_error_msg(100004), error_body("100004", "busy").c_str());
    EXPECT_EQ(global_get_response_memory(0), nullptr);
}

TEST(ErrorMessages, AFailingLookupIsAnEmptyMessage) {
    LogCapture log;
    char *text = global_get_error_msg(5);
    EXPECT_EQ(text, error_body("5", ""));
    global_release_msg(text);
    auto is_ours = [](const auto &line) { return line.module == "global"; };
    auto lines = log.lines();
    auto line = std::find_if(lines.begin(), lines.end(), is_ours);
    ASSERT_NE(line, lines.end());
    EXPECT_EQ(line->text, "[Global][global_get_error_msg]GLOBAL_LANGRULE PROFILE don't exist,\n");

    write_table("<errors><e code=\"5\"");
    log.clear();
    text = global_get_error_msg(5);
    EXPECT_EQ(text, error_body("5", ""));
    global_release_msg(text);
    lines = log.lines();
    line = std::find_if(lines.begin(), lines.end(), is_ours);
    ASSERT_NE(line, lines.end());
    EXPECT_EQ(line->text, "[Global][global_get_error_msg] cl_xmlParseFile FAILED ,irelust = 16\n");
}

TEST(ErrorMessages, MemoryRunningOutGivesABody) {
    write_table("<errors><e code=\"5\" msg=\"five\"/></errors>");
    int faults = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [] {
        char *text = global_get_error_msg(5);
        bool known = text == error_body("5", "five") || text == error_body("5", "") ||
                     text == error_body("100004", "busy");
        EXPECT_TRUE(known) << text;
        global_release_msg(text);
    });
    EXPECT_GT(faults, 3);
}

}  // namespace
