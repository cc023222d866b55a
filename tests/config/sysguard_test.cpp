#include "hearth/sysguard.h"

#include <gtest/gtest.h>

#include "hearth/config.h"
#include "support/config_tree.h"
#include "support/log_capture.h"

using hearth::test::kUserTree;
using hearth::test::LogCapture;
using hearth::test::write_config;

namespace {

struct Seen {
    int calls = 0;
    XML_Node *nodes[3] = {};
    int32_t number = -1;
    char text[8] = "xxxxxxx";
    void *second = nullptr;
};

int32_t look(XML_Node *user, XML_Node *product, XML_Node *common, void *first, void *second) {
    Seen &seen = *static_cast<Seen *>(first);
    seen.calls++;
    seen.nodes[0] = user;
    seen.nodes[1] = product;
    seen.nodes[2] = common;
    seen.second = second;
    EXPECT_EQ(get_int_node_value(user, product, common, "limit", &seen.number), 0);
    return 99;
}

TEST(Sysguard, AValueIsTakenFromTheFirstLayerThatHasOne) {
    write_config(kUserTree + "sysguard", "<cpu><limit/><name>user-named</name></cpu>");
    write_config("/app/webroot/WebApp/common/config/sysguard",
                 "<cpu><limit>80</limit><name>common</name><extra/></cpu>");
    Seen seen;
    EXPECT_EQ(sysguard_get_xml(look, &seen, &seen.calls, "config.cpu"), 0);
    EXPECT_EQ(seen.calls, 1);
    EXPECT_NE(seen.nodes[0], nullptr);
    EXPECT_EQ(seen.nodes[1], nullptr);
    EXPECT_NE(seen.nodes[2], nullptr);
    EXPECT_EQ(seen.number, 80) << "an empty value in user data goes on";
    EXPECT_EQ(seen.second, &seen.calls);
}

TEST(Sysguard, TheCallbackRunsWithoutAnyLayerToo) {
    LogCapture log;
    int runs = 0;
    auto count = [](XML_Node *a, XML_Node *b, XML_Node *c, void *first, void *) -> int32_t {
        EXPECT_TRUE(a == nullptr && b == nullptr && c == nullptr);
        ++*static_cast<int *>(first);
        return 0;
    };
    EXPECT_EQ(sysguard_get_xml(count, &runs, nullptr, "config.cpu"), 0);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(sysguard_get_xml(nullptr, &runs, nullptr, "config"), -1);
    EXPECT_EQ(sysguard_get_xml(count, nullptr, nullptr, "config"), -1);
    EXPECT_EQ(sysguard_get_xml(count, &runs, nullptr, nullptr), -1);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(log.texts().back(), "2 [sysguard_get_xml] get common node error s.\n ");
    EXPECT_EQ(log.lines().back().file, "config/src/global_config");
}

TEST(Sysguard, HelpersCheckTheirInputEachInItsOwnWay) {
    XML_Node *tree = nullptr;
    ASSERT_EQ(cl_xmlParse("<r><a>12</a><b>abcdefgh</b><e></e></r>", &tree), 0);
    XML_Node *found = nullptr;
    int32_t number = 5;
    char text[5] = {'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(sysguard_get_node(tree, nullptr, nullptr, "a", &found), -1) << "required";
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(sysguard_get_node(nullptr, tree, nullptr, "e", &found), 0);
    EXPECT_STREQ(found->name, "e");
    EXPECT_EQ(get_int_node_value(tree, nullptr, nullptr, "a", &number), 0);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(get_int_node_value(nullptr, nullptr, nullptr, "a", &number), -1);
    EXPECT_EQ(get_int_node_value(tree, nullptr, nullptr, "e", &number), -1);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(get_str_node_value(nullptr, nullptr, tree, "b", text, 4), 0);
    EXPECT_EQ(std::string(text, 5), "abcxx") << "no terminator is added";
    LogCapture log;
    EXPECT_EQ(get_str_node_value(tree, nullptr, nullptr, "none", text, 4), -1);
    EXPECT_EQ(log.texts().back(), "2 [get_int_node_value]get node none  value is null.\n");
    cl_xmlFreeNode(tree);
}

TEST(Sysguard, AnOpenDocumentIsNotReadAgain) {
    write_config(kUserTree + "sysguard", "<cpu/>");
    XML_Node *document = nullptr;
    XML_Node *node = nullptr;
    EXPECT_EQ(sysguard_get_config_node(&node, &document, "config.none", cfg_get_userdata_path), -1);
    ASSERT_NE(document, nullptr) << "it stays open and is the caller's";
    XML_Node *first = document;
    std::filesystem::remove_all(kUserTree);
    EXPECT_EQ(sysguard_get_config_node(&node, &document, "config.cpu", cfg_get_userdata_path), 0);
    EXPECT_EQ(document, first);
    EXPECT_STREQ(node->name, "cpu");
    cl_xmlFreeNode(document);
}

}  // namespace

// The device's closed library: this start mode keeps lookups away from the SIM.
extern "C" __attribute__((visibility("default"))) int32_t drvStartModeGet(void) {
    return 2;
}
