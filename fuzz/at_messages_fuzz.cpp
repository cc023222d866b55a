// Replies through the message, phonebook and PIN commands. at_member.h tells the form of the input.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "at_member.h"
#include "hearth/at_pb.h"
#include "hearth/at_security.h"
#include "hearth/at_sms.h"

namespace {

using hearth::fuzz::call;
using hearth::fuzz::require;
using hearth::fuzz::take_list;

constexpr char kFacility[] = "SC";
constexpr char kPin[] = "1234";

void list_messages() {
    auto list = std::make_unique<at_cmgd_list>();
    int32_t result = AT_Cmgd(AT_CMD_TYPE_CHECK, nullptr, list.get());
    take_list(result, list->indexes, list->count);
}

void unread() {
    constexpr uint32_t kRoom = 3;
    auto indexes = std::make_unique<uint32_t[]>(kRoom);
    uint32_t count = 0;
    (void)!AT_Cmgi_unread_sms(indexes.get(), kRoom, &count);
    require(count <= kRoom);
}

template <char Mode>
void lock() {
    at_clck_req in{"SC", {Mode}, "1234"};
    auto out = std::make_unique<at_clck_rsp>();
    (void)!AT_PinEnableDisableCmd(AT_CMD_TYPE_SET, &in, out.get());
}

template <uint32_t Operation, uint32_t NameLength>
void write_entry() {
    auto entry = std::make_unique<at_cpbw_req>();
    entry->op = Operation;
    entry->text_length = NameLength;
    (void)!AT_Cpbw(1, entry.get(), 0);
}

void raw_message() {
    at_hcmgr_req in{};
    auto out = std::make_unique<at_hcmgr_msg>();
    (void)!AT_Hcmgr(&in, out.get());
    require(out->length <= sizeof out->body);
}

void read_entry() {
    at_cpbr_req in{};
    auto out = std::make_unique<at_cpbr_info>();
    (void)!AT_Cpbr(1, &in, out.get());
    require(out->text_length <= sizeof out->text);
}

constexpr hearth::fuzz::AtMember kMembers[] = {
    list_messages,
    call<AT_Cmgd, AT_CMD_TYPE_SET>,
    unread,
    call<AT_Cmgs>,
    call<AT_Cmgw>,
    call<AT_Cmgr>,
    call<AT_Cpms, AT_CMD_TYPE_CHECK, nullptr>,
    call<AT_Cpms, AT_CMD_TYPE_SET>,
    call<AT_Cpms_test>,
    call<AT_Csca, AT_CMD_TYPE_CHECK, nullptr>,
    call<AT_Csca, AT_CMD_TYPE_SET>,
    call<AT_smmode, AT_CMD_TYPE_CHECK>,
    call<AT_smmode, AT_CMD_TYPE_SET>,
    call<AT_cscb, AT_CMD_TYPE_CHECK>,
    call<AT_cscb, AT_CMD_TYPE_SET>,
    call<AT_cnmi, AT_CMD_TYPE_CHECK>,
    call<AT_cnmi, AT_CMD_TYPE_SET>,
    call<AT_Cmss>,
    call<AT_Cmsr, AT_CMD_TYPE_CHECK, 0>,
    call<AT_Cmsr, AT_CMD_TYPE_SET, 1>,
    call<AT_Cmmt, 1, 1>,
    call<AT_smmemfull>,
    call<AT_Hsmsss>,
    call<AT_Hcmgs>,
    raw_message,
    call<AT_Hcmgw>,
    call<AT_Cpbs, AT_CMD_TYPE_CHECK, nullptr>,
    call<AT_Cpbs, AT_CMD_TYPE_SET>,
    read_entry,
    call<AT_Cpbr, 2>,
    write_entry<AT_CPBW_ADD, 512>,
    write_entry<AT_CPBW_DELETE, 0>,
    call<AT_PinManagement, AT_CMD_TYPE_CHECK, nullptr, nullptr>,
    call<AT_PinManagement, AT_CMD_TYPE_SET, kPin, nullptr>,
    call<AT_PinManagement, AT_CMD_TYPE_SET, kPin, kPin>,
    call<AT_PinManagementEx, AT_CMD_TYPE_CHECK, nullptr, nullptr>,
    call<AT_PinManagementEx, AT_CMD_TYPE_SET, kPin, kPin>,
    lock<'1'>,
    lock<'2'>,
    call<AT_PinModify, kFacility, kPin, kPin>,
};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
