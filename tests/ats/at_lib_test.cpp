#include "hearth/at_lib.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "hearth/at_k7.h"
#include "hearth/osa_pthread.h"
#include "hearth/osa_queue.h"
#include "support/at_script.h"
#include "support/log_capture.h"

using hearth::test::AtScript;
using hearth::test::LogCapture;
using hearth::test::reply_to;

namespace {

std::atomic<bool> g_refuse_events;

}  // namespace

// Stands in for the library's own, so that a wake-up can fail.
extern "C" int32_t osa_event_send(int32_t task, int32_t event) {
    if (g_refuse_events) {
        return 0;
    }
    using Function = int32_t (*)(int32_t, int32_t);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "osa_event_send"))(task, event);
}

namespace {

at_server_msg request(const char *command, int32_t timeout = 5) {
    at_server_msg message;
    memset(&message, 0, sizeof message);
    message.mtype = osa_pthread_getid();
    message.req_param = -1;
    message.req_option = 7;
    message.multi_line = 1;
    message.timeout = timeout;
    strcpy(message.match, "+X:");
    strcpy(message.report, command);
    return message;
}

// After a failed wait: everything before `match` as sent, the rest zero.
void expect_as_sent_then_zero(const at_server_msg &message, const at_server_msg &sent) {
    at_server_msg expected = sent;
    expected.seq = message.seq;
    memset(expected.match, 0, sizeof expected - offsetof(at_server_msg, match));
    EXPECT_EQ(memcmp(&message, &expected, sizeof message), 0);
}

int64_t since_ms(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

TEST(AtLib, FirstExchangeOfAProcess) {
    AtScript server;
    server.answer({{AT_RET_SUCCESS, "+X: 1\r\nOK"}});
    LogCapture log;
    at_server_msg message = request("AT+X");
    ASSERT_EQ(GetDataFromAtServer(&message), 0);
    EXPECT_EQ(message.Ret_val, AT_RET_SUCCESS);
    EXPECT_STREQ(message.report, "+X: 1\r\nOK");
    EXPECT_EQ(message.report_len, 9u);
    EXPECT_EQ(message.seq, 1u);

    std::string id = std::to_string(osa_pthread_getid());
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "2 check_ats_id id = -1\n",
                               "8 send_to_msgqueue:AT cmd= AT+X, Id= " + id + ", seq = 1\n",
                               "8 Ret_val is 2 ,report is +X: 1\r\nOK, match is +X: \n"}));
    EXPECT_EQ(log.lines()[0].module, "ats");
    EXPECT_EQ(log.lines()[0].file, "ats/atapi/at_lib");

    at_server_msg sent = request("AT+X");
    sent.seq = 1;
    EXPECT_EQ(memcmp(&server.requests().at(0), &sent, sizeof sent), 0);

    log.clear();
    message = request("AT+X");
    ASSERT_EQ(GetDataFromAtServer(&message), 0);
    EXPECT_EQ(message.seq, 2u);
    EXPECT_EQ(log.texts().size(), 2u);
}

TEST(AtLib, StaleRepliesAreDropped) {
    AtScript server([](const at_server_msg &request) {
        at_server_msg stale = reply_to(request, AT_RET_SUCCESS, "old");
        stale.seq = request.seq - 1;
        return std::vector{stale, stale, reply_to(request, AT_RET_ERROR, "new")};
    });
    LogCapture log;
    at_server_msg message = request("AT+X");
    ASSERT_EQ(GetDataFromAtServer(&message), 0);
    EXPECT_STREQ(message.report, "new");
    EXPECT_EQ(message.Ret_val, AT_RET_ERROR);
    std::string dropped =
        "8 Error:Msg seq erro,taskid = " + std::to_string(osa_pthread_getid()) + "\n";
    EXPECT_EQ(log.texts().at(2), dropped);
    EXPECT_EQ(log.texts().at(3), dropped);
}

