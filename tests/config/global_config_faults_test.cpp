// Every call below the configuration fails, comes short or is interrupted in turn; and a process
// that writes an item is stopped before each.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <map>
#include <thread>

#include "hearth/config.h"
#include "hearth/sysguard.h"
#include "support/config_tree.h"
#include "support/log_capture.h"
#include "support/rewrite.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;
namespace fs = std::filesystem;

int32_t g_start_mode = 2;

const std::string kOperators = "/app/webroot/WebApp/";
const std::string kCommon = kOperators + "common/config/";
const std::string kData = "/app/webroot/data/";
const std::string kLan = kUserTree + "lan/config.xml";

char g_value[64];

int32_t look_up(const char *item) {
    uint32_t length = sizeof g_value;
    return cfg_get_config("lan", item, g_value, &length);
}

std::string value_of(const std::string &path, const char *item) {
    char value[64] = "";
    uint32_t length = sizeof value;
    int32_t result = cfg_local_get_config(path.c_str(), item, value, &length);
    return result == 0 ? value : "result " + std::to_string(result);
}

void make_layers() {
    write_config(kUserTree + "lan", "<port>8080</port><name>mine</name>");
    write_config(kCommon + "lan", "<port>80</port><mask>24</mask>");
}

// A layer that cannot be read counts as one without the item, so that the next one may answer.
const std::vector<int32_t> kLookupFailures = {-1, 1, 3, 7, 9, 16, 18, 20};
constexpr const char *kLayers =
    "malloc fopen open read pread fread close fclose stat calloc sem_wait";

using Tree = std::map<std::string, std::string>;

const Tree kFactory = {{"lan/config.xml", "<config><port>80</port></config>"},
                       {"wan/deep/config.xml", std::string(5000, 'w')},
                       {"top", "top"}};

void make_factory() {
    for (const auto &[name, text] : kFactory) {
        write_text(kFactoryTree + name, text);
    }
    fs::remove_all(kData);
    fs::create_directories(kData);
}

// No file of a tree is another than the factory's, though some may be missing: one that cannot be
// opened is passed over.
void expect_no_cut_file(const std::string &directory) {
    for (const auto &[name, text] : kFactory) {
        if (fs::exists(directory + name)) {
            EXPECT_EQ(read_text(directory + name), text) << name;
        }
    }
}

// These end a copy early or leave a file out without a word.
constexpr const char *kPassedOver =
    "calloc fopen mkdir readdir stat fclose closedir "
    "opendir remove rmdir";

const Sweep kLookups[] = {
    {"config: item of the user data", make_layers, [] { return look_up("port"); },
     [](int32_t result) {
         if (result == 0) {
             EXPECT_TRUE(strcmp(g_value, "8080") == 0 || strcmp(g_value, "80") == 0) << g_value;
         }
     },
     0, kLookupFailures, kLayers},
    {"config: item of the last layer", make_layers, [] { return look_up("mask"); },
     [](int32_t result) {
         if (result == 0) {
             EXPECT_STREQ(g_value, "24");
         }
     },
     0, kLookupFailures, kLayers},
    {"config: path of a file", make_layers,
     [] {
         char path[256];
         uint32_t length = sizeof path;
         return cfg_get_file_fullpath("lan", "config.xml", path, &length);
     },
     nullptr, 0, kLookupFailures, kLayers},
    {"config: guard node of three layers",
     [] {
         write_config(kUserTree + "sysguard", "<cpu><name>mine</name></cpu>");
         write_config(kCommon + "sysguard", "<cpu><name>common</name></cpu>");
     },
     [] {
         auto look = [](XML_Node *user, XML_Node *product, XML_Node *common, void *first, void *) {
             return get_str_node_value(user, product, common, "name", static_cast<char *>(first),
                                       sizeof g_value);
         };
         memset(g_value, 0, sizeof g_value);
         return sysguard_get_xml(look, g_value, nullptr, "config.cpu");
     },
     // The callback is called whatever could be read.
     [](int32_t) {
         EXPECT_TRUE(strcmp(g_value, "mine") == 0 || strcmp(g_value, "common") == 0) << g_value;
     },
     0,
     {0}},
};

