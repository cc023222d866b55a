#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>

#include "hearth/config.h"
#include "support/config_tree.h"
#include "support/faults.h"
#include "support/log_capture.h"

using hearth::test::arm_fault;
using hearth::test::disarm_fault;
using hearth::test::Fault;
using hearth::test::kUserTree;
using hearth::test::LogCapture;
using hearth::test::read_text;
using hearth::test::write_config;
using hearth::test::write_text;

namespace {

int g_start_mode = 2;
std::string g_product = "B100";
int g_asked = 0;

const std::string kProduct = "/app/config/B100/config/";
const std::string kOperators = "/app/webroot/WebApp/";
const std::string kCommon = kOperators + "common/config/";

struct Answer {
    int32_t result;
    std::string value;
    bool operator==(const Answer &) const = default;
};

void PrintTo(const Answer &answer, std::ostream *out) {
    *out << answer.result << " \"" << answer.value << '"';
}

Answer lookup(const std::string &item, const std::string &directory = "lan") {
    char value[64] = "untouched";
    uint32_t length = sizeof value;
    int32_t result = cfg_get_config(directory.c_str(), item.c_str(), value, &length);
    return {result, value};
}

void set_sim(int state, const std::string &imsi) {
    cfg_set_config("global", "imsi_string", imsi.c_str());
    cfg_set_config("global", "sim_state", std::to_string(state).c_str());
}

bool logged(const LogCapture &log, const std::string &text) {
    for (const std::string &line : log.texts()) {
        if (line == text) {
            return true;
        }
    }
    return false;
}

TEST(ConfigLookup, LayersAnswerInTheirOrder) {
    g_start_mode = 0;
    set_sim(CFG_SIMST_OK, "001010123456789");
    write_config(kCommon + "lan", "<port>common</port><only_common>c</only_common>");
    EXPECT_EQ(lookup("port"), (Answer{CFG_OK, "common"}));
    write_config(kOperators + "00101/config/lan", "<port>operator</port>");
    EXPECT_EQ(lookup("port"), (Answer{CFG_OK, "operator"}));
    write_config(kProduct + "lan", "<port>product</port>");
    EXPECT_EQ(lookup("port"), (Answer{CFG_OK, "product"}));
    write_config(kUserTree + "lan", "<port>user</port><empty/>");
    EXPECT_EQ(lookup("port"), (Answer{CFG_OK, "user"}));
    EXPECT_EQ(lookup("config.port"), (Answer{CFG_OK, "user"}));
    EXPECT_EQ(lookup("only_common"), (Answer{CFG_OK, "c"}));
    // An item without a value hides the same item in the later layers.
    write_config(kCommon + "lan", "<empty>full</empty>");
    EXPECT_EQ(lookup("empty"), (Answer{CFG_OK, ""}));
    EXPECT_EQ(lookup("none").result, CFG_NO_ITEM);
    EXPECT_EQ(lookup("none", "nowhere").result, CFG_NO_FILE);
    EXPECT_EQ(lookup("other.port").result, CFG_NO_ITEM) << "a path begins with the root's name";
}

TEST(ConfigLookup, ASmallBufferEndsTheSearchWithTheLengthNeeded) {
    write_config(kUserTree + "lan", "<name>router</name>");
    write_config(kCommon + "lan", "<name>r</name>");
    char value[7] = "------";
    for (uint32_t capacity : {0u, 1u, 6u}) {
        uint32_t length = capacity;
        EXPECT_EQ(cfg_get_config("lan", "name", value, &length), CFG_TOO_SMALL) << capacity;
        EXPECT_EQ(length, 7u);
        EXPECT_STREQ(value, "------");
    }
    uint32_t length = 100;
    EXPECT_EQ(cfg_get_config("lan", "name", nullptr, &length), CFG_TOO_SMALL);
    EXPECT_EQ(length, 7u);
    EXPECT_EQ(cfg_get_config("lan", "name", value, &length), CFG_OK);
    EXPECT_STREQ(value, "router");
}

TEST(ConfigLookup, WithoutMemoryForItsBuffersNoLayerAnswers) {
    g_start_mode = 2;
    write_config(kProduct + "lan", "<port>product</port>");
    write_config(kCommon + "lan", "<port>common</port>");
    ASSERT_EQ(lookup("port"), (Answer{CFG_OK, "product"}));
    for (int n : {1, 2}) {
        LogCapture log;
        arm_fault(Fault::kFail, hearth::test::kAllocations, n);
        EXPECT_EQ(lookup("port"), (Answer{CFG_INTERNAL, "untouched"})) << n;
        EXPECT_TRUE(disarm_fault());
        EXPECT_EQ(log.texts().back(), "2 [config] malloc failed!\n");
    }
    EXPECT_EQ(lookup("port"), (Answer{CFG_OK, "product"}));
}

TEST(ConfigLookup, OperatorPrefixShortensToTheOneThatAnswers) {
    g_start_mode = 0;
    set_sim(CFG_SIMST_OK, "001010123456789");
    // A directory that has no such item does not stop the shortening.
    write_config(kOperators + "00101012/config/lan", "<other>x</other>");
    write_config(kOperators + "001010/config/lan", "<apn>six</apn>");
    write_config(kOperators + "00101/config/lan", "<apn>five</apn><late>five</late>");
    LogCapture log;
    EXPECT_EQ(lookup("apn"), (Answer{CFG_OK, "six"}));
    EXPECT_TRUE(logged(log, "2 cann't find config (apn) in (lan), continue find ...\n"));
    EXPECT_TRUE(logged(log, "8 custom config (001010) found. \n"));
    // From now on only that directory is tried.
    EXPECT_EQ(lookup("late").result, CFG_NO_FILE);
    EXPECT_EQ(lookup("other").result, CFG_NO_FILE);
    // Another SIM clears both the prefix and the mark.
    set_sim(CFG_SIMST_OK, "001011");
    cl_touch_simst();
    EXPECT_EQ(lookup("late"), (Answer{CFG_OK, "five"}));
}

TEST(ConfigLookup, StartModeTwoKeepsAwayFromTheSim) {
    set_sim(CFG_SIMST_OK, "00101");
    write_config(kOperators + "00101/config/lan", "<apn>operator</apn>");
    LogCapture log;
    EXPECT_EQ(lookup("apn").result, CFG_NO_FILE);
    EXPECT_EQ(lookup("apn").result, CFG_NO_FILE);
    EXPECT_EQ(g_asked, 1) << "the start mode is asked for once";
    EXPECT_FALSE(std::filesystem::exists("/var/log/global_shm"));
    EXPECT_EQ(log.texts()[0], "2 [init_config]g_startMode = 4d\n ");
    EXPECT_EQ(log.texts()[1], "2 [init_config] get startMode = 2d\n ");
    EXPECT_TRUE(
        logged(log, "8 skip finding config (apn) in imsi dir, continue find in common ...\n"));
    EXPECT_TRUE(logged(log, "2 get config (apn) failed\n"));
}

TEST(ConfigLookup, CommonAndProductLookupsSkipTheOtherLayers) {
    write_config(kProduct + "lan", "<port>product</port>");
    write_config(kCommon + "lan", "<port>common</port>");
    char value[16];
    uint32_t length = sizeof value;
    EXPECT_EQ(cfg_get_config_common("lan", "port", value, &length), CFG_OK);
    EXPECT_STREQ(value, "common");
    EXPECT_EQ(cfg_get_websdk_config("lan", "config.xml", "port", value, &length), CFG_OK);
    EXPECT_STREQ(value, "product");
    write_config(kUserTree + "lan", "<port>user</port>");
    EXPECT_EQ(cfg_get_config_common("lan", "port", value, &length), CFG_OK);
    EXPECT_STREQ(value, "user");
    EXPECT_EQ(g_asked, 0);
    EXPECT_EQ(cfg_get_config_common(nullptr, "port", value, &length), CFG_BAD_INPUT);
    EXPECT_EQ(cfg_get_websdk_config("lan", nullptr, "port", value, &length), CFG_BAD_INPUT);
}

TEST(ConfigLookup, ANullArgumentLeavesTheLookupsBlocked) {
    uint32_t length = 0;
    EXPECT_EQ(cfg_get_file_config("lan", nullptr, "item", nullptr, &length), CFG_BAD_INPUT);
    std::atomic<bool> done = false;
    std::thread blocked([&] {
        lookup("item");
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(done);
    blocked.detach();
}

TEST(ConfigPath, FullPathClearsTheWholeBufferAndCutsToItsSize) {
    write_config(kCommon + "lan", "");
    const std::string whole = kCommon + "lan/config.xml";
    char out[300];
    memset(out, 'x', sizeof out);
    LogCapture log;
    EXPECT_EQ(cfg_get_full_path("/WebApp/common/config/", "lan", nullptr, out, 256), CFG_OK);
    EXPECT_EQ(out, whole);
    EXPECT_EQ(out[255], '\0');
    EXPECT_EQ(out[256], 'x');
    EXPECT_EQ(cfg_get_full_path("/WebApp/common/config/", "lan", "config.xml", out, 10), CFG_OK);
    EXPECT_EQ(out, whole.substr(0, 9));
    EXPECT_EQ(log.texts().back(), "2 buffer length too small!\n");
    log.clear();
    EXPECT_EQ(cfg_get_full_path("/WebApp/common/config/", "wan", nullptr, out, 256), CFG_NO_FILE);
    EXPECT_TRUE(log.texts().empty());
    EXPECT_EQ(cfg_get_full_path("/WebApp/common/config/", "lan", "x", out, 256), CFG_NO_FILE);
    EXPECT_EQ(log.texts().back(), "16 config file[" + kCommon + "lan/x] not exist!\n");
    EXPECT_EQ(cfg_get_full_path(nullptr, "lan", "x", out, 256), CFG_BAD_INPUT);
    // Paths that no buffer of 256 bytes holds are not there.
    std::string endless(400, 'd');
    EXPECT_EQ(cfg_get_full_path("/", endless.c_str(), "x", out, 256), CFG_NO_FILE);
    EXPECT_EQ(lookup("item", endless).result, CFG_INTERNAL);
}

TEST(ConfigPath, FullPathUsesAllOfItsRoom) {
    // A base that lies below the web root already is taken as it is.
    std::string base = "/app/webroot/";
    base.append(229, 'd').append("/");
    for (const char *file : {"f.xml", "longer.xml"}) {
        const std::string path = base + "lan/" + file;
        write_text(path, "x");
        char out[256] = "";
        bool fits = path.size() < sizeof out;
        EXPECT_EQ(cfg_get_full_path(base.c_str(), "lan", file, out, sizeof out),
                  fits ? CFG_OK : CFG_NO_FILE);
        EXPECT_EQ(out, fits ? path : "");
    }
}

TEST(ConfigPath, ConfigPathTakesTheOperatorsFileAndThenTheCommonOne) {
    g_start_mode = 0;
    char out[256];
    uint32_t length = sizeof out;
    set_sim(CFG_SIMST_OK, "00101012");
    EXPECT_EQ(cfg_get_config_path("lan", nullptr, out, &length), CFG_NO_FILE);
    write_config(kCommon + "lan", "");
    EXPECT_EQ(cfg_get_config_path("lan", nullptr, out, &length), CFG_OK);
    EXPECT_EQ(out, kCommon + "lan/config.xml");
    // The file alone marks the layer as found, whatever it holds.
    write_config(kOperators + "0010101/config/lan", "");
    EXPECT_EQ(cfg_get_config_path("lan", "config.xml", out, &length), CFG_OK);
    EXPECT_EQ(out, kOperators + "0010101/config/lan/config.xml");
    length = 5;
    EXPECT_EQ(cfg_get_config_path("lan", nullptr, out, &length), CFG_TOO_SMALL);
    EXPECT_EQ(length, (kOperators + "0010101/config/lan/config.xml").size() + 1);
    EXPECT_EQ(cfg_get_config_path(nullptr, nullptr, out, &length), CFG_BAD_INPUT);
    EXPECT_EQ(cfg_get_config_path("lan", nullptr, out, nullptr), CFG_BAD_INPUT);
    // Unlike the lookup of an item, that return gives the lock back.
    EXPECT_EQ(lookup("none").result, CFG_NO_ITEM);
}

TEST(ConfigPath, FileFullPathLooksForUserDataOutsideTheWebRoot) {
    char out[256];
    uint32_t length = sizeof out;
    write_config(kUserTree + "lan", "");
    write_config(kCommon + "lan", "");
    EXPECT_EQ(cfg_get_file_fullpath("lan", "config.xml", out, &length), CFG_OK);
    EXPECT_EQ(out, kCommon + "lan/config.xml");
    write_config(kProduct + "lan", "");
    EXPECT_EQ(cfg_get_file_fullpath("lan", "config.xml", out, &length), CFG_OK);
    EXPECT_EQ(out, kProduct + "lan/config.xml");
    write_config("/data/userdata/lan", "");
    EXPECT_EQ(cfg_get_file_fullpath("lan", "config.xml", out, &length), CFG_OK);
    EXPECT_STREQ(out, "/data/userdata/lan/config.xml");
    EXPECT_EQ(cfg_get_file_fullpath("lan", nullptr, out, &length), CFG_BAD_INPUT);
}

TEST(ConfigPath, LayerPathsAreBuiltWithoutALook) {
    struct Case {
        int32_t (*build)(const char *, const char *, char *, uint32_t *);
        std::string layer;
    };
    for (const Case &c :
         {Case{cfg_get_userdata_path, kUserTree}, Case{cfg_get_websdk_path, kProduct}}) {
        char out[256];
        uint32_t length = sizeof out;
        EXPECT_EQ(c.build("lan", "x.xml", out, &length), CFG_OK);
        EXPECT_EQ(out, c.layer + "lan/x.xml");
        EXPECT_EQ(c.build("lan", nullptr, out, &length), CFG_OK);
        EXPECT_EQ(out, c.layer + "lan");
        length = 4;
        EXPECT_EQ(c.build("lan", nullptr, out, &length), CFG_TOO_SMALL);
        EXPECT_EQ(length, (c.layer + "lan").size() + 1);
        EXPECT_EQ(c.build(nullptr, nullptr, out, &length), CFG_BAD_INPUT);
    }
    g_product = "";
    char out[256];
    uint32_t length = sizeof out;
    EXPECT_EQ(cfg_get_websdk_path("lan", nullptr, out, &length), CFG_OK);
}

TEST(ConfigWrite, MakesDirectoriesFileAndElements) {
    struct Case {
        const char *item;
        const char *value;
        const char *expected;
    };
    EXPECT_EQ(cfg_set_config("lan/deep", "port", "80"), 0);
    for (const Case &c : {Case{"port", "8080", "config.port"},
                          Case{"config.dhcp.start", "100", "config.dhcp.start"},
                          // The first name stands for the root, whatever it says.
                          Case{"other.dhcp.end", "200", "config.dhcp.end"},
                          Case{"config.dhcp.start", "101", "config.dhcp.start"}}) {
        EXPECT_EQ(cfg_set_config("lan/deep", c.item, c.value), 0) << c.item;
        EXPECT_EQ(lookup(c.expected, "lan/deep"), (Answer{CFG_OK, c.value})) << c.item;
    }
    EXPECT_EQ(lookup("other.dhcp.end", "lan/deep").result, CFG_NO_FILE);
    // A missing child becomes the first one of its parent.
    std::string text = read_text(kUserTree + "lan/deep/config.xml");
    EXPECT_LT(text.find("<dhcp>"), text.find("<port>"));
    EXPECT_LT(text.find("<end>"), text.find("<start>"));
    EXPECT_EQ(set_config(nullptr, "item", "value"), CFG_BAD_INPUT);
    EXPECT_EQ(cl_set_config("lan", "item", nullptr), CFG_BAD_INPUT);
}

TEST(ConfigWrite, ReplacesAFileThatIsNoDocument) {
    write_text(kUserTree + "lan/config.xml", "rubbish");
    EXPECT_EQ(cfg_set_config("lan", "port", "80"), 0);
    EXPECT_EQ(lookup("config.port"), (Answer{CFG_OK, "80"}));
    // Where no directory can be made, the write fails and says so.
    write_text(kUserTree + "file", "");
    LogCapture log;
    EXPECT_EQ(cfg_set_config("file/lan", "port", "80"), CFG_INTERNAL);
    EXPECT_EQ(log.texts().back(), "2 create dir " + kUserTree + "file/lan failed!\n");
}

TEST(ConfigWrite, WithoutMemoryForTheItemsNameNothingIsWritten) {
    ASSERT_EQ(cfg_set_config("lan", "config.dhcp.start", "100"), 0);
    const std::string before = read_text(kUserTree + "lan/config.xml");
    LogCapture log;
    arm_fault(Fault::kFail, hearth::test::kAllocations, 2);
    EXPECT_EQ(cfg_set_config("lan", "config.dhcp.start", "101"), CFG_INTERNAL);
    EXPECT_TRUE(disarm_fault());
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"2 [config] malloc failed!\n"}));
    EXPECT_EQ(read_text(kUserTree + "lan/config.xml"), before);
}