TEST(AtLib, NewerReplyFailsTheCall) {
    AtScript server([](const at_server_msg &request) {
        at_server_msg newer = reply_to(request, AT_RET_SUCCESS, "newer");
        newer.seq = 0x80000001;
        return std::vector{newer};
    });
    LogCapture log;
    at_server_msg message = request("AT+X");
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    expect_as_sent_then_zero(message, request("AT+X"));
    EXPECT_EQ(log.texts().at(2), "2 Error:tmp_msg.seq= -2147483647, pmsg->seq =1\n");
    EXPECT_EQ(log.texts().at(3), "8 Ret_val is 0 ,report is , match is  \n");
}

TEST(AtLib, SilenceAndWrongTypeEndAfterTheTimeout) {
    for (bool answer : {false, true}) {
        AtScript server([answer](const at_server_msg &request) {
            at_server_msg other = reply_to(request, AT_RET_SUCCESS, "not yours");
            other.mtype = request.mtype + 1;
            return answer ? std::vector{other} : std::vector<at_server_msg>{};
        });
        LogCapture log;
        auto start = std::chrono::steady_clock::now();
        at_server_msg message = request("AT+X", 1);
        EXPECT_EQ(GetDataFromAtServer(&message), -1);
        EXPECT_GE(since_ms(start), 1000);
        expect_as_sent_then_zero(message, request("AT+X", 1));
        EXPECT_EQ(log.texts().at(log.texts().size() - 2),
                  "8 There is no Message in the queue!Task id = " +
                      std::to_string(osa_pthread_getid()) + "\n");
    }
}

TEST(AtLib, NextCallRemovesTheRequestThatWasGivenUp) {
    AtScript server;
    server.answer({{AT_RET_SUCCESS, "yes"}});
    server.pause();
    at_server_msg message = request("AT+OLD", 0);
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    at_server_msg other = request("AT+OTHER");
    other.mtype++;
    int32_t retcode = 0;
    int32_t requests = osa_get_msgQ_id(AT_QUEUE_REQUESTS);
    EXPECT_EQ(send_to_msgqueue(requests, &other, &retcode), 0);
    EXPECT_EQ(osa_msgQ_num(requests), 2);

    LogCapture log;
    message = request("AT+NEW", 0);
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    EXPECT_EQ(log.texts().at(0), "8 in clear_msg_from_queue, Error: Read a mtype=" +
                                     std::to_string(message.mtype) + " msg!\n");
    server.resume();
    message = request("AT+LAST");
    EXPECT_EQ(GetDataFromAtServer(&message), 0);
    EXPECT_EQ(server.commands().front(), "AT+OTHER");
    EXPECT_EQ(server.commands().back(), "AT+LAST");
}

TEST(AtLib, FullRequestQueueFailsAtOnce) {
    AtScript server;
    server.pause();
    at_server_msg other = request("AT+OTHER");
    other.mtype++;
    int32_t requests = osa_get_msgQ_id(AT_QUEUE_REQUESTS);
    while (osa_msgQex_send(requests, &other, sizeof other, 0) == 1) {
    }
    EXPECT_EQ(osa_msgQ_num(requests), 10);
    LogCapture log;
    auto start = std::chrono::steady_clock::now();
    at_server_msg message = request("AT+X");
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    EXPECT_LT(since_ms(start), 1000);
    EXPECT_STREQ(message.report, "AT+X");
    EXPECT_EQ(log.texts().at(2),
              "8 Error: send msg failed,task id = " + std::to_string(message.mtype) +
                  ", qid = " + std::to_string(requests) + "\n");
    EXPECT_EQ(log.texts().at(3), "2 Error: send message failed\n");
    server.resume();
}

TEST(AtLib, FailedWakeUpLeavesTheRequestInTheQueue) {
    AtScript server;
    LogCapture log;
    g_refuse_events = true;
    at_server_msg message = request("AT+X");
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    g_refuse_events = false;
    EXPECT_STREQ(message.report, "AT+X");
    EXPECT_EQ(log.texts().back(), "2 Error: send event failed\n");
    EXPECT_EQ(osa_msgQ_num(osa_get_msgQ_id(AT_QUEUE_REQUESTS)), 1);
}

