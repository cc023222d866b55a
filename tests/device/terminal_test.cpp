// The AT server and its modem as two processes with a terminal between them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "hearth/at_k7.h"
#include "hearth/at_lib.h"
#include "hearth/at_network.h"
#include "hearth/at_pb.h"
#include "hearth/at_sms.h"
#include "hearth/osa_pthread.h"
#include "support/desk.h"

using namespace hearth::test;

namespace {

constexpr const char *kLine = "/data/modem";

// hearth-modem with a scenario; its end is a kill where a test wants it rough.
class ModemProcess {
  public:
    explicit ModemProcess(const std::string &scenario)
        : pid_(launch("modem_pty/hearth-modem",
                      {"--scenario", Desk::written(scenario), "--pty", kLine}, "/data/modem.log")) {
        for (int i = 0; i < 1000 && !std::filesystem::exists(kLine); i++) {
            usleep(10000);
        }
    }
    ModemProcess(const ModemProcess &) = delete;
    ModemProcess &operator=(const ModemProcess &) = delete;
    ~ModemProcess() { end(SIGTERM); }

    void end(int number) {
        if (pid_ > 0) {
            kill(pid_, number);
            int status = ended(pid_);
            EXPECT_TRUE(number != SIGTERM || status == 0) << status;
        }
        pid_ = 0;
    }

  private:
    pid_t pid_;
};

// A person at the terminal.
class Typist {
  public:
    Typist() : fd_(open(kLine, O_RDWR | O_NOCTTY | O_CLOEXEC)) { EXPECT_GE(fd_, 0); }
    Typist(const Typist &) = delete;
    Typist &operator=(const Typist &) = delete;
    ~Typist() { close(fd_); }

