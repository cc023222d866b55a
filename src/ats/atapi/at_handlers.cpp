// The catalogue of AT responses, and the final results.
#include "hearth/at_handlers.h"

#include <stddef.h>

#include <iterator>
#include <string_view>

static_assert(sizeof(at_cfg_handler) == 11 * sizeof(void *));
static_assert(offsetof(at_cfg_handler, free_func) == 10 * sizeof(void *));

namespace {

struct Formats {
    const char *read = nullptr;
    const char *execute = nullptr;
    const char *test = nullptr;
    const char *report = nullptr;
};

struct ParserLetter {
    char letter;
    at_parse_func parser;
};

constexpr ParserLetter kParserLetters[] = {
    {'C', parse_common_at_str},    {'P', parse_sms_cmgr_at_str},
    {'V', parse_soft_str},         {'I', parse_sms_index_list_at_str},
    {'G', parse_cmgi_list_at_str}, {'M', parse_sms_media},
    {'Y', parse_syscfg_at_str},    {'X', parse_syscfgex_at_str},
    {'O', parse_cops_at_str},      {'-', nullptr},
};

// A letter without a parser runs off the table, which doesn't compile.
consteval at_parse_func parser_of(char letter) {
    const ParserLetter *entry = kParserLetters;
    while (entry->letter != letter) {
        ++entry;
    }
    return entry->parser;
}

using Release = void (*)(at_parse_result *);

// A row. The letters of `parsers` stand for read, execute, test and report.
consteval at_cfg_handler row(int32_t table, const char *key, const char (&parsers)[5],
                             Formats formats = {}, Release release = free_at_cmd) {
    return {key,
            table,
            formats.read,
            formats.execute,
            formats.test,
            formats.report,
            parser_of(parsers[0]),
            parser_of(parsers[1]),
            parser_of(parsers[2]),
            parser_of(parsers[3]),
            release};
}

consteval at_cfg_handler end_row(int32_t table) {
    at_cfg_handler end{};
    end.func_type = table;
    return end;
}

// One end row, at the end; each key once; the table's number in every row. The end rows of five
// tables have another table's number: required, and nothing reads it.
template <size_t N>
consteval bool well_formed(const at_cfg_handler (&rows)[N], int32_t table, int32_t end_table) {
    for (size_t i = 0; i + 1 < N; ++i) {
        if (rows[i].AtName == nullptr || rows[i].func_type != table) {
            return false;
        }
        for (size_t j = 0; j < i; ++j) {
            if (std::string_view(rows[i].AtName) == rows[j].AtName) {
                return false;
            }
        }
    }
    return rows[N - 1].AtName == nullptr && rows[N - 1].func_type == end_table;
}

template <size_t N>
consteval bool well_formed(const at_cfg_handler (&rows)[N], int32_t table) {
    return well_formed(rows, table, table);
}

}  // namespace

// One row a line, whatever its length. Field names are what readers look for: their spelling is
// required as it stands.
// clang-format off

