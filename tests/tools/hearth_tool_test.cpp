// The command-line tool as a script sees it: the real program, the desk's servers, its JSON parsed.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>

#include "support/bus.h"
#include "support/config_tree.h"
#include "support/tool.h"

using namespace hearth::test;

namespace {

constexpr const char *kLayout = "u8 kind, u32 index, s16 level, text[24] number, wide[4] name";

// The subcommands that a help text lists.
Words listed(const std::string &help) {
    Words names;
    size_t at = help.find("\nSubcommands:\n");
    std::istringstream lines(at == std::string::npos ? "" : help.substr(at + 14));
    for (std::string line; std::getline(lines, line) && line.rfind("  ", 0) == 0;) {
        size_t end = line.find(' ', 2);
        if (end != 2) {
            names.push_back(line.substr(2, end - 2));
        }
    }
    return names;
}

// The example at the end of a help text is a command line that the tool takes, whatever its outcome
// without servers.
void expect_example(const std::string &help, const std::string &command) {
    const std::string mark = "Example: ";
    size_t at = help.find(mark + command);
    ASSERT_NE(at, std::string::npos) << help;
    std::string line = help.substr(at + mark.size(), help.find('\n', at) - at - mark.size());
    write_text("/data/example.sh", HEARTH_BINARY_DIR "/tools/hearth/" + line + "\n");
    pid_t pid = launch_words({"/bin/sh", "/data/example.sh"});
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) != 2 && WEXITSTATUS(status) < 5)
        << line << ": " << read_text("/data/err");
}

void expect_help(const Words &path, int &leaves) {
    Words asked = path;
    asked.push_back("--help");
    Outcome help = run(asked);
    std::string usage = "Usage: hearth";
    for (const std::string &word : path) {
        usage += " " + word;
    }
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find(usage), std::string::npos) << help.out;
    Words names = listed(help.out);
    if (names.empty()) {
        leaves++;
        expect_example(help.out, usage.substr(strlen("Usage: ")));
    }
    for (const std::string &name : names) {
        Words below = path;
        below.push_back(name);
        expect_help(below, leaves);
    }
}

TEST(HearthTool, EveryCommandExplainsItself) {
    int leaves = 0;
    expect_help({}, leaves);
    EXPECT_GE(leaves, 40);
    EXPECT_EQ(run({"--version"}).out.rfind("hearth ", 0), 0u);
}

TEST(HearthTool, WrongCommandLinesAreToldApart) {
    const Words wrong[] = {{},
                           {"at"},
                           {"nonsense"},
                           {"at", "pin", "enter", "12"},
                           {"bus", "call", "55", "1"},
                           {"text", "decode", "--form", "gsm7", "ABC"},
                           {"text", "encode", "--form", "morse", "a"},
                           {"log", "level", "ats", "loud"},
                           {"table", "create", "/data/t", "--layout", "u32"},
                           {"completion", "fish"}};
    for (const Words &words : wrong) {
        Json error = json_of(words, 2);
        EXPECT_TRUE(error["error"].contains("what")) << error;
        EXPECT_EQ(run(words).out, "");
        EXPECT_NE(run(words).err, "");
    }
}

TEST(HearthTool, WrongCommandLinesTellWhatWasExpected) {
    const struct {
        Words words;
        const char *told;
    } rows[] = {
        {{}, "hearth: a command is missing, expected one of at, config, table, "},
        {{"nonsense"}, "hearth: there is no command \"nonsense\", expected one of at, "},
        {{"gz"}, "hearth: gz: a command is missing, expected one of compress, uncompress\n"},
        {{"at", "pin", "leave"},
         "hearth: at pin: there is no command \"leave\", expected one of status, enter\n"},
        {{"config", "get", "net"}, "hearth: config get: ITEM is required\n"},
        {{"config", "get", "a", "b", "c"},
         "hearth: config get: The following argument was not expected: c\n"},
        {{"config", "get", "net"}, "\nhearth config get --help tells more\n"},
    };
    for (const auto &row : rows) {
        EXPECT_NE(run(row.words).err.find(row.told), std::string::npos) << run(row.words).err;
    }
}

