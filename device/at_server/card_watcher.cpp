#include "card_watcher.h"

#include <stdio.h>

#include "hearth/config.h"

namespace hearth::device {

namespace {

constexpr const char *kDirectory = "global";
constexpr std::chrono::seconds kPatience{10};

bool begins(const std::string &text, const char *head) {
    return text.rfind(head, 0) == 0;
}

// The card's state by the modem's answer to "AT+CPIN?".
int state_of(const Reply &reply) {
    if (!reply.ok() || reply.lines.empty()) {
        return CFG_SIMST_IN;
    }
    return reply.lines[0].find("READY") != std::string::npos ? CFG_SIMST_OK : CFG_SIMST_LOCK;
}

void write_item(const char *item, const std::string &value) {
    if (cfg_set_config(kDirectory, item, value.c_str()) != 0) {
        fprintf(stderr, "at_server: cannot write %s to the configuration\n", item);
    }
}

}  // namespace

void CardWatcher::look() {
    modem_.start({"AT+CPIN?", ""}, kPatience, [this](const Reply &pin) {
        int state = state_of(pin);
        if (state != CFG_SIMST_OK) {
            publish(state, "");
            return;
        }
        modem_.start({"AT+CIMI", ""}, kPatience, [this](const Reply &imsi) {
            bool known = imsi.ok() && !imsi.lines.empty();
            publish(known ? CFG_SIMST_OK : CFG_SIMST_IN, known ? imsi.lines[0] : "");
        });
    });
}

void CardWatcher::notice(const std::string &report) {
    if (begins(report, "^SIMST:") || begins(report, "+CPIN:")) {
        look();
    }
}

// The items first, then the counter: whoever sees the counter move finds them written. The IMSI of
// the last good card stays where the new one can't be read.
void CardWatcher::publish(int state, const std::string &imsi) {
    if (state == state_ && imsi == imsi_) {
        return;
    }
    state_ = state;
    imsi_ = imsi;
    fprintf(stderr, "at_server: the card is %s%s\n",
            state == CFG_SIMST_OK     ? "ready, IMSI "
            : state == CFG_SIMST_LOCK ? "locked"
                                      : "missing or silent",
            imsi.c_str());
    bool locked = cl_lockfile() == 0;
    if (state == CFG_SIMST_OK) {
        write_item("imsi_string", imsi);
    }
    write_item("sim_state", std::to_string(state));
    if (locked) {
        cl_touch_simst();
        cl_unlockfile();
    } else {
        fprintf(stderr, "at_server: cannot tell the daemons that the SIM has changed\n");
    }
}

}  // namespace hearth::device