TEST(AtLib, ServerComesBackUnderANewIdWithNewQueues) {
    {
        AtScript first;
        first.answer({{AT_RET_SUCCESS, "first"}});
        at_server_msg message = request("AT+X");
        ASSERT_EQ(GetDataFromAtServer(&message), 0);
        first.stop();
    }
    at_server_msg message = request("AT+X");
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    at_server_msg sent = request("AT+X");
    EXPECT_EQ(memcmp(&message, &sent, sizeof sent), 0);

    AtScript second;
    second.answer({{AT_RET_SUCCESS, "second"}});
    message = request("AT+X");
    ASSERT_EQ(GetDataFromAtServer(&message), 0);
    EXPECT_STREQ(message.report, "second");
}

TEST(AtLib, ServerDiesDuringTheWait) {
    AtScript server([](const at_server_msg &) -> std::vector<at_server_msg> { _exit(0); });
    at_server_msg message = request("AT+X", 1);
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    expect_as_sent_then_zero(message, request("AT+X", 1));
}

TEST(AtLib, NoServerOrNoQueue) {
    EXPECT_EQ(GetDataFromAtServer(nullptr), -1);
    EXPECT_EQ(get_ats_task_id(), -1);
    EXPECT_EQ(get_ats_queue_id(), -1);
    at_server_msg message = request("AT+X");
    EXPECT_EQ(GetDataFromAtServer(&message), -1);

    AtScript server;
    osa_msgQ_delete(osa_get_msgQ_id(AT_QUEUE_REPLIES));
    EXPECT_EQ(GetDataFromAtServer(&message), -1);
    EXPECT_EQ(osa_msgQ_num(osa_get_msgQ_id(AT_QUEUE_REQUESTS)), 0);
    EXPECT_EQ(message.seq, 0u);
    EXPECT_EQ(get_ats_task_id(), server.pid());
}

TEST(AtLib, TwoThreadsAnsweredInReverseOrder) {
    AtScript server([](const at_server_msg &request) {
        static std::vector<at_server_msg> waiting;
        waiting.push_back(reply_to(request, AT_RET_SUCCESS, request.report));
        if (waiting.size() < 2) {
            return std::vector<at_server_msg>{};
        }
        return std::vector{waiting[1], waiting[0]};
    });
    auto exchange = [](const char *command) {
        at_server_msg message = request(command, 10);
        EXPECT_EQ(GetDataFromAtServer(&message), 0);
        EXPECT_STREQ(message.report, command);
    };
    std::thread a(exchange, "AT+A");
    std::thread b(exchange, "AT+B");
    a.join();
    b.join();
}