TEST(HearthTool, WithoutServersItSaysSo) {
    for (const Words &words :
         {Words{"at", "status"}, Words{"at", "sms", "list"}, Words{"bus", "modules"},
          Words{"bus", "listen", "3"}, Words{"bus", "post", "3", "1"}}) {
        EXPECT_NE(json_of(words, 4)["error"]["what"].get<std::string>().find("server"),
                  std::string::npos);
    }
}

TEST(HearthTool, AsksTheModem) {
    AtServer server(read_text(HEARTH_SOURCE_DIR "/device/scenarios/home.toml"));
    Json status = json_of({"at", "status"});
    EXPECT_EQ(status["imsi"], "001010123456789");
    EXPECT_EQ(status["operator"], "Test Network");
    EXPECT_EQ(status["registration"], "registered, home network");
    EXPECT_EQ(json_of({"at", "raw", "AT+COPS?"})["lines"], Json({"+COPS: 0,0,\"Test Network\",7"}));
    Json refused = json_of({"at", "raw", "AT+NONSENSE"}, 1)["error"];
    EXPECT_EQ(refused["result"], AT_RET_ERROR);
    EXPECT_EQ(refused["name"], "AT_RET_ERROR");
    Json operators = json_of({"at", "operators"});
    ASSERT_EQ(operators.size(), 3u);
    EXPECT_EQ(operators[1]["number"], "00102");
    EXPECT_EQ(operators[1]["state"], "available");

    Json messages = json_of({"at", "sms", "list"})["messages"];
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0]["from"], "+15550100");
    EXPECT_EQ(messages[0]["text"], "hellohello");
    EXPECT_TRUE(json_of({"at", "sms", "send-pdu", "0001000A811555011200000461F1980C"})
                    .contains("reference"));
    EXPECT_EQ(json_of({"at", "sms", "send-pdu", "0791"}, 2)["error"].size(), 1u);
    EXPECT_EQ(json_of({"at", "sms", "delete", "1"})["deleted"], 1);
    EXPECT_EQ(json_of({"at", "sms", "list"})["messages"], Json::array());

    Json contacts = json_of({"at", "phonebook", "get"});
    ASSERT_EQ(contacts.size(), 2u);
    EXPECT_EQ(contacts[1]["name"], "Workshop");
    EXPECT_EQ(json_of({"at", "phonebook", "get", "9"}, 3).size(), 1u);
}

TEST(HearthTool, EntersThePin) {
    AtServer server("[sim]\nlock = true\npin = \"4711\"\n");
    EXPECT_EQ(json_of({"at", "pin", "status"})["waits_for"], "SIM PIN");
    EXPECT_TRUE(json_of({"at", "pin", "enter", "0000"}, 1)["error"].contains("meaning"));
    EXPECT_EQ(json_of({"at", "pin", "status"})["pin_tries"], "2");
    EXPECT_EQ(json_of({"at", "pin", "enter", "4711"})["waits_for"], "READY");
}

TEST(HearthTool, ShowsWhichLayerAnswers) {
    const std::string web = "/app/webroot/WebApp/";
    write_config("/app/webroot/data/userdata/global",
                 "<sim_state>2</sim_state><imsi_string>001010123456789</imsi_string>");
    write_config(web + "common/config/net", "<apn>internet</apn><mtu>1500</mtu>");
    write_config(web + "00101/config/net", "<apn>testnet</apn>");
    EXPECT_EQ(run({"config", "get", "net", "apn"}).out, "testnet\n");
    Json error = json_of({"config", "get", "net", "color"}, 3)["error"];
    EXPECT_EQ(error["name"], "CFG_NO_ITEM");

    Json layers = json_of({"config", "layers", "net", "apn"});
    EXPECT_EQ(layers["answering_layer"], "operator 00101");
    EXPECT_EQ(layers["layers"].back()["value"], "internet");
    EXPECT_EQ(json_of({"config", "layers", "net", "mtu"})["answering_layer"], "common");
    EXPECT_EQ(json_of({"config", "path", "net"})["path"], web + "00101/config/net/config.xml");

    EXPECT_EQ(run({"config", "set", "net", "apn", "mine & <only>"}).status, 0);
    layers = json_of({"config", "layers", "net", "apn"});
    EXPECT_EQ(layers["answering_layer"], "user data");
    EXPECT_EQ(layers["value"], "mine & <only>");
}

