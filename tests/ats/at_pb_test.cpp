#include "hearth/at_pb.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "support/at_member.h"

using namespace hearth::test;
using namespace std::string_literals;

namespace {

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);

TEST(AtPhonebook, Storage) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_cpbs_info>{
                            .name = "AT_Cpbs query",
                            .call = [](at_cpbs_info *r) { return AT_Cpbs(0, nullptr, r); },
                            .sent = {.command = "AT+CPBS?", .match = "+CPBS:"},
                            .reply = "+CPBS: \"SM\",12,250",
                            .expected = {12, 250, "SM", kNoError},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_cpbs_info, err),
                            .err_before_list = true});
    check_member(modem, MemberCase<at_cpbs_set>{
                            .name = "AT_Cpbs set",
                            .call = [](at_cpbs_set *r) { return AT_Cpbs(1, r, nullptr); },
                            .sent = {.command = "AT+CPBS=\"ME\""},
                            .reply = "OK",
                            .input = {"ME", 0},
                            .expected = {"ME", kNoError},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_cpbs_set, err),
                            .parses = false});
}

// A command to write: the request, and the bytes of the command up to its length word.
struct Write {
    uint32_t op, coding;
    std::string number, text, command;
};

TEST(AtPhonebook, Write) {
    const Write rows[] = {
        {0, 1, "+15550100", "Ada", "AT^CPBW=7,\"+15550100\",145,\"Ada\",1"},
        {1, 2, "", "\0A\0d,\"a"s, "AT^CPBW=7,\"\",145,\"\0A\0d,\"a\",2"s},
        {0, 7, "1", "", "AT^CPBW=7,\"1\",145,\"\",0"},
        {1, 0, std::string(80, '5'), std::string(512, '\x1a'),
         "AT^CPBW=7,\"" + std::string(80, '5') + "\",145,\"" + std::string(512, '\x1a') + "\",0"},
    };
    AtStandIn modem;
    for (const Write &row : rows) {
        at_cpbw_req request{};
        request.op = row.op;
        request.index = 7;
        request.type = 145;
        request.coding = row.coding;
        request.text_length = static_cast<uint32_t>(row.text.size());
        memcpy(request.number, row.number.data(), row.number.size());
        memcpy(request.text, row.text.data(), row.text.size());
        modem.answer({{AT_RET_SUCCESS, "OK"}});
        EXPECT_EQ(AT_Cpbw(1, &request, 0), 0);
        EXPECT_EQ(request.err, kNoError);
        ASSERT_EQ(modem.requests().size(), 1u);

        std::string expected(sizeof at_server_msg::report, '\0');
        expected.replace(0, row.command.size(), row.command);
        auto length = static_cast<uint32_t>(row.command.size());
        memcpy(&expected[640], &length, sizeof length);
        at_server_msg sent = modem.requests()[0];
        EXPECT_EQ(std::string(sent.report, sizeof sent.report), expected);
        memset(sent.report, 0, sizeof sent.report);
        expect_sent(sent, {});
    }
}

TEST(AtPhonebook, WriteAndDeleteOutcomes) {
    at_cpbw_req request{2, 300, 9, 9, 600, "unread", "unread", 0};
    at_cpbw_req done = request;
    done.err = kNoError;
    AtStandIn modem;
    check_member(modem,
                 MemberCase<at_cpbw_req>{.name = "AT_Cpbw delete",
                                         .call = [](at_cpbw_req *r) { return AT_Cpbw(1, r, 1); },
                                         .sent = {.command = "AT^CPBW=300"},
                                         .reply = "OK",
                                         .input = request,
                                         .expected = done,
                                         .refusal = OnRefusal::kMap,
                                         .err = offsetof(at_cpbw_req, err),
                                         .parses = false});
    struct {
        AtStandIn::Answer answer;
        int32_t result;
        uint32_t err;
    } const rows[] = {{{AT_RET_ERROR, "+CME ERROR: 11"}, 0, AT_ERR_SIM_PIN},
                      {{AT_RET_REFUSED, "+CME ERROR: 20"}, 0, static_cast<uint32_t>(AT_ERR_OTHER)},
                      {{AT_RET_FAILURE, ""}, -1, 99},
                      {{0, "", 8}, 8, 99}};
    for (const auto &row : rows) {
        at_cpbw_req write{0, 1, 129, 0, 1, "1", "A", 99};
        modem.answer({row.answer});
        EXPECT_EQ(AT_Cpbw_Execute(&write), row.result);
        EXPECT_EQ(write.err, row.err);
    }
}