// A lookup that follows the SIM: the operator's directory, and the prefix kept for later boots.
const Sweep kOperatorLookup = {
    "config: item of the operator",
    [] {
        g_start_mode = 0;
        cl_reset_imsi();
        fs::remove_all(kData);
        write_config(kUserTree + "global",
                     "<sim_state>2</sim_state><imsi_string>26201</imsi_string>");
        write_config(kOperators + "26201/config/lan", "<apn>operator</apn>");
        write_config(kCommon + "lan", "<apn>common</apn>");
    },
    [] { return look_up("apn"); },
    [](int32_t result) {
        if (result == 0) {
            EXPECT_TRUE(strcmp(g_value, "operator") == 0 || strcmp(g_value, "common") == 0);
        }
        // A file written short keeps what was written, as is required.
        if (strcmp(last_fault(), "fwrite") != 0) {
            EXPECT_EQ(value_of(kUserTree + "global/config.xml", "imsi_string"), "26201");
        }
    },
    0,
    kLookupFailures,
    "malloc realloc strdup calloc fopen open read pread close fread fwrite fflush ftruncate fclose "
    "stat "
    "sem_wait flock"};

// With so many elements that its document takes more than one block of memory.
void make_dense_layers() {
    make_layers();
    std::string many;
    for (int i = 0; i < 400; i++) {
        many += "<i/>";
    }
    write_config(kUserTree + "lan", many + "<port>8080</port><name>mine</name>");
}

const Sweep kWriting[] = {
    {"config: write an item",
     make_dense_layers,
     [] { return cfg_set_config("lan", "port", "8081"); },
     [](int32_t result) {
         if (result != XML_RESULT_WRITE) {
             EXPECT_EQ(value_of(kLan, "name"), "mine");
             std::string port = value_of(kLan, "port");
             EXPECT_TRUE(port == "8081" || (port == "8080")) << port;
         }
     },
     // Required: the result is that of the save, also when there was no memory for the value.
     0,
     {-1, 18, 19},
     "malloc realloc fopen open close fclose stat sem_wait"},
    {"config: write the first item of a directory",
     [] { fs::remove_all(kUserTree); },
     [] { return cfg_set_config("new/deep", "a.b.c", "1"); },
     [](int32_t result) {
         if (result == 0) {
             EXPECT_TRUE(fs::exists(kUserTree + "new/deep/config.xml"));
         }
     },
     0,
     {-1, 18, 19},
     "malloc realloc fopen open close fclose stat sem_wait"},
};

const Sweep kTrees[] = {
    {"config: copy a file",
     [] {
         write_text("/data/from", std::string(5000, 'x'));
         fs::remove("/data/to");
     },
     [] { return cl_cfg_copy_file("/data/from", "/data/to"); },
     [](int32_t result) {
         if (result == 0 && fs::exists("/data/to")) {
             EXPECT_EQ(read_text("/data/to"), std::string(5000, 'x'));
         }
     },
     0,
     {-1, 9},
     "calloc fclose"},
    {"config: first boot",
     make_factory,
     [] { return cl_copy_default_2_userdata(); },
     [](int32_t) {
         cl_copy_default_2_userdata();
         EXPECT_TRUE(fs::exists(kUserTree + "finish.flag"));
         expect_no_cut_file(kUserTree);
     },
     0,
     {-1},
     kPassedOver},
    {"config: prepare a restore",
     [] {
         make_factory();
         write_text(kUserTree + "top", "mine");
         write_text(kUserTree + "finish.flag", "");
         write_text(kNextTree + "rubbish", "x");
     },
     [] {
         cl_resume_default_setting();
         return 0;
     },
     [](int32_t) {
         EXPECT_EQ(read_text(kUserTree + "top"), "mine");
         if (!fs::exists(kUserTree + "finish.flag")) {
             expect_no_cut_file(kNextTree);
         }
     },
     0,
     {0}},
    {"config: remove old generations",
     [] {
         fs::remove_all(kData);
         for (const char *name : {"userdata2/deep/x", "userdata3/x", "userdata/top", "user/x"}) {
             write_text(kData + name, "x");
         }
     },
     [] {
         cfg_garbage_remover(nullptr);
         return 0;
     },
     [](int32_t) {
         EXPECT_EQ(read_text(kUserTree + "top"), "x");
         EXPECT_TRUE(fs::exists(kData + "user/x"));
         cfg_garbage_remover(nullptr);
         EXPECT_FALSE(fs::exists(kData + "userdata2"));
         EXPECT_FALSE(fs::exists(kData + "userdata3"));
     },
     0,
     {0}},
};

