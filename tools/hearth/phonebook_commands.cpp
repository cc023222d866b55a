// hearth at phonebook: the SIM's contacts.

#include <cstring>

#include "at.h"
#include "convert.h"
#include "hearth/at_lib.h"
#include "hearth/at_pb.h"
#include "hearth/cl_xcodec.h"
#include "tool.h"

namespace hearth::tool {

namespace {

constexpr uint32_t kNational = 129;
constexpr uint32_t kInternational = 145;

struct PhonebookOptions {
    uint32_t index = 0;
    std::string number;
    std::string name;
};

// The name by its coding; hexadecimal where it does not fit that.
std::string decoded_name(uint32_t coding, const std::string &bytes) {
    if (bytes.empty()) {
        return "";
    }
    std::u16string name;
    uint32_t status = converted(name, bytes.size() * 2 + 2, [&](char16_t *to, uint32_t *length) {
        return cl_decodeData(coding, bytes.data(), static_cast<uint32_t>(bytes.size()),
                             reinterpret_cast<uint16_t *>(to), length);
    });
    return status == CL_TEXT_OK ? printable(ucs2_to_utf8(name))
                                : std::string("0x").append(to_hex(bytes));
}

std::string contact_name(const at_cpbr_info &info) {
    size_t length = std::min<size_t>(info.text_length, sizeof info.text);
    return decoded_name(info.coding, {info.text, length});
}

// False when the place is empty; Failure for all other refusals.
bool read_contact(uint32_t index, Json &contact) {
    at_cpbr_req request{index, static_cast<uint32_t>(AT_ERR_NONE)};
    at_cpbr_info info{};
    std::string what = "phonebook entry " + std::to_string(index);
    int32_t result = AT_Cpbr(1, &request, &info);
    if (result == 0 && request.err == static_cast<uint32_t>(AT_ERR_OTHER)) {
        return false;
    }
    expect_at(what, result, request.err);
    contact = {{"index", info.index},
               {"number", field(info.number)},
               {"name", contact_name(info)},
               {"international", info.type == kInternational}};
    return true;
}

struct Limits {
    uint32_t first;
    uint32_t last;
};

Limits limits() {
    at_cpbr_req request{0, static_cast<uint32_t>(AT_ERR_NONE)};
    at_cpbr_info info{};
    expect_at("phonebook", AT_Cpbr(2, &request, &info), request.err);
    // A phonebook of a SIM has at most 255 places of each kind; more is no answer to believe.
    return {info.first_index, std::min(info.last_index, info.first_index + 1000)};
}

void run_get(const PhonebookOptions &options) {
    need_at_server();
    Json contact;
    if (options.index != 0) {
        if (!read_contact(options.index, contact)) {
            throw Failure("the phonebook has no entry " + std::to_string(options.index),
                          kExitNotFound);
        }
        show(contact);
        return;
    }
    Limits places = limits();
    Json rows = Json::array();
    for (uint32_t index = places.first; index <= places.last; index++) {
        if (read_contact(index, contact)) {
            rows.push_back(contact);
        }
    }
    show(rows);
}

// Without `compress` any text but one in septets is UCS-2 as it stands.
std::string encoded(uint32_t &coding, const std::u16string &name, uint32_t compress) {
    const cl_codecProfile profile = {0, compress};
    std::string quoted;
    uint32_t status = converted(quoted, name.size() * 4 + 9, [&](char *to, uint32_t *length) {
        return cl_encodeData(&coding, units_of(name), static_cast<uint32_t>(name.size()), to,
                             length, &profile);
    });
    if (status != CL_TEXT_OK) {
        throw Failure("cannot encode the name", kTextResults, status);
    }
    return quoted.substr(1, quoted.size() - 2);
}

// The name in the shortest coding that gives it back.
void set_name(at_cpbw_req &entry, const std::string &name) {
    std::u16string units = utf8_to_ucs2(name);
    std::string bytes;
    if (!units.empty()) {
        bytes = encoded(entry.coding, units, 1);
        if (decoded_name(entry.coding, bytes) != name) {
            bytes = encoded(entry.coding, units, 0);
        }
    }
    if (bytes.size() > sizeof entry.text) {
        throw Failure("the name takes " + std::to_string(bytes.size()) + " bytes, at most " +
                          std::to_string(sizeof entry.text) + " can be sent",
                      kExitUsage);
    }
    entry.text_length = static_cast<uint32_t>(bytes.size());
    memcpy(entry.text, bytes.data(), bytes.size());
}

uint32_t first_free() {
    Limits places = limits();
    Json contact;
    for (uint32_t index = places.first; index <= places.last; index++) {
        if (!read_contact(index, contact)) {
            return index;
        }
    }
    throw Failure("all places of the phonebook are taken");
}

void write_entry(uint32_t op, const PhonebookOptions &options, const std::string &what) {
    at_cpbw_req entry{};
    entry.op = op;
    entry.index = options.index;
    entry.err = static_cast<uint32_t>(AT_ERR_NONE);
    entry.type = options.number.rfind('+', 0) == 0 ? kInternational : kNational;
    memcpy(entry.number, options.number.data(), options.number.size());
    set_name(entry, options.name);
    int32_t result = AT_Cpbw(1, &entry, 0);
    expect_at(what, result, entry.err);
}

void run_set(const PhonebookOptions &options) {
    need_at_server();
    PhonebookOptions entry = options;
    bool added = entry.index == 0;
    entry.index = added ? first_free() : entry.index;
    std::string what = "writing phonebook entry " + std::to_string(entry.index);
    write_entry(added ? AT_CPBW_ADD : AT_CPBW_CHANGE, entry, what);
    run_get(entry);
}

void run_delete(const PhonebookOptions &options) {
    need_at_server();
    std::string what = "phonebook entry " + std::to_string(options.index);
    Json contact;
    if (!read_contact(options.index, contact)) {
        throw Failure("the phonebook has no entry " + std::to_string(options.index), kExitNotFound);
    }
    write_entry(AT_CPBW_DELETE, options, "deleting " + what);
    show({{"deleted", options.index}});
}

void add_contact(Command command, PhonebookOptions &options) {
    check_number(command.option("NUMBER", options.number, "telephone number").required());
    command.option("NAME", options.name, "the contact's name").required();
}

void add_index(Command command, PhonebookOptions &options, const char *text, bool required) {
    command.option("INDEX", options.index, text).range(1, 65535).required(required);
}

}  // namespace

void add_phonebook_commands(Command at) {
    Command phonebook = at.group("phonebook", "the SIM's phonebook");

    Command get = phonebook.command("get", "one entry, or all of them");
    add_index(get, on_run(get, run_get), "place of the entry; all without it", false);

    Command add = phonebook.command("add", "write an entry at the first free place");
    add_contact(add, on_run(add, run_set));

    Command set = phonebook.command("set", "write an entry, over what is there");
    PhonebookOptions &entry = on_run(set, run_set);
    add_index(set, entry, "place of the entry", true);
    add_contact(set, entry);

    Command remove = phonebook.command("delete", "delete an entry");
    add_index(remove, on_run(remove, run_delete), "place of the entry", true);
}

}  // namespace hearth::tool