TEST(AtPhonebook, ReadLimits) {
    AtStandIn modem;
    struct {
        const char *reply;
        uint32_t first, last, nlength, tlength, mlength;
    } const rows[] = {
        {"^CPBR: (1-250),40,14,10", 1, 250, 40, 14, 10},
        {"^CPBR: (0-99),20", 0, 99, 20, 0, 0},
        {"^CPBR: (5),20,14,10", 5, 77, 20, 14, 10},
        {"^CPBR: -,1,2,3", 77, 77, 1, 2, 3},
        {"^CPBR: ,1,2,3", 77, 77, 1, 2, 3},
        {"^CPBR: (-5),1,2,3", 0, 5, 1, 2, 3},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.reply);
        modem.answer({{AT_RET_SUCCESS, row.reply}});
        at_cpbr_req request{3, 99};
        at_cpbr_info info{};
        info.first_index = info.last_index = 77;
        EXPECT_EQ(AT_Cpbr(2, &request, &info), 0);
        EXPECT_EQ(info.first_index, row.first);
        EXPECT_EQ(info.last_index, row.last);
        EXPECT_EQ(info.nlength, row.nlength);
        EXPECT_EQ(info.tlength, row.tlength);
        EXPECT_EQ(info.mlength, row.mlength);
        EXPECT_EQ(info.err, kNoError);
        EXPECT_EQ(request.err, 99u);
        expect_sent(modem.requests()[0],
                    {.command = "AT^CPBR=?", .match = "^CPBR:", .multi_line = 1});
    }
}

at_cpbr_info read_entry(AtStandIn &modem, const std::string &reply, int32_t result = 0) {
    SCOPED_TRACE(reply);
    modem.answer({{AT_RET_SUCCESS, reply}});
    at_cpbr_req request{3, 99};
    at_cpbr_info info{};
    EXPECT_EQ(AT_Cpbr(1, &request, &info), result);
    EXPECT_EQ(request.err, 99u);
    EXPECT_EQ(info.err, kNoError);
    EXPECT_EQ(modem.requests().size(), 1u);
    expect_sent(modem.requests()[0], {.command = "AT^CPBR=3", .multi_line = 1});
    return info;
}

TEST(AtPhonebook, ReadEntry) {
    struct {
        std::string reply;
        uint32_t index, type, coding;
        std::string number, text;
    } const rows[] = {
        {"^CPBR: 3,\"+15550100\",145,\"Ada\",0", 3, 145, 0, "+15550100", "Ada"},
        {"^CPBR: 3,\"\",129,\"\",1", 3, 129, 1, "", ""},
        {"^CPBR: 3,\"1\"", 3, 0, 0, "1", ""},
        // A long name is cut.
        {"^CPBR: 3,\"1\",129,\"" + std::string(600, 'n') + "\",0", 3, 129, 0, "1",
         std::string(511, 'n')},
        // Names with zero bytes are read whole, separators and quotation marks within included.
        {"^CPBR: 4,\"+15550100\",145,\"\0A\0,\0B\",2"s, 4, 145, 2, "+15550100", "\0A\0,\0B"s},
        {"^CPBR: 5,\"\",129,\"\"\0\",\",1"s, 5, 129, 1, "", "\"\0\","s},
        // Longer than their fields.
        {"^CPBR: 6,\"" + std::string(99, '7') + "\",129,\"\0\",1"s, 6, 129, 1, std::string(79, '7'),
         "\0"s},
        {"^CPBR: 6,\"1\",129,\"\0"s + std::string(700, 'n') + "\",1", 6, 129, 1, "1",
         "\0"s + std::string(511, 'n')},
        // Cut in the middle, or nonsense.
        {"^CPBR: 7,\"12\",129,\"\0\0\0"s, 7, 129, 0, "12", ""},
        {"^CPBR: 8,9\0,1"s, 8, 0, 1, "", ""},
        {"^CPBR:\0\0\0"s, 0, 0, 0, "", ""},
    };
    AtStandIn modem;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.reply);
        at_cpbr_info info = read_entry(modem, row.reply);
        EXPECT_EQ(info.index, row.index);
        EXPECT_EQ(info.type, row.type);
        EXPECT_EQ(info.coding, row.coding);
        EXPECT_EQ(info.number, row.number);
        EXPECT_EQ(std::string(info.text, info.text_length), row.text);
    }
}

