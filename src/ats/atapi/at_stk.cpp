#include "hearth/at_stk.h"

#include "ats/atapi/at_exchange.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_stk"};
constexpr uint32_t kMaxItems = 255;

static_assert(offsetof(at_stk_item, err) % 4 == 0 && sizeof(at_stsf_info) == 76);

// The tables of the kinds.
enum Table : uint32_t { kMenu = 9, kText = 10, kInput = 11, kRefresh = 13, kBrowser = 14 };

constexpr Argument kStgiArguments[] = {AT_ARGUMENT(at_stgi_req, cmd_type),
                                       AT_ARGUMENT(at_stgi_req, cmd_index)};

constexpr Field kMenuFields[] = {AT_FIELD(at_stk_item, Identifier), AT_FIELD(at_stk_item, NbItems),
                                 AT_FIELD(at_stk_item, MenuName),
                                 AT_FIELD_AS(at_stk_item, MenuHelpInfo, "HelpInfo")};
constexpr Field kTextFields[] = {AT_FIELD(at_stk_item, TextInfo), AT_FIELD(at_stk_item, TextFormat),
                                 AT_FIELD(at_stk_item, ClearMode),
                                 AT_FIELD(at_stk_item, DurationTime)};
constexpr Field kInputFields[] = {
    AT_FIELD(at_stk_item, TextInfo),        AT_FIELD_AS(at_stk_item, TextFormat, "TextCode"),
    AT_FIELD(at_stk_item, RspFormat),       AT_FIELD(at_stk_item, PackMode),
    AT_FIELD(at_stk_item, EchoMode),        AT_FIELD(at_stk_item, SizeMin),
    AT_FIELD(at_stk_item, SizeMax),         AT_FIELD(at_stk_item, HelpInfo),
    AT_FIELD(at_stk_item, DefaultTextInfo), AT_FIELD(at_stk_item, DefaultTextCode)};
constexpr Field kInkeyFields[] = {AT_FIELD(at_stk_item, TextInfo),
                                  AT_FIELD_AS(at_stk_item, TextFormat, "TextCode"),
                                  AT_FIELD(at_stk_item, RspFormat), AT_FIELD(at_stk_item, HelpInfo),
                                  AT_FIELD(at_stk_item, TimeOut)};
constexpr Field kRefreshFields[] = {AT_FIELD(at_stk_item, RefreshType)};
constexpr Field kBrowserFields[] = {AT_FIELD(at_stk_item, URL), AT_FIELD(at_stk_item, LaunchMode)};

constexpr LineList kLines{.marker = "^STGI",
                          .limit = kMaxItems,
                          .entry_size = sizeof(at_stk_item),
                          .no_line = {OSA_LOG_ERROR, "AT_Stgi get_substring error\n"},
                          // Another family's words. Required.
                          .no_memory = {OSA_LOG_ERROR, "AT_GetPnnList osa_malloc error\n"}};

constexpr LogText kNoItem{OSA_LOG_DEBUG, "[stk-ats]NULL == at_parse_result"};

constexpr Member item(uint32_t table, std::span<const Field> fields, LogText no_list = kNoItem,
                      uint32_t limit = 640) {
    return {.command = "AT^STGI=%d,%d",
            .arguments = kStgiArguments,
            .limit = limit,
            .multi_line = 1,
            .refusal = Refusal::kIgnore,
            .key = "^STGI",
            .table = table,
            .action = AT_ACTION_EXECUTE,
            .fields = fields,
            .err = AT_ERR(at_stk_item),
            .source = &kLogSource,
            .no_list = no_list};
}

constexpr Member kStgi = member(item(kMenu, kMenuFields, {}));
constexpr Member kStgiText = member(item(kText, kTextFields));
constexpr Member kStgiInput = member(item(kInput, kInputFields));
// The table is that of input, although keys have one of their own: with it HelpInfo and TimeOut
// stay 0 on a reply of five values. Required.
constexpr Member kStgiInkey = member(item(kInput, kInkeyFields));
constexpr Member kStgiRefresh = member(item(kRefresh, kRefreshFields));
constexpr Member kStgiBrowser = member(item(kBrowser, kBrowserFields, kNoItem, 639));

int32_t fetch(const Member &kind, uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    if (count == nullptr || request == nullptr || list == nullptr) {
        return -1;
    }
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kind, &message, nullptr, request, &result)) {
        return result;
    }
    void *items = nullptr;
    result = fill_lines(kind, kLines, &message, &items, count);
    *list = static_cast<at_stk_item *>(items);
    return result;
}

// Reads have no meaning here; other actions are taken without a word.
int32_t fetch_by_action(int32_t action, const Member &kind, uint32_t *count,
                        const at_stgi_req *request, at_stk_item **list) {
    if (action == AT_CMD_TYPE_CHECK) {
        return -1;
    }
    if (action != AT_CMD_TYPE_SET) {
        return 0;
    }
    return fetch(kind, count, request, list) == -1 ? -1 : 0;
}

constexpr Field kStsfFields[] = {AT_FIELD(at_stsf_info, Mode), AT_FIELD(at_stsf_info, Config),
                                 AT_FIELD(at_stsf_info, Timeout)};