constexpr at_cfg_handler initivatve_report_handlers[] = {
    row(0, "^SRVST", "---C", {.report = "^SRVST:srv_status"}),
    row(0, "^SIMST", "---C", {.report = "^SIMST:sim_state,lock_state"}),
    row(0, "^MODE", "---C", {.report = "^MODE:sys_mode,sys_submode"}),
    row(0, "^HCSQ", "---C", {.report = "^HCSQ:sysmode,value1,value2,value3,value4,value5"}),
    row(0, "^RSSI", "---C", {.report = "^RSSI:rssi"}),
    row(0, "^ANLEVEL", "---C", {.report = "^ANLEVEL:rscp,ecio,rssi,level,rsrp,rsrq"}),
    row(0, "+CREG", "---C", {.report = "+CREG:stat,lac,ci"}),
    row(0, "+CGREG", "---C", {.report = "+CGREG:stat,lac,ci"}),
    row(0, "^DSFLOWRPT", "---C", {.report = "^DSFLOWRPT:curr_ds_time,tx_rate,rx_rate,curr_tx_flow,curr_rx_flow, qos_tx_rate,qos_rx_rate"}),
    row(0, "+CMTI", "---C", {.report = "+CMTI:mem,index"}),
    row(0, "+CDSI", "---C", {.report = "+CDSI:mem,index"}),
    row(0, "+CMT", "---P", {.report = "+CMT:reserved,length\r\npdu"}),
    row(0, "+CDS", "---P", {.report = "+CDS:length\r\npdu"}),
    row(0, "+CBM", "---P", {.report = "+CBM:length\r\npdu"}),
    row(0, "^SMMEMFULL", "---C", {.report = "^SMMEMFULL:mem_type"}),
    row(0, "^HCMGSS", "---C", {.report = "^HCMGSS:mr"}),
    row(0, "^HCMGSF", "---C", {.report = "^HCMGSF:errCode"}),
    row(0, "^STIN", "---C", {.report = "^STIN:cmdTpye,cmdInde,isTimeOut"}),
    row(0, "^ORIG", "---C", {.report = "^ORIG:call_x,call_type"}),
    row(0, "^CONF", "---C", {.report = "^CONF:call_id"}),
    row(0, "^CONN", "---C", {.report = "^CONN:call_id,call_type"}),
    row(0, "^CEND", "---C", {.report = "^CEND:call_id,duration,end_status,cc_cause"}),
    row(0, "RING", "---C", {.report = "RING"}),
    row(0, "+CLIP", "---C", {.report = "+CLIP:call_num,call_type,subaddr,satype,alpha,cli_validity"}),
    row(0, "+CUSD", "---C", {.report = "+CUSD:rspType,cusdStr,codeType"}),
    row(0, "^DCONN", "---C", {.report = "^DCONN:cid,pdp_type"}),
    row(0, "^DEND", "---C", {.report = "^DEND:cid,endCause,pdp_type"}),
    row(0, "^APDIALUPRPT", "---C", {.report = "^APDIALUPRPT:dialup"}),
    row(0, "^APROAMRPT", "---C", {.report = "^APROAMRPT:roaming_status"}),
    row(0, "^TEMPPRT", "---C", {.report = "^TEMPPRT:tempprotect_event,tempprotect_param"}),
    row(0, "^EONS", "---C", {.report = "^EONS:value"}),
    row(0, "^NWTIME", "---C", {.report = "^NWTIME:date,time,dt"}),
    row(0, "^LTESIGLEV", "---C", {.report = "^LTESIGLEV:level"}),
    row(0, "^HFREQINFO", "C--C", {.report = "^HFREQINFO:switch,sysmode,band_class,dl_fcn1,dl_freq1,dl_bw1,ul_fcn1,ul_freq1,ul_bw1"}),
    row(0, "^LCACELLURC", "---C", {.report = "^LCACELLURC:lcacell0,lcacell1,lcacell2,lcacell3,lcacell4,lcacell5,lcacell6,lcacell7"}),
    end_row(0),
};
static_assert(well_formed(initivatve_report_handlers, 0));

