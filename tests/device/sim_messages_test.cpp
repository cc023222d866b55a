// Messages and phonebook entries, from the library through the AT server to the simulated modem.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "hearth/at_lib.h"
#include "hearth/at_pb.h"
#include "hearth/at_sms.h"

using namespace std::string_literals;

namespace {

constexpr auto kNoError = static_cast<uint32_t>(AT_ERR_NONE);
constexpr auto kOther = static_cast<uint32_t>(AT_ERR_OTHER);

// An AT server of its own with a scenario.
class Server {
  public:
    explicit Server(const std::string &scenario) {
        std::ofstream("/data/scenario.toml") << scenario;
        pid_ = fork();
        if (pid_ == 0) {
            execl(HEARTH_BINARY_DIR "/device/at_server/hearth-at-server", "hearth-at-server",
                  "--scenario", "/data/scenario.toml", nullptr);
            _exit(127);
        }
        for (int i = 0; i < 500 && get_ats_task_id() != pid_; i++) {
            usleep(10000);
        }
    }
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    ~Server() {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }

  private:
    pid_t pid_;
};

at_sms_pdu_req pdu_request(const char *pdu, uint16_t length, uint32_t status = 2) {
    at_sms_pdu_req request{length, status, ""};
    strcpy(request.pdu, pdu);
    return request;
}

uint32_t places_in_use() {
    at_cmgd_list list{};
    EXPECT_EQ(AT_Cmgd(0, nullptr, &list), 0);
    free(list.indexes);
    return list.count;
}

TEST(SimMessages, PdusLiveInTheirMemory) {
    Server server("[[message]]\nstatus = 0\npdu = \"0111223344\"\n");
    at_sms_pdu_req request = pdu_request("00010203FF", 4);
    at_sms_rsp reply{};
    ASSERT_EQ(AT_Cmgw(&request, &reply), 0);
    EXPECT_EQ(reply.value, 2u);
    EXPECT_EQ(places_in_use(), 2u);

    at_cmgr_msg message{};
    message.index = 1;
    ASSERT_EQ(AT_Cmgr(&message), 0);
    EXPECT_EQ(message.stat, 0u);
    EXPECT_EQ(message.length, 3);
    EXPECT_STREQ(message.pdu, "0111223344");
    ASSERT_EQ(AT_Cmgr(&message), 0);
    EXPECT_EQ(message.stat, 1u);

    // References count up, whether the message is stored or not.
    at_cmss_req stored{2, "+15550100", -1};
    ASSERT_EQ(AT_Cmss(&stored, &reply), 0);
    EXPECT_EQ(reply.err, kNoError);
    uint32_t reference = reply.value;
    ASSERT_EQ(AT_Cmgs(&request, &reply), 0);
    EXPECT_EQ(reply.value, reference + 1);
    message.index = 2;
    ASSERT_EQ(AT_Cmgr(&message), 0);
    EXPECT_EQ(message.stat, 3u);

    request.length = 5;
    EXPECT_EQ(AT_Cmgs(&request, &reply), -1);
    stored.index = 9;
    ASSERT_EQ(AT_Cmss(&stored, &reply), 0);
    EXPECT_EQ(reply.err, kOther);

    at_cmgd_req deletion{1, 0, 0};
    ASSERT_EQ(AT_Cmgd(1, &deletion, nullptr), 0);
    EXPECT_EQ(deletion.err, kNoError);
    EXPECT_EQ(places_in_use(), 1u);
    ASSERT_EQ(AT_Cmgd(1, &deletion, nullptr), 0);
    EXPECT_EQ(deletion.err, kOther);
    message.index = 1;
    EXPECT_EQ(AT_Cmgr(&message), -1);
}

TEST(SimMessages, MemoriesAreChosen) {
    Server server("[sms]\nsim_capacity = 5\n[[message]]\nstatus = 1\npdu = \"0001\"\n");
    at_cpms_media media{};
    ASSERT_EQ(AT_Cpms_test(&media), 0);
    EXPECT_STREQ(media.pairs[2].mem1, "ME");
    EXPECT_STREQ(media.pairs[2].mem2, "SM");

    at_cpms_info info{};
    ASSERT_EQ(AT_Cpms(0, nullptr, &info), 0);
    EXPECT_STREQ(info.mem3, "SM");
    EXPECT_STREQ(info.used1, "1");
    EXPECT_STREQ(info.total1, "5");
    at_cpms_info wanted{"ME", "", "", "SM", "", "", "SM", "", "", 0};
    ASSERT_EQ(AT_Cpms(1, &wanted, &info), 0);
    EXPECT_STREQ(info.used1, "0");
    EXPECT_STREQ(info.total1, "100");
    strcpy(wanted.mem2, "XX");
    ASSERT_EQ(AT_Cpms(1, &wanted, &info), 0);
    EXPECT_EQ(info.err, kOther);
}

TEST(SimMessages, IncomingMessagesFillTheMemory) {
    Server server(
        "[sms]\nsim_capacity = 2\n[[message]]\nstatus = 1\npdu = \"0001\"\n"
        "[[at]]\nseconds = 0.1\nmessage = \"0002\"\n[[at]]\nseconds = 0.1\nmessage = \"0003\"\n");
    at_smmemfull_info full{};
    for (int i = 0; i < 300 && AT_smmemfull(&full) != 0; i++) {
        usleep(10000);
    }
    EXPECT_STREQ(full.mem_type, "SM");
    EXPECT_EQ(full.err, kNoError);

    uint32_t indexes[4] = {};
    uint32_t count = 0;
    ASSERT_EQ(AT_Cmgi_unread_sms(indexes, 4, &count), 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(indexes[0], 2u);
    uint32_t err = 0;
    ASSERT_EQ(AT_Cmmt(2, 1, &err), 0);
    ASSERT_EQ(AT_Cmgi_unread_sms(indexes, 4, &count), 0);
    EXPECT_EQ(count, 0u);
    at_sms_pdu_req request = pdu_request("0004", 1);
    at_sms_rsp reply{};
    EXPECT_EQ(AT_Cmgw(&request, &reply), -1);
}

TEST(SimMessages, SettingsAreKept) {
    Server server("");
    at_csca_info centre{"+15550777", 0, 0};
    ASSERT_EQ(AT_Csca(1, &centre, &centre), 0);
    at_csca_info read_centre{};
    ASSERT_EQ(AT_Csca(0, nullptr, &read_centre), 0);
    EXPECT_STREQ(read_centre.sca, "+15550777");
    EXPECT_EQ(read_centre.tosca, 145u);

    at_cscb_info broadcast{0, "0-5,320", "0,17", 0};
    ASSERT_EQ(AT_cscb(1, &broadcast), 0);
    at_cscb_info read_broadcast{};
    ASSERT_EQ(AT_cscb(0, &read_broadcast), 0);
    EXPECT_STREQ(read_broadcast.mids, "0-5,320");
    EXPECT_STREQ(read_broadcast.dcss, "0,17");

    at_cnmi_info indication{1, 2, 0, 1, 0, 0};
    ASSERT_EQ(AT_cnmi(1, &indication), 0);
    at_cnmi_info read_indication{};
    ASSERT_EQ(AT_cnmi(0, &read_indication), 0);
    EXPECT_EQ(memcmp(&read_indication.mt, &indication.mt, 4 * sizeof(uint32_t)), 0);

    at_sms_rsp mode{};
    ASSERT_EQ(AT_smmode(1, &mode), 0);
    EXPECT_EQ(mode.err, kNoError);
    mode.value = 1;
    ASSERT_EQ(AT_smmode(1, &mode), 0);
    EXPECT_EQ(mode.err, kOther);
    ASSERT_EQ(AT_Cmsr(1, 1, &mode), 0);
    EXPECT_EQ(mode.err, kNoError);
    at_hsmsss_req raw{{1, 2, 3, 4}};
    uint32_t err = 0;
    ASSERT_EQ(AT_Hsmsss(&raw, &err), 0);
    EXPECT_EQ(err, kNoError);
}

TEST(SimMessages, RawBodiesComeBackWhole) {
    Server server("");
    at_hcmgw_req request{{1, 2, 162, 4, 5, 6, 7}, {11, 23, 1, 2, 3}, "+15550100", {}};
    for (size_t i = 0; i < sizeof request.body; i++) {
        request.body[i] = static_cast<uint8_t>(i);
    }
    memcpy(request.body, "a\r\n^X: \0\"", 9);
    request.body[161] = 0x1a;
    at_sms_rsp reply{};
    ASSERT_EQ(AT_Hcmgw(&request, &reply), 0);
    EXPECT_EQ(reply.value, 1u);
    at_hcmgr_req read{1, 0};
    at_hcmgr_msg message{};
    ASSERT_EQ(AT_Hcmgr(&read, &message), 0);
    EXPECT_STREQ(message.callerID, "+15550100");
    EXPECT_EQ(message.length, 162);
    EXPECT_EQ(message.month, 11);
    EXPECT_EQ(message.stat, 7);
    EXPECT_EQ(memcmp(message.body, request.body, sizeof message.body), 0);
    read.index = 2;
    EXPECT_EQ(AT_Hcmgr(&read, &message), -1);

    at_hcmgs_req sent{"+15550100", 3, {}};
    uint32_t err = 0;
    EXPECT_EQ(AT_Hcmgs(&sent, &err), 0);
    EXPECT_EQ(err, kNoError);
}

TEST(SimMessages, LockedCardIsToldById) {
    Server server("[sim]\nlock = true\n");
    at_csca_info centre{};
    ASSERT_EQ(AT_Csca(0, nullptr, &centre), 0);
    EXPECT_EQ(centre.err, static_cast<uint32_t>(AT_ERR_SIM_PIN));
    at_cpbs_info storage{};
    ASSERT_EQ(AT_Cpbs(0, nullptr, &storage), 0);
    EXPECT_EQ(storage.err, static_cast<uint32_t>(AT_ERR_SIM_PIN));
}

TEST(SimPhonebook, NamesOfAnyBytesComeBackWhole) {
    Server server(
        "[phonebook]\ncapacity = 3\nname_length = 512\n[[contact]]\nname = \"Ada\"\n"
        "number = \"5550100\"\n");
    const std::string names[] = {
        "", "Bob", "\0A\0,\0\"\",1"s, "a\",\"b\0"s, std::string(300, 'x'), std::string(512, '\0')};
    for (const std::string &name : names) {
        at_cpbw_req write{};
        write.index = 2;
        write.type = 145;
        write.coding = 2;
        write.text_length = static_cast<uint32_t>(name.size());
        strcpy(write.number, "+15550123");
        memcpy(write.text, name.data(), name.size());
        ASSERT_EQ(AT_Cpbw(1, &write, 0), 0);
        EXPECT_EQ(write.err, kNoError);
        at_cpbr_req request{2, 0};
        at_cpbr_info info{};
        ASSERT_EQ(AT_Cpbr(1, &request, &info), 0);
        EXPECT_EQ(info.index, 2u);
        EXPECT_EQ(info.type, 145u);
        EXPECT_STREQ(info.number, "+15550123");
        EXPECT_EQ(std::string(info.text, info.text_length), name);
        EXPECT_EQ(info.coding, 2u);
    }
    at_cpbs_info storage{};
    ASSERT_EQ(AT_Cpbs(0, nullptr, &storage), 0);
    EXPECT_EQ(storage.used, 2u);
    EXPECT_EQ(storage.total, 3u);
    EXPECT_STREQ(storage.storage, "SM");
    at_cpbr_req request{1, 0};
    at_cpbr_info info{};
    ASSERT_EQ(AT_Cpbr(2, &request, &info), 0);
    EXPECT_EQ(info.first_index, 1u);
    EXPECT_EQ(info.last_index, 3u);
    EXPECT_EQ(info.tlength, 512u);
    ASSERT_EQ(AT_Cpbr(1, &request, &info), 0);
    EXPECT_STREQ(info.text, "Ada");

    at_cpbw_req deletion{};
    deletion.op = AT_CPBW_DELETE;
    deletion.index = 2;
    ASSERT_EQ(AT_Cpbw(1, &deletion, 0), 0);
    EXPECT_EQ(deletion.err, kNoError);
    request.index = 2;
    ASSERT_EQ(AT_Cpbr(1, &request, &info), 0);
    EXPECT_EQ(request.err, kOther);
    at_cpbs_set other{"ME", 0};
    ASSERT_EQ(AT_Cpbs(1, &other, nullptr), 0);
    EXPECT_EQ(other.err, kNoError);
    ASSERT_EQ(AT_Cpbs(0, nullptr, &storage), 0);
    EXPECT_EQ(storage.used, 0u);
}

}  // namespace