// Both ends hold a message that ends where readable memory ends.
at_server_msg *at_end_of_page() {
    auto *pages = static_cast<char *>(
        mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    munmap(pages + 4096, 4096);
    return reinterpret_cast<at_server_msg *>(pages + 4096 - sizeof(at_server_msg));
}

TEST(AtLib, UnterminatedTextsStayWithinTheMessage) {
    AtScript server([](const at_server_msg &request) {
        at_server_msg reply = reply_to(request, AT_RET_SUCCESS, std::string(1500, 'r'));
        memset(reply.match, 'm', sizeof reply.match);
        reply.report_len = 0x41414141;
        return std::vector{reply};
    });
    LogCapture log;
    at_server_msg *message = at_end_of_page();
    memset(message, 'A', sizeof *message);
    message->mtype = osa_pthread_getid();
    message->timeout = 5;
    ASSERT_EQ(GetDataFromAtServer(message), 0);
    EXPECT_EQ(log.texts().at(1), "8 send_to_msgqueue:AT cmd= " + std::string(1500, 'A') +
                                     ", Id= " + std::to_string(message->mtype) + ", seq = 1\n");
    EXPECT_EQ(strlen(message->report), 1499u);
    EXPECT_EQ(strlen(message->match), 63u);
}

TEST(AtLib, ShortReplyIsFilledUpWithZeros) {
    AtScript server;
    at_server_msg sent = request("AT+X", 0);
    int32_t queue = osa_get_msgQ_id(AT_QUEUE_REPLIES);
    ASSERT_EQ(osa_msgQ_send(queue, &sent, 40, 0), 1);
    int32_t retcode = 5;
    at_server_msg message = request("AT+Y", 0);
    ASSERT_EQ(read_from_msgqueue(queue, &message, 1, &retcode), 0);
    EXPECT_EQ(retcode, 0);
    EXPECT_STREQ(message.match, "+X:");
    EXPECT_STREQ(message.report, "");

    // Too short even for a number: taken for a stale one.
    ASSERT_EQ(osa_msgQ_send(queue, &sent, 8, 0), 1);
    message.seq = 1;
    EXPECT_EQ(read_from_msgqueue(queue, &message, 1, &retcode), -1);
    EXPECT_EQ(osa_msgQ_num(queue), 0);
}

TEST(AtLib, ServerSideTakesTheFirstMessageOfItsType) {
    AtScript server;
    server.pause();
    int32_t queue = osa_get_msgQ_id(AT_QUEUE_REQUESTS);
    int32_t retcode = 5;
    at_server_msg sent = request("AT+X");
    sent.seq = 99;
    ASSERT_EQ(send_to_msgqueue(queue, &sent, &retcode), 0);
    EXPECT_EQ(retcode, 5);
    at_server_msg message = request("", 0);
    EXPECT_EQ(read_from_msgqueue(queue, &message, 0, &retcode), 0);
    EXPECT_EQ(memcmp(&message, &sent, sizeof sent), 0);
    server.resume();
}

TEST(AtLib, NullArguments) {
    LogCapture log;
    at_server_msg message = request("AT+X", 0);
    int32_t retcode = 0;
    EXPECT_EQ(send_to_msgqueue(1, nullptr, &retcode), -1);
    EXPECT_EQ(send_to_msgqueue(1, &message, nullptr), -1);
    EXPECT_EQ(read_from_msgqueue(1, nullptr, 1, &retcode), -1);
    EXPECT_EQ(read_from_msgqueue(1, &message, 1, nullptr), -1);
    retcode = 7;
    EXPECT_EQ(read_from_msgqueue(-1, &message, 1, &retcode), -1);
    EXPECT_EQ(retcode, 0);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{
                               "2  qbuf  or retcode is  NULL!\n", "2  qbuf  or retcode is  NULL!\n",
                               "2  qbuf NULL!\n", "2  qbuf NULL!\n", "2  qbuf NULL!\n"}));
    EXPECT_EQ(GetDataFromAtServer(nullptr), -1);
    EXPECT_EQ(ReadDataFromAtSrvProc(nullptr), -1);
    ATS_FreeMemory(nullptr);
    ATS_FreeMemory(malloc(1));
}

TEST(AtLib, ErrorLines) {
    struct {
        const char *line;
        int32_t id;
        const char *cut;
    } const rows[] = {
        {"+CME ERROR: 10", 13, "+CME ERROR"},
        {"\r\n+CME ERROR:   13  ", 13, "\r\n+CME ERROR"},
        {"+CME ERROR: SIM not inserted", 13, "+CME ERROR"},
        {"+CME ERROR: SIM failure", 13, "+CME ERROR"},
        {"+CME ERROR: 11", 11, "+CME ERROR"},
        {"+CME ERROR: SIM PUK required", 12, "+CME ERROR"},
        {"+CME ERROR: incorrect password", -3, "+CME ERROR"},
        {"+CME ERROR: 30", -3, "+CME ERROR"},
        {"+CME ERROR: 14", -1, "+CME ERROR"},
        {"+CME ERROR: NV item inactive", -1, "+CME ERROR"},
        {"+CME ERROR: another SPN query operation still not finished ", 65535, "+CME ERROR"},
        {"+CME ERROR: sim busy", 65535, "+CME ERROR"},
        {"+CME ERROR: ", -1, "+CME ERROR"},
        {"+CMS ERROR: 310", 13, "+CMS ERROR"},
        {"+CMS ERROR: 311", 11, "+CMS ERROR"},
        {"+CMS ERROR:313", 13, "+CMS ERROR"},
        {"+CMS ERROR: 316", 12, "+CMS ERROR"},
        {"+CMS ERROR: 500", -1, "+CMS ERROR"},
        {"+CMS ERROR: memory full", 65535, "+CMS ERROR"},
        {"ERROR", 65535, "ERROR"},
        {"OTHER: 10", 65535, "OTHER"},
        {": +CME ERROR", 65535, ""},
        {"", 65535, ""},
    };
    for (const auto &row : rows) {
        std::string line = row.line;
        EXPECT_EQ(Error_str_to_id(line.data()), row.id) << row.line;
        EXPECT_STREQ(line.c_str(), row.cut);
    }
    EXPECT_EQ(Error_str_to_id(nullptr), 65535);
}