TEST(ConfigWrite, MakesDirectoriesDownFromTheLastThatIsThere) {
    LogCapture log;
    EXPECT_EQ(cfg_recursively_mkdir("/data/a"), 1);
    EXPECT_EQ(log.texts(),
              (std::vector<std::string>{"2 stating dir (/data/a) \n", "2 stating dir (/data) \n",
                                        "2 return from existing dir (/data)\n",
                                        "2 mkdir /data/a success!\n"}));
    EXPECT_EQ(cfg_recursively_mkdir("nowhere"), 0);
    EXPECT_EQ(log.texts().back(), "2 no parent directory !\n");
    EXPECT_EQ(cfg_recursively_mkdir(nullptr), 0);
}

TEST(ConfigWrite, ManyThreadsReadAndWriteWithoutATornValue) {
    cfg_set_config("lan", "port", "1111");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; t++) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 40; i++) {
                if (t < 2) {
                    wrong += cfg_set_config("lan", "port", t == 0 ? "1111" : "2222") != 0;
                } else {
                    Answer answer = lookup("port");
                    wrong += answer != Answer{CFG_OK, "1111"} && answer != Answer{CFG_OK, "2222"};
                }
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace

// The device's closed library.
extern "C" __attribute__((visibility("default"))) int32_t drvStartModeGet(void) {
    g_asked++;
    return g_start_mode;
}

extern "C" __attribute__((visibility("default"))) int32_t app_get_product_name(char *name) {
    snprintf(name, 32, "%s", g_product.c_str());
    return 0;
}
