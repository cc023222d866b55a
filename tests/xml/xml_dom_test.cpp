#include "hearth/xml.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "support/xml_memory.h"
#include "xml/xml_dump.h"

namespace {

using hearth::test::dump;
using hearth::test::fail_xml_memory_after;
using hearth::test::links_agree;

XML_Node *parse(const char *text) {
    XML_Node *tree = nullptr;
    EXPECT_EQ(cl_xmlParse(text, &tree), 0) << text;
    return tree;
}

XML_Node *make(const char *name, const char *value = nullptr) {
    XML_Node *node = nullptr;
    EXPECT_EQ(cl_xmlCreateNode(0, nullptr, name, value, &node), 0);
    return node;
}

TEST(XmlDom, CreateAndSet) {
    XML_Node *node = nullptr;
    EXPECT_EQ(ZEX_XML_CreateNode(1, nullptr, "a", nullptr, &node), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(ZEX_XML_CreateNode(0, nullptr, "a", nullptr, nullptr), ZEX_XML_ERR_PARAM);
    ASSERT_EQ(cl_xmlCreateNode(0, "", "a", "", &node), 0);
    EXPECT_EQ(dump(node), "a=''");
    struct {
        const char *prefix, *name, *value, *tree;
    } steps[] = {
        {"p", "b", "1", "p|b='1'"},   {nullptr, nullptr, nullptr, "p|b='1'"},
        {nullptr, "c", "", "p|c=''"}, {"", "", nullptr, "=''"},
        {nullptr, "d", "2", "d='2'"},
    };
    for (const auto &step : steps) {
        EXPECT_EQ(cl_xmlSetNode(node, step.prefix, step.name, step.value), 0);
        EXPECT_EQ(dump(node), step.tree);
    }
    EXPECT_EQ(cl_xmlSetNode(node, node->name, node->value, node->name), 0) << "with its own texts";
    EXPECT_EQ(dump(node), "d|2='d'");
    EXPECT_EQ(cl_xmlSetNode(node, "", node->prefix, node->name), 0) << "with one that it clears";
    EXPECT_EQ(dump(node), "d='2'");
    EXPECT_EQ(cl_xmlSetNode(nullptr, nullptr, "a", nullptr), 1);
    const char *texts[3];
    uint32_t type = 7;
    EXPECT_EQ(cl_xmlGetNodeValue(node, &type, &texts[0], &texts[1], &texts[2]), 0);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(texts[0], nullptr);
    EXPECT_EQ(std::string(texts[1]) + texts[2], "d2");
    EXPECT_EQ(cl_xmlGetNodeValue(node, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(cl_xmlGetNodeValue(nullptr, &type, nullptr, nullptr, nullptr), 1);
    cl_xmlFreeNode(node);
}

TEST(XmlDom, Attributes) {
    XML_Node *node = parse("<a x='1' p:x='2'/>");
    const char *value = nullptr;
    EXPECT_EQ(cl_xmlAddAttr(node, nullptr, "x", "9"), 14);
    EXPECT_EQ(cl_xmlAddAttr(node, "", "x", "9"), 14);
    EXPECT_EQ(cl_xmlAddAttr(node, "q", "x", nullptr), 0);
    EXPECT_EQ(cl_xmlAddAttr(node, nullptr, "", "9"), 1);
    EXPECT_EQ(cl_xmlAddAttr(nullptr, nullptr, "y", "9"), 1);
    EXPECT_EQ(cl_xmlSetAttr(node, "", "x", "new"), 0);
    EXPECT_EQ(cl_xmlSetAttr(node, "p", "x", ""), 0);
    EXPECT_EQ(cl_xmlSetAttr(node, "r", "x", "9"), 15);
    EXPECT_EQ(dump(node), "a[x=new][p|x][q|x]");
    EXPECT_EQ(cl_xmlGetAttr(node, nullptr, "x", &value), 0);
    EXPECT_STREQ(value, "new");
    EXPECT_EQ(cl_xmlGetAttr(node, "p", "x", &value), 0);
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(cl_xmlGetAttr(node, "p", "y", &value), 15);
    EXPECT_EQ(cl_xmlGetAttr(node, "p", "x", nullptr), 1);

    const char *prefix = nullptr, *name = nullptr;
    std::string seen;
    for (int32_t result = cl_xmlGetFirstAttr(node, &prefix, &name, &value); result == 0;
         result = cl_xmlGetNextSiblingAttr(node, prefix, name, &prefix, &name, &value)) {
        seen += std::string(prefix == nullptr ? "-" : prefix) + name;
    }
    EXPECT_EQ(seen, "-xpxqx");
    EXPECT_EQ(cl_xmlGetNextSiblingAttr(node, "q", "x", &prefix, &name, &value), 15);
    EXPECT_EQ(cl_xmlGetFirstAttr(node, &prefix, &name, nullptr), 1);

    EXPECT_EQ(cl_xmlRemoveAttr(node, "p", "x"), 0);
    EXPECT_EQ(cl_xmlRemoveAttr(node, "p", "x"), 15);
    EXPECT_EQ(cl_xmlRemoveAttr(node, "", "x"), 0);
    EXPECT_EQ(dump(node), "a[q|x]");
    cl_xmlFreeNode(node->first_attribute);
    EXPECT_EQ(cl_xmlGetFirstAttr(node, &prefix, &name, &value), 15);
    cl_xmlFreeNode(node);
}

TEST(XmlDom, LinkingAndRemoving) {
    XML_Node *root = make("r");
    XML_Node *b = make("b");
    XML_Node *a = make("a");
    XML_Node *d = make("d");
    EXPECT_EQ(cl_xmlAddNextSiblingNode(b, a), 1) << "the anchor stands alone";
    EXPECT_EQ(cl_xmlAppendChildNode(root, b), 0);
    EXPECT_EQ(cl_xmlAddFirstChildNode(root, a), 0);
    EXPECT_EQ(cl_xmlAddNextSiblingNode(b, d), 0);
    EXPECT_EQ(cl_xmlAddPrevSiblingNode(d, make("c")), 0);
    EXPECT_EQ(cl_xmlAddPrevSiblingNode(a, make("0")), 0);
    EXPECT_EQ(dump(root), "r{0 a b c d}");
    EXPECT_TRUE(links_agree(root));
    for (auto *link : {cl_xmlAppendChildNode, cl_xmlAddFirstChildNode, cl_xmlAddNextSiblingNode,
                       cl_xmlAddPrevSiblingNode}) {
        EXPECT_EQ(link(b, a), 1) << "linked already";
        EXPECT_EQ(link(b, b), 1);
        EXPECT_EQ(link(b, root), 1) << "a root below itself";
        EXPECT_EQ(link(nullptr, root), 1);
        EXPECT_EQ(link(b, nullptr), 1);
    }
    EXPECT_EQ(cl_xmlAppendChildNode(root, root), 1);
    uint32_t count = 0;
    EXPECT_EQ(cl_xmlGetNodeChildNum(root, &count), 0);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(cl_xmlGetNodeChildNum(nullptr, &count), 1);
    EXPECT_EQ(cl_xmlGetNodeChildByName(root, "b"), b);
    EXPECT_EQ(cl_xmlGetNodeChildByName(nullptr, "b"), nullptr);

    EXPECT_EQ(cl_xmlRemoveNode(b), 0);
    EXPECT_EQ(cl_xmlRemoveNode(b), 1) << "it stands alone now";
    EXPECT_EQ(cl_xmlRemoveNode(d), 0);
    EXPECT_EQ(cl_xmlAppendChildNode(d, b), 0);
    EXPECT_EQ(cl_xmlAddFirstChildNode(root, d), 0);
    cl_xmlFreeNode(a);
    EXPECT_EQ(dump(root), "r{d{b} 0 c}") << "freed from the middle, its siblings stay";
    EXPECT_TRUE(links_agree(root));
    cl_xmlFreeNode(root);
    cl_xmlFreeNode(nullptr);
}

TEST(XmlDom, FreeingTopLevelNodes) {
    XML_Node *a = parse("<a/><b><x/></b><c/>");
    cl_xmlFreeNode(a->next_sibling);
    EXPECT_EQ(dump(a), "a") << "the siblings behind go with it";
    cl_xmlFreeNode(a);
    cl_xmlFreeNode(parse("<a/><b><x/></b><c/>"));
    XML_Node *kept = parse("<a/><b y='1'><x/></b><c/>");
    XML_Node *b = kept->next_sibling;
    EXPECT_EQ(cl_xmlRemoveNode(b), 0);
    cl_xmlFreeNode(kept);
    EXPECT_EQ(dump(b), "b[y=1]{x}") << "a part of a document outlives the rest";
    cl_xmlFreeNode(b);
}

TEST(XmlDom, PartsOfADocumentBelongToDifferentThreads) {
    XML_Node *root = parse("<r><a x='1'>1</a><b x='1'>2</b><c/></r>");
    XML_Node *a = root->first_child;
    EXPECT_EQ(cl_xmlRemoveNode(a), 0);
    std::thread other([a] {
        EXPECT_EQ(cl_xmlSetNode(a, "p", nullptr, "other"), 0);
        cl_xmlFreeNode(a);
    });
    EXPECT_EQ(cl_xmlSetNode(root->first_child, nullptr, nullptr, "one"), 0);
    cl_xmlFreeNode(root);
    other.join();
}

TEST(XmlDom, Walking) {
    XML_Node *root = parse("<r><a><b/></a><c/></r><s/>");
    std::string names;
    for (XML_Node *node = root; node != nullptr; node = ZEX_XML_Iterator(node)) {
        names += node->name;
    }
    EXPECT_EQ(names, "rabcs");
    XML_Node *c = cl_xmlGetNodeLastChild(root);
    EXPECT_EQ(cl_xmlGetNodePrevSibling(c), cl_xmlGetNodeFirstChild(root));
    EXPECT_EQ(cl_xmlGetNodeParent(c), root);
    EXPECT_EQ(cl_xmlGetNodeNextSibling(c), nullptr);
    for (auto *link : {cl_xmlGetNodeParent, cl_xmlGetNodeFirstChild, cl_xmlGetNodeLastChild,
                       cl_xmlGetNodeNextSibling, cl_xmlGetNodePrevSibling}) {
        EXPECT_EQ(link(nullptr), nullptr);
    }
    EXPECT_EQ(ZEX_XML_Iterator(nullptr), nullptr);
    cl_xmlFreeNode(root);
}

TEST(XmlDom, FindByNameAndAttribute) {
    XML_Node *root = parse("<r><p:a>1</p:a><a><x>2</x></a><a k='v'/><b k='w'/></r><s>3</s>");
    struct {
        const char *path, *value;
    } paths[] = {{"r.a", "1"},       {".r..a.", "1"},    {"s", "3"},
                 {"r.a.x", nullptr}, {"a", nullptr},     {"", nullptr},
                 {".", nullptr},     {"r.p:a", nullptr}, {"t", nullptr}};
    for (const auto &path : paths) {
        XML_Node *found = cl_xmlFindNodeByName(root, path.path);
        EXPECT_STREQ(found == nullptr ? nullptr : found->value, path.value) << path.path;
    }
    EXPECT_EQ(cl_xmlFindNodeByName(nullptr, "r"), nullptr);
    EXPECT_EQ(cl_xmlFindNodeByName(root, nullptr), nullptr);
    XML_Node *first = root->first_child;
    XML_Node *third = first->next_sibling->next_sibling;
    EXPECT_EQ(ZEX_XML_FindNodeByAttr(first, "a", "k", nullptr), third);
    EXPECT_EQ(ZEX_XML_FindNodeByAttr(first, "a", "k", "v"), third);
    EXPECT_EQ(ZEX_XML_FindNodeByAttr(first, "a", "k", "w"), nullptr);
    EXPECT_EQ(ZEX_XML_FindNodeByAttr(root, "a", "k", nullptr), nullptr);
    EXPECT_EQ(ZEX_XML_FindNodeByAttr(first, nullptr, "k", nullptr), nullptr);
    cl_xmlFreeNode(root);
}

TEST(XmlDom, Urls) {
    XML_Node *root = parse("<a><b>1</b><c>2</c><p:b>3</p:b><d><b>4</b></d><b>5</b></a>");
    struct {
        const char *url;
        int32_t result;
        const char *value;
    } cases[] = {
        {"a.b", 0, "1"},
        {"a.b.1", 0, "1"},
        {"a.b.2", 0, "3"},
        {"a.b.3", 0, "5"},
        {"a.b.4", ZEX_XML_ERR_NOT_FOUND, ""},
        {"a.b.0002", 0, "3"},
        {"..a...b..2.", 0, "3"},
        {"a.p:b", 0, "3"},
        {"a.xp:bx", 0, "3"},
        {"a.q:b", ZEX_XML_ERR_NOT_FOUND, ""},
        {"a.d.1.b", 0, "4"},
        {"a.0", ZEX_XML_ERR_BAD_URL, ""},
        {"a.1", ZEX_XML_ERR_BAD_URL, ""},
        {"a.b.0", ZEX_XML_ERR_BAD_URL, ""},
        {"a.b.2.3", ZEX_XML_ERR_BAD_URL, ""},
        {"a.b.9999999999999", ZEX_XML_ERR_NOT_FOUND, ""},
        {"b", ZEX_XML_ERR_NOT_FOUND, ""},
        {"", ZEX_XML_ERR_NOT_FOUND, ""},
    };
    for (const auto &c : cases) {
        XML_Node *found = nullptr;
        EXPECT_EQ(ZEX_XML_GetNodeByUrl(root, c.url, &found), c.result) << c.url;
        EXPECT_STREQ(found == nullptr ? "" : found->value, c.value) << c.url;
    }
    XML_Node *found = nullptr;
    std::string longest = "a" + std::string(510, '.');
    EXPECT_EQ(ZEX_XML_GetNodeByUrl(root, longest.c_str(), &found), 0);
    EXPECT_EQ(ZEX_XML_GetNodeByUrl(root, (longest + ".").c_str(), &found), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(ZEX_XML_GetNodeByUrl(nullptr, "a", &found), ZEX_XML_ERR_PARAM);
    cl_xmlFreeNode(root);
}

TEST(XmlDom, TextsByPathWithPredicates) {
    const char *document =
        "<r><i n='1' t='x'>one</i><i n='2' e=''>two<x/></i><i n='3'><j k='v'>deep</j>"
        "<j k='w'><l>low</l></j></i><e/></r>";
    const char *path_and_text[][2] = {
        {"r.i", "one"},
        {"r.i[n=1]", "one"},
        {"r.i[n=3].j[k=v]", "deep"},
        {"r.i[n=3]j[k=v]", "deep"},
        {"r.i[n=3].j[k=w].l", "low"},
        {"r.i[t]", "x"},
        {"r.i[n=1][t]", "x"},
        {"r.i[n=2][e]", ""},
        {"r.i[e]", ""},
        {"r.e", nullptr},
        {"r.i[n=4]", nullptr},
        {"r.i[n=3]", nullptr},
        {"r.i[n=1", nullptr},
        {"r.i[n=1][t", nullptr},
        {"r.i[n=1][u]", nullptr},
        {"[n=1]", nullptr},
        {"r.i[n=3].", nullptr},
        {"r.i[n=1].j[k=v]", nullptr},
        {"", nullptr},
    };
    // The second item has a child and so cannot have a text.
    std::string text = document;
    text.erase(text.find("<x/>"), 4);
    for (const auto &[path, expected] : path_and_text) {
        char out[16] = "unset";
        EXPECT_EQ(ZEX_XML_GetNodeOrAttrFromBuffer(text.c_str(), path, out),
                  expected == nullptr ? -1 : 0)
            << path;
        EXPECT_STREQ(out, expected == nullptr ? "" : expected) << path;
    }
    char out[16] = "unset";
    EXPECT_EQ(ZEX_XML_GetNodeOrAttrFromBuffer(document, "r.i", out), -1) << "no document";
    EXPECT_STREQ(out, "");
    EXPECT_EQ(ZEX_XML_GetNodeOrAttr_Node(nullptr, "r", out), -1);
}

TEST(XmlDom, NumbersRead) {
    struct {
        uint32_t type;
        const char *text;
        int64_t number;
    } good[] = {
        {0, "true", 1},
        {0, "1", 1},
        {0, "false", 0},
        {0, "0", 0},
        {1, "-2147483648", INT32_MIN},
        {1, "2147483647", INT32_MAX},
        {1, "+5", 5},
        {1, "-0", 0},
        {2, "4294967295", UINT32_MAX},
        {3, "-32768", -32768},
        {3, "+32767", 32767},
        {4, "65535", 65535},
        {5, "-128", -128},
        {5, "127", 127},
        {6, "255", 255},
        {6, "00000000000000000000000000000000000000012", 12},
    };
    XML_Node *node = make("a");
    for (const auto &c : good) {
        ASSERT_EQ(cl_xmlSetNode(node, nullptr, nullptr, c.text), 0);
        int32_t value = -1;
        EXPECT_EQ(ZEX_XML_GetNodeValueEx(node, c.type, &value), 0) << c.type << " " << c.text;
        int64_t read = value;
        switch (c.type) {
            case 2:
                read = static_cast<uint32_t>(value);
                break;
            case 3:
                read = static_cast<int16_t>(value);
                break;
            case 4:
                read = static_cast<uint16_t>(value);
                break;
            case 5:
                read = static_cast<int8_t>(value);
                break;
            case 6:
                read = static_cast<uint8_t>(value);
                break;
            default:
                break;
        }
        EXPECT_EQ(read, c.number) << c.type << " " << c.text;
    }
    struct {
        uint32_t type;
        const char *text;
    } bad[] = {{0, "TRUE"},
               {0, "2"},
               {0, ""},
               {1, "2147483648"},
               {1, "-2147483649"},
               {1, "+-5"},
               {1, ""},
               {1, "-"},
               {1, " 5"},
               {1, "5 "},
               {2, "+5"},
               {2, "-1"},
               {2, "4294967296"},
               {3, "32768"},
               {3, "-32769"},
               {4, "65536"},
               {5, "128"},
               {5, "-129"},
               {6, "256"},
               {6, "0x1"},
               {2, "1000000000000000000000000"},
               {2, "18446744073709551617"},
               {7, "1"}};
    for (const auto &c : bad) {
        ASSERT_EQ(cl_xmlSetNode(node, nullptr, nullptr, c.text), 0);
        int32_t value = -7;
        EXPECT_EQ(ZEX_XML_GetNodeValueEx(node, c.type, &value), ZEX_XML_ERR_PARAM) << c.text;
        EXPECT_EQ(value, -7);
    }
    cl_xmlFreeNode(node);
    node = make("a");
    int32_t value = 0;
    for (uint32_t type = 0; type < 7; ++type) {
        EXPECT_EQ(ZEX_XML_GetNodeValueEx(node, type, &value), ZEX_XML_ERR_PARAM) << "no value";
    }
    EXPECT_EQ(ZEX_XML_GetAttrValueEx(node, nullptr, "x", 1, &value), ZEX_XML_ERR_NOT_FOUND);
    cl_xmlFreeNode(node);
}

TEST(XmlDom, NumbersWritten) {
    const int32_t minus = -1;
    const char *expected[] = {"true", "-1", "4294967295", "-1", "65535", "255", "255"};
    XML_Node *node = make("a");
    for (uint32_t type = 0; type < 7; ++type) {
        EXPECT_EQ(ZEX_XML_SetNodeValueEx(node, type, &minus), 0);
        EXPECT_STREQ(node->value, expected[type]);
    }
    EXPECT_EQ(ZEX_XML_SetNodeValueEx(node, 7, &minus), ZEX_XML_ERR_PARAM);
    int16_t number = -300;
    EXPECT_EQ(ZEX_XML_SetAttrValueEx(node, "p", "x", 7, &number), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(node->first_attribute, nullptr) << "nothing is linked on failure";
    EXPECT_EQ(ZEX_XML_SetAttrValueEx(node, "p", "x", 3, &number), 0);
    EXPECT_EQ(ZEX_XML_GetAttrValueEx(node, "p", "x", 3, &++number), 0);
    EXPECT_EQ(number, -300);
    number = 0;
    EXPECT_EQ(ZEX_XML_SetAttrValueEx(node, "p", "x", 3, &number), 0);
    EXPECT_EQ(dump(node), "a[p|x=0]='255'");
    cl_xmlFreeNode(node);
}

TEST(XmlDom, Clones) {
    XML_Node *root = parse("<r><p:a x='1' q:y=''><b>1</b><c/></p:a><d/></r><s/>");
    XML_Node *copy = nullptr;
    EXPECT_EQ(cl_xmlCloneNode(root->first_child, &copy), 0);
    EXPECT_EQ(dump(copy), "p|a[x=1][q|y]{b='1' c}");
    EXPECT_TRUE(links_agree(copy));
    EXPECT_EQ(cl_xmlAppendChildNode(root, copy), 0);
    EXPECT_EQ(cl_xmlCloneNodeSelf(root->first_child, &copy), 0);
    cl_xmlFreeNode(root);
    EXPECT_EQ(dump(copy), "p|a[x=1][q|y]");
    cl_xmlFreeNode(copy);
    EXPECT_EQ(cl_xmlCloneNode(nullptr, &copy), 1);
    EXPECT_EQ(cl_xmlCloneNodeSelf(copy, nullptr), 1);
}

// Runs a call with the n-th allocation refused, for every n until it succeeds.
template <typename Call>
void refuse_each_allocation(Call call) {
    int32_t result = -1;
    for (int allowed = 0; result != 0; ++allowed) {
        fail_xml_memory_after(allowed);
        result = call(allowed);
        fail_xml_memory_after(-1);
    }
}

TEST(XmlDom, MemoryRunsOut) {
    XML_Node *root = parse("<r x='1'><a y='2'>3</a></r>");
    XML_Node *made = nullptr;
    const std::string before = dump(root);
    refuse_each_allocation([&](int) { return cl_xmlCloneNode(root, &made); });
    EXPECT_EQ(dump(made), before);
    refuse_each_allocation([&](int) {
        int32_t result = cl_xmlSetNode(made, "p", "n", "v");
        EXPECT_EQ(dump(made).starts_with("p|n"), result == 0);
        return result;
    });
    refuse_each_allocation([&](int) { return cl_xmlAddAttr(made, nullptr, "new", "1"); });
    refuse_each_allocation([&](int) { return cl_xmlSetAttr(made, nullptr, "new", "2"); });
    const uint8_t number = 3;
    refuse_each_allocation(
        [&](int) { return ZEX_XML_SetAttrValueEx(made, nullptr, "n", 6, &number); });
    EXPECT_EQ(dump(made), "p|n[x=1][new=2][n=3]='v'{a[y=2]='3'}");
    cl_xmlFreeNode(made);
    std::string big = "<r a='" + std::string(100000, 'x') + "' ";
    for (int i = 0; i < 100; ++i) {
        big += "b" + std::to_string(i) + "='' ";
    }
    refuse_each_allocation([&](int allowed) {
        int32_t result = cl_xmlParse((big + "/>").c_str(), &made);
        EXPECT_TRUE(result == 0 || result == (allowed == 0 ? 7 : 16)) << result;
        return result;
    });
    cl_xmlFreeNode(made);
    cl_xmlFreeNode(root);
}

}  // namespace