constexpr at_cfg_handler network_cfg_handlers[] = {
    row(1, "^SYSCFG", "CCY-", {.read = "^SYSCFG:mode,acqorder,band,roam,srvdomain", .test = "^SYSCFG:(modes),(acqorders),((band,band_name)),(roman),(srvdomain)"}),
    row(1, "^SYSCFGEX", "CCX-", {.read = "^SYSCFGEX:acqorder,band,roam,srvdomain,lteband", .test = "^SYSCFGEX:(acqorders),((band,band_name)),(roams),(srvdomains),((lteband,lteband_name))"}),
    row(1, "+COPS", "CCO-", {.read = "+COPS:mode,format,oper,rat", .test = "+COPS:(stat,long_oper,short_oper,numeric_oper,rat),,(mode_0,mode_1,mode_2,mode_3,mode_4),(format_0,format_1,format_2)"}),
    row(1, "^EONS", "CCC-", {.read = "^EONS:type,plmn_id,plmn_long,plmn_short,spn_cond,spn"}),
    row(1, "^PPPD", "CCC-", {.read = "^PPPD:ip_addr,ppp_state,cur_time_len,total_time_len,cur_ppp_ibytes,cur_ppp_obytes,total_ppp_ibytes,total_ppp_obytes"}),
    row(1, "^HSDPA", "CCC-", {.read = "^HSDPA:code"}),
    row(1, "+CPAS", "CCC-", {.execute = "+CPAS:pactstatus"}),
    row(1, "^CSNR", "CCC-", {.read = "^CSNR:rscp,ecio"}),
    row(1, "+CREG", "CCC-", {.read = "+CREG:n,stat,lac,ci"}),
    row(1, "+CGREG", "CCC-", {.read = "+CGREG:n,stat,lac,ci"}),
    row(1, "+CGATT", "CCC-", {.read = "+CGATT:state"}),
    row(1, "+CSQLVL", "CCC-", {.read = "+CSQLVL:uiPercent,newRssiCode"}),
    row(1, "^DNSP", "CCC-", {.read = "^DNSP:pri_dns"}),
    row(1, "^DNSS", "CCC-", {.read = "^DNSS:sec_dns"}),
    row(1, "^CELLROAM", "C---", {.read = "^CELLROAM:cell_roam_state,rat"}),
    row(1, "^CGCATT", "CCC-", {.read = "^CGCATT:psState,csState"}),
    row(1, "^LTERSRP", "CCC-", {.read = "^LTERSRP:rsrp,rsrq"}),
    row(1, "^CECELLID", "CCC-", {.read = "^CECELLID:Plmn,Ci,Pci,Tac"}),
    row(1, "^RFSWITCH", "C---", {.read = "^RFSWITCH:rf_status"}),
    row(1, "^HOPARASET", "C---", {.read = "^HOPARASET:rsrp_thresh1,rsrp_thresh2,rsrp_thresh3,sinr_thresh1,sinr_thresh2,sinr_thresh3"}),
    row(1, "^LTEMEASMODE", "C---", {.read = "^LTEMEASMODE:mode"}),
    row(1, "^HFREQINFO", "C---", {.read = "^HFREQINFO:switch,sysmode,band_class,dl_fcn1,dl_freq1,dl_bw1,ul_fcn1,ul_freq1,ul_bw1"}),
    row(1, "^LCACELL", "C---", {.read = "^LCACELL:lcacell0,lcacell1,lcacell2,lcacell3,lcacell4,lcacell5,lcacell6,lcacell7"}),
    end_row(1),
};
static_assert(well_formed(network_cfg_handlers, 1));

constexpr at_cfg_handler pin_cfg_handlers[] = {
    row(2, "+CPWD", "CCC-"),
    row(2, "+CLCK", "CCC-", {.execute = "+CLCK:status"}),
    row(2, "^CPIN", "CCC-", {.read = "^CPIN:code,times,puk_times,pin_times,puk2_times,pin2_times"}),
    row(2, "+CPIN", "CCC-", {.read = "+CPIN:code"}),
    row(2, "^APPINVF", "CCC-", {.read = "^APPINVF:enable,pin,scid"}),
    row(2, "^CARDMODE", "CCC-", {.read = "^CARDMODE:sim_type"}),
    end_row(2),
};
static_assert(well_formed(pin_cfg_handlers, 2));

constexpr at_cfg_handler sms_cfg_handlers[] = {
    row(3, "+CMGD", "ICC-", {.read = "+CMGD:index_0,...indexN"}),
    row(3, "+CPMS", "CCM-", {.read = "+CPMS:mem1,used1,total1,mem2,used2,total2,mem3,used3,total3", .execute = "+CPMS:used1,total1,used2,total2,used3,total3", .test = "+CPMS:(mem1,mem2),..."}),
    row(3, "+CSCA", "CCC-", {.read = "+CSCA:sca,tosca"}),
    row(3, "+CMGW", "-C--", {.execute = "+CMGW:index"}),
    row(3, "+CMSS", "-C--", {.execute = "+CMSS:mr"}),
    row(3, "+CMGS", "-C--", {.execute = "+CMGS:mr"}),
    row(3, "^CMSR", "-C--", {.read = "^CMSR:ReadTag"}),
    row(3, "^CMGI", "-G--", {.execute = "^CMGI:index_0,...indexN"}),
    row(3, "^CMMT", "-C--", {.execute = "^CMMT:index"}),
    row(3, "+CMGR", "P---", {.read = "+CMGR:stat,reserved,length\r\npdu"}),
    row(3, "+CMGF", "C---", {.read = "+CMGF:mode"}),
    row(3, "+CSCB", "C---", {.read = "+CSCB:mode,mids,dcss"}),
    row(3, "+CNMI", "C---", {.read = "+CNMI:mode,mt,bm,ds,bfr"}),
    row(3, "+CVMNQ", "CCC-", {.read = "+CVMNQ:voice_mail_number,nv_number"}),
    row(3, "^HCMGR", "C---", {.read = "^HCMGR:callerID,year,month,day,hour,minute,second,lang,format,length,prt,prv,type,stat"}),
    row(3, "^HCMGW", "-C--", {.execute = "^HCMGW:index"}),
    end_row(3),
};
static_assert(well_formed(sms_cfg_handlers, 3));

