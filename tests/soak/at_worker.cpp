// AT commands whose answers are known, so that one that reaches the wrong caller is seen.
#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>

#include "hearth/at_lib.h"
#include "hearth/at_network.h"
#include "hearth/at_pb.h"
#include "soak/worker.h"

namespace hearth::soak {

namespace {

// Fails when a command was lost although the server was there all the time.
void judge_lost(const char *command, int64_t start, int64_t limit_ms) {
    count(kCommandsLost);
    int64_t took = monotonic_ms() - start;
    if (board().at_server.was_up(start, 1000)) {
        fail("at: %s lost after %lld of %lld ms while the server was there", command,
             static_cast<long long>(took), static_cast<long long>(limit_ms));
    }
}

constexpr struct {
    const char *command;
    const char *match;
    int32_t result;
    const char *answer;  // is in the response
} kQuestions[] = {
    {"AT+CGSN", "", AT_RET_SUCCESS, "490154203237518"},
    {"AT+CIMI", "", AT_RET_SUCCESS, "001010123456789"},
    {"AT+CGMM", "", AT_RET_SUCCESS, "Desk Modem"},
    {"AT^CPBR=1", "^CPBR:", AT_RET_SUCCESS, "+15550100"},
    {"AT^CPBR=2", "^CPBR:", AT_RET_SUCCESS, "5550101"},
    {"AT+CREG?", "+CREG:", AT_RET_SUCCESS, "+CREG: "},
    {"AT+CPIN?", "+CPIN:", AT_RET_SUCCESS, "READY"},
    {"AT+NOSUCH", "", AT_RET_ERROR, "ERROR"},
};

// A handler gets 5 seconds, which the library counts in steps of 10 ms that take longer.
constexpr int32_t kSeconds = 5;

void ask(Hand &hand) {
    const auto &question = kQuestions[hand.pick(std::size(kQuestions))];
    at_server_msg message{};
    message.mtype = static_cast<int32_t>(syscall(SYS_gettid));
    message.timeout = kSeconds;
    strcpy(message.match, question.match);
    strcpy(message.report, question.command);
    int64_t start = monotonic_ms();
    int32_t result = hand.call(question.command, 4 * kSeconds * 1000,
                               [&] { return GetDataFromAtServer(&message); });
    if (result != 0) {
        if (result != -1) {
            fail("at: %s gave %d", question.command, result);
        }
        judge_lost(question.command, start, kSeconds * 1000);
        return;
    }
    count(kCommands);
    if (message.Ret_val != question.result || strstr(message.report, question.answer) == nullptr) {
        fail("at: %s was answered %d \"%.100s\"", question.command, message.Ret_val,
             message.report);
    }
}

// The command functions wait for up to 30 seconds.
constexpr int64_t kFunctionMs = 30000;

void read_contact(Hand &hand) {
    at_cpbr_req request{1 + hand.pick(2), 0};
    at_cpbr_info entry{};
    int64_t start = monotonic_ms();
    int32_t result =
        hand.call("AT_Cpbr", 2 * kFunctionMs, [&] { return AT_Cpbr(1, &request, &entry); });
    if (result != 0) {
        judge_lost("AT_Cpbr", start, kFunctionMs);
        return;
    }
    count(kCommands);
    const char *name = request.index == 1 ? "Ada" : "Workshop";
    if (entry.index != request.index || strcmp(entry.text, name) != 0) {
        fail("at: contact %u came as %u \"%.80s\"", request.index, entry.index, entry.text);
    }
}

void read_registration(Hand &hand) {
    at_creg_info info{};
    int64_t start = monotonic_ms();
    int32_t result =
        hand.call("AT_Creg", 2 * kFunctionMs, [&] { return AT_Creg(AT_CMD_TYPE_CHECK, &info); });
    if (result != 0) {
        judge_lost("AT_Creg", start, kFunctionMs);
        return;
    }
    count(kCommands);
    if (info.stat != 1 || info.err != AT_ERR_NONE) {
        fail("at: registration %d, error %d", info.stat, info.err);
    }
}

}  // namespace

void ask_modem(const Worker &worker, int threads) {
    in_threads(worker, threads, [](Hand &hand) {
        hand.repeat([&hand] {
            // Few of those that wait long for a server that died.
            switch (hand.pick(40)) {
                case 0:
                    return read_contact(hand);
                case 1:
                    return read_registration(hand);
                default:
                    return ask(hand);
            }
        });
    });
}

}  // namespace hearth::soak
