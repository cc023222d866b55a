#include "scenario.h"

#include <arpa/inet.h>

#include <algorithm>

#include "scenario_table.h"

namespace hearth::device {

namespace {

class ScenarioReader {
  public:
    explicit ScenarioReader(const std::string &path) : path_(path) {}

    SimState read() {
        try {
            root_ = toml::parse_file(path_);
        } catch (const toml::parse_error &error) {
            throw ScenarioError(path_ + ":" + std::to_string(error.source().begin.line) + ": " +
                                std::string(error.description()));
        }
        TableReader top(path_, root_, "top level");
        for (const char *key : {"modem", "sim", "network", "signal", "sms", "message", "phonebook",
                                "contact", "operator", "settings", "entry", "profile", "connection",
                                "ussd", "toolkit", "menu", "battery", "refuse", "at"}) {
            top.allow(key);
        }
        top.done();
        section("modem", [&](const toml::table &table) { read_modem(table); });
        section("sim", [&](const toml::table &table) { read_sim(table, "sim", &state_.sim); });
        section("network", [&](const toml::table &table) { read_network(table); });
        section("signal", [&](const toml::table &table) { read_signal(table); });
        section("sms", [&](const toml::table &table) { read_sms(table); });
        list("message", [&](const toml::table &table) { read_message(table); });
        section("phonebook", [&](const toml::table &table) { read_phonebook(table); });
        list("contact", [&](const toml::table &table) { read_contact(table); });
        section("settings", [&](const toml::table &table) { read_settings(table); });
        list("entry", [&](const toml::table &table) { read_entry(table); });
        list("profile", [&](const toml::table &table) { read_profile(table); });
        section("connection", [&](const toml::table &table) { read_connection(table); });
        list("ussd", [&](const toml::table &table) { read_ussd(table); });
        section("toolkit", [&](const toml::table &table) { read_toolkit(table); });
        list("menu", [&](const toml::table &table) { read_menu(table); });
        section("battery", [&](const toml::table &table) { read_battery(table); });
        list("operator", [&](const toml::table &table) { read_operator(table); });
        list("refuse", [&](const toml::table &table) { read_refusal(table); });
        list("at", [&](const toml::table &table) { read_moment(table); });
        std::stable_sort(state_.moments.begin(), state_.moments.end(),
                         [](const Moment &a, const Moment &b) { return a.at < b.at; });
        return state_;
    }

  private:
    template <typename Read>
    void section(const char *name, Read read) {
        const toml::node *node = root_.get(name);
        if (node == nullptr) {
            return;
        }
        const toml::table *table = node->as_table();
        if (table == nullptr) {
            TableReader(path_, root_, name)
                .fail(node->source(), std::string("expected a table [") + name + "]");
        }
        read(*table);
    }

    template <typename Read>
    void list(const char *name, Read read) {
        const toml::node *node = root_.get(name);
        if (node == nullptr) {
            return;
        }
        const toml::array *array = node->as_array();
        if (array == nullptr || !array->is_homogeneous(toml::node_type::table)) {
            TableReader(path_, root_, name)
                .fail(node->source(), std::string("expected tables [[") + name + "]]");
        }
        for (const toml::node &element : *array) {
            read(*element.as_table());
        }
    }

    void read_modem(const toml::table &table) {
        Identity &identity = state_.identity;
        TableReader(path_, table, "modem")
            .get("manufacturer", &identity.manufacturer)
            .get("model", &identity.model)
            .get("revision", &identity.revision)
            .get("hardware", &identity.hardware)
            .get("imei", &identity.imei)
            .get("serial", &identity.serial)
            .get("meid", &identity.meid)
            .get("esn", &identity.esn)
            .get("software", &identity.software)
            .done();
    }

