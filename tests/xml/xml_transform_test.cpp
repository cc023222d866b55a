#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "hearth/osa_file.h"
#include "hearth/xml.h"
#include "support/capture.h"
#include "support/xml_memory.h"
#include "xml/xml_dump.h"

namespace {

using hearth::test::dump;
using hearth::test::links_agree;

const std::string kHeader = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr const char *kPath = "/data/x.xml";

std::string content() {
    std::ifstream file(kPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::string &text) {
    std::ofstream(kPath, std::ios::binary) << text;
}

std::string g_at_cut;  // the file as a kill before the cut would leave it
bool g_refuse_write, g_refuse_cut;

XML_Node *parse(const std::string &text) {
    XML_Node *tree = nullptr;
    EXPECT_EQ(cl_xmlParse(text.c_str(), &tree), 0) << text;
    return tree;
}

std::string print(const XML_Node *node) {
    char *text = nullptr;
    int32_t result = cl_xmlTransform(node, &text);
    std::string printed = result == 0 ? text : "refused " + std::to_string(result);
    cl_xmlFreeMem(text);
    return printed;
}

}  // namespace

size_t osa_fwrite(const void *buffer, size_t size, size_t count, FILE *stream) {
    return fwrite(buffer, size, g_refuse_write ? count / 2 : count, stream);
}

int32_t osa_ftruncate(int descriptor, off_t length) {
    g_at_cut = content();
    return !g_refuse_cut && ftruncate(descriptor, length) == 0 ? 1 : 0;
}

namespace {

TEST(XmlTransform, Layout) {
    const char *source_and_lines[][2] = {
        {"<a/>", "<a/>\n"},
        {"<a>x</a>", "<a>x</a>\n"},
        {"<a> &#9;</a>", "<a> \t</a>\n"},
        {"<p:a q:b='1' c=\"'&lt;\"/>", "<p:a q:b=\"1\" c=\"&apos;&lt;\"/>\n"},
        {"<a b=''>&lt;&gt;&amp;&apos;&quot;\xC3\xA9</a>",
         "<a b=\"\">&lt;&gt;&amp;&apos;&quot;\xC3\xA9</a>\n"},
        {"<a><b/><p:c><d>1</d></p:c></a>", "<a>\n<b/>\n<p:c>\n<d>1</d>\n</p:c>\n</a>\n"},
        {"<a><b><c/></b><d/></a><e/>", "<a>\n<b>\n<c/>\n</b>\n<d/>\n</a>\n"},
        {"<x&lt;y/>", "<x<y/>\n"},
    };
    for (const auto &[source, lines] : source_and_lines) {
        XML_Node *tree = parse(source);
        EXPECT_EQ(print(tree), kHeader + lines) << source;
        cl_xmlFreeNode(tree);
    }
}

TEST(XmlTransform, OneNodeOfATree) {
    XML_Node *root = parse("<r><a/><b x='1' y='2'><c/></b><d/></r>");
    XML_Node *b = root->first_child->next_sibling;
    EXPECT_EQ(print(b), kHeader + "<b x=\"1\" y=\"2\">\n<c/>\n</b>\n");
    EXPECT_EQ(print(root->last_child), kHeader + "<d/>\n");
    EXPECT_EQ(print(b->first_attribute), kHeader + "x=\"1\"");
    EXPECT_EQ(cl_xmlSetNode(b, nullptr, nullptr, "value"), 0);
    EXPECT_EQ(print(b), kHeader + "<b x=\"1\" y=\"2\">\n<c/>\n</b>\n") << "children, no value";
    EXPECT_EQ(cl_xmlSetNode(b->first_child, nullptr, nullptr, ""), 0);
    EXPECT_EQ(print(b->first_child), kHeader + "<c></c>\n");
    EXPECT_TRUE(links_agree(root));
    EXPECT_EQ(cl_xmlSetNode(b->first_attribute->next_sibling, nullptr, "", nullptr), 0);
    EXPECT_EQ(print(b), kHeader + "<b x=\"1\" >\n<c></c>\n</b>\n") << "a nameless later attribute";
    EXPECT_EQ(cl_xmlSetNode(b->first_attribute, nullptr, "", nullptr), 0);
    EXPECT_EQ(print(root), "refused 1");
    EXPECT_EQ(cl_xmlSetNode(root, nullptr, "", nullptr), 0);
    EXPECT_EQ(print(root), "refused 1");
    EXPECT_EQ(print(nullptr), "refused 1");
    cl_xmlFreeNode(root);
}

// A tree that its own text can hold: values do not begin with white space, nodes with children
// have none, and no value is empty.
XML_Node *random_tree(std::mt19937 &random, int depth) {
    auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    auto name = [&] {
        return std::string(1, static_cast<char>('a' + below(26))) + "-._"[below(3)];
    };
    auto text = [&] {
        std::string value(1, "x<>&'\"/]=\xFF"[below(10)]);
        while (below(8) != 0) {
            value += static_cast<char>(1 + below(255));
        }
        return value;
    };
    bool leaf = depth == 0 || below(4) == 0;
    std::string prefix = below(3) == 0 ? "p" : "";
    XML_Node *node = nullptr;
    EXPECT_EQ(cl_xmlCreateNode(0, prefix.c_str(), name().c_str(),
                               leaf && below(4) != 0 ? text().c_str() : nullptr, &node),
              0);
    for (unsigned i = below(4); i > 0; --i) {
        cl_xmlAddAttr(node, below(2) == 0 ? "q" : "", name().c_str(),
                      below(4) == 0 ? nullptr : text().c_str());
    }
    for (unsigned i = leaf ? 0 : 1 + below(5); i > 0; --i) {
        EXPECT_EQ(cl_xmlAppendChildNode(node, random_tree(random, depth - 1)), 0);
    }
    return node;
}

TEST(XmlTransform, RandomTreesSurviveWritingAndReading) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        XML_Node *tree = random_tree(random, 5);
        std::string printed = print(tree);
        XML_Node *read = parse(printed);
        EXPECT_EQ(dump(read), dump(tree)) << "seed " << seed;
        EXPECT_TRUE(links_agree(read));
        EXPECT_EQ(print(read), printed);
        cl_xmlFreeNode(read);
        cl_xmlFreeNode(tree);
    }
}

