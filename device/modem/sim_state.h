// What the simulated modem knows. The scenario file decides how it begins and how it changes.
#pragma once

#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim_services.h"

namespace hearth::device {

// 3GPP TS 27.007, 9.2: the error numbers that the simulated modem gives.
enum CmeError {
    kOperationNotAllowed = 3,
    kOperationNotSupported = 4,
    kSimNotInserted = 10,
    kSimPinRequired = 11,
    kSimPukRequired = 12,
    kSimFailure = 13,
    kSimWrong = 15,
    kIncorrectPassword = 16,
    kMemoryFull = 20,
    kInvalidIndex = 21,
    kNotFound = 22,
    kNoNetworkService = 30,
};

struct Identity {
    std::string manufacturer = "Hearth";
    std::string model = "Desk Modem";
    std::string revision = "11.450.01.00.00";
    std::string hardware = "DM1";
    std::string imei = "490154203237518";
    std::string serial = "HD00000001";
    std::string meid = "A0000012345678";
    std::string esn = "2147483647";
    std::string software = "21.100.03.00.00";
};

struct Sim {
    bool inserted = true;
    std::string imsi = "001010123456789";
    std::string iccid = "8900101012345678901";
    int mnc_length = 2;
    std::vector<std::string> numbers;
    std::string provider = "Test Network";
    // Whether the registered network's name is to be shown as well.
    bool show_network = true;
    // The access point names of EF ACL, and EF GID1 in hexadecimal.
    std::vector<std::string> apns;
    std::string group = "FF";
    // Other transparent files, in hexadecimal, and what was written to those above.
    std::map<int, std::string> files;
    // The card waits for this PIN after power-up when the lock is on.
    bool lock = false;
    bool verified = false;
    std::string pin = "1234";
    std::string puk = "12345678";
    int pin_tries = 3;
    int puk_tries = 10;
};

// 3GPP TS 27.007, 7.3: one line of "+COPS=?".
struct Operator {
    int status = 1;
    std::string long_name;
    std::string short_name;
    std::string numeric;
    int technology = 7;
};

struct Network {
    // 3GPP TS 27.007, 7.2 and 10.1.20: 0 not registered, 1 home, 2 searching, 3 denied, 5 roaming.
    int registration = 1;
    int packet_registration = 1;
    bool attached = true;
    std::string area = "1A2B";
    std::string cell = "01C3D4E5";
    // What "+CREG=" and "+CGREG=" asked for.
    int creg_mode = 0;
    int cgreg_mode = 0;
    int selection_mode = 0;
    int name_format = 0;
    // Quarter hours from Greenwich, and whether the network tells the time at all.
    int zone = 0;
    int summer = 0;
    bool tells_time = true;
    int physical_cell = 101;
    int band = 3;
    int channel = 1300;
    int bandwidth = 20;
    // Cells of the carrier aggregation: "CELL UPLINK DOWNLINK ACTIVE".
    std::vector<std::string> carriers;
    std::vector<Operator> operators;

    const Operator *current() const;
};

struct Signal {
    // 3GPP TS 27.007, 8.5: 0 to 31, 99 unknown.
    int rssi = 20;
    int bit_errors = 99;
    int rsrp = -95;
    int rsrq = -9;
    int sinr = 12;
    int rscp = -85;
    int ecio = -6;
};

// A stored PDU, as hexadecimal text. 3GPP TS 27.005, 3.1: status 0 unread, 1 read, 2 unsent, 3
// sent.
struct Message {
    int status = 0;
    std::string pdu;
};

// Messages by their index, which begins at 1.
struct MessageMemory {
    int capacity = 20;
    std::map<int, Message> messages;
};

// A message of the vendor's raw kind, with the numbers that came with it.
struct RawMessage {
    std::string number;
    std::array<int, 7> words{};
    std::array<int, 5> time{};
    std::string body;
};

struct Sms {
    std::map<std::string, MessageMemory> memories = {{"ME", {100, {}}}, {"SM", {20, {}}}};
    // To read and delete, to write and send, for what comes in.
    std::array<std::string, 3> chosen = {"SM", "SM", "SM"};
    int next_reference = 1;
    std::string centre = "+15550999";
    int centre_type = 145;
    int broadcast_mode = 0;
    std::string broadcast_ids;
    std::string broadcast_codings;
    std::array<int, 5> indication = {2, 1, 0, 0, 0};
    int read_tag = 0;
    int raw_capacity = 20;
    std::map<int, RawMessage> raw_messages;
    std::array<int, 4> raw_settings{};
};

// Octets of a PDU behind the service centre's address; -1 when it is no hexadecimal text.
int tpdu_length(const std::string &pdu);

struct Contact {
    std::string number;
    int type = 129;
    // Raw bytes in the encoding that the number tells.
    std::string name;
    int coding = 0;
};

// Contacts by their index, which begins at 1.
struct Phonebook {
    int capacity = 250;
    int number_length = 40;
    int name_length = 60;
    std::map<int, Contact> contacts;
};

struct Phonebooks {
    std::map<std::string, Phonebook> books = {{"ME", {}}, {"SM", {}}};
    std::string chosen = "SM";
};

// How the modem treats a command that would otherwise be carried out.
struct Refusal {
    std::string command;
    // The final result given instead, and the lines in front of it; with neither the command is
    // carried out.
    std::string answer;
    std::vector<std::string> lines;
    bool silent = false;
    std::chrono::milliseconds delay{0};
    // How often it holds; 0 for always.
    int times = 0;
};

// Seconds after the start of the modem at which values take effect.
struct Moment {
    std::chrono::milliseconds at{0};
    std::optional<int> rssi;
    std::optional<int> registration;
    std::optional<Sim> sim;
    // A PDU that comes in.
    std::string message;
    std::string report;
};

struct SimState {
    Identity identity;
    Sim sim;
    Network network;
    Signal signal;
    Sms sms;
    Phonebooks phonebooks;
    Settings settings;
    std::vector<Profile> profiles;
    Connection connection;
    Ussd ussd;
    Toolkit toolkit;
    Battery battery;
    std::vector<Refusal> refusals;
    std::vector<Moment> moments;
    int functionality = 1;
    std::chrono::steady_clock::time_point powered = std::chrono::steady_clock::now();
    // Lines that the modem says of its own accord once the command in hand is answered.
    std::vector<std::string> reports;

    // The error that keeps the card from being used, 0 when it is ready.
    int card_error() const;
    // The registration as it is with the radio and the card as they are.
    int registration() const;
    int packet_registration() const;
    bool has_service() const;
    // The registered operator, null without service.
    const Operator *serving() const;
};

// Ends the data connection, if there is one, and reports it.
void hang_up(SimState &state);

// Stores a message that came in, and reports it.
void receive_message(SimState &state, const std::string &pdu);

}  // namespace hearth::device
