// What the simulated modem knows. The scenario file decides how it begins and how it changes.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

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
};

struct Sim {
    bool inserted = true;
    std::string imsi = "001010123456789";
    std::string iccid = "8900101012345678901";
    int mnc_length = 2;
    std::vector<std::string> numbers;
    std::string provider = "Test Network";
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
};

// How the modem treats a command that would otherwise be carried out.
struct Refusal {
    std::string command;
    // The final result given instead, empty to carry the command out.
    std::string answer;
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
    std::string report;
};

struct SimState {
    Identity identity;
    Sim sim;
    Network network;
    Signal signal;
    std::vector<Refusal> refusals;
    std::vector<Moment> moments;
    int functionality = 1;

    // The error that keeps the card from being used, 0 when it is ready.
    int card_error() const;
};

}  // namespace hearth::device