TEST(HearthTool, KeepsRecordsByTheirLayout) {
    const std::string table = "/data/userdata/t.mdb";
    setenv("HEARTH_LAYOUT", kLayout, 1);
    Json made = json_of({"table", "create", table, "--max", "3"});
    // As a compiler lays it: 1 + 3 + 4 + 2 + 24 + 8, and the store's own byte.
    EXPECT_EQ(made["record_size"], 44);
    EXPECT_EQ(made["fields"][4]["offset"], 34);
    Words insert = {"table",    "insert",           table,     "index=7",
                    "level=-5", "number=+15550100", "name=Zoë"};
    EXPECT_EQ(json_of(insert)["slot"], 1);
    insert[3] = "index=9";
    EXPECT_EQ(json_of(insert)["records"], 2);
    Json rows = json_of({"table", "dump", table, "--order", "-index"});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0]["index"], 9);
    EXPECT_EQ(rows[1]["level"], -5);
    EXPECT_EQ(rows[1]["name"], "Zoë");
    EXPECT_EQ(json_of({"table", "dump", table, "--where", "index=7"}).size(), 1u);

    for (const char *bad :
         {"kind=256", "level=40000", "index=-1", "name=four", "color=1", "index"}) {
        EXPECT_NE(json_of({"table", "insert", table, bad}, 2)["error"]["what"], "") << bad;
    }
    EXPECT_EQ(json_of({"table", "create", table}, 1)["error"]["name"], "MDBL_ERR_EXISTS");
    EXPECT_EQ(json_of(insert)["records"], 3);
    EXPECT_EQ(json_of(insert, 1)["error"]["name"], "MDBL_ERR_TABLE_FULL");
    EXPECT_EQ(json_of({"table", "delete", table}, 2).size(), 1u);
    EXPECT_EQ(json_of({"table", "delete", table, "--where", "index=9"})["deleted"], 2);
    EXPECT_EQ(json_of({"table", "delete", table, "--where", "index=9"}, 3)["error"]["name"],
              "MDBL_ERR_NOT_FOUND");
    EXPECT_EQ(json_of({"table", "info", table})["records"], 1);
}

TEST(HearthTool, UpdatesRecords) {
    const std::string table = "/data/userdata/t.mdb";
    setenv("HEARTH_LAYOUT", "u32 serial, text[8] name, u32 count", 1);
    run({"table", "create", table});
    for (const char *serial : {"serial=1", "serial=2", "serial=3"}) {
        run({"table", "insert", table, serial, "name=old"});
    }
    Words update = {"table", "update", table, "name=new", "count=7", "--where", "serial=2"};
    EXPECT_EQ(json_of(update)["updated"], 1);
    Json rows = json_of({"table", "dump", table, "--order", "serial"});
    EXPECT_EQ(rows[1], Json({{"serial", 2}, {"name", "new"}, {"count", 7}}));
    EXPECT_EQ(rows[0]["name"], "old");
    EXPECT_EQ(json_of({"table", "update", table, "count=9", "--all", "--journal"})["updated"], 3);
    EXPECT_EQ(json_of({"table", "dump", table, "--where", "count=9"}).size(), 3u);
    EXPECT_EQ(json_of({"table", "journal"})["state"], "empty");
    EXPECT_EQ(json_of({"table", "check", table})["sound"], true);

    EXPECT_EQ(json_of({"table", "update", table, "name=new"}, 2)["error"].size(), 1u);
    for (const char *bad : {"name=far too long", "color=1", "count=-1", "count"}) {
        json_of({"table", "update", table, bad, "--all"}, 2);
    }
    EXPECT_EQ(
        json_of({"table", "update", table, "count=1", "--where", "serial=9"}, 3)["error"]["name"],
        "MDBL_ERR_NOT_FOUND");
    EXPECT_EQ(json_of({"table", "dump", table, "--where", "count=9"}).size(), 3u);
}

