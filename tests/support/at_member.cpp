#include "support/at_member.h"

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

#include "support/faults.h"

using hearth::test::AtStandIn;

namespace {

std::vector<AtStandIn::Answer> g_answers;
std::vector<at_server_msg> g_requests;
bool g_active;

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t GetDataFromAtServer(
    at_server_msg *message) {
    if (!g_active) {
        static auto *real = reinterpret_cast<decltype(&::GetDataFromAtServer)>(
            dlsym(RTLD_NEXT, "GetDataFromAtServer"));
        return real(message);
    }
    g_requests.push_back(*message);
    memset(message->match, 0, sizeof *message - offsetof(at_server_msg, match));
    if (g_answers.empty()) {
        return -1;
    }
    const AtStandIn::Answer &answer = g_answers[std::min(g_requests.size(), g_answers.size()) - 1];
    if (answer.result != 0) {
        return answer.result;
    }
    size_t length = std::min(answer.report.size(), sizeof message->report - 1);
    memcpy(message->report, answer.report.data(), length);
    message->report_len = answer.report_len.value_or(static_cast<uint32_t>(length));
    message->Ret_val = answer.ret_val;
    return 0;
}

namespace hearth::test {

AtStandIn::AtStandIn() {
    g_active = true;
    answer({});
}

AtStandIn::~AtStandIn() {
    g_active = false;
}

void AtStandIn::answer(std::vector<Answer> answers) {
    g_answers = std::move(answers);
    g_requests.clear();
}

const std::vector<at_server_msg> &AtStandIn::requests() const {
    return g_requests;
}

std::vector<std::string> AtStandIn::commands() const {
    std::vector<std::string> commands;
    for (const at_server_msg &request : g_requests) {
        commands.emplace_back(request.report);
    }
    return commands;
}

void expect_sent(const at_server_msg &message, const Sent &sent) {
    at_server_msg expected{};
    expected.mtype = static_cast<int32_t>(sent.as_process ? getpid() : syscall(SYS_gettid));
    expected.req_class = sent.req_class;
    expected.req_param = sent.req_param;
    expected.multi_line = sent.multi_line;
    expected.timeout = sent.timeout;
    memcpy(expected.match, sent.match.data(), sent.match.size());
    memcpy(expected.report, sent.command.data(), sent.command.size());
    EXPECT_STREQ(message.report, expected.report);
    EXPECT_STREQ(message.match, expected.match);
    EXPECT_EQ(message.timeout, expected.timeout);
    EXPECT_EQ(memcmp(&message, &expected, sizeof message), 0);
}

namespace {

// Calls the function once and compares result and record.
void expect_outcome(AtStandIn &modem, const ErasedCase &row, const AtStandIn::Answer &answer,
                    int32_t result, const std::string &expected) {
    SCOPED_TRACE(std::string(row.name) + " on " + std::to_string(answer.ret_val) + " " +
                 answer.report);
    modem.answer({answer});
    std::string record = row.input;
    EXPECT_EQ(row.call(record.data()), result);
    EXPECT_EQ(record, expected);
}

std::string with_err(const ErasedCase &row, int32_t id) {
    std::string record = row.input;
    if (row.err != kNoErrField) {
        memcpy(record.data() + row.err, &id, sizeof id);
    }
    return record;
}

void check_refusals(AtStandIn &modem, const ErasedCase &row) {
    bool maps = row.refusal == OnRefusal::kMap || row.refusal == OnRefusal::kMapAndFail;
    bool fails = row.refusal == OnRefusal::kFail || row.refusal == OnRefusal::kMapAndFail;
    for (int32_t ret_val : {AT_RET_ERROR, AT_RET_REFUSED}) {
        expect_outcome(modem, row, {ret_val, "+CME ERROR: 30"}, fails ? -1 : 0,
                       maps ? with_err(row, AT_ERR_REJECTED) : row.input);
    }
    for (int32_t ret_val : {static_cast<int32_t>(AT_RET_FAILURE), 0}) {
        expect_outcome(modem, row, {ret_val, "+CME ERROR: 30"}, -1, row.input);
    }
}

// With each allocation failing in turn: a failure, or all of the record, and nothing kept.
void check_without_memory(AtStandIn &modem, const ErasedCase &row) {
    bool fired = true;
    int n = 0;
    while (fired) {
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        std::string record = row.input;
        long before = holdings().blocks;
        arm_fault(Fault::kFail, kAllocations, ++n, ENOMEM);
        int32_t result = row.call(record.data());
        fired = disarm_fault();
        EXPECT_EQ(holdings().blocks, before) << "allocation " << n;
        // Without a parse that may fail, or with one whose failure is passed over, all may go.
        EXPECT_TRUE(!row.parses || result == -1 || (result == 0 && record == row.expected))
            << "allocation " << n;
    }
    count_faults(n - 1);
}

}  // namespace

void check_erased(AtStandIn &modem, const ErasedCase &row) {
    SCOPED_TRACE(row.name);
    expect_outcome(modem, row, {AT_RET_SUCCESS, row.reply}, 0, row.expected);
    ASSERT_EQ(modem.requests().size(), 1u);
    expect_sent(modem.requests()[0], row.sent);
    if (row.parses) {
        expect_outcome(modem, row, {AT_RET_SUCCESS, "OK"}, -1,
                       row.err_before_list ? with_err(row, AT_ERR_NONE) : row.input);
    }
    check_refusals(modem, row);
    check_without_memory(modem, row);
    expect_outcome(modem, row, {0, "", -1}, -1, row.input);
    if (row.null_record) {
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        EXPECT_EQ(row.call(nullptr), -1);
        EXPECT_TRUE(modem.requests().empty());
    }
}

}  // namespace hearth::test
