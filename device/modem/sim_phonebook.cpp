// The phonebooks. Names are raw bytes and may hold any of them, also separators and zero bytes.

#include <algorithm>

#include "sim_command.h"
#include "sim_state.h"

namespace hearth::device {

namespace {

constexpr int kInvalidText = 24;
constexpr int kCodings = 3;

Reply refusal_of_card(const SimState &state) {
    int code = state.card_error();
    return code == 0 ? Reply{} : error(code);
}

Phonebook &chosen(SimState &state) {
    return state.phonebooks.books[state.phonebooks.chosen];
}

Reply cpbs(SimState &state, const SimCommand &command) {
    Phonebooks &books = state.phonebooks;
    if (Reply refusal = refusal_of_card(state); !refusal.ok()) {
        return refusal;
    }
    if (command.form == Form::kTest) {
        std::string names;
        for (const auto &[name, book] : books.books) {
            names += (names.empty() ? "\"" : ",\"") + name + "\"";
        }
        return line_reply("+CPBS: (" + names + ")");
    }
    if (command.form == Form::kSet) {
        if (books.books.count(command.text(0)) == 0) {
            return error(kOperationNotSupported);
        }
        books.chosen = command.text(0);
        return {};
    }
    const Phonebook &book = chosen(state);
    return line_reply(
        format("+CPBS: \"%s\",%zu,%d", books.chosen.c_str(), book.contacts.size(), book.capacity));
}

Reply cpbr(SimState &state, const SimCommand &command) {
    if (Reply refusal = refusal_of_card(state); !refusal.ok()) {
        return refusal;
    }
    const Phonebook &book = chosen(state);
    if (command.form == Form::kTest) {
        return line_reply(format("^CPBR: (1-%d),%d,%d,%d", book.capacity, book.number_length,
                                 book.name_length, 0));
    }
    int index = command.number(0);
    if (index < 1 || index > book.capacity) {
        return error(kInvalidIndex);
    }
    auto found = book.contacts.find(index);
    if (found == book.contacts.end()) {
        return error(kNotFound);
    }
    const Contact &contact = found->second;
    return line_reply(
        format("^CPBR: %d,\"%s\",%d,\"", index, contact.number.c_str(), contact.type) +
        contact.name + format("\",%d", contact.coding));
}

// INDEX,"NUMBER",TYPE,"NAME",CODING by the positions of its separators: the first three commas and
// the last one. False when the command has another shape.
bool read_contact(const SimCommand &command, Contact *contact) {
    const std::string &raw = command.raw;
    size_t type = raw.find(',', raw.find(',') + 1);
    size_t name = raw.find(",\"", type + 1);
    size_t end = raw.rfind("\",");
    if (type == std::string::npos || name == std::string::npos || end == std::string::npos ||
        end < name + 2) {
        return false;
    }
    contact->number = command.text(1);
    contact->type = command.number(2, 129);
    contact->name = raw.substr(name + 2, end - name - 2);
    contact->coding = raw.size() == end + 3 ? raw.back() - '0' : -1;
    return contact->coding >= 0 && contact->coding < kCodings;
}

int free_place(const Phonebook &book) {
    for (int index = 1; index <= book.capacity; index++) {
        if (book.contacts.count(index) == 0) {
            return index;
        }
    }
    return 0;
}

// An index of 0 asks for the first free place.
Reply cpbw(SimState &state, const SimCommand &command) {
    if (Reply refusal = refusal_of_card(state); !refusal.ok()) {
        return refusal;
    }
    Phonebook &book = chosen(state);
    int index = command.number(0);
    if (command.form != Form::kSet || index < 0 || index > book.capacity) {
        return error(kInvalidIndex);
    }
    if (command.arguments.size() == 1) {
        return book.contacts.erase(index) == 1 ? Reply{} : error(kNotFound);
    }
    Contact contact;
    if (!read_contact(command, &contact)) {
        return error(kOperationNotSupported);
    }
    if (static_cast<int>(contact.name.size()) > book.name_length ||
        static_cast<int>(contact.number.size()) > book.number_length) {
        return error(kInvalidText);
    }
    index = index == 0 ? free_place(book) : index;
    if (index == 0) {
        return error(kMemoryFull);
    }
    book.contacts[index] = contact;
    return {};
}

constexpr SimHandler kHandlers[] = {
    {"+CPBS", cpbs},
    {"^CPBR", cpbr},
    {"^CPBW", cpbw},
};

}  // namespace

std::span<const SimHandler> phonebook_handlers() {
    return kHandlers;
}

}  // namespace hearth::device