TEST(AtPhonebook, ReadRefusalsGoToTheRequest) {
    AtStandIn modem;
    for (int32_t action : {1, 2}) {
        struct {
            AtStandIn::Answer answer;
            int32_t result;
            uint32_t request_err, info_err;
        } const rows[] = {
            {{AT_RET_ERROR, "+CME ERROR: 10"}, 0, AT_ERR_SIM_FAILURE, 99},
            {{AT_RET_REFUSED, "ERROR"}, 0, AT_ERR_NO_ERROR_LINE, 99},
            {{AT_RET_FAILURE, ""}, -1, 99, 99},
            {{AT_RET_SUCCESS, "OK"}, -1, 99, kNoError},
            {{0, "", -1}, -1, 99, 99},
            {{0, "", 3}, 0, 99, 99},
        };
        for (const auto &row : rows) {
            SCOPED_TRACE(row.answer.report);
            at_cpbr_req request{1, 99};
            at_cpbr_info info{};
            info.err = 99;
            modem.answer({row.answer});
            EXPECT_EQ(AT_Cpbr(action, &request, &info), row.result);
            EXPECT_EQ(request.err, row.request_err);
            EXPECT_EQ(info.err, row.info_err);
            EXPECT_EQ(info.index, 0u);
        }
    }
}

TEST(AtPhonebook, LengthOfTheReply) {
    AtStandIn modem;
    std::string reply = "^CPBR: 1,\"1\",129,\"A\",0";
    struct {
        uint32_t report_len;
        int32_t result;
        uint32_t text_length;
    } const rows[] = {{static_cast<uint32_t>(reply.size()) - 1, -1, 0},
                      {0, -1, 0},
                      {static_cast<uint32_t>(reply.size()), 0, 1},
                      // More than the message holds.
                      {UINT32_MAX, 0, 1}};
    for (const auto &row : rows) {
        modem.answer({{AT_RET_SUCCESS, reply, 0, row.report_len}});
        at_cpbr_req request{};
        at_cpbr_info info{};
        EXPECT_EQ(AT_Cpbr_Execute(&request, &info), row.result);
        EXPECT_EQ(info.err, kNoError);
        EXPECT_EQ(info.text_length, row.text_length);
    }
}

TEST(AtPhonebook, NothingIsSentForBadArguments) {
    AtStandIn modem;
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    at_cpbs_set set{};
    at_cpbs_info storage{};
    at_cpbr_req request{};
    at_cpbr_info info{};
    at_cpbw_req write{};
    EXPECT_EQ(AT_Cpbs(2, &set, &storage), 0);
    EXPECT_EQ(AT_Cpbs(-1, nullptr, nullptr), 0);
    EXPECT_EQ(AT_Cpbr(0, &request, &info), 0);
    EXPECT_EQ(AT_Cpbr(3, nullptr, nullptr), 0);
    for (int32_t action : {1, 2}) {
        EXPECT_EQ(AT_Cpbr(action, nullptr, &info), -1);
        EXPECT_EQ(AT_Cpbr(action, &request, nullptr), -1);
    }
    EXPECT_EQ(AT_Cpbw(2, &write, 0), -1);
    EXPECT_EQ(AT_Cpbw(2, &write, 1), 0);
    EXPECT_EQ(AT_Cpbw(0, nullptr, 0), 0);
    EXPECT_EQ(AT_Cpbw(3, nullptr, 0), 0);
    EXPECT_EQ(AT_Cpbw(1, nullptr, 0), -1);
    write.text_length = 513;
    EXPECT_EQ(AT_Cpbw(1, &write, 0), -1);
    write.text_length = UINT32_MAX;
    EXPECT_EQ(AT_Cpbw(1, &write, 0), -1);
    write.text_length = 0;
    write.op = 3;
    EXPECT_EQ(AT_Cpbw(1, &write, 0), -1);
    EXPECT_TRUE(modem.requests().empty());
}

}  // namespace