TEST(XmlTransform, MemoryRunsOut) {
    XML_Node *tree = parse("<a b='1'>" + std::string(3000, 'x') + "</a>");
    EXPECT_EQ(cl_xmlAddAttr(tree, nullptr, "c", std::string(3000, '&').c_str()), 0);
    int32_t result = -1;
    for (int allowed = 0; result != 0; ++allowed) {
        char *text = nullptr;
        hearth::test::StdoutCapture out;
        hearth::test::fail_xml_memory_after(allowed);
        result = cl_xmlTransform(tree, &text);
        hearth::test::fail_xml_memory_after(-1);
        std::string told = out.text();
        if (allowed == 0) {
            EXPECT_TRUE(told.starts_with("XML_MemBufAppendStr failed \n")) << "at the header";
        }
        EXPECT_TRUE(result == 7 || result == 0);
        EXPECT_EQ(text == nullptr, result != 0);
        cl_xmlFreeMem(text);
        ASSERT_LT(allowed, 1000);
    }
    cl_xmlFreeNode(tree);
}

TEST(XmlTransform, FileKeepsItsInodeAndLength) {
    XML_Node *tree = parse("<a>x</a>");
    const std::string text = kHeader + "<a>x</a>\n";
    EXPECT_EQ(cl_xmlTransformFile(tree, kPath), 0);
    EXPECT_EQ(content(), text) << "created";
    struct stat before {
    }, after{};
    stat(kPath, &before);
    for (size_t old_length : {size_t{0}, size_t{5}, text.size(), text.size() + 1, size_t{20000}}) {
        write_file(std::string(old_length, 'o'));
        EXPECT_EQ(cl_xmlTransformFile(tree, kPath), 0);
        size_t padding = old_length > text.size() ? old_length - text.size() : 0;
        EXPECT_EQ(content(), text + std::string(padding, ' ')) << old_length;
    }
    stat(kPath, &after);
    EXPECT_EQ(after.st_ino, before.st_ino);
    XML_Node *read = nullptr;
    EXPECT_EQ(cl_xmlParseFile(kPath, &read), 0) << "a padded file reads back";
    cl_xmlFreeNode(read);
    cl_xmlFreeNode(tree);
}