    void read_sim(const toml::table &table, const char *name, Sim *sim) {
        TableReader(path_, table, name)
            .get("inserted", &sim->inserted)
            .get("imsi", &sim->imsi)
            .get("iccid", &sim->iccid)
            .get("mnc_length", &sim->mnc_length)
            .get("numbers", &sim->numbers)
            .get("provider", &sim->provider)
            .get("show_network", &sim->show_network)
            .get("apns", &sim->apns)
            .get("group", &sim->group)
            .get("lock", &sim->lock)
            .get("verified", &sim->verified)
            .get("pin", &sim->pin)
            .get("puk", &sim->puk)
            .get("pin_tries", &sim->pin_tries)
            .get("puk_tries", &sim->puk_tries)
            .done();
    }

    void read_network(const toml::table &table) {
        Network &network = state_.network;
        TableReader(path_, table, "network")
            .get("registration", &network.registration)
            .get("packet_registration", &network.packet_registration)
            .get("attached", &network.attached)
            .get("area", &network.area)
            .get("cell", &network.cell)
            .get("zone", &network.zone)
            .get("summer", &network.summer)
            .get("tells_time", &network.tells_time)
            .get("physical_cell", &network.physical_cell)
            .get("band", &network.band)
            .get("channel", &network.channel)
            .get("bandwidth", &network.bandwidth)
            .get("carriers", &network.carriers)
            .done();
    }

    static bool is_rssi(int value) { return (value >= 0 && value <= 31) || value == 99; }

    void read_signal(const toml::table &table) {
        Signal &signal = state_.signal;
        TableReader reader(path_, table, "signal");
        reader.get("rssi", &signal.rssi)
            .get("bit_errors", &signal.bit_errors)
            .get("rsrp", &signal.rsrp)
            .get("rsrq", &signal.rsrq)
            .get("sinr", &signal.sinr)
            .get("rscp", &signal.rscp)
            .get("ecio", &signal.ecio)
            .done();
        if (!is_rssi(signal.rssi)) {
            reader.fail(table.source(), "[signal] wants an \"rssi\" of 0 to 31, or 99");
        }
        for (int value : {signal.rsrp, signal.rsrq, signal.sinr, signal.rscp, signal.ecio}) {
            if (value < -200 || value > 200) {
                reader.fail(table.source(), "[signal] wants values of -200 to 200");
            }
        }
    }

    void read_sms(const toml::table &table) {
        Sms &sms = state_.sms;
        TableReader(path_, table, "sms")
            .get("centre", &sms.centre)
            .get("centre_type", &sms.centre_type)
            .get("sim_capacity", &sms.memories["SM"].capacity)
            .get("modem_capacity", &sms.memories["ME"].capacity)
            .done();
    }

    // Messages take places in the order of the file.
    void read_message(const toml::table &table) {
        Message message;
        std::string memory = "SM";
        TableReader reader(path_, table, "[message]");
        reader.get("memory", &memory)
            .get("status", &message.status)
            .get("pdu", &message.pdu)
            .done();
        auto found = state_.sms.memories.find(memory);
        if (found == state_.sms.memories.end()) {
            reader.fail(table.source(), "there is no message memory \"" + memory + "\"");
        }
        if (tpdu_length(message.pdu) < 0 || message.status < 0 || message.status > 3) {
            reader.fail(table.source(), "[[message]] wants a \"pdu\" and a \"status\" of 0 to 3");
        }
        auto &messages = found->second.messages;
        messages[static_cast<int>(messages.size()) + 1] = message;
    }

    void read_phonebook(const toml::table &table) {
        Phonebook &book = state_.phonebooks.books["SM"];
        TableReader(path_, table, "phonebook")
            .get("capacity", &book.capacity)
            .get("number_length", &book.number_length)
            .get("name_length", &book.name_length)
            .done();
    }

    void read_contact(const toml::table &table) {
        Contact contact;
        std::string memory = "SM";
        TableReader reader(path_, table, "[contact]");
        reader.get("memory", &memory)
            .get("number", &contact.number)
            .get("type", &contact.type)
            .get("name", &contact.name)
            .get("coding", &contact.coding)
            .done();
        auto found = state_.phonebooks.books.find(memory);
        if (found == state_.phonebooks.books.end()) {
            reader.fail(table.source(), "there is no phonebook \"" + memory + "\"");
        }
        auto &contacts = found->second.contacts;
        contacts[static_cast<int>(contacts.size()) + 1] = contact;
    }

