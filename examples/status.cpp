// The status daemon of status.c in C++: asks the modem for what a status page shows, prints the
// page, and logs what has changed.
//     status            once
//     status SECONDS    again and again, with a pause of so many seconds

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"
#include "hearth/at_network.h"
#include "hearth/osa_log.h"
#include "hearth/osa_time.h"

namespace {

// Nothing without an answer. Records begin cleared: fields that a reply lacks stay as they were.
using Answer = std::optional<std::string>;

Answer ask_card() {
    at_text_reply imsi{};
    if (AT_imsi(&imsi) != 0 || imsi.err != AT_ERR_NONE) {
        return std::nullopt;
    }
    return imsi.text;
}

Answer ask_registration() {
    static constexpr std::array kTexts = {"not registered", "home network", "searching",
                                          "denied",         "unknown",      "roaming"};
    at_creg_info registration{};
    if (AT_Creg(AT_CMD_TYPE_CHECK, &registration) != 0 || registration.err != AT_ERR_NONE) {
        return std::nullopt;
    }
    auto state = static_cast<size_t>(registration.stat);
    return state < kTexts.size() ? kTexts[state] : "unknown";
}

Answer ask_operator() {
    at_cops_info selected{};
    if (AT_Cops(&selected) != 0) {
        return std::nullopt;
    }
    return selected.oper;
}

// A report that the AT server keeps; there may be none yet. Not terminated when it is full.
Answer ask_signal() {
    char text[8] = "";
    if (AT_Rssi(text) != 0) {
        return std::nullopt;
    }
    return text;
}

class Line {
  public:
    Line(const char *name, std::function<Answer()> ask) : name_(name), ask_(std::move(ask)) {}

    // Returns whether the modem has answered.
    bool refresh() {
        Answer answer = ask_();
        std::string text = answer.value_or("no answer");
        if (text != shown_) {
            shown_ = text;
            printf("%-14s %s\n", name_, text.c_str());
            osa_print_log_ex("status", "examples/status", __LINE__,
                             answer ? OSA_LOG_INFO : OSA_LOG_ERROR, "%s: %s\n", name_,
                             text.c_str());
        }
        return answer.has_value();
    }

  private:
    const char *name_;
    std::function<Answer()> ask_;
    std::string shown_;
};

}  // namespace

int main(int count, char **arguments) {
    auto seconds = count > 1 ? static_cast<uint32_t>(strtoul(arguments[1], nullptr, 10)) : 0;
    std::vector<Line> lines = {{"SIM", ask_card},
                               {"Registration", ask_registration},
                               {"Operator", ask_operator},
                               {"Signal", ask_signal}};
    bool answered = false;
    setvbuf(stdout, nullptr, _IOLBF, 0);
    do {
        answered = false;
        for (Line &line : lines) {
            answered |= line.refresh();
        }
    } while (seconds > 0 && osa_sleep(seconds * 1000) == 0);
    return answered ? 0 : 1;
}