TEST(XmlTransform, FileFailures) {
    XML_Node *tree = parse("<a>x</a>");
    const std::string text = kHeader + "<a>x</a>\n";
    const std::string old(100, 'o');
    EXPECT_EQ(cl_xmlTransformFile(tree, "/data/none/x.xml"), 18);
    EXPECT_EQ(cl_xmlTransformFile(tree, nullptr), 1);
    EXPECT_EQ(cl_xmlTransformFile(nullptr, kPath), 1);
    write_file(old);
    g_refuse_cut = true;
    EXPECT_EQ(cl_xmlTransformFile(tree, kPath), 0);
    EXPECT_EQ(content(), text + old.substr(text.size())) << "the old tail stays";
    EXPECT_EQ(g_at_cut, content()) << "the text is in the file before the file is cut";
    g_refuse_cut = false;
    write_file(old);
    g_refuse_write = true;
    EXPECT_EQ(cl_xmlTransformFile(tree, kPath), 19);
    EXPECT_EQ(content(), text.substr(0, text.size() / 2) + old.substr(text.size() / 2));
    g_refuse_write = false;
    EXPECT_EQ(cl_xmlTransformFile(tree, "/dev/full"), 19);
    write_file(old);
    XML_Node *nameless = parse("<a/>");
    EXPECT_EQ(cl_xmlSetNode(nameless, nullptr, "", nullptr), 0);
    EXPECT_EQ(cl_xmlTransformFile(nameless, kPath), 1);
    EXPECT_EQ(content(), old) << "not touched";
    cl_xmlFreeNode(nameless);
    cl_xmlFreeNode(tree);
}

TEST(XmlTransform, DocumentConveniences) {
    write_file("<r><a k='v'>1</a></r>");
    char out[8] = "unset";
    EXPECT_EQ(ZEX_XML_GetNodeOrAttr(kPath, "r.a[k=v]", out), 0);
    EXPECT_STREQ(out, "1");
    EXPECT_EQ(ZEX_XML_GetNodeOrAttr("/data/none", "r.a", out), -1);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(ZEX_XML_GetNodeOrAttr(kPath, nullptr, out), -1);
    EXPECT_EQ(ZEX_XML_GetNodeOrAttr(kPath, "r.a", nullptr), -1);

    XML_Node *node = parse("<b/>");
    XML_Node *mine = node;
    EXPECT_EQ(ZEX_XML_AddNodeToFile(kPath, "r.none", &node, kPath), -1);
    EXPECT_EQ(ZEX_XML_AddNodeToFile("/data/none", "r", &node, kPath), -1);
    EXPECT_EQ(node, mine);
    EXPECT_EQ(ZEX_XML_AddNodeToFile(kPath, "r.a", &node, "/data/none/x"), 0) << "not told";
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(ZEX_XML_AddNodeToFile(kPath, "r", &node, kPath), -1);
    node = parse("<b/>");
    std::string long_path = "r" + std::string(254, '.') + "none";
    EXPECT_EQ(ZEX_XML_AddNodeToFile(kPath, long_path.c_str(), &node, kPath), 0) << "cut off";
    EXPECT_EQ(content(), kHeader + "<r>\n<a k=\"v\">1</a>\n<b/>\n</r>\n");
}

}  // namespace
