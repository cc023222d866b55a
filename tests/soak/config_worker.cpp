// Settings: one daemon owns its file, writes it and reads it; others look up what nobody writes.
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "hearth/config.h"
#include "soak/worker.h"

namespace hearth::soak {

namespace {

constexpr uint32_t kLongest = 2000;
// A lookup waits for the SIM for up to 4.2 seconds.
constexpr int64_t kLookupMs = 4200;

// A setting of the owner's, each in a file of its own.
struct Setting {
    const char *directory;
    const char *item;
    Pending &pending;
    // The value for a number; begins with it.
    std::string (*value)(uint32_t number);
};

std::string fixed_value(uint32_t number) {
    char text[40];
    snprintf(text, sizeof text, "%08x%08x", number, mix(&number, sizeof number));
    return text;
}

std::string variable_value(uint32_t number) {
    return fixed_value(number) + std::string(mix(&number, sizeof number) % kLongest,
                                             static_cast<char>('a' + number % 26));
}

// The number that a value was made for; false for a value that was never written.
bool number_of(const Setting &setting, const char *value, uint32_t *number) {
    return sscanf(value, "%8x", number) == 1 && setting.value(*number) == value;
}

int32_t look_up(Hand &hand, const char *directory, const char *item, char *value, uint32_t size) {
    count(kLookups);
    return hand.call("cfg_get_config", kLookupMs, [&] {
        uint32_t length = size;
        return cfg_get_config(directory, item, value, &length);
    });
}

void write(Hand &hand, const Setting &setting) {
    uint32_t next = setting.pending.stored + 1;
    setting.pending.intended = next;
    int32_t result = hand.call("cfg_set_config", 0, [&] {
        return cfg_set_config(setting.directory, setting.item, setting.value(next).c_str());
    });
    if (result != 0) {
        fail("config: writing %s gave %d", setting.item, result);
    }
    setting.pending.stored = next;
    count(kWrites);
}

// A thread beside the one that writes sees the value before or the new one.
void read(Hand &hand, const Setting &setting) {
    uint32_t from = setting.pending.stored;
    char value[kLongest + 40];
    int32_t result = look_up(hand, setting.directory, setting.item, value, sizeof value);
    uint32_t to = setting.pending.intended;
    uint32_t number = 0;
    if (result != CFG_OK || !number_of(setting, value, &number) || number < from || number > to) {
        fail("config: %s gave %d, number %u of %u to %u", setting.item, result, number, from, to);
    }
}

// What a kill left. A document that got shorter may have the old one's tail behind it, and is
// refused then; the next write makes it anew.
void look_after_kill(Hand &hand, const Setting &setting) {
    uint32_t stored = setting.pending.stored;
    uint32_t intended = setting.pending.intended;
    if (stored == 0 && intended == 0) {
        return;
    }
    char value[kLongest + 40];
    int32_t result = look_up(hand, setting.directory, setting.item, value, sizeof value);
    bool shorter = setting.value(intended).size() < setting.value(stored).size();
    bool first = stored == 0;
    if (result != CFG_OK && intended != stored && (shorter || first)) {
        count(kRefused);
        return;
    }
    uint32_t number = 0;
    if (result != CFG_OK || !number_of(setting, value, &number) ||
        !setting.pending.may_be(number)) {
        fail("config: after a kill %s gave %d, \"%.32s\"; stored %u, intended %u", setting.item,
             result, value, stored, intended);
        return;
    }
    setting.pending.stored = number;
}

}  // namespace

void own_settings(const Worker &worker) {
    const Setting settings[] = {
        {"soakfixed", "config.part.fixed", board().fixed, fixed_value},
        {"soakvariable", "config.part.variable", board().variable, variable_value},
    };
    Hand owner(worker, 0);
    for (const Setting &setting : settings) {
        look_after_kill(owner, setting);
        write(owner, setting);
    }
    in_threads(worker, 3, [&](Hand &hand) {
        bool writes = hand.thread() == 0;
        hand.repeat(
            [&] {
                const Setting &setting = settings[hand.pick(2)];
                writes ? write(hand, setting) : read(hand, setting);
            },
            writes ? 100 : 3000);
    });
}

void look_up_settings(const Worker &worker) {
    in_threads(worker, 2, [](Hand &hand) {
        constexpr struct {
            const char *directory;
            const char *item;
            const char *values[2];  // the operator's, when it is known, or everybody's
        } kItems[] = {
            {"lan", "netmask", {"255.255.255.0", "255.255.255.0"}},
            {"net", "config.mtu", {"1430", "1500"}},
            {"net", "config.apn", {"testnet.business", "internet"}},
        };
        hand.repeat([&] {
            const auto &item = kItems[hand.pick(std::size(kItems))];
            char value[64] = "";
            int32_t result = look_up(hand, item.directory, item.item, value, sizeof value);
            if (result != CFG_OK ||
                (strcmp(value, item.values[0]) != 0 && strcmp(value, item.values[1]) != 0)) {
                fail("config: %s gave %d, \"%s\"", item.item, result, value);
            }
        });
    });
}

}  // namespace hearth::soak
