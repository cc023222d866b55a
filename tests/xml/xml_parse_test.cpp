#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "hearth/xml.h"
#include "support/faults.h"
#include "xml/xml_dump.h"

namespace {

using hearth::test::arm_fault;
using hearth::test::disarm_fault;
using hearth::test::dump_parsed;
using hearth::test::Fault;
using hearth::test::kReads;

struct Case {
    const char *text;
    const char *tree;
};

void expect_trees(std::initializer_list<Case> cases) {
    for (const Case &c : cases) {
        EXPECT_EQ(dump_parsed(c.text), c.tree) << c.text;
    }
}

void expect_refused(std::initializer_list<const char *> texts) {
    for (const char *text : texts) {
        EXPECT_EQ(dump_parsed(text), "refused 16") << text;
    }
}

TEST(XmlParse, PrologTaken) {
    expect_trees({
        {"<?xml version=\"1.0\"?><a/>", "a"},
        {"  \xEF\xBB\xBF<?xml version=\"1.0\"?><a/>", "a"},
        {"\xEF\xBB\xBF <a/>", "a"},
        {" \n<?xml ?>\t<a/>", "a"},
        {"<?xml\tversion?><a/>", "a"},
        {"<?xml-style ?><a/>", "a"},
        {"<?><a/>", "a"},
        {"<!-- x --><?pi?><!DOCTYPE a><!-- y --><a/>", "a"},
        {"<!DOCTYPE a [<!ELEMENT a (b)> <!-- \" > \" -->]>\n<a/>", "a"},
        {"<!DOCTYPE a '<>'><a/>", "a"},
        {"<a/><!-- c --> \n<?pi?>", "a"},
    });
}

TEST(XmlParse, PrologRefused) {
    expect_refused({
        "\xEF\xBB\xBF <?xml version=\"1.0\"?><a/>",
        "<?XML version=\"1.0\"?><a/>",
        "<?xml?><a/>",
        "<?xml version='1.0'",
        "<a/><?xml ?>",
        "<a/><?xMl?>",
        "<!-- c --><?xml ?><a/>",
        "<?pi",
        "<!doctype a><a/>",
        "<!DOCTYPE a [<!ELEMENT a>",
        "<!DOCTYPE a \"><a/>",
        "<!DOCTYPE a '<'><a/>",
        "<!DOCTYPE a><!DOCTYPE a><a/>",
        "<!DOCTYPE a>",
        "<?xml ?>",
        " ",
        "\xEF\xBB\xBF",
        "<!-- c -->",
        "x<a/>",
    });
}

TEST(XmlParse, Comments) {
    expect_trees({
        {"<a><!----></a>", "a"},
        {"<a><!-- -- --></a>", "a"},
        {"<a><!-- c -->text<!-- d --></a>", "a='text'"},
        {"<a <!-- c --> b <!-- c --> = <!-- c --> '1' <!-- c --> />", "a[b=1]"},
        {"< <!-- c --> a>x</ <!-- c --> a>", "a='x'"},
    });
    expect_refused({"<a><!--></a>", "<a><!---></a>", "<a><!-----></a>", "<a><!-- x ---></a>",
                    "<a><!-- x", "<a>te<!-- c -->xt</a>", "<a/ <!-- c -->>", "<a></a <!-- c -->>",
                    "<a>x</a <!-- c -->>"});
}

TEST(XmlParse, Structure) {
    expect_trees({
        {"<a/>", "a"},
        {"<a></a>", "a"},
        {"<a/><b/>", "a b"},
        {"<a><b/><c>1</c><d></d></a>", "a{b c='1' d}"},
        {"<a><b><c/></b></a>\n", "a{b{c}}"},
        {"<a>1</a>   \n", "a='1'"},
        {"<a>x</a ><b></b \n>", "a='x' b"},
        {"<  a / ><b/>", "refused 16"},
        {"<a />", "a"},
        // Only the latest node counts as open or not.
        {"<a><b>x</b>", "a{b='x'}"},
        {"<a><b/>", "a{b}"},
        {"<a><b></b>", "a{b}"},
        {"<a><b/></a><c/>", "a{b} c"},
        // Tokens that are no names serve as names.
        {"<=/>", "="},
        {"<\"/>", "\""},
        {"<a-b.c/d]e;[:x/>", "a-b.c/d]e;[|x"},
        {"<a-></a->", "a-"},
        {"<!a>x</!a>", "!a='x'"},
    });
    expect_refused(
        {"<a>",          "<a><b>",         "<a",           "<",         "<a/",
         "</a>",         "<a/></a>",       "<a></b>",      "<ab></a>",  "<a></ab>",
         "<a></>",       "<a><b></a></b>", "<a><b/>x</a>", "<a></a>x",  "<a>1</a>trailing",
         "<a>x<b/></a>", "<a>x",           "<a>x</a",      "<a></a",    "<a><![CDATA[x]]></a>",
         "<a>>x</a>",    "<a>/></a>",      "<a]]>x</a>",   "<a-->x</a>"});
}

TEST(XmlParse, Values) {
    expect_trees({
        {"<a>   x  </a>", "a='   x  '"},
        {"<a>\n  x</a>", "a='  x'"},
        {"<a> \n x</a>", "a=' x'"},
        {"<a>\t x\n</a>", "a=' x\n'"},
        {"<a>   </a>", "a"},
        {"<a> <!-- c --> x</a>", "a=' x'"},
        {"<a>/usr/bin</a>", "a='/usr/bin'"},
        {"<a>]]>x</a>", "a=']]>x'"},
        {"<a>-->x</a>", "a='-->x'"},
        {"<a>=\"x'</a>", "a='=\"x''"},
        {"<a>x > y</a>", "a='x > y'"},
        {"<a>\xC3\xA9\x01</a>", "a='\xC3\xA9\x01'"},
        // Behind a text the name in the end tag may be cut short.
        {"<abc>x</ab>", "abc='x'"},
        {"<x:abc>1</x:ab>", "x|abc='1'"},
    });
    expect_refused({"<ab>x</abc>", "<a>x</b>", "<a>x</>", "<a>x</a x>", "<a>x</a/>"});
}

TEST(XmlParse, References) {
    expect_trees({
        {"<a>&amp;&lt;&gt;&apos;&quot;</a>", "a='&<>'\"'"},
        {"<a>&#65;&#x42;&#xe9;&#xE9;</a>", "a='AB\xC3\xA9\xC3\xA9'"},
        {"<a>&#x9;&#10;&#13;&#32;</a>", "a='\t\n\r '"},
        {"<a>&#x7F;&#x80;&#x7FF;</a>", "a='\x7F\xC2\x80\xDF\xBF'"},
        {"<a>&#x800;&#xD7FF;&#xE000;</a>", "a='\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80'"},
        {"<a>&#xFFFD;&#x10000;&#x10FFFF;</a>", "a='\xEF\xBF\xBD\xF0\x90\x80\x80\xF4\x8F\xBF\xBF'"},
        {"<a>&#0000000000000000065;</a>", "a='A'"},
        {"<a b='&quot;' c&#58;d=\"&#39;\"/>", "a[b=\"][c:d=']"},
        {"<a&amp;b/>", "a&b"},
        {"<a&amp;b></a&b>", "a&b"},
        {"<a&amp;amp;:b/>", "a&|b"},
    });
    expect_refused({"<a>&unknown;</a>",
                    "<a>x & y</a>",
                    "<a>&#0;</a>",
                    "<a>&#xD800;</a>",
                    "<a>&#xDFFF;</a>",
                    "<a>&#xFFFE;</a>",
                    "<a>&#xFFFF;</a>",
                    "<a>&#x110000;</a>",
                    "<a>&#99999999999999999999;</a>",
                    "<a>&#x1F;</a>",
                    "<a>&#X41;</a>",
                    "<a>&#65</a>",
                    "<a>&#;</a>",
                    "<a>&#x;</a>",
                    "<a>&#6A;</a>",
                    "<a>&#x4G;</a>",
                    "<a>&AMP;</a>",
                    "<a>&amp</a>;",
                    "<a>&</a>",
                    "<a b='&am'p;=''/>",
                    "<a&b/>",
                    "<a&amp;b></a&amp;b>",
                    "<a &b='1'/>"});
}

TEST(XmlParse, Prefixes) {
    expect_trees({
        {"<x:a>1</x:a>", "x|a='1'"},
        {"<x:a/>", "x|a"},
        {"<x:a y:b='1'></x:a>", "x|a[y|b=1]"},
        {"<x:y:z/>", "x|y:z"},
        {"<x::/>", "x|:"},
        {"<a x:b=\"1\" y:b=\"2\" b='3'/>", "a[x|b=1][y|b=2][b=3]"},
        // An element that is left open keeps its name whole.
        {"<x:a><y:b/>", "x:a{y|b}"},
    });
    expect_refused({"<:a/>", "<a:/>", "<:/>", "<:a></:a>", "<:a>x</:a>", "<a :b='1'/>",
                    "<a b:='1'/>", "<x:a></a>", "<a x:b='1' x:b='2'/>"});
}

TEST(XmlParse, Attributes) {
    expect_trees({
        {"<a b='1' c=\"2\"/>", "a[b=1][c=2]"},
        {"<a\nb\t=\r' x '\n></a>", "a[b= x ]"},
        {"<a b='' c=\"\"/>", "a[b][c]"},
        {"<a b='<x>\"'>y</a>", "a[b=<x>\"]='y'"},
        {"<a b='1'>x</a>", "a[b=1]='x'"},
        {"<a b='1'><c/></a>", "a[b=1]{c}"},
        {"<a ==\"1\"/>", "a[==1]"},
        // A failure of any attribute but the first passes, and the parser goes on where it
        // stopped.
        {"<a x='1' b c='2'/>", "a[x=1][c=2]"},
        {"<a x='1' b= c='2'/>", "a[x=1][c=2]"},
        {"<a x='1' b \"='2'/>", "a[x=1][\"=2]"},
        {"<a x='1' b >='2'/>", "a[x=1][>=2]"},
        {"<a x='1' y='2' <='3'/>", "a[x=1][y=2][<=3]"},
        {"<a x='1' y='2' =t</a>", "a[x=1][y=2]='t'"},
        {"<a x='1' y='2'= t</a>", "a[x=1][y=2]=' t'"},
    });
    expect_refused({"<a b=\"1\"c=\"2\"/>",
                    "<a b='1' b='2'/>",
                    "<a b/>",
                    "<a b=/>",
                    "<a b=1/>",
                    "<a b='1/>",
                    "<a b='1\"/>",
                    "<a b c='2'/>",
                    "<a b='1' c/>",
                    "<a b='1' <c/>",
                    "<a b='1'",
                    "<a b='1' ",
                    "<a x='1' b=c d='2'/>",
                    "<a x='1' b='&' c='2'/>",
                    "<a x='1' x='2' c='3'/>",
                    "<a b='1' / >",
                    "<a b='1'=t</a>",
                    "<a 'b'='1'/>",
                    "<a x='1' y='2'",
                    "<a x='1' b"});
}

TEST(XmlParse, ArgumentsAndOutTree) {
    XML_Node mark{};
    XML_Node *tree = &mark;
    EXPECT_EQ(ZEX_XML_Parse(nullptr, &tree), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(ZEX_XML_Parse("", &tree), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(ZEX_XML_Parse("<a/>", nullptr), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(cl_xmlParse("", &tree), 1);
    EXPECT_EQ(ZEX_XML_Parse("<a>", &tree), ZEX_XML_ERR_SYNTAX);
    EXPECT_EQ(tree, nullptr);
}

TEST(XmlParse, Files) {
    struct File {
        std::string content;
        int32_t result;
    };
    for (const File &file : {File{"<a/>", 0}, File{std::string("<a/>\0<", 6), 0}, File{"", 16},
                             File{std::string("\0<a/>", 5), 16}, File{"<a>", 16}}) {
        std::ofstream("/data/x.xml", std::ios::binary) << file.content;
        XML_Node mark{};
        XML_Node *tree = &mark;
        EXPECT_EQ(cl_xmlParseFile("/data/x.xml", &tree), file.result);
        if (file.result == 0) {
            EXPECT_STREQ(tree->name, "a");
            cl_xmlFreeNode(tree);
        } else {
            EXPECT_EQ(tree, &mark) << "the tree is left alone";
        }
    }
    XML_Node *tree = nullptr;
    EXPECT_EQ(cl_xmlParseFile("/data/none.xml", &tree), 18);
    EXPECT_EQ(cl_xmlParseFile("/data", &tree), 20) << "a directory can be opened and not read";
    EXPECT_EQ(cl_xmlParseFile(nullptr, &tree), 1);
    EXPECT_EQ(cl_xmlParseFile("/data/x.xml", nullptr), 1);
}

// Names and texts are read in words; none of their ends may be missed or passed.
TEST(XmlParse, NamesAndTextsOfEveryLength) {
    for (size_t n = 1; n <= 18; ++n) {
        std::string name(n, 'n');
        std::string text(n * 7 % 19, 't');
        std::string whole = "<" + name + ">" + text + "</" + name + ">";
        XML_Node *tree = nullptr;
        ASSERT_EQ(cl_xmlParse(whole.c_str(), &tree), 0) << whole;
        EXPECT_EQ(tree->name, name);
        EXPECT_EQ(tree->value == nullptr ? "" : tree->value, text);
        cl_xmlFreeNode(tree);
        for (size_t length = 0; length < whole.size(); ++length) {
            EXPECT_NE(cl_xmlParse(whole.substr(0, length).c_str(), &tree), 0) << length;
        }
        for (size_t i = 0; i < n; ++i) {
            std::string other = whole;
            other[whole.size() - 2 - i] = 'm';
            EXPECT_NE(cl_xmlParse(other.c_str(), &tree), 0) << other;
            // The file ends at the zero byte, whatever stands behind it.
            other[whole.size() - 2 - i] = '\0';
            std::ofstream("/data/x.xml", std::ios::binary) << other + std::string(20, '>');
            EXPECT_EQ(cl_xmlParseFile("/data/x.xml", &tree), 16) << n << " " << i;
        }
    }
}

TEST(XmlParse, FilesThatReadBadly) {
    std::ofstream("/data/x.xml") << "<a>" << std::string(5000, 'x') << "</a>";
    XML_Node *tree = nullptr;
    arm_fault(Fault::kShort, kReads, 1, 0);
    EXPECT_EQ(cl_xmlParseFile("/data/x.xml", &tree), 0) << "the rest is read too";
    EXPECT_TRUE(disarm_fault());
    ASSERT_NE(tree, nullptr);
    EXPECT_EQ(strlen(tree->value), 5000u);
    cl_xmlFreeNode(tree);
    arm_fault(Fault::kFail, kReads, 1, EIO);
    EXPECT_EQ(cl_xmlParseFile("/data/x.xml", &tree), 20);
    EXPECT_TRUE(disarm_fault());
    arm_fault(Fault::kFail, kReads, 1, EINTR);
    EXPECT_EQ(cl_xmlParseFile("/data/x.xml", &tree), 0);
    EXPECT_TRUE(disarm_fault());
    cl_xmlFreeNode(tree);
    EXPECT_EQ(cl_xmlParseFile("/proc/self/status", &tree), 20) << "no end can be found";
}

std::string repeat(const std::string &text, size_t count) {
    std::string all;
    for (size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

std::string numbered(const std::string &before, const std::string &after, size_t count) {
    std::string all;
    for (size_t i = 0; i < count; ++i) {
        all += before + std::to_string(i) + after;
    }
    return all;
}

// Each of these would take minutes in time that grows with the square, and overflow the stack with
// a step of recursion for a level.
TEST(XmlParse, HugeDocumentsTakeLinearTime) {
#if defined(__SANITIZE_ADDRESS__)
    constexpr size_t kCount = 20000;  // its string functions read each text to the end
#else
    constexpr size_t kCount = 100000;
#endif
    struct Huge {
        std::string text;
        int32_t result;
    };
    const Huge documents[] = {
        {repeat("<a>", kCount) + repeat("</a>", kCount), 0},
        {repeat("<a b='1'>", kCount) + "x</a>", 0},
        {repeat("<a>", kCount) + "<b/>", 0},
        {repeat("<a>", kCount), 16},
        {"<a " + numbered("n", "='' ", kCount) + "/>", 0},
        {"<a " + numbered("n", "='' ", kCount) + "n0=''/>", 16},
        {"<a " + numbered("n", " ", kCount) + "/>", 16},
        {"<a x='1' " + numbered("n", " m='' ", kCount) + "/>", 16},
        {"<r><a " + numbered("n", "='' ", kCount) + "/>" +
             repeat("<b " + numbered("n", "='' ", 20) + "/>", kCount / 20),
         0},
        {repeat("<a/>", kCount), 0},
        {repeat("<!-- -", kCount), 16},
        {"<a>" + repeat("<!-- -->", kCount) + "</a>", 0},
        {"<a>" + repeat("&#9;", kCount) + "</a>", 0},
        {"<a>" + repeat("<?", kCount) + "</a>", 16},
        {"<" + repeat("a:", kCount) + "b>x</" + repeat("a:", kCount) + "b>", 0},
        {"<a x='' " + repeat("b= \" ", kCount) + "/>", 16},
        {"<!DOCTYPE " + repeat("<", kCount), 16},
    };
    for (const Huge &document : documents) {
        XML_Node *tree = nullptr;
        EXPECT_EQ(cl_xmlParse(document.text.c_str(), &tree), document.result)
            << document.text.substr(0, 40);
        XML_Node *copy = nullptr;
        char *text = nullptr;
        if (document.result == 0) {
            EXPECT_EQ(cl_xmlCloneNode(tree, &copy), 0);
            EXPECT_EQ(cl_xmlTransform(copy, &text), 0);
        }
        cl_xmlFreeMem(text);
        cl_xmlFreeNode(copy);
        cl_xmlFreeNode(tree);
    }
}

}  // namespace
