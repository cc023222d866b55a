#include "scenario.h"

#include <toml++/toml.h>
#include <algorithm>
#include <set>

namespace hearth::device {

namespace {

// Reads the keys of one table and, at the end, refuses those that nobody asked for.
class TableReader {
  public:
    TableReader(std::string path, const toml::table &table, std::string name)
        : path_(std::move(path)), table_(table), name_(std::move(name)) {}

    template <typename T>
    TableReader &get(const char *key, T *value) {
        known_.insert(key);
        if (const toml::node *node = table_.get(key)) {
            read(*node, key, value);
        }
        return *this;
    }

    // Allows a key that is read elsewhere.
    TableReader &allow(const char *key) {
        known_.insert(key);
        return *this;
    }

    void done() const {
        for (const auto &[key, node] : table_) {
            std::string name(key.str());
            if (known_.count(name) == 0) {
                fail(key.source(), "[" + name_ + "] has no key \"" + name + "\"");
            }
        }
    }

    [[noreturn]] void fail(const toml::source_region &where, const std::string &what) const {
        throw ScenarioError(path_ + ":" + std::to_string(where.begin.line) + ": " + what);
    }

  private:
    void read(const toml::node &node, const char *key, std::string *value) const {
        auto text = node.value_exact<std::string>();
        if (!text) {
            fail(node.source(), std::string("\"") + key + "\" wants a text in quotation marks");
        }
        *value = *text;
    }

    void read(const toml::node &node, const char *key, bool *value) const {
        auto flag = node.value_exact<bool>();
        if (!flag) {
            fail(node.source(), std::string("\"") + key + "\" wants true or false");
        }
        *value = *flag;
    }

    void read(const toml::node &node, const char *key, int *value) const {
        auto number = node.value_exact<int64_t>();
        if (!number || *number < INT32_MIN || *number > INT32_MAX) {
            fail(node.source(), std::string("\"") + key + "\" wants a whole number");
        }
        *value = static_cast<int>(*number);
    }

    void read(const toml::node &node, const char *key, std::chrono::milliseconds *value) const {
        auto seconds = node.value<double>();
        if (!seconds || *seconds < 0 || *seconds > 1e6) {
            fail(node.source(), std::string("\"") + key + "\" wants seconds, 0 or more");
        }
        *value = std::chrono::milliseconds(static_cast<int64_t>(*seconds * 1000));
    }

    void read(const toml::node &node, const char *key, std::vector<std::string> *value) const {
        const toml::array *array = node.as_array();
        if (array == nullptr) {
            fail(node.source(), std::string("\"") + key + "\" wants a list of texts");
        }
        value->clear();
        for (const toml::node &element : *array) {
            read(element, key, &value->emplace_back());
        }
    }

    template <typename T>
    void read(const toml::node &node, const char *key, std::optional<T> *value) const {
        read(node, key, &value->emplace());
    }

    std::string path_;
    const toml::table &table_;
    std::string name_;
    std::set<std::string> known_;
};

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
                                "contact", "operator", "refuse", "at"}) {
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
            .done();
    }

    void read_signal(const toml::table &table) {
        Signal &signal = state_.signal;
        TableReader(path_, table, "signal")
            .get("rssi", &signal.rssi)
            .get("bit_errors", &signal.bit_errors)
            .get("rsrp", &signal.rsrp)
            .get("rsrq", &signal.rsrq)
            .get("sinr", &signal.sinr)
            .done();
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
