#include "hearth/at_stk.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "support/at_member.h"
#include "support/faults.h"
#include "support/log_capture.h"

using namespace hearth::test;

namespace {

using Fetch = int32_t (*)(int32_t, uint32_t *, const at_stgi_req *, at_stk_item **);

struct Kind {
    const char *name;
    Fetch fetch;
    const char *line;
    bool logs;
    void (*expect)(const at_stk_item &item);
};

const Kind kKinds[] = {
    {"menu", AT_Stgi, "^STGI: 300,3,\"Weather\",1", false,
     [](const at_stk_item &item) {
         EXPECT_EQ(item.Identifier, 44) << "cut to eight bits";
         EXPECT_EQ(item.NbItems, 3);
         EXPECT_STREQ(item.MenuName, "Weather");
         EXPECT_EQ(item.MenuHelpInfo, 1);
         EXPECT_EQ(item.HelpInfo, 0);
     }},
    {"text", AT_StgiText, "^STGI: \"Hello\",4,1,30", true,
     [](const at_stk_item &item) {
         EXPECT_STREQ(item.TextInfo, "Hello");
         EXPECT_EQ(item.TextFormat, 4);
         EXPECT_EQ(item.ClearMode, 1);
         EXPECT_EQ(item.DurationTime, 30);
     }},
    {"input", AT_StgiInput, "^STGI: \"Name?\",4,1,2,3,5,20,1,\"Ann\",8", true,
     [](const at_stk_item &item) {
         EXPECT_STREQ(item.TextInfo, "Name?");
         EXPECT_EQ(item.TextFormat, 4);
         EXPECT_EQ(item.RspFormat, 1);
         EXPECT_EQ(item.PackMode, 2);
         EXPECT_EQ(item.EchoMode, 3);
         EXPECT_EQ(item.SizeMin, 5);
         EXPECT_EQ(item.SizeMax, 20);
         EXPECT_EQ(item.HelpInfo, 1);
         EXPECT_STREQ(item.DefaultTextInfo, "Ann");
         EXPECT_EQ(item.DefaultTextCode, 8);
     }},
    {"inkey", AT_StgiInkey, "^STGI: \"Key?\",4,1,1,9", true,
     [](const at_stk_item &item) {
         EXPECT_STREQ(item.TextInfo, "Key?");
         EXPECT_EQ(item.RspFormat, 1);
         EXPECT_EQ(item.HelpInfo, 0) << "read with the table of input, as is required";
         EXPECT_EQ(item.TimeOut, 0);
     }},
    {"refresh", AT_StgiRefresh, "^STGI: 4", true,
     [](const at_stk_item &item) { EXPECT_EQ(item.RefreshType, 4); }},
    {"browser", AT_StgiBrowser, "^STGI: \"http://a.example\",2", true,
     [](const at_stk_item &item) {
         EXPECT_STREQ(item.URL, "http://a.example");
         EXPECT_EQ(item.LaunchMode, 2);
     }},
};

constexpr at_stgi_req kRequest{36, 1};

TEST(AtStk, EveryKindFillsItsFieldsFromEachLine) {
    AtStandIn modem;
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.name);
        modem.answer({{AT_RET_SUCCESS, std::string(kind.line) + "\r\n" + kind.line}});
        uint32_t count = 0;
        at_stk_item *list = nullptr;
        ASSERT_EQ(kind.fetch(1, &count, &kRequest, &list), 0);
        ASSERT_EQ(modem.requests().size(), 1u);
        expect_sent(modem.requests()[0], {.command = "AT^STGI=36,1", .multi_line = 1});
        ASSERT_EQ(count, 2u);
        for (uint32_t i = 0; i < count; i++) {
            kind.expect(list[i]);
            EXPECT_EQ(list[i].err, static_cast<uint32_t>(AT_ERR_NONE));
        }
        free(list);
    }
}

TEST(AtStk, ActionsNullsAndRefusals) {
    AtStandIn modem;
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.name);
        uint32_t count = 7;
        at_stk_item *list = nullptr;
        at_stk_item **const nowhere = nullptr;
        modem.answer({{AT_RET_SUCCESS, kind.line}});
        EXPECT_EQ(kind.fetch(0, &count, &kRequest, &list), -1);
        EXPECT_EQ(kind.fetch(2, &count, &kRequest, &list), 0);
        EXPECT_EQ(kind.fetch(1, nullptr, &kRequest, &list), -1);
        EXPECT_EQ(kind.fetch(1, &count, nullptr, &list), -1);
        EXPECT_EQ(kind.fetch(1, &count, &kRequest, nowhere), -1);
        EXPECT_TRUE(modem.requests().empty());
        for (int32_t ret_val : {AT_RET_ERROR, AT_RET_REFUSED}) {
            modem.answer({{ret_val, "+CME ERROR: 10"}});
            EXPECT_EQ(kind.fetch(1, &count, &kRequest, &list), 0);
        }
        modem.answer({{AT_RET_FAILURE, "ERROR"}});
        EXPECT_EQ(kind.fetch(1, &count, &kRequest, &list), -1);
        EXPECT_EQ(count, 7u);
        EXPECT_EQ(list, nullptr);
    }
}

