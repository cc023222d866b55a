// Every call below the XML functions fails, comes short or is interrupted in turn, and a rewrite of
// a file is stopped before each.
#include <gtest/gtest.h>
#include <string.h>

#include <fstream>
#include <iterator>
#include <string>

#include "hearth/xml.h"
#include "support/rewrite.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

constexpr const char *kFile = "/data/x.xml";
constexpr const char *kText = "<a><b n=\"1\">one</b><c>two</c></a>";
constexpr const char *kPrinted =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a>\n<b n=\"1\">one</b>\n<c>two</c>\n</a>\n";

std::string content() {
    std::ifstream file(kFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string &text) {
    std::ofstream(kFile, std::ios::binary) << text;
}

XML_Node *g_tree;
char *g_text;
std::string g_before;
std::string g_after;

void parse() {
    ASSERT_EQ(cl_xmlParse(kText, &g_tree), 0);
}

void drop(int32_t) {
    cl_xmlFreeNode(g_tree);
    g_tree = nullptr;
    cl_xmlFreeMem(g_text);
    g_text = nullptr;
}

// A long text makes the new document longer than the file, a short one shorter.
void prepare_rewrite(const char *text) {
    parse();
    write_file(kPrinted);
    g_before = kPrinted;
    XML_Node *child = cl_xmlGetNodeFirstChild(g_tree);
    ASSERT_EQ(cl_xmlSetNode(child, nullptr, nullptr, text), 0);
    ASSERT_EQ(cl_xmlTransform(g_tree, &g_text), 0);
    g_after = g_text;
    if (g_after.size() < g_before.size()) {
        g_after.resize(g_before.size(), ' ');
    }
}

// Builds "kText" from nothing; the number of the step that failed.
int32_t build() {
    XML_Node *child = nullptr;
    XML_Node *copy = nullptr;
    if (cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, "a", nullptr, &g_tree) != 0) {
        return 1;
    }
    if (cl_xmlCreateNode(XML_NODE_ELEMENT, "p", "b", "text", &child) != 0) {
        return 2;
    }
    if (cl_xmlAppendChildNode(g_tree, child) != 0) {
        return 3;
    }
    int32_t step = cl_xmlAddAttr(child, nullptr, "n", "1") != 0                ? 4
                   : cl_xmlSetAttr(child, nullptr, "n", "a long value") != 0   ? 5
                   : cl_xmlSetNode(child, nullptr, "other", "and a text") != 0 ? 6
                   : cl_xmlCloneNode(g_tree, &copy) != 0                       ? 7
                   : cl_xmlCloneNodeSelf(child, &child) != 0                   ? 8
                                                                               : 0;
    cl_xmlFreeNode(copy);
    if (step == 0) {
        cl_xmlFreeNode(child);
    }
    return step;
}

const Sweep kSweeps[] = {
    // Required: a document that memory runs out for is called faulty.
    {"xml: parse a text",
     nullptr,
     [] { return cl_xmlParse(kText, &g_tree); },
     drop,
     0,
     {XML_RESULT_NO_MEMORY, XML_RESULT_SYNTAX}},
    {"xml: parse a file",
     [] { write_file(kText); },
     [] { return cl_xmlParseFile(kFile, &g_tree); },
     drop,
     0,
     {XML_RESULT_NO_MEMORY, XML_RESULT_SYNTAX, XML_RESULT_OPEN, XML_RESULT_READ},
     "fclose close"},
    {"xml: build a tree", nullptr, build, drop, 0, {1, 2, 3, 4, 5, 6, 7, 8}},
    {"xml: print",
     parse,
     [] { return cl_xmlTransform(g_tree, &g_text); },
     [](int32_t result) {
         EXPECT_EQ(g_text != nullptr, result == 0);
         if (result == 0) {
             // Required: a header for which there is no memory is left out.
             EXPECT_NE(std::string(kPrinted).find(g_text), std::string::npos) << g_text;
         }
         drop(0);
     },
     0,
     {XML_RESULT_NO_MEMORY},
     "malloc realloc"},
    {"xml: a value among replacements",
     nullptr,
     [] { return cl_xmlReplaceToQuot("a &lt; b &amp; c", &g_text); },
     drop,
     0,
     {XML_RESULT_NO_MEMORY},
     // Less memory than would be convenient serves as well.
     "realloc"},
    {"xml: longer document over a file",
     [] { prepare_rewrite("a text that makes it longer"); },
     [] { return cl_xmlTransformFile(g_tree, kFile); },
     [](int32_t result) {
         EXPECT_TRUE(is_rewrite_state(content(), g_before, g_after)) << content();
         if (result == 0) {
             EXPECT_EQ(content(), g_after);
         }
         drop(0);
     },
     0,
     {XML_RESULT_NO_MEMORY, XML_RESULT_OPEN, XML_RESULT_WRITE},
     // A file that cannot be opened for reading is made anew. Nothing is held back at the close.
     "fopen open fclose close realloc"},
    {"xml: shorter document over a file",
     [] { prepare_rewrite(""); },
     [] { return cl_xmlTransformFile(g_tree, kFile); },
     [](int32_t result) {
         std::string found = content();
         EXPECT_TRUE(is_rewrite_state(found, g_before, g_after)) << found;
         if (result == 0) {
             EXPECT_TRUE(found.starts_with(g_after.substr(0, g_after.find("</a>") + 5)));
         }
         drop(0);
     },
     // Required: neither a cut that fails nor the blanks behind the document are told.
     0,
     {XML_RESULT_NO_MEMORY, XML_RESULT_OPEN, XML_RESULT_WRITE},
     "fopen open fclose close fwrite ftruncate realloc"},
    {"xml: add a node to a file",
     [] {
         write_file(kText);
         ASSERT_EQ(cl_xmlCreateNode(XML_NODE_ELEMENT, nullptr, "d", "new", &g_tree), 0);
     },
     [] { return ZEX_XML_AddNodeToFile(kFile, "a", &g_tree, kFile); },
     [](int32_t result) {
         EXPECT_EQ(g_tree == nullptr, result == 0);
         drop(0);
     },
     // Required: whether the file could be written is not told.
     0,
     {-1},
     "fopen fclose close fwrite fflush malloc realloc"},
    {"xml: look up in a file",
     [] { write_file(kText); },
     [] {
         char value[64];
         return ZEX_XML_GetNodeOrAttr(kFile, "a.c", value);
     },
     nullptr,
     0,
     {-1},
     "fclose close"},
};

TEST(XmlFaults, EveryFailureIsTold) {
    sweep_all(kSweeps);
}

// The document on the disk is the old one, the new one, or, as a rewrite in place has it, the front
// of the new one over the old.
TEST(XmlFaults, AStopDuringARewrite) {
    for (const char *text : {"a text that makes it longer", ""}) {
        for (Fault fault : {Fault::kCrash, Fault::kTorn}) {
            prepare_rewrite(text);
            int complete = 0;
            int stops = for_each_crash(
                kOpens | kWrites | kNames | kCloses,
                [] { EXPECT_EQ(cl_xmlTransformFile(g_tree, kFile), 0); },
                [&](int n) {
                    std::string found = content();
                    EXPECT_TRUE(is_rewrite_state(found, g_before, g_after)) << n << found;
                    XML_Node *tree = nullptr;
                    complete += cl_xmlParseFile(kFile, &tree) == 0 && found != g_before;
                    cl_xmlFreeNode(tree);
                    write_file(g_before);
                },
                fault);
            EXPECT_GT(stops, 3);
            EXPECT_GT(complete, 0);
            drop(0);
        }
    }
}

}  // namespace