    // The names of settings are the commands'.
    void read_settings(const toml::table &table) {
        TableReader reader(path_, table, "settings");
        for (const std::string &name : setting_names()) {
            std::optional<std::string> value;
            reader.get(name.c_str(), &value);
            if (value) {
                state_.settings.values[name] = *value;
            }
        }
        reader.done();
    }

    void read_entry(const toml::table &table) {
        std::string list;
        std::string value;
        TableReader reader(path_, table, "[entry]");
        reader.get("list", &list).get("value", &value).done();
        if (!is_stored_list(list)) {
            reader.fail(table.source(), "the modem stores no list \"" + list + "\"");
        }
        state_.settings.lists[list].push_back(value);
    }

    void read_profile(const toml::table &table) {
        Profile profile;
        profile.index = static_cast<int>(state_.profiles.size()) + 1;
        TableReader(path_, table, "[profile]")
            .get("index", &profile.index)
            .get("name", &profile.name)
            .get("apn", &profile.apn)
            .get("username", &profile.username)
            .get("password", &profile.password)
            .get("auth", &profile.auth)
            .get("read_only", &profile.read_only)
            .done();
        state_.profiles.push_back(profile);
    }

    void read_connection(const toml::table &table) {
        Connection &connection = state_.connection;
        TableReader reader(path_, table, "connection");
        reader.get("apns", &connection.apns)
            .get("apn", &connection.contexts[1].apn)
            .get("type", &connection.contexts[1].type)
            .get("address", &connection.address)
            .get("mask", &connection.mask)
            .get("gateway", &connection.gateway)
            .get("primary_dns", &connection.primary_dns)
            .get("secondary_dns", &connection.secondary_dns)
            .get("address6", &connection.address6)
            .get("gateway6", &connection.gateway6)
            .get("prefix6", &connection.prefix6)
            .get("primary_dns6", &connection.primary_dns6)
            .get("secondary_dns6", &connection.secondary_dns6)
            .get("mtu", &connection.mtu)
            .get("prefix_seconds", &connection.prefix_seconds)
            .get("downlink", &connection.downlink)
            .get("uplink", &connection.uplink)
            .get("sent_rate", &connection.sent_rate)
            .get("received_rate", &connection.received_rate)
            .done();
        if (connection.sent_rate < 0 || connection.received_rate < 0) {
            reader.fail(table.source(), "[connection] wants rates of 0 or more");
        }
        for (const std::string *address :
             {&connection.address, &connection.mask, &connection.gateway, &connection.primary_dns,
              &connection.secondary_dns}) {
            in_addr parsed;
            if (inet_pton(AF_INET, address->c_str(), &parsed) != 1) {
                reader.fail(table.source(), "\"" + *address + "\" is no IPv4 address");
            }
        }
    }

    void read_ussd(const toml::table &table) {
        UssdCode code;
        TableReader reader(path_, table, "[ussd]");
        reader.get("code", &code.code)
            .get("answer", &code.answer)
            .get("more", &code.more)
            .get("inside", &code.inside)
            .done();
        if (code.code.empty()) {
            reader.fail(table.source(), "[[ussd]] wants a \"code\"");
        }
        state_.ussd.codes.push_back(code);
    }

    void read_toolkit(const toml::table &table) {
        TableReader reader(path_, table, "toolkit");
        reader.get("mode", &state_.toolkit.mode)
            .get("profile", &state_.toolkit.profile)
            .get("timeout", &state_.toolkit.timeout)
            .done();
        if (state_.toolkit.mode < 0 || state_.toolkit.mode > 2) {
            reader.fail(table.source(), "[toolkit] wants a \"mode\" of 0 to 2");
        }
    }

