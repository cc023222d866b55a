// What the simulated modem knows beside card, network and messages: its settings, the data
// connection, USSD codes and the card's toolkit.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hearth::device {

// Settings that a command stores as they came and gives back. Their names and what they hold from
// the factory stand in sim_settings.cpp; the scenario's [settings] changes them.
struct Settings {
    std::map<std::string, std::string> values;
    // What "^NVBACKUP" saved.
    std::map<std::string, std::string> saved;
    // Entries of the lists that the modem keeps for the router, by the name of the list. Each is
    // what stands behind the colon of its line.
    std::map<std::string, std::vector<std::string>> lists;

    // The value of a setting, and its first number.
    std::string value(const std::string &name) const;
    int number(const std::string &name) const;
};

// The names that sim_settings.cpp knows as settings, and whether it knows one as a list.
std::vector<std::string> setting_names();
bool is_stored_list(const std::string &name);

// A connection profile.
struct Profile {
    int index = 1;
    std::string name;
    std::string apn;
    std::string username;
    std::string password;
    int auth = 0;
    bool read_only = false;
};

// 3GPP TS 27.007, 10.1.1, and how the connection is authenticated.
struct Context {
    std::string type = "IPV4V6";
    std::string apn;
    int auth = 0;
    std::string plmn;
    std::string password;
    std::string username;
    // What "^CGDNS" stored.
    std::string primary_dns;
    std::string secondary_dns;
};

// Seconds and bytes of a connection.
struct Flow {
    uint64_t milliseconds = 0;
    uint64_t sent = 0;
    uint64_t received = 0;
};

struct Connection {
    // Access point names that the network takes; it takes any when there is none.
    std::vector<std::string> apns;
    std::string address = "10.64.0.2";
    std::string mask = "255.255.255.252";
    std::string gateway = "10.64.0.1";
    std::string primary_dns = "192.0.2.53";
    std::string secondary_dns = "192.0.2.54";
    // Without an address there is no connection of the sixth version.
    std::string address6 = "2001:DB8:1::2";
    std::string gateway6 = "2001:DB8:1::1";
    std::string prefix6 = "2001:DB8:1::";
    std::string primary_dns6 = "2001:DB8::53";
    std::string secondary_dns6 = "2001:DB8::54";
    int mtu = 1500;
    int prefix_seconds = 86400;
    // Bits a second that the network grants.
    int downlink = 150000000;
    int uplink = 50000000;
    // Bytes a second that flow while the connection stands.
    int sent_rate = 20000;
    int received_rate = 100000;

    std::map<int, Context> contexts = {{1, {}}};
    // The context in use, 0 for none, and since when.
    int dialled = 0;
    std::chrono::steady_clock::time_point since;
    // Of the present or last connection as far as it was cleared, and of those before it.
    Flow last;
    Flow before;
    int last_error = 0;
};

struct UssdCode {
    std::string code;
    std::string answer;
    // The network waits for another string.
    bool more = false;
    // Holds only while the network waits.
    bool inside = false;
};

struct Ussd {
    std::vector<UssdCode> codes;
    bool waiting = false;
};

// ETSI TS 102 223, 9.4: the kinds of proactive commands.
enum ToolkitKind {
    kNoKind = 0,
    kRefresh = 1,
    kLaunchBrowser = 21,
    kDisplayText = 33,
    kGetInkey = 34,
    kGetInput = 35,
    kSetUpMenu = 37,
    kSessionEnd = 99,
};

// An entry of the card's menu, and the command that its choice brings.
struct ToolkitItem {
    int id = 0;
    std::string name;
    bool help = false;
    ToolkitKind kind = kDisplayText;
    std::string text;
    // Coding of the text: 4 for characters of eight bits.
    int coding = 4;
    int minimum = 1;
    int maximum = 20;
    std::string offered;
    int seconds = 0;
    // The entry whose command follows the user's answer, 0 for none. It need not be in the menu.
    int then = 0;
    bool hidden = false;
};

struct Toolkit {
    std::vector<ToolkitItem> items;
    int mode = 1;
    std::string profile = "FFFFFFFF7F";
    int timeout = 60;
    // The command that waits for the user; 0 when it is the menu.
    int current = 0;
    std::string last_answer;
};

struct Battery {
    // 0 when none charges it.
    bool charging = true;
    int level = 80;
    int millivolts = 3900;
    int temperature = 25;
};

}  // namespace hearth::device