constexpr at_cfg_handler basic_info_cfg_handlers[] = {
    row(4, "+CGMR", "VCC-", {.read = "246.subsoftversion"}),
    row(4, "^HWVER", "CCC-", {.read = "^HWVER:hardversion"}),
    row(4, "^HS", "CCC-", {.read = "^HS:id,protocol,IsOffline,p_class,p_id,s_id"}),
    row(4, "^U2DIAG", "CCC-", {.read = "^U2DIAG:val"}),
    row(4, "^MEID", "CCC-", {.read = "^MEID:meid"}),
    row(4, "+ESN", "CCC-", {.read = "ESN:esn"}),
    row(4, "^PRLVER", "CCC-", {.read = "^PRLVER:ver"}),
    end_row(4),
};
static_assert(well_formed(basic_info_cfg_handlers, 4));

constexpr at_cfg_handler voice_call_cfg_handlers[] = {
    end_row(5),
};
static_assert(well_formed(voice_call_cfg_handlers, 5));

constexpr at_cfg_handler add_operation_cfg_handlers[] = {
    end_row(6),
};
static_assert(well_formed(add_operation_cfg_handlers, 6));

constexpr at_cfg_handler data_operation_cfg_handlers[] = {
    end_row(7),
};
static_assert(well_formed(data_operation_cfg_handlers, 7));

constexpr at_cfg_handler phone_record_cfg_handlers[] = {
    row(8, "+CPBS", "C---", {.read = "+CPBS:storage,used,total"}),
    row(8, "^CPBW", "----"),
    row(8, "^CPBR", "-CC-", {.execute = "^CPBR:index,number,type,text,coding", .test = "^CPBR:indexs,nlength,tlength,mlength"}),
    end_row(8),
};
static_assert(well_formed(phone_record_cfg_handlers, 8));

constexpr at_cfg_handler stk_menu_cfg_handlers[] = {
    row(9, "^STSF", "C---", {.read = "^STSF:Mode,Config,Timeout"}),
    row(9, "^STGI", "-C--", {.execute = "^STGI:Identifier,NbItems,MenuName,HelpInfo"}),
    end_row(9),
};
static_assert(well_formed(stk_menu_cfg_handlers, 9));

constexpr at_cfg_handler stk_text_cfg_handlers[] = {
    row(10, "^STGI", "-C--", {.execute = "^STGI:TextInfo,TextFormat,ClearMode,DurationTime"}),
    end_row(10),
};
static_assert(well_formed(stk_text_cfg_handlers, 10));

constexpr at_cfg_handler stk_input_cfg_handlers[] = {
    row(11, "^STGI", "-C--", {.execute = "^STGI:TextInfo,TextCode,RspFormat,PackMode,EchoMode,SizeMin,SizeMax,HelpInfo,DefaultTextInfo,DefaultTextCode"}),
    end_row(11),
};
static_assert(well_formed(stk_input_cfg_handlers, 11));

constexpr at_cfg_handler stk_inkey_cfg_handlers[] = {
    row(12, "^STGI", "-C--", {.execute = "^STGI:TextInfo,TextCode,RspFormat,HelpInfo,TimeOut"}),
    end_row(12),
};
static_assert(well_formed(stk_inkey_cfg_handlers, 12));

constexpr at_cfg_handler stk_refresh_cfg_handlers[] = {
    row(13, "^STGI", "-C--", {.execute = "^STGI:RefreshType"}),
    end_row(13),
};
static_assert(well_formed(stk_refresh_cfg_handlers, 13));

constexpr at_cfg_handler stk_browser_cfg_handlers[] = {
    row(14, "^STGI", "-C--", {.execute = "^STGI:URL,LaunchMode"}),
    end_row(14),
};
static_assert(well_formed(stk_browser_cfg_handlers, 14));