class ConfigFaults : public testing::Test {
  protected:
    void SetUp() override { silence_log(); }
};

TEST_F(ConfigFaults, Lookups) {
    sweep_all(kLookups);
}

TEST_F(ConfigFaults, OperatorLookup) {
    sweep_all({&kOperatorLookup, 1});
}

TEST_F(ConfigFaults, Writing) {
    sweep_all(kWriting);
}

TEST_F(ConfigFaults, Trees) {
    sweep_all(kTrees);
}

// Settings of a file that cannot be read for the moment are not replaced by an empty document.
TEST_F(ConfigFaults, AFileThatCannotBeReadKeepsItsSettings) {
    for (uint32_t calls : {kAllocations, kOpens, kReads}) {
        for_each_fault(Fault::kFail, calls, calls == kAllocations ? ENOMEM : EIO, [] {
            hold_fault(true);
            make_dense_layers();
            hold_fault(false);
            int32_t result = cfg_set_config("lan", "port", "1");
            hold_fault(true);
            EXPECT_EQ(value_of(kLan, "name"), "mine") << last_fault();
            EXPECT_TRUE(result == CFG_OK || result == CFG_INTERNAL) << result;
        });
    }
    // A file that holds no document is replaced.
    write_text(kLan, "<config><port>");
    EXPECT_EQ(cfg_set_config("lan", "port", "1"), 0);
    EXPECT_EQ(value_of(kLan, "port"), "1");
}

// A handler that is installed without SA_RESTART ends the wait for the lock with EINTR.
TEST_F(ConfigFaults, ASignalDuringTheWaitLetsNobodyElseIn) {
    make_layers();
    look_up("port");
    arm_fault(Fault::kInterrupt, kWaits, 1);
    EXPECT_EQ(look_up("port"), 0);
    EXPECT_TRUE(disarm_fault());
    // The lock has still a count of one: null blocks every lookup from here on, as is required.
    uint32_t length = sizeof g_value;
    EXPECT_EQ(cfg_get_file_config("lan", nullptr, "port", g_value, &length), CFG_BAD_INPUT);
    std::atomic<bool> done = false;
    std::thread([&] {
        look_up("port");
        done = true;
    }).detach();
    usleep(100000);
    EXPECT_FALSE(done);
    _exit(HasFailure());
}

// Stopped before any of its calls, or in the middle of one, a write leaves the old document or the
// new one, or the front of the new over the old, as a rewrite in place does.
TEST_F(ConfigFaults, AStopDuringAWriteLeavesWhatARewriteInPlaceLeaves) {
    for (const char *value : {"a much longer value than before", "8"}) {
        make_layers();
        const std::string before = read_text(kLan);
        ASSERT_EQ(cfg_set_config("lan", "port", value), 0);
        const std::string after = read_text(kLan);
        for (Fault fault : {Fault::kCrash, Fault::kTorn}) {
            size_t complete = 0;
            size_t states = 0;
            int stops = for_each_crash(
                kOpens | kWrites | kNames | kCloses,
                [&] {
                    make_layers();
                    cfg_set_config("lan", "port", value);
                },
                [&](int n) {
                    SCOPED_TRACE(n);
                    std::string found = read_text(kLan);
                    EXPECT_TRUE(is_rewrite_state(found, before, after)) << found;
                    complete += found.starts_with(after.substr(0, after.find("</config>") + 9));
                    states++;
                },
                fault);
            EXPECT_GT(stops, 2);
            EXPECT_GT(complete, 0u);
            EXPECT_LT(complete, states);
        }
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t drvStartModeGet(void) {
    return g_start_mode;
}