// As a power cut leaves it: the mark, the length, where the bytes go, the table, the bytes.
TEST(HearthTool, CompletesAPendingUpdate) {
    const std::string table = "/data/userdata/t.mdb";
    const std::string journal = "/data/userdata/journal_file";
    setenv("HEARTH_LAYOUT", "u32 serial, text[8] name", 1);
    run({"table", "create", table});
    run({"table", "insert", table, "serial=1", "name=old"});
    size_t at = read_text(table).find("old");
    ASSERT_NE(at, std::string::npos);
    std::string bytes(1288, '\0');
    bytes[0] = 1;
    bytes[2] = 3;
    bytes[4] = static_cast<char>(at);
    bytes.replace(8, table.size(), table);
    bytes.replace(8 + 256, 3, "new");
    write_text(journal, bytes);
    Json pending = json_of({"table", "journal"});
    EXPECT_EQ(pending["state"], "pending");
    EXPECT_EQ(pending["table"], table);
    EXPECT_EQ(pending["bytes"], 3);
    EXPECT_EQ(json_of({"table", "journal", "--restore"})["state"], "empty");
    EXPECT_EQ(json_of({"table", "dump", table})[0]["name"], "new");
    // A table that is gone keeps its update pending.
    write_text(journal, bytes);
    std::filesystem::remove(table);
    EXPECT_EQ(json_of({"table", "journal", "--restore"}, 3)["error"]["name"], "MDBL_ERR_NO_FILE");
    EXPECT_EQ(json_of({"table", "journal"})["state"], "pending");
}

TEST(HearthTool, ReplacesATableOfOtherSizesOnlyWhenTold) {
    const std::string table = "/data/userdata/t.mdb";
    run({"table", "create", table, "--layout", "u32 a"});
    run({"table", "insert", table, "--layout", "u32 a", "a=1"});
    Words other = {"table", "create", table, "--layout", "u32 a, u32 b"};
    EXPECT_EQ(json_of(other, 1)["error"]["name"], "MDBL_ERR_EXISTS");
    EXPECT_EQ(json_of({"table", "info", table})["records"], 1);
    other.push_back("--replace");
    EXPECT_EQ(json_of(other)["record_size"], 12);
    EXPECT_EQ(json_of({"table", "info", table})["records"], 0);
}

TEST(HearthTool, LooksIntoScenariosAndRecordings) {
    Json home = json_of({"scenario", "check", HEARTH_SOURCE_DIR "/device/scenarios/home.toml"});
    EXPECT_EQ(home["operators"], 3);
    EXPECT_EQ(home["contacts"], 2);
    write_text("/data/bad.toml", "[sim]\nimsi = 1\n");
    EXPECT_EQ(run({"scenario", "check", "/data/bad.toml"}).err,
              "hearth: /data/bad.toml:2: \"imsi\" wants a text in quotation marks\n");
    EXPECT_NE(run({"scenario", "check", "/data/none.toml"}).err.find("/data/none.toml"),
              std::string::npos);

    write_text(
        "/data/said",
        "> 12 AT+CIMI\n< 15 0010\n< 15 OK\n\n< 1003 ^RSSI: 23\n\n> 20 AT+CMGS=1\\r00\\x1A\n");
    Json all = json_of({"recording", "show", "/data/said"});
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0]["answer"], "0010 | OK");
    EXPECT_EQ(all[0]["took"], 3);
    EXPECT_EQ(all[1]["answer"], "no answer");
    EXPECT_EQ(all[2]["ms"], 1003);
    Json sums = json_of({"recording", "check", "/data/said"});
    EXPECT_EQ(sums["exchanges"], 2);
    EXPECT_EQ(sums["unanswered"], 1);
    EXPECT_EQ(sums["reports"], 1);
    write_text("/data/said", "> 1 AT\nOK\n");
    EXPECT_EQ(json_of({"recording", "check", "/data/said"}, 1)["error"]["what"],
              "/data/said:2: expected a line that begins with '>', '<' or '#', or an empty one");
}

