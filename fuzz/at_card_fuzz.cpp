// Replies through the commands of the card: its files, its toolkit, and USSD. at_member.h tells
// the form of the input.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "at_member.h"
#include "hearth/at_stk.h"
#include "hearth/at_usim.h"
#include "hearth/at_ussd.h"

namespace {

using hearth::fuzz::call;
using hearth::fuzz::Exact;
using hearth::fuzz::require;
using hearth::fuzz::take_list;

constexpr char kData[] = "A0B1";
constexpr size_t kApnRoom = 33;
constexpr uint32_t kGroupRoom = 10;

template <const char *Data>
void file() {
    const at_crsm_req request{176, 28589, 0, 0, 4, Data};
    auto response = std::make_unique<at_crsm_rsp>();
    int32_t result = AT_Crsm(&request, response.get());
    require(result == 0 || response->response == nullptr);
    require(response->response == nullptr || strlen(response->response) < 1500);
    ATS_FreeMemory(response->response);
}

void own_numbers() {
    auto list = std::make_unique<at_cnum_list>();
    int32_t result = AT_Cnum(list.get());
    take_list(result, list->entries, list->count);
}

void apn() {
    Exact<char> text(kApnRoom);
    require(AT_get_sim_apn(text.get()) != 0 || strnlen(text.get(), kApnRoom) < kApnRoom);
}

void mnc_length() {
    int32_t digits = AT_get_mnc_length();
    require(digits >= -1 && digits <= 15);
}

void group() {
    Exact<char> text(kGroupRoom);
    (void)!AT_get_sim_gid1(text.get(), kGroupRoom);
}

template <auto Function>
void items() {
    const at_stgi_req request{1, 1};
    uint32_t count = 0;
    at_stk_item *list = nullptr;
    int32_t result = Function(AT_CMD_TYPE_SET, &count, &request, &list);
    take_list(result, list, count);
}

template <uint8_t Form>
void answer() {
    auto request = std::make_unique<at_stgr_req>();
    request->form = Form;
    uint32_t result = 0;
    (void)!AT_Stgr(AT_CMD_TYPE_SET, request.get(), &result);
}

template <int32_t Mode, uint32_t Length>
void ussd() {
    auto request = std::make_unique<at_cusd_req>();
    request->n = Mode;
    request->str_length = Length;
    (void)!AT_Cusd_Msg_Send(AT_CMD_TYPE_SET, request.get());
}

constexpr hearth::fuzz::AtMember kMembers[] = {
    file<nullptr>,
    file<kData>,
    own_numbers,
    call<AT_SCID>,
    call<AT_Iccid>,
    call<AT_Currsid>,
    apn,
    mnc_length,
    group,
    items<AT_Stgi>,
    items<AT_StgiText>,
    items<AT_StgiInput>,
    items<AT_StgiInkey>,
    items<AT_StgiRefresh>,
    items<AT_StgiBrowser>,
    call<AT_Stsf, AT_CMD_TYPE_CHECK, nullptr>,
    call<AT_Stsf, AT_CMD_TYPE_SET>,
    answer<0>,
    answer<1>,
    answer<2>,
    ussd<1, 512>,
    ussd<2, 0>,
    call<AT_UssdMode, AT_CMD_TYPE_CHECK>,
    call<AT_UssdMode, AT_CMD_TYPE_SET>,
};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
