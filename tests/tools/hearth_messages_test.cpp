// The tool's messages and contacts, through the AT server to the simulated modem and back.
#include <gtest/gtest.h>

#include "support/tool.h"

using namespace hearth::test;

namespace {

constexpr const char *kHome = HEARTH_SOURCE_DIR "/device/scenarios/home.toml";

// The PDUs of the modem's memory, in their order.
std::vector<std::string> stored_pdus() {
    std::vector<std::string> pdus;
    Json list = json_of({"at", "sms", "list", "--pdu"});
    for (const Json &message : list["messages"]) {
        pdus.push_back(message["pdu"]);
    }
    return pdus;
}

Json stored(const std::string &number, const std::string &text) {
    run({"at", "sms", "delete", "--all"});
    return json_of({"at", "sms", "send", number, text, "--store"});
}

std::string times(size_t count, const std::string &text) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

// By hand, after the standard: first octet, reference, receiver, protocol, coding, length, text.
TEST(HearthMessages, AreWrittenAsTheStandardSays) {
    AtServer server(read_text(kHome));
    const struct {
        const char *number, *text, *pdu;
    } rows[] = {
        {"+15550100", "hellohello", "00010008915155100000000AE8329BFD4697D9EC37"},
        {"5550101", "a", "0001000781550501F100000161"},
        {"*100#", "", "00010005811A00FB000000"},
        {"12ab", "\xE2\x82\xAC", "000100048121DC0000029B32"},
        {"+15550100", "\xD0\x94\xD0\xB0", "00010008915155100000080404140430"},
    };
    for (const auto &row : rows) {
        Json sent = stored(row.number, row.text);
        EXPECT_EQ(sent["parts"], 1) << sent;
        EXPECT_EQ(stored_pdus(), std::vector<std::string>{row.pdu}) << row.text;
    }
}

// The text that fills a message, one more, and characters that take two septets at a cut.
TEST(HearthMessages, LongTextsComeBackWhole) {
    AtServer server(read_text(kHome));
    const struct {
        std::string text;
        const char *alphabet;
        size_t parts;
    } rows[] = {
        {std::string(160, 'x'), "GSM 7-bit", 1},
        {std::string(161, 'x'), "GSM 7-bit", 2},
        {std::string(306, 'x'), "GSM 7-bit", 2},
        {std::string(307, 'x'), "GSM 7-bit", 3},
        {std::string(152, 'x') + "\xE2\x82\xAC" + std::string(151, 'y') + "{}", "GSM 7-bit", 3},
        {times(80, "\xE2\x82\xAC"), "GSM 7-bit", 1},
        {times(70, "\xD0\xB6"), "UCS-2", 1},
        {times(71, "\xD0\xB6"), "UCS-2", 2},
        {std::string(200, 'x') + "\xD0\xB6", "UCS-2", 3},
    };
    for (const auto &row : rows) {
        Json sent = stored("+15550100", row.text);
        EXPECT_EQ(sent["alphabet"], row.alphabet);
        EXPECT_EQ(sent["parts"], row.parts);
        EXPECT_EQ(sent["indexes"].size(), row.parts);
        Json read = json_of({"at", "sms", "read", "1"});
        EXPECT_EQ(read["text"], row.text);
        EXPECT_EQ(read["to"], "+15550100");
    }
    // Each part tells its place; a part that is gone is told.
    Json parts = json_of({"at", "sms", "list"})["messages"];
    ASSERT_EQ(parts.size(), 3u);
    EXPECT_EQ(parts[1]["part"], 2);
    EXPECT_EQ(parts[1]["parts"], 3);
    EXPECT_EQ(parts[1]["reference"], parts[0]["reference"]);
    run({"at", "sms", "delete", "2"});
    Json read = json_of({"at", "sms", "read", "3"});
    EXPECT_EQ(read["missing"], Json({2}));
    EXPECT_EQ(read["index"], Json({1, 3}));
    EXPECT_EQ(json_of({"at", "sms", "read", "2"}, 3)["error"].size(), 1u);
}

TEST(HearthMessages, AreSentPartByPart) {
    AtServer server(read_text(kHome));
    Json sent = json_of({"at", "sms", "send", "+15550100", std::string(400, 'x')});
    ASSERT_EQ(sent["references"].size(), 3u);
    EXPECT_EQ(sent["references"][2], sent["references"][0].get<int>() + 2);
    EXPECT_EQ(json_of({"at", "sms", "list"})["used"], "1");
    for (const Words &wrong :
         {Words{"at", "sms", "send", "Ada", "text"}, Words{"at", "sms", "send", "+", "text"},
          Words{"at", "sms", "send", "123456789012345678901", "text"},
          Words{"at", "sms", "send", "1", "\xF0\x9F\x98\x80"},
          Words{"at", "sms", "send", "1", std::string(39100, 'x')}}) {
        EXPECT_TRUE(json_of(wrong, 2)["error"].contains("what"));
    }
    EXPECT_EQ(json_of({"at", "sms", "send", "1", "\xC3"}, 1)["error"]["name"], "CL_TEXT_BAD_UTF8");
}

// What a modem may hold: parts with a wide reference, a header without parts, one that is cut.
TEST(HearthMessages, HeadersAreReadWithCare) {
    const std::string head = "0041000891515510000008";
    const struct {
        const char *data;
        const char *text;
        int part;
    } rows[] = {
        {"09060804010202010041", "A", 1},     {"080524030101010041", "A", 0},
        {"0B0824010000030702020041", "A", 2}, {"0405000307", nullptr, 0},
        {"0403000507", nullptr, 0},           {"02FF00", nullptr, 0},
    };
    std::string scenario;
    for (const auto &row : rows) {
        scenario += "[[message]]\nstatus = 2\npdu = \"" + head + row.data + "\"\n";
    }
    AtServer server(scenario);
    Json messages = json_of({"at", "sms", "list"})["messages"];
    ASSERT_EQ(messages.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); i++) {
        if (rows[i].text == nullptr) {
            // Nonsense is shown as it is.
            EXPECT_EQ(messages[i]["pdu"], head + rows[i].data);
            continue;
        }
        EXPECT_EQ(messages[i]["text"], rows[i].text) << messages[i];
        EXPECT_EQ(messages[i].value("part", 0), rows[i].part) << messages[i];
    }
    EXPECT_EQ(messages[0]["reference"], 0x0102);
}