constexpr at_cfg_handler sys_cfg_handlers[] = {
    // Seven rows without a release function: required.
    row(15, "^SYSINFO", "C---", {.read = "^SYSINFO:srv_status,srv_domain,roam_status,sys_mode,sim_state,lock_state,sys_submode"}, nullptr),
    row(15, "^SCID", "C---", {.read = "^SCID:scid_num"}, nullptr),
    row(15, "^OPL", "C---", {.read = "^OPL:numeric,reserved,index"}, nullptr),
    row(15, "^PNN", "C---", {.read = "^PNN:long_name,short_name,reserved"}, nullptr),
    row(15, "^CPNN", "C---", {.read = "^CPNN:full_name,full_name_coding,full_name_ci,short_name,short_name_coding,shor_name_ci"}, nullptr),
    row(15, "^SYSINFOEX", "C---", {.read = "^SYSINFOEX:srv_status,srv_domain,roam_status,sim_state,lock_state,sysmode,sysmode_name,submode,submode_name"}, nullptr),
    row(15, "^SYSCFGEX", "C---", {.read = "^SYSCFGEX:acqorder,band,roam,srvdomain,lteband"}, nullptr),
    row(15, "^APCHG", "C---", {.read = "^APCHG:ChargerState,ChargerTime,ChargerVoltage,BatteryVoltage,ChargerCurrent,BatteryTemp,BoardTemp,SimTemp,MsmTemp,PaTemp,IsOffChg"}),
    row(15, "^ANQUERY", "C---", {.read = "^ANQUERY:rscp,ecio,rssi,antenna_level,cellid"}),
    row(15, "^APDIALM", "C---", {.read = "^APDIALM:dial_mode"}),
    row(15, "+CBC", "C---", {.read = "+CBC:cbs,bcl"}),
    row(15, "^APBATLVL", "C---", {.read = "^APBATLVL:chargerState,batterylvl"}),
    row(15, "+CNUM", "C---", {.read = "+CNUM:name,num,type"}),
    row(15, "+CREG", "C---", {.read = "+CREG:n,stat,lac,ci"}),
    row(15, "^APTIMEZONE", "C---", {.read = "^APTIMEZONE:timezone"}),
    row(15, "+CRSM", "C---", {.read = "+CRSM: sw1,sw2,response"}),
    row(15, "^ICCID", "C---", {.read = "^ICCID: iccid"}),
    row(15, "^CURRSID", "C---", {.read = "^CURRSID: curr_sid,curr_nid,curr_evdo_subnetid"}),
    row(15, "^LTESCINFO", "C---", {.read = "^LTESCINFO:ci,dl_sinr,num_ant,dl_bw"}),
    row(15, "^RRCVer", "C---", {.read = "^RRCVer:rrcver"}),
    row(15, "^HCSQ", "C---", {.read = "^HCSQ:sysmode,value1,value2,value3,value4,value5"}),
    row(15, "^NVBACKUP", "C---", {.read = "^NVBACKUP:result_code"}),
    row(15, "^NWTIME", "C---", {.read = "^NWTIME:date,time,dt"}),
    row(15, "^VERSION", "C---", {.read = "^VERSION:type:content"}),
    end_row(15),
};
static_assert(well_formed(sys_cfg_handlers, 15));

constexpr at_cfg_handler profile_cfg_handlers[] = {
    row(16, "^APPROFALL", "CCC-", {.read = "^APPROFALL:index,is_valid,profile_name,apn_is_static,apn_name,dialup_num,username,password,auth_mode,ip_is_static,addr,dns_is_static,primary_dns,secondary_dns,wins_is_static,primary_wins,read_only"}),
    end_row(16),
};
static_assert(well_formed(profile_cfg_handlers, 16));

constexpr at_cfg_handler ipfilter_cfg_handlers[] = {
    row(17, "^APIPRDALL", "CCC-", {.read = "^APIPRDALL:index,is_valid,ip_src,ip_des,proto,flags,ports_src_0,ports_src_1,ports_des_0,ports_des_1,desc"}),
    end_row(17),
};
static_assert(well_formed(ipfilter_cfg_handlers, 17));

constexpr at_cfg_handler virserver_cfg_handlers[] = {
    row(18, "^APPFRALL", "CCC-", {.read = "^APPFRALL:index,is_valid,ip_lan,proto,flags,ports_wan,ports_lan,desc"}),
    end_row(18),
};
static_assert(well_formed(virserver_cfg_handlers, 18));

