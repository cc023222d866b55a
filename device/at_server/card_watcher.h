// Keeps the SIM items of the configuration up to date, as the AT server owes it to every daemon.
#pragma once

#include <string>

#include "modem.h"

namespace hearth::device {

class CardWatcher {
  public:
    explicit CardWatcher(Modem &modem) : modem_(modem) {}

    // Asks the modem for the state of the card and, when it is ready, for its IMSI, and writes
    // what has changed into the configuration.
    void look();

    // Looks again when a report tells of the card.
    void notice(const std::string &report);

  private:
    void publish(int state, const std::string &imsi);

    Modem &modem_;
    int state_ = -1;
    std::string imsi_;
};

}  // namespace hearth::device
