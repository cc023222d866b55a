// hearth at sms: short messages in the modem.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "at.h"
#include "hearth/at_lib.h"
#include "hearth/at_sms.h"
#include "sms_pdu.h"
#include "sms_submit.h"
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

// A column for everything that a message has, the text behind what is short.
void arrange(Json &messages) {
    Json first = Json::object();
    for (const char *key :
         {"index", "state", "from", "to", "time", "reference", "part", "parts", "text", "pdu"}) {
        bool used = std::any_of(messages.begin(), messages.end(),
                                [&](const Json &message) { return message.contains(key); });
        if (used) {
            first[key] = messages[0].value(key, Json());
        }
    }
    messages[0] = first;
}

void run_list(const ListOptions &options) {
    need_at_server();
    at_cpms_info memory{};
    expect_at("message memory", AT_Cpms(AT_CMD_TYPE_CHECK, nullptr, &memory), memory.err);
    Json messages = Json::array();
    for (uint32_t index : places_in_use()) {
        messages.push_back(read_message(index, options.pdu));
    }
    if (!json_wanted() && !messages.empty()) {
        arrange(messages);
    }
    show({{"memory", field(memory.mem1)},
          {"used", field(memory.used1)},
          {"places", field(memory.total1)},
          {"messages", messages}});
}

bool in_parts(const Json &message) {
    return message.contains("parts");
}

// Whether two messages are parts of one text.
bool belong_together(const Json &a, const Json &b) {
    auto same = [&](const char *key) { return a.value(key, Json()) == b.value(key, Json()); };
    return in_parts(a) && same("from") && same("to") && same("reference") && same("parts");
}

// One text of the parts that are there, in their order; `whole` has the first one's head.
Json joined(Json whole, const std::vector<Json> &parts) {
    Json indexes = Json::array();
    Json missing = Json::array();
    std::string text;
    for (unsigned number = 1; number <= whole["parts"]; number++) {
        auto found = std::find_if(parts.begin(), parts.end(),
                                  [&](const Json &part) { return part["part"] == number; });
        if (found == parts.end()) {
            missing.push_back(number);
            text += "[...]";
        } else {
            indexes.push_back((*found)["index"]);
            text += (*found)["text"].get<std::string>();
        }
    }
    whole["index"] = indexes;
    whole["missing"] = missing;
    whole["text"] = text;
    whole.erase("part");
    return whole;
}

struct ReadOptions {
    uint32_t index = 0;
};

void run_read(const ReadOptions &options) {
    need_at_server();
    std::vector<uint32_t> places = places_in_use();
    if (std::find(places.begin(), places.end(), options.index) == places.end()) {
        throw Failure("no message at place " + std::to_string(options.index), kExitNotFound);
    }
    Json message = read_message(options.index, false);
    if (!in_parts(message)) {
        show(message);
        return;
    }
    std::vector<Json> parts;
    for (uint32_t index : places) {
        Json other = index == options.index ? message : read_message(index, false);
        if (belong_together(message, other)) {
            parts.push_back(other);
        }
    }
    show(joined(message, parts));
}

// The index of a stored message, or the reference of a sent one.
uint32_t hand_over(const std::string &pdu, bool store, const std::string &what) {
    at_sms_pdu_req request{};
    // A cut PDU would lose its end mark with it.
    if (pdu.size() > 512) {
        throw Failure("a PDU has 512 digits at most", kExitUsage);
    }
    request.length = static_cast<uint16_t>(tpdu_length(pdu));
    request.stat = 2;
    memcpy(request.pdu, pdu.data(), pdu.size());
    at_sms_rsp reply{};
    int32_t result = store ? AT_Cmgw(&request, &reply) : AT_Cmgs(&request, &reply);
    expect_at((store ? "storing " : "sending ") + what, result, reply.err);
    return reply.value;
}

struct SendPduOptions {
    std::string pdu;
    bool store = false;
};

void run_send_pdu(const SendPduOptions &options) {
    tpdu_length(options.pdu);
    need_at_server();
    uint32_t value = hand_over(options.pdu, options.store, "the message");
    show({{options.store ? "index" : "reference", value}});
}

struct SendOptions {
    std::string number;
    std::string text;
    bool store = false;
};

void run_send(const SendOptions &options) {
    // Consecutive messages to one receiver need different references.
    auto reference = static_cast<uint8_t>(getpid());
    Submission made = submission(options.number, options.text, reference);
    need_at_server();
    Json values = Json::array();
    for (size_t i = 0; i < made.pdus.size(); i++) {
        std::string what =
            "part " + std::to_string(i + 1) + " of " + std::to_string(made.pdus.size());
        values.push_back(hand_over(made.pdus[i], options.store, what));
    }
    show({{"to", options.number},
          {"alphabet", made.alphabet},
          {"parts", made.pdus.size()},
          {options.store ? "indexes" : "references", values}});
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

void add_sms_commands(Command at) {
    Command sms = at.group("sms", "short messages in the modem");

    Command list = sms.command("list", "all messages of the memory in use; marks them as read");
    list.flag("--pdu", on_run(list, run_list).pdu, "show the PDUs too");

    Command read = sms.command("read", "one message; of a text in parts, all that are there");
    read.option("INDEX", on_run(read, run_read).index, "place of the message")
        .required()
        .range(1, 65535);

    Command send =
        sms.command("send", "send a text, in several messages when it is too long for one");
    SendOptions &message = on_run(send, run_send);
    check_number(send.option("NUMBER", message.number, "receiver").required());
    send.option("TEXT", message.text, "the text").required();
    send.flag("--store", message.store, "store it unsent instead");
    send.explain(
        "A message holds 160 characters of the GSM alphabet, or 70 of UCS-2 when the text has\n"
        "others; messages of a longer text hold 153, or 67.");

    Command send_pdu = sms.command("send-pdu", "send a message that is a PDU already");
    SendPduOptions &pdu = on_run(send_pdu, run_send_pdu);
    send_pdu.option("PDU", pdu.pdu, "hexadecimal, from the service centre's address on (00)")
        .required();
    send_pdu.flag("--store", pdu.store, "store it unsent instead");

    Command remove = sms.command("delete", "delete a message");
    DeleteOptions &deletion = on_run(remove, run_delete);
    Option index = remove.option("INDEX", deletion.index, "place of the message").range(1, 65535);
    remove.flag("--all", deletion.all, "all messages of the memory in use").excludes(index);
}

}  // namespace hearth::tool
