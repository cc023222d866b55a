#include <gtest/gtest.h>

#include <map>

#include "hearth/config.h"
#include "support/config_tree.h"
#include "support/faults.h"
#include "support/log_capture.h"

namespace fs = std::filesystem;
using hearth::test::kFactoryTree;
using hearth::test::kNextTree;
using hearth::test::kUserTree;
using hearth::test::LogCapture;
using hearth::test::read_text;
using hearth::test::write_text;

namespace {

const std::string kData = "/app/webroot/data/";
const std::string kStartFlag = kData + "start.flag";
const std::string kFinishFlag = kUserTree + "finish.flag";

using Tree = std::map<std::string, std::string>;

// Every file below a directory, with its text.
Tree tree_of(const std::string &directory) {
    Tree tree;
    for (const auto &entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            tree[fs::relative(entry.path(), directory)] = read_text(entry.path());
        }
    }
    return tree;
}

const Tree kFactory = {{"lan/config.xml", "<config><port>80</port></config>"},
                       {"wan/deep/config.xml", std::string(5000, 'w')},
                       {"top", "top"}};

Tree with_flag(Tree tree) {
    tree["finish.flag"] = "";
    return tree;
}

void make_factory() {
    for (const auto &[name, text] : kFactory) {
        write_text(kFactoryTree + name, text);
    }
    write_text(kFactoryTree + "empty", "");
    fs::create_directories(kData);
}

void clear_data() {
    fs::remove_all(kData);
    fs::create_directories(kData);
}

TEST(UserData, FirstBootCopiesTheFactoryTreeWithoutItsEmptyFiles) {
    make_factory();
    EXPECT_EQ(cl_copy_default_2_userdata(), 0);
    EXPECT_EQ(tree_of(kUserTree), with_flag(kFactory));
    EXPECT_FALSE(fs::exists(kStartFlag));
    EXPECT_FALSE(fs::exists(kNextTree));
    // A usual boot leaves everything as it is.
    LogCapture log;
    EXPECT_EQ(cl_copy_default_2_userdata(), -1);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"16 cl_copy_default_2_userdata in.\n",
                                                     "8 finish.flag exists, skip restore.\n",
                                                     "16 cl_copy_default_2_userdata out.\n"}));
}

TEST(UserData, StatesFoundAtStartUp) {
    struct Case {
        bool finish, start, next;
        int32_t result;
        const char *top;
    };
    make_factory();
    for (const Case &c : {
             Case{true, true, true, -1, "mine"},
             Case{false, true, true, 0, "top"},
             Case{false, true, false, 0, "top"},
             Case{false, false, false, 0, "top"},
             Case{false, false, true, 0, "next"},
         }) {
        clear_data();
        write_text(kUserTree + "top", "mine");
        if (c.finish) {
            write_text(kFinishFlag, "");
        }
        if (c.start) {
            write_text(kStartFlag, "");
        }
        if (c.next) {
            write_text(kNextTree + "top", "next");
        }
        EXPECT_EQ(cl_copy_default_2_userdata(), c.result);
        EXPECT_EQ(read_text(kUserTree + "top"), c.top) << c.finish << c.start << c.next;
        EXPECT_TRUE(fs::exists(kFinishFlag));
        // What was replaced lives on under the first free number.
        EXPECT_EQ(fs::exists(kData + "userdata2/top"), c.result == 0);
    }
}

TEST(UserData, ACutOffTreeThatCannotBeWalkedIsNotSwappedIn) {
    make_factory();
    write_text(kStartFlag, "");
    fs::create_directories(kNextTree);
    LogCapture log;
    hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kOpens, 1);
    EXPECT_EQ(cl_copy_default_2_userdata(), 0);
    EXPECT_TRUE(hearth::test::disarm_fault());
    EXPECT_EQ(tree_of(kUserTree), with_flag(kFactory));
}

TEST(UserData, SwapTakesTheNextFreeNumberAndTheRemoverTakesAllOfThem) {
    make_factory();
    for (const char *name : {"userdata2/x", "userdata3/x", "userdata9", "userdata/top", "user/x",
                             "userdatax/deep/deep/x"}) {
        write_text(kData + name, "x");
    }
    EXPECT_EQ(cl_copy_default_2_userdata(), 0);
    EXPECT_TRUE(fs::exists(kData + "userdata4/top"));
    cfg_garbage_remover(nullptr);
    std::set<std::string> left;
    for (const auto &entry : fs::directory_iterator(kData)) {
        left.insert(entry.path().filename());
    }
    EXPECT_EQ(left, (std::set<std::string>{"user", "userdata"}));
    EXPECT_EQ(tree_of(kUserTree), with_flag(kFactory));
}

TEST(UserData, RestoreSwapsAtTheNextBootAndNotBefore) {
    make_factory();
    cl_copy_default_2_userdata();
    write_text(kUserTree + "top", "mine");
    write_text(kNextTree + "rubbish", "x");
    cl_resume_default_setting();
    EXPECT_EQ(read_text(kUserTree + "top"), "mine");
    EXPECT_FALSE(fs::exists(kFinishFlag));
    EXPECT_EQ(tree_of(kNextTree), kFactory);
    EXPECT_EQ(cl_copy_default_2_userdata(), 0);
    EXPECT_EQ(tree_of(kUserTree), with_flag(kFactory));
    // Without a factory tree a restore changes nothing.
    fs::remove_all(kFactoryTree);
    LogCapture log;
    cl_resume_default_setting();
    EXPECT_TRUE(fs::exists(kFinishFlag));
    EXPECT_EQ(log.texts()[1], "2 factory dir[/WebApp/common/factory/] not exist!\n");
}

