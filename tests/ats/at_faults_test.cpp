// Memory runs out at each place of the commands that are more than one record.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "hearth/at_k7.h"
#include "hearth/at_network.h"
#include "hearth/at_pb.h"
#include "hearth/at_sms.h"
#include "hearth/at_stk.h"
#include "hearth/at_usim.h"
#include "support/at_member.h"
#include "support/log_capture.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

struct Command {
    const char *name;
    const char *reply;
    int32_t (*run)();
    const char *quiet = "";
    bool in_child = false;
};

// A reply with a body of nine bytes.
constexpr const char *kRawMessage =
    "^HCMGR: \"+15550100\",2026,11,23,1,2,3,5,6,9,7,8,9,1\r\nA body...";

const Command kCommands[] = {
    {"at: list of operators", "^OPL:\"46001\",\"x\",1\r\n^OPL:\"46000\",\"y\",2",
     [] {
         at_opl_list list{};
         int32_t result = AT_GetOPList(1, &list);
         EXPECT_EQ(result == 0, list.opl_list != nullptr);
         free(list.opl_list);
         return result;
     }},
    {"at: list of network names", "^PNN:a,b,c\r\n^PNN:d,e,f",
     [] {
         at_pnn_req in{1, 2};
         uint32_t count = 9;
         at_pnn_entry *list = nullptr;
         int32_t result = AT_GetPnnList(&in, &count, &list);
         EXPECT_EQ(result == 0, list != nullptr);
         free(list);
         return result;
     }},
    {"at: toolkit menu", "^STGI: 300,3,\"Weather\",1\r\n^STGI: 300,3,\"Sports\",1",
     [] {
         at_stgi_req request{36, 1};
         uint32_t count = 0;
         at_stk_item *list = nullptr;
         int32_t result = AT_Stgi(1, &count, &request, &list);
         EXPECT_EQ(result == 0, list != nullptr);
         free(list);
         return result;
     }},
    {"at: SIM file", "+CRSM: 144,0,\"00FF\"",
     [] {
         at_crsm_req request{176, 28589, 0, 0, 4, nullptr};
         at_crsm_rsp response{};
         int32_t result = AT_Crsm(&request, &response);
         EXPECT_EQ(result == 0, response.response != nullptr);
         free(response.response);
         return result;
     }},
    {"at: access point in a SIM file", "+CRSM: 144,0,\"01DD070361626302\"",
     [] {
         char apn[33] = "";
         return AT_get_sim_apn(apn);
     }},
    {"at: message as text", "+CMGR: 1,,2\r\n0011",
     [] {
         at_cmgr_msg record{};
         return AT_Cmgr(&record);
     }},
    {"at: raw message", kRawMessage,
     [] {
         at_hcmgr_req request{4, 1};
         at_hcmgr_msg record{};
         return AT_Hcmgr(&request, &record);
     }},
    {"at: places of messages", "+CMGD: (1,2,7),(0-4)",
     [] {
         at_cmgd_list list{};
         int32_t result = AT_Cmgd(0, nullptr, &list);
         EXPECT_EQ(list.count, list.indexes == nullptr ? 0u : 3u);
         free(list.indexes);
         return result;
     }},
    {"at: phonebook limits", "^CPBR: (1-250),40,20,3",
     [] {
         at_cpbr_req request{3, 0};
         at_cpbr_info info{};
         return AT_Cpbr(2, &request, &info);
     }},
    {"at: phonebook storage", "+CPBS: \"SM\",3,250",
     [] {
         at_cpbs_info info{};
         return AT_Cpbs(0, nullptr, &info);
     }},
    // Kept for the life of the process after the first success.
    {"at: versions", "^VERSION:EXTD:2013\r\n^VERSION:EXTH:B1\r\n^VERSION:EXTS:11",
     [] {
         at_version_reply record{};
         return at_version(&record);
     },
     "", true},
};

TEST(AtFaults, MemoryRunsOutAnywhere) {
    silence_log();
    AtStandIn modem;
    for (const Command &command : kCommands) {
        Sweep row{command.name,
                  [&] {
                      modem.answer({{AT_RET_SUCCESS, command.reply}});
                  },
                  command.run};
        row.quiet = command.quiet;
        row.in_child = command.in_child;
        sweep_all({&row, 1});
        ASSERT_FALSE(HasFailure());
    }
}

}  // namespace