TEST(HearthTool, TellsDamage) {
    const std::string table = "/data/userdata/t.mdb";
    ASSERT_EQ(run({"table", "create", table, "--layout", "u32 a"}).status, 0);
    EXPECT_EQ(json_of({"table", "check", table})["sound"], true);
    ASSERT_EQ(run({"table", "insert", table, "--layout", "u32 a", "a=1"}).status, 0);
    std::string bytes = read_text(table);
    write_text(table, bytes + "abc");
    EXPECT_EQ(json_of({"table", "check", table}, 1)["problems"].size(), 1u);
    std::string unmarked = bytes;
    unmarked[17] = 1;
    write_text(table, unmarked);
    EXPECT_EQ(json_of({"table", "check", table}, 1)["records"], 1);
    bytes[0] = 'X';
    write_text(table, bytes);
    EXPECT_EQ(json_of({"table", "check", table}, 1)["error"]["name"], "MDBL_ERR_BAD_MAGIC");
    EXPECT_EQ(json_of({"table", "info", "/data/none"}, 3)["error"].size(), 1u);

    EXPECT_EQ(json_of({"table", "journal"})["state"], "absent");
    write_text("/data/userdata/journal_file", "\1");
    EXPECT_EQ(json_of({"table", "journal"})["state"], "damaged");
}

TEST(HearthTool, StandsOnTheBus) {
    ServerProcess server;
    hearth::test::Peer::connect_to_server();
    pid_t listener = launch_words({kTool, "--json", "bus", "listen", "12", "13", "--count", "3",
                                   "--text", "hello", "--result", "5"},
                                  "/data/heard");
    Json answer;
    for (int i = 0; i < 100 && !answer.contains("text"); i++) {
        Outcome call = run({"bus", "call", "12", "7", "--text", "ping", "--room", "8", "--json"});
        answer = call.json();
        EXPECT_TRUE(call.status == 0 || answer["error"]["result"] == 3000) << call.out;
    }
    EXPECT_EQ(answer["result"], 5);
    EXPECT_EQ(answer["text"], "hello");
    EXPECT_EQ(run({"bus", "post", "13", "2", "17", "4"}).status, 0);
    EXPECT_EQ(run({"bus", "post", "13", "3", "--text", "abc", "--hex", "0102"}).status, 0);
    int status = -1;
    waitpid(listener, &status, 0);
    EXPECT_EQ(status, 0);
    std::istringstream heard(read_text("/data/heard"));
    std::vector<Json> frames;
    for (std::string line; std::getline(heard, line);) {
        Json frame = Json::parse(line, nullptr, false);
        if (frame["kind"] != "death") {
            frames.push_back(frame);
        }
    }
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0]["text"], "ping");
    EXPECT_EQ(frames[0]["answer_room"], 8);
    EXPECT_EQ(frames[1]["values"], Json({17, 4}));
    EXPECT_EQ(frames[2]["first"]["text"], "abc");
    EXPECT_EQ(frames[2]["second"]["hex"], "0102");
    EXPECT_EQ(json_of({"bus", "call", "12", "7"}, 3)["error"]["name"], "NOTIFY_NO_ANSWER");
}

TEST(HearthTool, ReadsTheLogAndSetsItsLevels) {
    EXPECT_EQ(json_of({"log", "tail"}, 3).size(), 1u);
    EXPECT_EQ(json_of({"log", "level"})["stored"], false);
    Json levels = json_of({"log", "level", "config", "debug"});
    EXPECT_EQ(levels["goes_to"], Json({"file"}));
    EXPECT_EQ(levels["modules"][1]["mask"], 31);
    run({"config", "get", "net", "apn"});
    Outcome tail =
        run({"log", "tail", "-n", "1", "--module", "config", "--level", "error", "--json"});
    EXPECT_EQ(tail.status, 0);
    EXPECT_EQ(tail.json()["level"], "error");
    EXPECT_NE(tail.json()["text"].get<std::string>().find("global_config"), std::string::npos);
    EXPECT_EQ(json_of({"log", "level", "config", "off"})["modules"][1]["level"], "off");
}