TEST(AtStk, AFailedFetchLeavesNoList) {
    AtStandIn modem;
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.name);
        LogCapture log;
        at_stk_item *list = reinterpret_cast<at_stk_item *>(8);
        uint32_t count = 7;
        modem.answer({{AT_RET_SUCCESS, "no line of this command"}});
        EXPECT_EQ(kind.fetch(1, &count, &kRequest, &list), -1);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(log.texts().back() == "16 [stk-ats]NULL == at_parse_result", kind.logs);
        modem.answer({{AT_RET_SUCCESS, ""}});
        EXPECT_EQ(kind.fetch(1, &count, &kRequest, &list), -1);
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(log.texts().back(), "2 AT_Stgi get_substring error\n");
    }
    int faults = for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        modem.answer({{AT_RET_SUCCESS, kKinds[0].line}});
        uint32_t count = 0;
        at_stk_item *list = nullptr;
        int32_t result = AT_Stgi(1, &count, &kRequest, &list);
        EXPECT_EQ(result == 0, list != nullptr);
        free(list);
    });
    EXPECT_GT(faults, 3);
}

TEST(AtStk, ReadsAsManyLinesAsAReplyHolds) {
    AtStandIn modem;
    std::string reply;
    for (int i = 0; i < 200; i++) {
        reply += "^STGI:";
    }
    modem.answer({{AT_RET_SUCCESS, reply}});
    uint32_t count = 0;
    at_stk_item *list = nullptr;
    EXPECT_EQ(AT_StgiRefresh(1, &count, &kRequest, &list), 0);
    EXPECT_EQ(count, 200u);
    free(list);
}

TEST(AtStk, Settings) {
    AtStandIn modem;
    check_member(modem, MemberCase<at_stsf_info>{
                            .name = "AT_Stsf query",
                            .call = [](at_stsf_info *info) { return AT_Stsf(0, nullptr, info); },
                            .sent = {.command = "AT^STSF?"},
                            .reply = "^STSF: 2,\"5FFF\",30",
                            .expected = {2, "5FFF", 30, static_cast<uint32_t>(-2)},
                            .refusal = OnRefusal::kMap,
                            .err = offsetof(at_stsf_info, err)});
    uint8_t mode = 1;
    check_member(modem, MemberCase<at_stsf_info>{
                            .name = "AT_Stsf set",
                            .call = [&](at_stsf_info *info) { return AT_Stsf(1, &mode, info); },
                            .sent = {.command = "AT^STSF=1"},
                            .reply = "OK",
                            .expected = {0, "", 0, static_cast<uint32_t>(-2)},
                            .err = offsetof(at_stsf_info, err),
                            .parses = false});
    at_stsf_info info{};
    modem.answer({{AT_RET_SUCCESS, "OK"}});
    EXPECT_EQ(AT_Stsf(1, nullptr, &info), -1);
    EXPECT_EQ(AT_Stsf(2, &mode, &info), -1);
    EXPECT_TRUE(modem.requests().empty());
}

TEST(AtStk, AnswersInThreeForms) {
    AtStandIn modem;
    LogCapture log;
    struct Case {
        uint8_t form;
        const char *command;
    };
    for (const Case &c :
         {Case{0, "AT^STGR=36,0,4,2"}, Case{1, "AT^STGR=36,0,4,\"hi\""}, Case{5, "AT^STGR=36,0"}}) {
        at_stgr_req request{36, 0, 4, c.form, 2, "hi"};
        uint32_t result = 7;
        modem.answer({{AT_RET_SUCCESS, "OK"}});
        log.clear();
        EXPECT_EQ(AT_Stgr(1, &request, &result), 0);
        expect_sent(modem.requests().at(0), {.command = c.command});
        EXPECT_EQ(result, static_cast<uint32_t>(AT_ERR_NONE));
        EXPECT_EQ(log.texts(),
                  (std::vector<std::string>{
                      std::string("16 msg_buf.snd_rcv_msg.smsg.at_cmd_str=") + c.command + "\n",
                      "16 [stk-stgr]GetDataFromAtServer return ret=0\n"}));
        modem.answer({{AT_RET_ERROR, "+CME ERROR: 3"}});
        result = 7;
        EXPECT_EQ(AT_Stgr(1, &request, &result), 0);
        EXPECT_EQ(result, 7u);
        modem.answer({{AT_RET_FAILURE, ""}});
        EXPECT_EQ(AT_Stgr(1, &request, &result), -1);
        EXPECT_EQ(AT_Stgr(0, &request, &result), -1);
        EXPECT_EQ(AT_Stgr(1, &request, nullptr), -1);
        EXPECT_EQ(AT_Stgr(1, nullptr, &result), -1);
        EXPECT_EQ(modem.requests().size(), 1u);
    }
}

}  // namespace