    // What comes back until `end` has been said, or for five seconds.
    std::string type(const std::string &text, const std::string &end) {
        EXPECT_EQ(write(fd_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        std::string said;
        pollfd wait = {fd_, POLLIN, 0};
        while (said.find(end) == std::string::npos && poll(&wait, 1, 5000) > 0) {
            char part[256];
            ssize_t got = read(fd_, part, sizeof part);
            said.append(part, static_cast<size_t>(std::max<ssize_t>(got, 0)));
        }
        return said;
    }

  private:
    int fd_;
};

TEST(Terminal, TheModemSpeaksAsOneOnASerialLine) {
    ModemProcess modem("[sim]\ninserted = false\n");
    Typist typist;
    EXPECT_EQ(typist.type("AT\r", "OK\r\n"), "AT\r\r\nOK\r\n");
    EXPECT_EQ(typist.type("AT+CPIN?\r", "ERROR\r\n"), "AT+CPIN?\r\r\nERROR\r\n");
    EXPECT_EQ(typist.type("ATE0\r", "OK\r\n"), "ATE0\r\r\nOK\r\n");
    typist.type("AT+CMEE=1\r", "OK\r\n");
    EXPECT_EQ(typist.type("AT+CPIN?\r", "10\r\n"), "\r\n+CME ERROR: 10\r\n");
    typist.type("AT+CMEE=2\r", "OK\r\n");
    EXPECT_EQ(typist.type("AT+CPIN?\r", "inserted\r\n"), "\r\n+CME ERROR: SIM not inserted\r\n");
    EXPECT_EQ(typist.type("ATV0\r", "0\r"), "0\r");
    EXPECT_EQ(typist.type("AT^NOSUCH\r", "4\r"), "4\r");
    EXPECT_EQ(typist.type("ATV1\r", "OK\r\n"), "\r\nOK\r\n");
    // The prompt; an escape ends it, and the next command is one again.
    EXPECT_EQ(typist.type("AT+CMGS=4\r", "> "), "\r\n> ");
    EXPECT_EQ(typist.type("0001\x1b", "OK\r\n"), "\r\nOK\r\n");
    EXPECT_EQ(typist.type("AT+CGMM\r", "OK\r\n"), "\r\nDesk Modem\r\n\r\nOK\r\n");
}

TEST(Terminal, EchoAndNumericResultsOfAnEarlierUserAreSetRight) {
    ModemProcess modem("[sim]\nlock = true\n");
    {
        Typist typist;
        typist.type("ATE1\r", "OK\r\n");
        typist.type("AT+CMEE=0\r", "OK\r\n");
        // Left unread for the server: the end of somebody else's command.
        typist.type("ATV0\r", "ATV0");
    }
    Desk desk(std::vector<std::string>{"--tty", kLine});
    at_text_reply imei{};
    ASSERT_EQ(AT_imei(&imei), 0);
    EXPECT_STREQ(imei.text, "490154203237518");
    // By number, although the modem had been told to keep errors to itself.
    at_cpbs_info book{};
    ASSERT_EQ(AT_Cpbs(0, nullptr, &book), 0);
    EXPECT_EQ(book.err, static_cast<uint32_t>(AT_ERR_SIM_PIN));
}

// A search of some seconds, during which the modem reports and another daemon asks.
TEST(Terminal, ReportsAndOthersQuestionsStandBesideALongSearch) {
    std::string reports;
    for (int i = 0; i < 20; i++) {
        reports += "[[at]]\nseconds = " + std::to_string(0.1 * i) +
                   "\nrssi = " + std::to_string(i) +
                   "\n[[at]]\nseconds = " + std::to_string(0.1 * i) +
                   "\nreport = \"+CMTI: \\\"SM\\\",1\"\n";
    }
    Desk desk(Desk::written("[[operator]]\nstatus = 2\nlong = \"Test\"\nnumeric = \"00101\"\n"
                            "[[operator]]\nlong = \"Valley\"\nnumeric = \"00102\"\n"
                            "[[refuse]]\ncommand = \"AT+COPS=?\"\ndelay = 2\n" +
                            reports),
              Desk::kOnTerminal);
    std::thread other([] {
        usleep(300000);
        at_text_reply imsi{};
        EXPECT_EQ(AT_imsi(&imsi), 0);
        EXPECT_STREQ(imsi.text, "001010123456789");
    });
    auto list = std::make_unique<at_operator_list>();
    at_operators found{.list = list.get()};
    at_cops_info unused{};
    EXPECT_EQ(AT_ChoseOperators(2, &unused, &found), 0);
    other.join();
    ASSERT_EQ(list->count, 2);
    EXPECT_STREQ(list->entries[1].long_oper, "Valley");
    char rssi[8] = "";
    ASSERT_EQ(AT_Rssi(rssi), 0);
    EXPECT_STREQ(rssi, "19");
}

TEST(Terminal, TheMessageFollowsThePrompt) {
    Desk desk(Desk::written("[sms]\nsim_capacity = 1\n"), Desk::kOnTerminal);
    at_sms_pdu_req request{4, 2, "00010203FF"};
    at_sms_rsp reply{};
    ASSERT_EQ(AT_Cmgs(&request, &reply), 0);
    uint32_t reference = reply.value;
    ASSERT_EQ(AT_Cmgs(&request, &reply), 0);
    EXPECT_EQ(reply.value, reference + 1);
    ASSERT_EQ(AT_Cmgw(&request, &reply), 0);
    // Refused behind the prompt: the memory is full. The line is in step afterwards.
    EXPECT_EQ(AT_Cmgw(&request, &reply), -1);
    at_cmgr_msg message{};
    message.index = 1;
    ASSERT_EQ(AT_Cmgr(&message), 0);
    EXPECT_STREQ(message.pdu, "00010203FF");
}

std::string imei_told() {
    at_text_reply imei{};
    return AT_imei(&imei) == 0 ? imei.text : "no answer";
}

// For the time that a late answer may come in, every question gets its own answer.
void expect_in_step(double seconds) {
    for (double gone = 0; gone < seconds; gone += 0.2) {
        EXPECT_EQ(imei_told(), "490154203237518");
        usleep(200000);
    }
}

TEST(Terminal, AnAnswerThatComesTooLateBelongsToNobody) {
    Desk desk(Desk::written("[[refuse]]\ncommand = \"AT^SLOW\"\ndelay = 2\n"
                            "[[refuse]]\ncommand = \"AT^MUTE\"\nsilent = true\n"),
              Desk::kOnTerminal);
    for (const char *command : {"AT^SLOW", "AT^MUTE"}) {
        at_server_msg message{};
        message.mtype = osa_pthread_getid();
        message.req_param = -1;
        message.timeout = 1;
        strcpy(message.report, command);
        EXPECT_TRUE(GetDataFromAtServer(&message) != 0 || message.Ret_val != AT_RET_SUCCESS);
        expect_in_step(2);
    }
}

TEST(Terminal, WhatAServerLeftInHandIsNotAnsweredToTheNext) {
    ModemProcess modem("[[refuse]]\ncommand = \"AT+COPS=?\"\ndelay = 2\n");
    auto first = std::make_unique<Desk>(std::vector<std::string>{"--tty", kLine});
    // A daemon that would wait for its answer for minutes.
    pid_t asking = fork();
    if (asking == 0) {
        auto list = std::make_unique<at_operator_list>();
        at_operators found{.list = list.get()};
        at_cops_info unused{};
        _exit(AT_ChoseOperators(2, &unused, &found) == 0);
    }
    usleep(300000);
    first.reset();
    Desk second(std::vector<std::string>{"--tty", kLine});
    expect_in_step(2.5);
    kill(asking, SIGKILL);
    ended(asking);
}

bool answers_within(int seconds) {
    for (int i = 0; i < seconds * 10; i++) {
        at_text_reply imsi{};
        if (AT_imsi(&imsi) == 0) {
            return true;
        }
        usleep(100000);
    }
    return false;
}

TEST(Terminal, TheModemGoesAwayAndComesBack) {
    const std::string scenario = "[[refuse]]\ncommand = \"AT+COPS=?\"\nsilent = true\n";
    auto modem = std::make_unique<ModemProcess>(scenario);
    Desk desk(std::vector<std::string>{"--tty", kLine});
    ASSERT_TRUE(answers_within(10));
    for (int number : {SIGTERM, SIGKILL}) {
        // A command is in hand when the line goes: it fails at once, not when its time is up.
        std::thread killer([&] {
            usleep(300000);
            modem->end(number);
        });
        auto list = std::make_unique<at_operator_list>();
        at_operators found{.list = list.get()};
        at_cops_info unused{};
        time_t before = time(nullptr);
        EXPECT_EQ(AT_ChoseOperators(2, &unused, &found), -1);
        EXPECT_LE(time(nullptr) - before, 10);
        killer.join();
        unlink(kLine);
        modem = std::make_unique<ModemProcess>(scenario);
        EXPECT_TRUE(answers_within(10));
    }
    std::ifstream log("/data/server.log");
    std::string told{std::istreambuf_iterator<char>(log), {}};
    EXPECT_NE(told.find("at_server: the modem on /data/modem is gone\n"), std::string::npos)
        << told;
}

TEST(Terminal, AModemThatNobodyReadsEnds) {
    std::string scenario;
    for (int i = 0; i < 100; i++) {
        scenario += "[[at]]\nreport = \"" + std::string(200, 'x') + "\"\n";
    }
    ModemProcess modem(scenario);
    usleep(300000);
    Typist typist;
    // It still listens, too.
    EXPECT_NE(typist.type("AT+CGMM\r", "OK\r\n").find("Desk Modem"), std::string::npos);
}

}  // namespace
