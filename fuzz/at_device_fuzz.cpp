// Replies through the commands of modem and card identity, state and stored settings. at_member.h
// tells the form of the input. The versions, which are kept for good, have at_version_fuzz.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "at_member.h"
#include "hearth/at_k7.h"

namespace {

using hearth::fuzz::call;
using hearth::fuzz::Exact;
using hearth::fuzz::g_replies;
using hearth::fuzz::take_number;

constexpr char kCommand[] = "AT^APVER?";
constexpr char kValue[] = "1";
constexpr size_t kReplyRoom = 1500;

void provider_name() {
    int32_t coding = static_cast<int32_t>(take_number(1));
    Exact<char> name(reinterpret_cast<const uint8_t *>(g_replies.data()), g_replies.size());
    Exact<uint16_t> text(16);
    Decode_SPN_to_UCS2(coding, name.get(), static_cast<uint32_t>(g_replies.size()), text.get());
}

void infotype() {
    Exact<char> text(kReplyRoom);
    (void)!at_get_xml_infotype(text.get());
}

void any_command() {
    Exact<char> text(kReplyRoom);
    (void)!AT_CommenCmd(kCommand, kValue, text.get());
}

constexpr hearth::fuzz::AtMember kMembers[] = {
    call<AT_imsi>,
    call<AT_cgmm>,
    call<AT_imei>,
    call<at_cgmi>,
    call<AT_CGSN>,
    call<AT_Cgmr>,
    call<AT_Hwver>,
    call<AT_sn>,
    call<at_current_profile_get>,
    call<at_password_nvram_content_get>,
    call<at_wifi_number_get>,
    call<at_mtu_get>,
    call<at_wps_pin_get>,
    call<at_battery_get>,
    call<at_get_scid>,
    call<at_get_version, kCommand>,
    call<at_phone_numbner_get>,
    call<AT_HS>,
    call<AT_Meid>,
    call<AT_Esn>,
    call<AT_PhoneActSt, 1>,
    call<AT_LTESCINFO>,
    call<AT_RRCVer, AT_CMD_TYPE_CHECK>,
    call<AT_RRCVer, AT_CMD_TYPE_SET>,
    call<at_TimeZone>,
    call<AT_getprofile, 1>,
    call<AT_cvmnq, AT_CMD_TYPE_CHECK, nullptr>,
    call<AT_cvmnq, AT_CMD_TYPE_SET>,
    call<AT_ChargerInfo>,
    call<at_query_battery_state>,
    call<at_query_battery_state_std>,
    call<AT_ANQuery>,
    call<AT_apdialmode, AT_CMD_TYPE_CHECK>,
    call<AT_apdialmode, AT_CMD_TYPE_SET>,
    call<at_dial_mode>,
    call<AT_csqlvlext, AT_CMD_TYPE_CHECK>,
    call<AT_Csqlvl>,
    call<at_nvbackup>,
    call<at_nvrststts>,
    call<at_hfreqinfo, AT_CMD_TYPE_CHECK, 0>,
    call<at_hfreqinfo, AT_CMD_TYPE_SET, 1>,
    call<at_throughoutput>,
    call<at_pwrontime>,
    call<at_QryPhynum>,
    call<at_profile_nvram_content_get>,
    call<at_ipfilter_nvram_content_get>,
    call<at_virserver_nvram_content_get>,
    call<at_specialappli_nvram_content_get>,
    call<at_save_pin_content_get>,
    call<at_dmz_get>,
    call<at_on_demand_get>,
    call<at_spn_get>,
    call<at_nvram_web_use_get, 1>,
    call<at_nvram_web_sms_get, 1>,
    call<at_nvram_web_use_orange_url_id, 1>,
    provider_name,
    call<AT_Cfun, 1>,
    call<AT_ReBoot>,
    call<at_SetCsdflt>,
    call<at_SetModemInforbu>,
    call<at_factoryreset>,
    call<at_godload>,
    call<at_restore>,
    call<at_counter_clear>,
    call<at_dial_command, kCommand>,
    call<at_set_nvram, kCommand, kValue>,
    call<AT_SDload>,
    call<AT_SD>,
    call<at_set_xml_infotype, kValue>,
    infotype,
    any_command,
};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