    // Entries count up from 1 when they have no number.
    void read_menu(const toml::table &table) {
        constexpr std::pair<const char *, ToolkitKind> kKinds[] = {
            {"text", kDisplayText}, {"input", kGetInput},        {"key", kGetInkey},
            {"refresh", kRefresh},  {"browser", kLaunchBrowser},
        };
        ToolkitItem item;
        item.id = static_cast<int>(state_.toolkit.items.size()) + 1;
        std::string kind = "text";
        TableReader reader(path_, table, "[menu]");
        reader.get("id", &item.id)
            .get("name", &item.name)
            .get("help", &item.help)
            .get("kind", &kind)
            .get("text", &item.text)
            .get("coding", &item.coding)
            .get("minimum", &item.minimum)
            .get("maximum", &item.maximum)
            .get("offered", &item.offered)
            .get("seconds", &item.seconds)
            .get("then", &item.then)
            .get("hidden", &item.hidden)
            .done();
        auto found = std::find_if(std::begin(kKinds), std::end(kKinds),
                                  [&](const auto &row) { return kind == row.first; });
        if (found == std::end(kKinds) || item.id < 1 || item.id > 255) {
            reader.fail(table.source(),
                        "[[menu]] wants an \"id\" of 1 to 255 and a \"kind\" of \"text\", "
                        "\"input\", \"key\", \"refresh\" or \"browser\"");
        }
        item.kind = found->second;
        state_.toolkit.items.push_back(item);
    }

    void read_battery(const toml::table &table) {
        Battery &battery = state_.battery;
        TableReader(path_, table, "battery")
            .get("charging", &battery.charging)
            .get("level", &battery.level)
            .get("millivolts", &battery.millivolts)
            .get("temperature", &battery.temperature)
            .done();
    }

    void read_operator(const toml::table &table) {
        Operator op;
        TableReader(path_, table, "[operator]")
            .get("status", &op.status)
            .get("long", &op.long_name)
            .get("short", &op.short_name)
            .get("numeric", &op.numeric)
            .get("technology", &op.technology)
            .done();
        state_.network.operators.push_back(op);
    }

    void read_refusal(const toml::table &table) {
        Refusal refusal;
        TableReader reader(path_, table, "[refuse]");
        reader.get("command", &refusal.command)
            .get("answer", &refusal.answer)
            .get("lines", &refusal.lines)
            .get("silent", &refusal.silent)
            .get("delay", &refusal.delay)
            .get("times", &refusal.times)
            .done();
        if (refusal.command.empty()) {
            reader.fail(table.source(), "[[refuse]] wants a \"command\"");
        }
        state_.refusals.push_back(refusal);
    }

    void read_moment(const toml::table &table) {
        Moment moment;
        TableReader reader(path_, table, "[at]");
        reader.get("seconds", &moment.at)
            .get("rssi", &moment.rssi)
            .get("registration", &moment.registration)
            .get("message", &moment.message)
            .get("report", &moment.report)
            .allow("sim")
            .done();
        if (const toml::node *node = table.get("sim")) {
            if (!node->is_table()) {
                reader.fail(node->source(), "\"sim\" wants a table, as [sim] has it");
            }
            moment.sim = state_.sim;
            read_sim(*node->as_table(), "at.sim", &*moment.sim);
        }
        if (moment.rssi && !is_rssi(*moment.rssi)) {
            reader.fail(table.source(), "[[at]] wants an \"rssi\" of 0 to 31, or 99");
        }
        if (!moment.message.empty() && tpdu_length(moment.message) < 0) {
            reader.fail(table.source(), "\"message\" wants a PDU as hexadecimal text");
        }
        state_.moments.push_back(moment);
    }

    std::string path_;
    toml::table root_;
    SimState state_;
};

}  // namespace

SimState read_scenario(const std::string &path) {
    return ScenarioReader(path).read();
}

}  // namespace hearth::device