TEST(AtLib, ErrorCodes) {
    at_error_code code{1, 2, 3};
    EXPECT_EQ(cms_to_id("3x", &code), -1);
    EXPECT_EQ(code.cms, 0);
    EXPECT_EQ(cms_to_id("316", &code), 0);
    EXPECT_EQ(code.type, 3);
    EXPECT_EQ(code.cms, 316);
    EXPECT_EQ(cme_to_id("no such words", &code), -1);
    EXPECT_EQ(code.cme, -1);
    EXPECT_EQ(cme_to_id("another SPN query operation still not finished ", &code), 0);
    EXPECT_EQ(code.cme, 65287);
    EXPECT_EQ(cme_to_id("network not allowed - emergency calls only", &code), 0);
    EXPECT_EQ(code.cme, 32);
    for (auto function : {cms_to_id, cme_to_id}) {
        EXPECT_EQ(function(nullptr, &code), -1);
        EXPECT_EQ(function("1", nullptr), -1);
    }
}

TEST(AtLib, EveryErrorOfTheTable) {
    std::ifstream file(HEARTH_SOURCE_DIR "/tests/ats/cme_errors.txt");
    std::string line;
    int rows = 0;
    while (std::getline(file, line)) {
        if (line[0] == '#') {
            continue;
        }
        size_t bar = line.find('|');
        at_error_code code{};
        EXPECT_EQ(cme_to_id(line.substr(bar + 1, line.size() - bar - 2).c_str(), &code), 0) << line;
        EXPECT_EQ(std::to_string(code.cme), line.substr(0, bar));
        rows++;
    }
    EXPECT_EQ(rows, 76);
}

TEST(AtLib, ImsiRoundTrip) {
    AtScript server;
    at_text_reply record;
    memset(&record, 0x55, sizeof record);
    at_text_reply untouched = record;

    server.answer({{AT_RET_SUCCESS, "460071234567890"}});
    EXPECT_EQ(AT_imsi(nullptr), -1);
    EXPECT_TRUE(server.requests().empty());
    ASSERT_EQ(AT_imsi(&record), 0);
    EXPECT_EQ(record.value, untouched.value);
    EXPECT_STREQ(record.text, "460071234567890");
    EXPECT_EQ(record.err, -2);

    at_server_msg sent{};
    sent.mtype = osa_pthread_getid();
    sent.seq = 1;
    sent.timeout = 30;
    strcpy(sent.report, "AT+CIMI");
    EXPECT_EQ(memcmp(&server.requests().at(0), &sent, sizeof sent), 0);

    server.answer({{AT_RET_SUCCESS, std::string(200, '4')}});
    ASSERT_EQ(AT_imsi(&record), 0);
    EXPECT_EQ(record.text, std::string(127, '4'));

    for (int32_t ret_val : {0, 1, 3, 4, 5}) {
        record = untouched;
        server.answer({{ret_val, "+CME ERROR: 10"}});
        EXPECT_EQ(AT_imsi(&record), -1);
        EXPECT_EQ(memcmp(&record, &untouched, sizeof record), 0);
    }
}

}  // namespace
