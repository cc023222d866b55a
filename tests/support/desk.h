// An AT server of a test's own with a simulated modem, in the server or on a pseudo terminal.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "hearth/at_lib.h"
#include "support/process.h"

namespace hearth::test {

class Desk {
  public:
    enum Where { kInServer, kOnTerminal };

    static std::string shipped(const char *name) {
        return std::string(HEARTH_SOURCE_DIR "/device/scenarios/") + name + ".toml";
    }

    static std::string written(const std::string &text) {
        std::ofstream("/data/scenario.toml") << text;
        return "/data/scenario.toml";
    }

    explicit Desk(const std::string &scenario, Where where = kInServer,
                  std::vector<std::string> more = {}) {
        std::vector<std::string> arguments = {"--scenario", scenario};
        if (where == kOnTerminal) {
            modem_ = launch("modem_pty/hearth-modem",
                            {"--scenario", scenario, "--pty", "/data/modem"}, "/data/modem.log");
            wait_until([] { return access("/data/modem", F_OK) == 0; });
            arguments = {"--tty", "/data/modem"};
        }
        arguments.insert(arguments.end(), more.begin(), more.end());
        start(arguments);
    }

    explicit Desk(const std::vector<std::string> &server_arguments) { start(server_arguments); }

    Desk(const Desk &) = delete;
    Desk &operator=(const Desk &) = delete;
    ~Desk() {
        end(server_);
        end(modem_);
    }

    // Ends the server ahead of the desk, so that what it wrote is complete.
    void end_server() {
        end(server_);
        server_ = 0;
    }

    pid_t server() const { return server_; }

  private:
    void start(const std::vector<std::string> &arguments) {
        server_ = launch("at_server/hearth-at-server", arguments, "/data/server.log");
        wait_until([&] { return get_ats_task_id() == server_; });
    }

    template <typename Condition>
    static void wait_until(Condition condition) {
        for (int i = 0; i < 1000 && !condition(); i++) {
            usleep(10000);
        }
        EXPECT_TRUE(condition());
    }

    static void end(pid_t id) {
        if (id > 0) {
            kill(id, SIGTERM);
            EXPECT_EQ(ended(id), 0) << "a program of the desk has failed";
        }
    }

    pid_t server_ = 0;
    pid_t modem_ = 0;
};

}  // namespace hearth::test