TEST(HearthTool, ChangesDocuments) {
    write_text("/data/x.xml", "<a><b id=\"1\">one</b><b id=\"2\">two</b></a>");
    EXPECT_EQ(run({"xml", "get", "/data/x.xml", "a.b[id=2]"}).out, "two\n");
    EXPECT_EQ(run({"xml", "set", "/data/x.xml", "a.c.d", "1 < 2", "--create"}).status, 0);
    EXPECT_EQ(run({"xml", "set", "/data/x.xml", "a.b", "5", "--attribute", "id"}).status, 0);
    EXPECT_EQ(json_of({"xml", "get", "/data/x.xml", "a.c.d"})["value"], "1 < 2");
    EXPECT_EQ(json_of({"xml", "get", "/data/x.xml", "a.b[id]"})["value"], "5");
    EXPECT_EQ(json_of({"xml", "check", "/data/x.xml"})["elements"], 5);
    EXPECT_EQ(json_of({"xml", "set", "/data/x.xml", "a.x", "1"}, 3)["error"]["result"], 15);
    write_text("/data/x.xml", "<a><b></a>");
    EXPECT_EQ(json_of({"xml", "check", "/data/x.xml"}, 1)["error"]["name"], "XML_RESULT_SYNTAX");
    EXPECT_EQ(json_of({"xml", "check", "/data/none"}, 3)["error"]["name"], "XML_RESULT_OPEN");
}

// The packed text is the well-known one; the record is 3GPP TS 11.11's form with a base of 0x400.
TEST(HearthTool, CodesTexts) {
    const struct {
        const char *form, *text, *hex;
    } cases[] = {{"gsm7", "hellohello", "E8329BFD4697D9EC37"},
                 {"gsm7", "1234567", "31D98C56B3DD1A"},
                 {"septets", "a€", "611B65"},
                 {"ucs2", "aЖ", "00610416"},
                 {"sim80", "Ж", "800416"},
                 {"sim81", "Да", "81020894B0"},
                 {"utf8", "é", "C3A9"}};
    for (const auto &row : cases) {
        EXPECT_EQ(run({"text", "encode", "--form", row.form, row.text}).out,
                  std::string(row.hex) + "\n");
        EXPECT_EQ(json_of({"text", "decode", "--form", row.form, row.hex})["text"], row.text);
    }
    EXPECT_EQ(json_of({"text", "encode", "--form", "gsm7", "Ж"}, 1)["error"]["result"], 11);
    EXPECT_EQ(json_of({"text", "decode", "--form", "sim81", "81FF08"}, 1).size(), 1u);
}

TEST(HearthTool, CompressesFiles) {
    const std::string text(100000, 'x');
    write_text("/data/plain", text);
    Json report = json_of({"gz", "compress", "/data/plain", "/data/plain.gz"});
    EXPECT_LT(report["target_bytes"], 1000);
    EXPECT_EQ(json_of({"gz", "compress", "/data/plain", "/data/plain.gz"}, 2).size(), 1u);
    EXPECT_EQ(json_of({"gz", "uncompress", "/data/plain.gz", "/data/again"})["source_bytes"],
              report["target_bytes"]);
    EXPECT_EQ(read_text("/data/again"), text);
    std::filesystem::resize_file("/data/plain.gz", 60);
    EXPECT_EQ(json_of({"gz", "uncompress", "/data/plain.gz", "/data/cut"}, 1)["error"]["result"],
              21);
    EXPECT_FALSE(std::filesystem::exists("/data/cut"));
    EXPECT_EQ(json_of({"gz", "compress", "/data/none", "/data/x"}, 3).size(), 1u);
}

TEST(HearthTool, CompletesCommands) {
    Outcome script = run({"completion", "bash"});
    write_text("/data/complete.sh", script.out +
                                        "COMP_WORDS=(hearth at sms se); COMP_CWORD=3\n"
                                        "_hearth; echo \"${COMPREPLY[@]}\"\n"
                                        "COMP_WORDS=(hearth table dump --o); COMP_CWORD=3\n"
                                        "_hearth; echo \"${COMPREPLY[@]}\"\n");
    pid_t pid = launch_words({"/bin/bash", "/data/complete.sh"});
    waitpid(pid, nullptr, 0);
    EXPECT_EQ(read_text(kOut), "send send-pdu\n--order\n");
}

}  // namespace
