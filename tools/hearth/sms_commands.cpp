// hearth at sms: short messages in the modem.

#include <cstdlib>
#include <cstring>

#include "at.h"
#include "hearth/at_lib.h"
#include "hearth/at_sms.h"
#include "sms_pdu.h"
#include "tool.h"

namespace hearth::tool {

namespace {

constexpr const char *kStates[] = {"unread", "read", "unsent", "sent"};

struct ListOptions {
    bool pdu = false;
};

std::vector<uint32_t> places_in_use() {
    at_cmgd_list list{};
    int32_t result = AT_Cmgd(AT_CMD_TYPE_CHECK, nullptr, &list);
    std::vector<uint32_t> places;
    for (uint32_t i = 0; result == 0 && list.indexes != nullptr && i < list.count; i++) {
        // A modem that lists nothing leaves one index 0.
        if (list.indexes[i] != 0 || list.count > 1) {
            places.push_back(list.indexes[i]);
        }
    }
    free(list.indexes);
    expect_at("message list", result, list.err);
    return places;
}

Json read_message(uint32_t index, bool with_pdu) {
    at_cmgr_msg message{};
    message.index = index;
    expect_at("message " + std::to_string(index), AT_Cmgr(&message), message.err);
    Json row = {{"index", index},
                {"state", message.stat < std::size(kStates) ? Json(kStates[message.stat])
                                                            : Json(message.stat)}};
    std::string pdu = field(message.pdu);
    Json content = read_pdu(pdu);
    row.update(content);
    if (with_pdu || content.empty()) {
        row["pdu"] = pdu;
    }
    return row;
}

void run_list(const ListOptions &options) {
    need_at_server();
    at_cpms_info memory{};
    expect_at("message memory", AT_Cpms(AT_CMD_TYPE_CHECK, nullptr, &memory), memory.err);
    Json messages = Json::array();
    for (uint32_t index : places_in_use()) {
        messages.push_back(read_message(index, options.pdu));
    }
    show({{"memory", field(memory.mem1)},
          {"used", field(memory.used1)},
          {"places", field(memory.total1)},
          {"messages", messages}});
}

struct SendOptions {
    std::string pdu;
    bool store = false;
};

void run_send(const SendOptions &options) {
    at_sms_pdu_req request{};
    // A cut PDU would lose its end mark with it.
    if (options.pdu.size() > 512) {
        throw Failure("a PDU has 512 digits at most", kExitUsage);
    }
    request.length = static_cast<uint16_t>(tpdu_length(options.pdu));
    request.stat = 2;
    memcpy(request.pdu, options.pdu.data(), options.pdu.size());
    need_at_server();
    at_sms_rsp reply{};
    int32_t result = options.store ? AT_Cmgw(&request, &reply) : AT_Cmgs(&request, &reply);
    expect_at(options.store ? "storing the message" : "sending the message", result, reply.err);
    show({{options.store ? "index" : "reference", reply.value}});
}

struct DeleteOptions {
    uint32_t index = 0;
    bool all = false;
};

void run_delete(const DeleteOptions &options) {
    need_at_server();
    std::vector<uint32_t> places = {options.index};
    if (options.all) {
        places = places_in_use();
    } else if (options.index == 0) {
        throw Failure("tell an INDEX, or --all", kExitUsage);
    }
    for (uint32_t index : places) {
        at_cmgd_req request{index, 0, 0};
        int32_t result = AT_Cmgd(AT_CMD_TYPE_SET, &request, nullptr);
        expect_at("deleting message " + std::to_string(index), result, request.err);
    }
    show({{"deleted", places.size()}});
}

}  // namespace

void add_sms_commands(CLI::App &at) {
    CLI::App *sms = at.add_subcommand("sms", "short messages in the modem");
    sms->require_subcommand(1);

    CLI::App *list =
        sms->add_subcommand("list", "all messages of the memory in use; marks them as read");
    list->add_flag("--pdu", on_run(list, run_list).pdu, "show the PDUs too");

    CLI::App *send = sms->add_subcommand("send-pdu", "send a message that is a PDU already");
    SendOptions &message = on_run(send, run_send);
    send->add_option("PDU", message.pdu, "hexadecimal, from the service centre's address on (00)")
        ->required();
    send->add_flag("--store", message.store, "store it unsent instead");

    CLI::App *remove = sms->add_subcommand("delete", "delete a message");
    DeleteOptions &deletion = on_run(remove, run_delete);
    CLI::Option *index = remove->add_option("INDEX", deletion.index, "place of the message")
                             ->check(CLI::Range(1, 65535));
    remove->add_flag("--all", deletion.all, "all messages of the memory in use")->excludes(index);
}

}  // namespace hearth::tool
