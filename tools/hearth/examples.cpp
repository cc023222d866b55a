// An example of every command, for its help.

#include "tool.h"

namespace hearth::tool {

namespace {

constexpr struct {
    const char *command;
    const char *arguments;
} kExamples[] = {
    {"at raw", "AT+CSQ --match +CSQ:"},
    {"at status", ""},
    {"at operators", ""},
    {"at sms list", "--json"},
    {"at sms read", "1"},
    {"at sms send", "+15550100 \"On my way\""},
    {"at sms send-pdu", "0001000A811555011200000461F1980C"},
    {"at sms delete", "1"},
    {"at phonebook get", ""},
    {"at phonebook add", "+15550123 \"Zoë\""},
    {"at phonebook set", "2 +15550124 Workshop"},
    {"at phonebook delete", "2"},
    {"at pin status", ""},
    {"at pin enter", "1234"},
    {"config get", "wlan ssid"},
    {"config set", "wlan ssid \"My home\""},
    {"config layers", "net apn"},
    {"config path", "net"},
    {"table create", "/data/t.mdb --layout \"u32 serial, text[24] number\" --max 50"},
    {"table info", "/data/t.mdb"},
    {"table insert",
     "/data/t.mdb --layout \"u32 serial, text[24] number\" serial=1 number=+15550100"},
    {"table update",
     "/data/t.mdb --layout \"u32 serial, text[24] number\" number=+15550101 --where serial=1"},
    {"table dump", "/data/t.mdb --layout \"u32 serial, text[24] number\" --order -serial"},
    {"table delete",
     "/data/t.mdb --layout \"u32 serial, text[24] number\" --where number=+15550101"},
    {"table check", "/data/t.mdb"},
    {"table journal", ""},
    {"bus listen", "12 13 --seconds 1 --text hello --result 5"},
    {"bus call", "12 7 --text ping --room 16"},
    {"bus post", "13 2 17 4"},
    {"bus modules", ""},
    {"log tail", "--level error -n 20"},
    {"log level", "ats debug"},
    {"xml get", "/app/webroot/data/userdata/lan/config.xml config.dhcp.start"},
    {"xml set", "/app/webroot/data/userdata/lan/config.xml config.dhcp.start 192.168.8.50"},
    {"xml check", "/app/webroot/data/userdata/lan/config.xml"},
    {"text encode", "--form gsm7 hellohello"},
    {"text decode", "--form gsm7 E8329BFD4697D9EC37"},
    {"gz compress", "/bin/sh /data/sh.gz"},
    {"gz uncompress", "/data/sh.gz /data/sh"},
    {"scenario check", "/data/scenario.toml"},
    {"recording check", "/data/recording"},
    {"recording show", "/data/recording"},
    {"completion", "bash"},
};

std::string example_of(const std::string &path) {
    for (const auto &row : kExamples) {
        if (path == row.command) {
            return std::string("Example: hearth ") + row.command +
                   (row.arguments[0] == '\0' ? "" : " ") + row.arguments;
        }
    }
    return "";
}

void add_below(Command command, const std::string &path) {
    for (Command sub : command.commands()) {
        std::string below = path + (path.empty() ? "" : " ") + sub.name();
        std::string example = example_of(below);
        if (!example.empty()) {
            sub.explain(example);
        }
        add_below(sub, below);
    }
}

}  // namespace

void add_examples(Command app) {
    add_below(app, "");
}

}  // namespace hearth::tool