constexpr at_cfg_handler dmz_cfg_handlers[] = {
    row(19, "^APDMZ", "CCC-", {.read = "^APDMZ:enable,dmz_ipaddr"}),
    end_row(19),
};
static_assert(well_formed(dmz_cfg_handlers, 19));

constexpr at_cfg_handler connect_cfg_handlers[] = {
    row(20, "^APCONNST", "CCC-", {.read = "^APCONNST:status,IPV4,status,IPV6"}),
    row(20, "^GLASTERR", "CCC-", {.read = "^GLASTERR:type,code"}),
    row(20, "^CGDNS", "CCC-", {.read = "CGDNS: cid,PriDns,SecDns"}),
    row(20, "^IPV6CAP", "CCC-", {.read = "IPV6CAP: cfg_value"}),
    end_row(20),
};
static_assert(well_formed(connect_cfg_handlers, 20));

constexpr at_cfg_handler specappli_cfg_handlers[] = {
    row(21, "^APPTRALL", "CCC-", {.read = "^APPTRALL:index,is_valid,proto_trigger,proto_open,flags,ports_trigger_0,ports_trigger_1,port_start_0,port_end_0,port_start_1,port_end_1,port_start_2,port_end_2,port_start_3,port_end_3,port_start_4,port_end_4,desc"}),
    end_row(21),
};
static_assert(well_formed(specappli_cfg_handlers, 21));

constexpr at_cfg_handler aprofile_cfg_handlers[] = {
    row(22, "^APPROFRD", "CCC-", {.read = "^APPROFRD:index,is_valid,profile_name,apn_is_static,apn_name,dialup_num,username,password,auth_mode,ip_is_static,addr,dns_is_static,primary_dns,secondary_dns"}),
    end_row(22),
};
static_assert(well_formed(aprofile_cfg_handlers, 22));

constexpr at_cfg_handler ondemand_cfg_handlers[] = {
    row(23, "^APNEEDDIAL", "CCC-", {.read = "^APNEEDDIAL:enable,ondemand_time"}),
    end_row(23),
};
static_assert(well_formed(ondemand_cfg_handlers, 23));

constexpr at_cfg_handler spn_cfg_handlers[] = {
    row(24, "^SPN", "CCC-", {.read = "^SPN:disp_rplmn,coding,spn_name"}),
    end_row(24),
};
static_assert(well_formed(spn_cfg_handlers, 24));

constexpr at_cfg_handler webuse_cfg_handlers[] = {
    row(25, "^APWEBUSERD", "CCC-", {.read = "^APWEBUSERD:index,code,Reserve1,Reserve2"}),
    end_row(25),
};
static_assert(well_formed(webuse_cfg_handlers, 25));

constexpr at_cfg_handler pinvf_cfg_handlers[] = {
    row(26, "^APPINVF", "CCC-", {.read = "^APPINVF:enable,pin,scid"}),
    end_row(26),
};
static_assert(well_formed(pinvf_cfg_handlers, 26));

constexpr at_cfg_handler throughput_cfg_handlers[] = {
    row(27, "^APTHROUGHPUT", "CCC-", {.read = "^APTHROUGHPUT:tx,rx"}),
    end_row(23),
};
static_assert(well_formed(throughput_cfg_handlers, 27, 23));

constexpr at_cfg_handler dataflow_cfg_handlers[] = {
    row(28, "^DSFLOWQRY", "C---", {.read = "^DSFLOWQRY:last_ds_time,last_tx_flow,last_rx_flow,total_ds_time,total_tx_flow,total_rx_flow"}),
    end_row(23),
};
static_assert(well_formed(dataflow_cfg_handlers, 28, 23));

constexpr at_cfg_handler pwrontime_cfg_handlers[] = {
    row(29, "^APPWRONTIME", "CCC-", {.read = "^APPWRONTIME:pwrontime_counters"}),
    end_row(23),
};
static_assert(well_formed(pwrontime_cfg_handlers, 29, 23));

constexpr at_cfg_handler dhcp_cfg_handlers[] = {
    row(30, "^DHCP", "C---", {.read = "^DHCP:IPAddr,NetMask,GateWay,DHCPserver,pDNS,sDNS,max_rx_data,max_tx_data"}),
    row(30, "^DHCPV6", "C---", {.read = "^DHCPV6:clip_v6,netmask_v6,gate_v6,dhcp_v6,pDNS_v6,sDNS_v6,max_rx_data,max_tx_data"}),
    end_row(30),
};
static_assert(well_formed(dhcp_cfg_handlers, 30));