// Before each call that changes something, and in the middle of each that writes.
template <typename Operation, typename Check>
void cut_everywhere(Operation operation, Check check) {
    using namespace hearth::test;
    for (Fault fault : {Fault::kCrash, Fault::kTorn}) {
        EXPECT_GT(for_each_crash(kOpens | kWrites | kNames | kCloses, operation, check, fault), 15);
    }
}

TEST(UserData, EveryPowerCutOfAFirstBootEndsInACompleteTree) {
    make_factory();
    cut_everywhere(
        [] {
            clear_data();
            cl_copy_default_2_userdata();
        },
        [](int n) {
            bool complete = fs::exists(kFinishFlag);
            EXPECT_EQ(cl_copy_default_2_userdata(), complete ? -1 : 0) << n;
            EXPECT_EQ(tree_of(kUserTree), with_flag(kFactory)) << "cut " << n;
        });
}

TEST(UserData, EveryPowerCutOfARestoreLeavesTheOldOrTheNewTree) {
    make_factory();
    const Tree mine = {{"finish.flag", ""}, {"top", "mine"}};
    cut_everywhere(
        [&] {
            clear_data();
            write_text(kUserTree + "top", "mine");
            write_text(kFinishFlag, "");
            cl_resume_default_setting();
            cl_copy_default_2_userdata();
        },
        [&](int n) {
            // While the flag stands, the user's settings live on.
            bool committed = !fs::exists(kFinishFlag) || tree_of(kUserTree) != mine;
            cl_copy_default_2_userdata();
            EXPECT_EQ(tree_of(kUserTree), committed ? with_flag(kFactory) : mine) << "cut " << n;
            cfg_garbage_remover(nullptr);
            EXPECT_FALSE(fs::exists(kNextTree));
        });
}

TEST(UserDataFiles, CopyOfOneFile) {
    struct Case {
        std::string text;
        int32_t result;
        bool copied;
    };
    for (const Case &c :
         {Case{"", 0, false}, Case{"x", 0, true}, Case{std::string(2048, 'x'), 0, true},
          Case{std::string(2049, 'y'), 0, true}}) {
        fs::remove("/data/to");
        write_text("/data/from", c.text);
        EXPECT_EQ(cl_cfg_copy_file("/data/from", "/data/to"), c.result);
        EXPECT_EQ(fs::exists("/data/to"), c.copied);
        EXPECT_EQ(read_text("/data/to"), c.text);
    }
    EXPECT_EQ(cl_cfg_copy_file("/data/none", "/data/to"), 9);
    EXPECT_EQ(cl_cfg_copy_file("/data/from", "/data/none/to"), 9);
    EXPECT_EQ(cl_cfg_copy_file(nullptr, "/data/to"), 1);
    using hearth::test::Fault;
    hearth::test::arm_fault(Fault::kShort, hearth::test::kWrites, 1);
    EXPECT_EQ(cl_cfg_copy_file("/data/from", "/data/to"), -1);
    hearth::test::arm_fault(Fault::kFail, hearth::test::kAllocations, 1);
    EXPECT_EQ(cl_cfg_copy_file("/data/from", "/data/to"), 0) << "required without memory";
    hearth::test::disarm_fault();
}

TEST(UserDataFiles, RemoveStopsAtAPathThatIsTooLong) {
    fs::create_directories("/data/tree/sub");
    write_text("/data/tree/sub/x", "x");
    EXPECT_EQ(remove_files("/data/tree"), 0);
    EXPECT_TRUE(fs::is_empty("/data/tree"));
    EXPECT_EQ(remove_files(nullptr), -1);
    EXPECT_EQ(remove_files("/data/none"), -1);
    // The directory with its slash takes 11 bytes, so a name of 244 passes and one of 245 does not.
    for (size_t length : {244u, 245u}) {
        std::string name = "/data/tree/" + std::string(length, 'n');
        write_text(name, "x");
        EXPECT_EQ(cl_remove_files("/data/tree"), 0);
        EXPECT_EQ(fs::exists(name), length == 245);
    }
}

TEST(UserDataFiles, CopyOfATreeNeedsTheSlashAtItsTarget) {
    make_factory();
    EXPECT_EQ(cfg_copy_dir(kFactoryTree.c_str(), "/data/copy/"), 0);
    EXPECT_EQ(tree_of("/data/copy"), kFactory);
    fs::create_directories("/data/flat");
    write_text("/data/flat/x", "x");
    LogCapture log;
    EXPECT_EQ(cfg_copy_dir("/data/flat", "/data/other"), 0);
    EXPECT_EQ(log.texts()[0], "8 mkpath []!\n");
    EXPECT_FALSE(fs::exists("/data/other"));
    EXPECT_EQ(cfg_copy_dir("/data/none", "/data/other/"), -1);
    EXPECT_EQ(cfg_copy_dir(nullptr, "/data/other/"), -1);
}

TEST(UserData, InitWritesTheIdleStateAndStartsFromTheFactoryTree) {
    make_factory();
    LogCapture log;
    EXPECT_EQ(init_config(), 0);
    char value[4];
    uint32_t length = sizeof value;
    EXPECT_EQ(cfg_get_config_common("global", "sim_state", value, &length), CFG_OK);
    EXPECT_STREQ(value, "0");
    bool told = false;
    for (const auto &text : log.texts()) {
        told |= text == "2 [init_config] set sim_state to CFG_SIMST_IDLE (0). \n";
    }
    EXPECT_TRUE(told);
}

}  // namespace
