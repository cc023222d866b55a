// Replies through the message, phonebook and PIN commands. Input: member, Ret_val, then the reply.
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <memory>

#include "hearth/at_lib.h"
#include "hearth/at_pb.h"
#include "hearth/at_security.h"
#include "hearth/at_sms.h"

namespace {

const uint8_t *g_reply;
size_t g_length;
int32_t g_ret_val;

// A record of exact size, so that a sanitizer sees a step beyond it.
template <auto Function, typename Record>
void query() {
    auto record = std::make_unique<Record>();
    (void)!Function(record.get());
}

template <auto Function, typename In, typename Out>
void exchange() {
    auto in = std::make_unique<In>();
    auto out = std::make_unique<Out>();
    (void)!Function(in.get(), out.get());
}

void list_messages() {
    auto list = std::make_unique<at_cmgd_list>();
    (void)!AT_Cmgd(AT_CMD_TYPE_CHECK, nullptr, list.get());
    free(list->indexes);
}

void unread() {
    auto indexes = std::make_unique<uint32_t[]>(3);
    uint32_t count = 0;
    (void)!AT_Cmgi_unread_sms(indexes.get(), 3, &count);
}

void lock() {
    at_clck_req in{"SC", "2", ""};
    auto out = std::make_unique<at_clck_rsp>();
    (void)!AT_PinEnableDisableCmd(AT_CMD_TYPE_SET, &in, out.get());
}

constexpr void (*kMembers[])() = {
    list_messages,
    unread,
    lock,
    exchange<AT_Cmgs, at_sms_pdu_req, at_sms_rsp>,
    exchange<AT_Cmgw, at_sms_pdu_req, at_sms_rsp>,
    exchange<AT_Cmss, at_cmss_req, at_sms_rsp>,
    exchange<AT_Cpms_Execute, at_cpms_info, at_cpms_info>,
    exchange<AT_Hcmgr, at_hcmgr_req, at_hcmgr_msg>,
    exchange<AT_Hcmgw, at_hcmgw_req, at_sms_rsp>,
    exchange<AT_Cpbr_Execute, at_cpbr_req, at_cpbr_info>,
    exchange<AT_Cpbr_Test, at_cpbr_req, at_cpbr_info>,
    query<AT_Cmgr, at_cmgr_msg>,
    query<AT_Cpms_Check, at_cpms_info>,
    query<AT_Cpms_test, at_cpms_media>,
    query<AT_Csca_Check, at_csca_info>,
    query<AT_smmode_Check, at_sms_rsp>,
    query<AT_cscb_Check, at_cscb_info>,
    query<AT_cnmi_Check, at_cnmi_info>,
    query<AT_Cmsr_Check, at_sms_rsp>,
    query<AT_smmemfull, at_smmemfull_info>,
    query<AT_Cpbs_Check, at_cpbs_info>,
    query<AT_PinManagement_Check, at_pin_info>,
    query<AT_PinManagementEx_Check, at_pin_info_ex>,
};

}  // namespace

// Stands in for the channel.
extern "C" int32_t GetDataFromAtServer(at_server_msg *message) {
    size_t length = std::min(g_length, sizeof message->report - 1);
    memset(message->report, 0, sizeof message->report);
    memcpy(message->report, g_reply, length);
    message->report_len = static_cast<uint32_t>(length);
    message->Ret_val = g_ret_val;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) {
        return 0;
    }
    g_ret_val = data[1] % 6;
    g_reply = data + 2;
    g_length = size - 2;
    kMembers[data[0] % std::size(kMembers)]();
    return 0;
}