TEST(HearthPhonebook, EntriesAreWrittenReadAndDeleted) {
    AtServer server(read_text(kHome));
    Json added = json_of({"at", "phonebook", "add", "+15550123", "Zo\xC3\xAB"});
    EXPECT_EQ(added["index"], 3);
    EXPECT_EQ(added["name"], "Zo\xC3\xAB");
    EXPECT_EQ(added["international"], true);
    // A comma, quotation marks, another alphabet.
    for (const char *name : {"Ada, \"at\" home", "\xD0\x94\xD0\xB0, \xE2\x82\xAC", "7"}) {
        Json set = json_of({"at", "phonebook", "set", "2", "5550199", name});
        EXPECT_EQ(set["name"], name);
        EXPECT_EQ(set["number"], "5550199");
        EXPECT_EQ(set["international"], false);
    }
    EXPECT_EQ(json_of({"at", "phonebook", "delete", "2"})["deleted"], 2);
    EXPECT_EQ(json_of({"at", "phonebook", "delete", "2"}, 3)["error"].size(), 1u);
    EXPECT_EQ(json_of({"at", "phonebook", "add", "1", "x"})["index"], 2);
    EXPECT_EQ(json_of({"at", "phonebook", "get"}).size(), 3u);
    // The modem takes 60 bytes of a name, and has 250 places.
    EXPECT_EQ(
        json_of({"at", "phonebook", "set", "2", "1", std::string(61, 'x')}, 1)["error"]["name"],
        "AT_ERR_OTHER");
    EXPECT_TRUE(
        json_of({"at", "phonebook", "set", "251", "1", "x"}, 1)["error"].contains("meaning"));
    json_of({"at", "phonebook", "set", "2", "nobody", "x"}, 2);
}

}  // namespace