constexpr Member kStsfCheck = member({.command = "AT^STSF?",
                                      .refusal = Refusal::kMap,
                                      .key = "^STSF",
                                      .table = kMenu,
                                      .fields = kStsfFields,
                                      .err = AT_ERR(at_stsf_info)});
constexpr Argument kMode[] = {{0, sizeof(uint8_t), ArgumentKind::kUnsigned}};
constexpr Member kStsfSet =
    member({.command = "AT^STSF=%d", .arguments = kMode, .err = AT_ERR(at_stsf_info)});

constexpr Argument kStgrNumber[] = {
    AT_ARGUMENT(at_stgr_req, cmd_type), AT_ARGUMENT(at_stgr_req, status),
    AT_ARGUMENT(at_stgr_req, data_type), AT_ARGUMENT(at_stgr_req, number)};
constexpr Argument kStgrText[] = {
    AT_ARGUMENT(at_stgr_req, cmd_type), AT_ARGUMENT(at_stgr_req, status),
    AT_ARGUMENT(at_stgr_req, data_type), AT_ARGUMENT(at_stgr_req, text)};

// The record is the result word alone.
constexpr Member answer(const char *command, std::span<const Argument> arguments) {
    return {.command = command, .arguments = arguments, .refusal = Refusal::kIgnore, .err = 0};
}

constexpr Member kStgrOfNumber = member(answer("AT^STGR=%d,%d,%d,%d", kStgrNumber));
constexpr Member kStgrOfText = member(answer("AT^STGR=%d,%d,%d,\"%s\"", kStgrText));
constexpr Member kStgrOfNothing = member(answer("AT^STGR=%d,%d", std::span(kStgrNumber).first(2)));

const Member &stgr_member(uint8_t form) {
    switch (form) {
        case 0:
            return kStgrOfNumber;
        case 1:
            return kStgrOfText;
        default:
            return kStgrOfNothing;
    }
}

}  // namespace

int32_t AT_Stsf_Check(at_stsf_info *info) {
    return run(kStsfCheck, info);
}

int32_t AT_Stsf_Execute(const uint8_t *mode, at_stsf_info *info) {
    return run(kStsfSet, info, mode);
}

int32_t AT_Stsf(int32_t action, const uint8_t *mode, at_stsf_info *info) {
    if (action == AT_CMD_TYPE_CHECK) {
        return AT_Stsf_Check(info);
    }
    return action == AT_CMD_TYPE_SET ? AT_Stsf_Execute(mode, info) : -1;
}

int32_t AT_Stgi_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgi, count, request, list);
}

int32_t AT_StgiText_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgiText, count, request, list);
}

int32_t AT_StgiInput_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgiInput, count, request, list);
}

int32_t AT_StgiInkey_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgiInkey, count, request, list);
}

int32_t AT_StgiRefresh_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgiRefresh, count, request, list);
}

int32_t AT_StgiBrowser_Execute(uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch(kStgiBrowser, count, request, list);
}

int32_t AT_Stgi(int32_t action, uint32_t *count, const at_stgi_req *request, at_stk_item **list) {
    return fetch_by_action(action, kStgi, count, request, list);
}

int32_t AT_StgiText(int32_t action, uint32_t *count, const at_stgi_req *request,
                    at_stk_item **list) {
    return fetch_by_action(action, kStgiText, count, request, list);
}

int32_t AT_StgiInput(int32_t action, uint32_t *count, const at_stgi_req *request,
                     at_stk_item **list) {
    return fetch_by_action(action, kStgiInput, count, request, list);
}

int32_t AT_StgiInkey(int32_t action, uint32_t *count, const at_stgi_req *request,
                     at_stk_item **list) {
    return fetch_by_action(action, kStgiInkey, count, request, list);
}

int32_t AT_StgiRefresh(int32_t action, uint32_t *count, const at_stgi_req *request,
                       at_stk_item **list) {
    return fetch_by_action(action, kStgiRefresh, count, request, list);
}

int32_t AT_StgiBrowser(int32_t action, uint32_t *count, const at_stgi_req *request,
                       at_stk_item **list) {
    return fetch_by_action(action, kStgiBrowser, count, request, list);
}

int32_t AT_Stgr_Execute(const at_stgr_req *request, uint32_t *result) {
    if (request == nullptr || result == nullptr) {
        return -1;
    }
    const Member &kind = stgr_member(request->form);
    at_server_msg message;
    int32_t outcome = 0;
    prepare(kind, request, &message);
    HEARTH_LOG(OSA_LOG_DEBUG, "msg_buf.snd_rcv_msg.smsg.at_cmd_str=%s\n", message.report);
    bool delivered = deliver(kind, &message, &outcome);
    HEARTH_LOG(OSA_LOG_DEBUG, "[stk-stgr]GetDataFromAtServer return ret=%d\n", outcome);
    if (!delivered || !judge(kind, &message, result, &outcome)) {
        return outcome;
    }
    clear_err(kind, result);
    return 0;
}

int32_t AT_Stgr(int32_t action, const at_stgr_req *request, uint32_t *result) {
    return action == AT_CMD_TYPE_SET ? AT_Stgr_Execute(request, result) : -1;
}
