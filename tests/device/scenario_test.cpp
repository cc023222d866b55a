// Scenario files and recordings: the shipped ones, what a bad one is answered with, and the page
// that describes them.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "hearth/at_k7.h"
#include "hearth/at_ndis.h"
#include "hearth/at_network.h"
#include "hearth/at_security.h"
#include "hearth/at_statistics.h"
#include "hearth/at_stk.h"
#include "hearth/at_usim.h"
#include "hearth/at_ussd.h"
#include "support/desk.h"

using namespace hearth::test;

namespace {

std::string content(const std::string &path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

// What the server says about a file that it doesn't take.
std::string complaint(const char *option, const std::string &text) {
    std::ofstream("/data/bad") << text;
    pid_t server = launch("at_server/hearth-at-server", {option, "/data/bad"}, "/data/complaint");
    int status = ended(server);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << text;
    return content("/data/complaint");
}

int32_t registration() {
    at_creg_info record{};
    EXPECT_EQ(AT_Creg(0, &record), 0);
    return record.stat;
}

TEST(Scenario, ErrorsNameFileLineAndExpectation) {
    const std::pair<const char *, const char *> rows[] = {
        {"[sim]\nimsi = 1\n", "/data/bad:2: \"imsi\" wants a text in quotation marks\n"},
        {"\n[sim]\nlock = \"on\"\n", "/data/bad:3: \"lock\" wants true or false\n"},
        {"[signal]\nrssi = 1.5\n", "/data/bad:2: \"rssi\" wants a whole number\n"},
        {"[signal]\nrssi = 32\n", "/data/bad:1: [signal] wants an \"rssi\" of 0 to 31, or 99\n"},
        {"[battery]\ncolour = 1\n",
         "/data/bad:2: [battery] has no key \"colour\"; its keys are charging, level, millivolts, "
         "temperature\n"},
        {"[sim]\nnumbers = \"1\"\n", "/data/bad:2: \"numbers\" wants a list of texts\n"},
        {"sim = 1\n", "/data/bad:1: expected a table [sim]\n"},
        {"[menu]\nid = 1\n", "/data/bad:1: expected tables [[menu]]\n"},
        {"[[menu]]\nkind = \"dance\"\n", "/data/bad:1: [[menu]] wants an \"id\" of 1 to 255"},
        {"[[entry]]\nlist = \"^X\"\n", "/data/bad:1: the modem stores no list \"^X\"\n"},
        {"[connection]\naddress = \"10.0\"\n", "/data/bad:1: \"10.0\" is no IPv4 address\n"},
        {"[[ussd]]\nanswer = \"x\"\n", "/data/bad:1: [[ussd]] wants a \"code\"\n"},
        {"[[at]]\nseconds = -1\n", "/data/bad:2: \"seconds\" wants seconds, 0 or more\n"},
        {"[sim\n", "/data/bad:1: "},
    };
    for (const auto &[text, told] : rows) {
        EXPECT_EQ(complaint("--scenario", text).find(std::string("at_server: ") + told), 0u)
            << text << complaint("--scenario", text);
    }
}

// The rows of the page's tables: | `key` | ... | below a heading with the table's name.
std::map<std::string, std::set<std::string>> documented() {
    std::map<std::string, std::set<std::string>> keys;
    std::string table;
    std::istringstream page(content(HEARTH_SOURCE_DIR "/docs/scenario.md"));
    std::smatch match;
    for (std::string line; std::getline(page, line);) {
        if (std::regex_search(line, match, std::regex("^## `\\[+([a-z]+)\\]+`"))) {
            table = match[1];
            keys[table];
        } else if (line.rfind("## ", 0) == 0) {
            table.clear();
        } else if (!table.empty() && std::regex_search(line, match, std::regex("^\\| `([^`]+)`"))) {
            keys[table].insert(match[1]);
        }
    }
    return keys;
}

// The keys that the reader names when it meets one that it doesn't know.
std::set<std::string> known(const std::string &text) {
    std::string told = complaint("--scenario", text);
    size_t at = told.find("its keys are ");
    EXPECT_NE(at, std::string::npos) << told;
    std::istringstream list(told.substr(at + 13, told.size() - at - 14));
    std::set<std::string> keys;
    for (std::string key; std::getline(list >> std::ws, key, ',');) {
        keys.insert(key);
    }
    return keys;
}

TEST(Scenario, ThePageTellsEveryKey) {
    auto pages = documented();
    std::set<std::string> tables;
    for (const auto &[table, keys] : pages) {
        tables.insert(table);
        bool several = std::set<std::string>{"message", "contact", "operator", "entry", "profile",
                                             "ussd",    "menu",    "refuse",   "at"}
                           .count(table) != 0;
        std::string head = several ? "[[" + table + "]]" : "[" + table + "]";
        EXPECT_EQ(keys, known(head + "\nno_such_key = 1\n")) << table;
    }
    EXPECT_EQ(tables, known("no_such_table = 1\n"));
}

TEST(Scenario, IsReadAgainAtAHangupSignal) {
    Desk desk(Desk::written("[network]\nregistration = 1\n"));
    const std::pair<const char *, int32_t> rows[] = {
        {"[network]\nregistration = 3\n", 3},
        {"[network]\nregistration = true\n", 3},
        {"[network]\nregistration = 5\n", 5},
    };
    EXPECT_EQ(registration(), 1);
    for (const auto &[text, expected] : rows) {
        Desk::written(text);
        ASSERT_EQ(kill(desk.server(), SIGHUP), 0);
        EXPECT_EQ(registration(), expected) << text;
    }
    desk.end_server();
    std::string said = content("/data/server.log");
    EXPECT_NE(said.find("wants a whole number; the scenario stays as it was\n"), std::string::npos);
}

TEST(Scenario, PinLocked) {
    Desk desk(Desk::shipped("pin-locked"));
    at_pin_info pin{};
    ASSERT_EQ(AT_cpin_check(&pin), 0);
    EXPECT_EQ(registration(), 0);
    at_text_reply imsi{};
    EXPECT_EQ(AT_imsi(&imsi), -1);
    char group[8];
    EXPECT_EQ(AT_get_sim_gid1(group, sizeof group), -1);
    at_pin_info result{};
    (void)!AT_cpin_execute("1111", "", &result);
    EXPECT_EQ(AT_imsi(&imsi), -1);
    // The only try is gone: the PUK sets a new PIN, and the card registers.
    ASSERT_EQ(AT_cpin_execute("12345678", "4321", &result), 0);
    EXPECT_EQ(AT_imsi(&imsi), 0);
    EXPECT_EQ(registration(), 1);
}

TEST(Scenario, Roaming) {
    Desk desk(Desk::shipped("roaming"), Desk::kOnTerminal);
    EXPECT_EQ(registration(), 5);
    at_sysinfo system{};
    ASSERT_EQ(AT_SysInfo(&system), 0);
    EXPECT_EQ(system.roam_status, 1);
    at_hcsq_info signal{};
    ASSERT_EQ(AT_Hcsq(&signal), 0);
    EXPECT_EQ(signal.sysmode, 1);
    at_nwtime_info told{};
    ASSERT_EQ(AT_NWTime(&told), 0);
    EXPECT_STREQ(told.zone, "GMT-03:30");
}

TEST(Scenario, NoService) {
    Desk desk(Desk::shipped("no-service"));
    EXPECT_EQ(registration(), 2);
    EXPECT_EQ(AT_ndisdup(1, 1, nullptr), -1);
    at_cops_info selected{};
    ASSERT_EQ(AT_Cops(&selected), 0);
    EXPECT_STREQ(selected.oper, "");
    at_hcsq_info signal{};
    ASSERT_EQ(AT_Hcsq(&signal), 0);
    EXPECT_EQ(signal.sysmode, -1);
    at_csnr_info power{};
    EXPECT_EQ(AT_Csnr(&power), -1);
}

// Whatever the modem says, texts end within their fields and calls come back.
TEST(Scenario, HostileReplies) {
    for (Desk::Where where : {Desk::kInServer, Desk::kOnTerminal}) {
        Desk desk(Desk::shipped("hostile"), where);
        at_text_reply imsi{};
        ASSERT_EQ(AT_imsi(&imsi), 0);
        EXPECT_EQ(strlen(imsi.text), 93u);
        at_scid_info card{};
        EXPECT_EQ(AT_SCID(&card), 0);
        EXPECT_STREQ(card.scid_num, "");
        at_cellid_info cell{};
        ASSERT_EQ(AT_Cellid(&cell), 0);
        EXPECT_LT(strnlen(cell.Tac, sizeof cell.Tac), sizeof cell.Tac);
        at_hcsq_info signal{};
        EXPECT_EQ(AT_Hcsq(&signal), 0);
        at_sysinfo system{.srv_status = 7};
        EXPECT_LE(AT_SysInfo(&system), 0);
        at_nwtime_info told{};
        EXPECT_EQ(AT_NWTime(&told), 0);
        at_lcacell_info cells{};
        ASSERT_EQ(AT_LCACELL(&cells), 0);
        EXPECT_EQ(cells.cells[1].act, 2);
        auto list = std::make_unique<at_operator_list>();
        at_operators found{.list = list.get()};
        EXPECT_EQ(AT_ChoseOperators(2, nullptr, &found), 0);
        EXPECT_LE(list->count, 1);
        at_version_reply versions{};
        EXPECT_EQ(at_version(&versions), -1);
        char apn[33] = "";
        EXPECT_EQ(AT_get_sim_apn(apn), 0);
        EXPECT_LT(strlen(apn), sizeof apn);
        at_stgi_req request{37, 0};
        uint32_t count = 0;
        at_stk_item *items = nullptr;
        EXPECT_EQ(AT_Stgi_Execute(&count, &request, &items), -1);
        EXPECT_EQ(items, nullptr);
        at_cnum_list numbers{};
        ASSERT_EQ(AT_Cnum(&numbers), 0);
        ASSERT_EQ(numbers.count, 3u);
        EXPECT_EQ(strnlen(numbers.entries[0].num, 42), 41u);
        free(numbers.entries);
        EXPECT_EQ(registration(), 1);
    }
}

TEST(Recording, AnswersAsTheModemDid) {
    at_text_reply imsi{};
    at_creg_info registered{.n = 2};
    {
        Desk desk(Desk::shipped("home"), Desk::kOnTerminal, {"--record", "/data/recording"});
        ASSERT_EQ(AT_imsi(&imsi), 0);
        ASSERT_EQ(AT_Creg(1, &registered), 0);
        ASSERT_EQ(AT_Creg(0, &registered), 0);
        EXPECT_EQ(AT_CommenCmd("AT^NOSUCH", nullptr, nullptr), -1);
        char back[1500];
        EXPECT_EQ(AT_CommenCmd("AT^APWEBADMIN=\"back\\slash \xE4\"", nullptr, back), 0);
        at_ppp_info connection{};
        ASSERT_EQ(at_ppp_state(0, &connection), 0);
        EXPECT_EQ(connection.IPV4, 0);
        ASSERT_EQ(AT_ndisdup(1, 1, nullptr), 0);
        ASSERT_EQ(at_ppp_state(0, &connection), 0);
        EXPECT_EQ(connection.IPV4, 1);
        usleep(1100000);
    }
    std::string written = content("/data/recording");
    EXPECT_TRUE(std::regex_search(
        written, std::regex("> [0-9]+ AT\\+CIMI\n< [0-9]+ 001010123456789\n< [0-9]+ OK\n\n")))
        << written;
    EXPECT_NE(written.find("\"back\\\\slash \\xE4\""), std::string::npos) << written;
    EXPECT_TRUE(std::regex_search(written, std::regex("\n\n< [0-9]+ \\^RSSI: 23\n\n"))) << written;

    Desk desk(std::vector<std::string>{"--replay", "/data/recording"});
    at_text_reply again{};
    ASSERT_EQ(AT_imsi(&again), 0);
    EXPECT_STREQ(again.text, imsi.text);
    at_creg_info read{};
    ASSERT_EQ(AT_Creg(0, &read), 0);
    EXPECT_STREQ(read.ci, registered.ci);
    EXPECT_EQ(AT_CommenCmd("AT^NOSUCH", nullptr, nullptr), -1);
    EXPECT_EQ(AT_CommenCmd("AT^APWEBADMIN=\"back\\slash \xE4\"", nullptr, nullptr), 0);
    // One exchange after the other, and the last from then on.
    for (int32_t state : {0, 1, 1}) {
        at_ppp_info connection{};
        ASSERT_EQ(at_ppp_state(0, &connection), 0);
        EXPECT_EQ(connection.IPV4, state);
    }
    EXPECT_EQ(AT_CommenCmd("AT+CSQ", nullptr, nullptr), -1);
    usleep(1100000);
    char rssi[5] = "";
    EXPECT_EQ(AT_Rssi(rssi), 0);
    EXPECT_STREQ(rssi, "23");
}

// What the modem says of its own accord, in the order in which it happens.
TEST(Recording, HoldsTheReports) {
    Desk desk(Desk::shipped("home"), Desk::kInServer, {"--record", "/data/recording"});
    at_creg_info registered{.n = 1};
    ASSERT_EQ(AT_Creg(1, &registered), 0);
    at_value_set service{1, 0};
    ASSERT_EQ(AT_Srvst(1, &service), 0);
    ASSERT_EQ(AT_Dsflowrpt(1), 0);
    at_cusd_req request{1, "\"*111#\"", 7, 15, 0};
    ASSERT_EQ(AT_Cusd_Msg_Send(1, &request), 0);
    at_cusd_req end{.n = 2};
    ASSERT_EQ(AT_Cusd_Msg_Send(1, &end), 0);
    at_stgr_req choice{37, 0, 0, 0, 2, ""};
    uint32_t err = 0;
    ASSERT_EQ(AT_Stgr(1, &choice, &err), 0);
    ASSERT_EQ(AT_ndisdup(1, 1, nullptr), 0);
    usleep(50000);
    ASSERT_EQ(AT_Cfun(4), 0);
    ASSERT_EQ(AT_Cfun(1), 0);
    usleep(100000);

    std::istringstream written(content("/data/recording"));
    std::vector<std::string> reports;
    bool in_exchange = false;
    for (std::string line; std::getline(written, line);) {
        in_exchange = !line.empty() && (in_exchange || line[0] == '>');
        if (!in_exchange && line.rfind("< ", 0) == 0 && line.find("^RSSI") == std::string::npos) {
            std::string said = line.substr(line.find(' ', 2) + 1);
            reports.push_back(said);
        }
    }
    ASSERT_FALSE(reports.empty());
    auto flow = std::find_if(reports.begin(), reports.end(), [](const std::string &line) {
        return line.rfind("^DSFLOWRPT:00000000,00004E20,000249F0,", 0) == 0;
    });
    ASSERT_NE(flow, reports.end());
    reports.erase(flow);
    EXPECT_EQ(reports, (std::vector<std::string>{"+CUSD: 1,\"1 Balance, 2 Tariff\",15", "+CUSD: 2",
                                                 "^STIN:35,0,0", "^NDISSTAT:1,,,\"IPV4\"",
                                                 "^NDISSTAT:0,,,\"IPV4\"", "+CREG: 0", "^SRVST:0",
                                                 "+CREG: 1", "^SRVST:2"}));
}

TEST(Recording, ErrorsNameFileLineAndExpectation) {
    const std::pair<const char *, const char *> rows[] = {
        {"", "/data/bad:0: expected at least one exchange, \"> MILLISECONDS COMMAND\"\n"},
        {"# none\n< 1 RING\n",
         "/data/bad:2: expected at least one exchange, \"> MILLISECONDS COMMAND\"\n"},
        {"> 1 AT\nOK\n",
         "/data/bad:2: expected a line that begins with '>', '<' or '#', or an empty one\n"},
        {"> x AT\n", "/data/bad:1: expected milliseconds and a blank\n"},
        {"> -1 AT\n", "/data/bad:1: expected milliseconds and a blank\n"},
        {"> 99999999999 AT\n", "/data/bad:1: expected milliseconds and a blank\n"},
        {">1 AT\n", "/data/bad:1: expected a blank and milliseconds behind the first character\n"},
        {"> 1 \n", "/data/bad:1: expected a text behind the milliseconds\n"},
        {"> 5 AT\n< 4 OK\n", "/data/bad:2: expected a time that is not before its command's\n"},
        {"> 1 AT\n> 2 AT\n", "/data/bad:2: expected an empty line in front of a command\n"},
        {"> 1 A\\q\n", "/data/bad:1: expected \"\\xNN\", \"\\r\" or \"\\\\\" at a backslash\n"},
        {"> 1 A\\x1\n", "/data/bad:1: expected \"\\xNN\", \"\\r\" or \"\\\\\" at a backslash\n"},
    };
    for (const auto &[text, told] : rows) {
        EXPECT_EQ(complaint("--replay", text), std::string("at_server: ") + told) << text;
    }
}

}  // namespace