constexpr at_cfg_handler dialmode_info_handlers[] = {
    row(31, "^APDIALMODE", "C---", {.read = "^APDIALMODE:dialmode,idletime"}),
    end_row(31),
};
static_assert(well_formed(dialmode_info_handlers, 31));

constexpr at_cfg_handler csqlvext_info_handlers[] = {
    row(32, "^CSQLVLEXT", "C---", {.read = "^CSQLVLEXT:rssilv,ber"}),
    end_row(32),
};
static_assert(well_formed(csqlvext_info_handlers, 32));

constexpr at_cfg_handler csqlvl_info_handlers[] = {
    row(33, "+CSQLVL", "C---", {.read = "+CSQLVL:uiPercent,newRssiCode"}),
    end_row(32),
};
static_assert(well_formed(csqlvl_info_handlers, 33, 32));

constexpr at_cfg_handler ussd_cfg_handlers[] = {
    row(34, "^USSDMODE", "CCC-", {.read = "^USSDMODE: mode"}),
    end_row(34),
};
static_assert(well_formed(ussd_cfg_handlers, 34));

constexpr at_cfg_handler ipv6_router_handlers[] = {
    row(35, "^APRAINFO", "C---", {.read = "^APRAINFO:ipv6_mtu,prefix,preferred_lifetime,valid_lifetime"}),
    row(35, "^APLANADDR", "C---", {.read = "^APLANADDR:addr,prefixlen"}),
    end_row(30),
};
static_assert(well_formed(ipv6_router_handlers, 35, 30));

constexpr at_cfg_handler authdata_cfg_handlers[] = {
    row(36, "^AUTHDATA", "CCC-", {.read = "^AUTHDATA:cid,Auth_type,passwd,username,PLMN"}),
    end_row(36),
};
static_assert(well_formed(authdata_cfg_handlers, 36));

constexpr at_cfg_handler cgdcont_cfg_handlers[] = {
    row(37, "+CGDCONT", "CCC-", {.read = "+CGDCONT:cid,PDP_type,APN,PDP_address,d_comp,h_comp,temp7,temp8"}),
    end_row(37),
};
static_assert(well_formed(cgdcont_cfg_handlers, 37));
// clang-format on

constexpr const char *at_parse_final_result[] = {
    "+CME ERROR:err",      "+CMS ERROR:err", "OK",         "ERROR",       "COMMAND NOT SUPPORT",
    "TOO MANY PARAMETERS", "CONNECT",        "NO CARRIER", "NO DIALTONE", "BUSY",
    "NO ANSWER",           nullptr,
};

namespace {

constexpr const at_cfg_handler *kTables[] = {
    initivatve_report_handlers, network_cfg_handlers,
    pin_cfg_handlers,           sms_cfg_handlers,
    basic_info_cfg_handlers,    voice_call_cfg_handlers,
    add_operation_cfg_handlers, data_operation_cfg_handlers,
    phone_record_cfg_handlers,  stk_menu_cfg_handlers,
    stk_text_cfg_handlers,      stk_input_cfg_handlers,
    stk_inkey_cfg_handlers,     stk_refresh_cfg_handlers,
    stk_browser_cfg_handlers,   sys_cfg_handlers,
    profile_cfg_handlers,       ipfilter_cfg_handlers,
    virserver_cfg_handlers,     dmz_cfg_handlers,
    connect_cfg_handlers,       specappli_cfg_handlers,
    aprofile_cfg_handlers,      ondemand_cfg_handlers,
    spn_cfg_handlers,           webuse_cfg_handlers,
    pinvf_cfg_handlers,         throughput_cfg_handlers,
    dataflow_cfg_handlers,      pwrontime_cfg_handlers,
    dhcp_cfg_handlers,          dialmode_info_handlers,
    csqlvext_info_handlers,     csqlvl_info_handlers,
    ussd_cfg_handlers,          ipv6_router_handlers,
    authdata_cfg_handlers,      cgdcont_cfg_handlers,
};
static_assert(std::size(kTables) == AT_TABLE_COUNT);

}  // namespace

const at_cfg_handler *parse_func_type(uint32_t table) {
    return table < std::size(kTables) ? kTables[table] : nullptr;
}
