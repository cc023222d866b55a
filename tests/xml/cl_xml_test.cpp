#include <gtest/gtest.h>

#include "hearth/xml.h"
#include "support/xml_memory.h"

namespace {

TEST(ClXml, ErrorNumbers) {
    const int32_t numbers[] = {1, 14, 15, 7, 16, 17, 18, 19, 20, 6, -1};
    EXPECT_EQ(cl_getErrorType(0), 0);
    for (uint32_t i = 0; i < 11; ++i) {
        EXPECT_EQ(cl_getErrorType(0x1F000701 + i), numbers[i]) << i;
    }
    EXPECT_EQ(cl_getErrorType(12345), -1);
    EXPECT_EQ(cl_getErrorType(0x1F000700), -1);
}

TEST(ClXml, ReplaceToQuot) {
    char *out = nullptr;
    EXPECT_EQ(cl_xmlReplaceToQuot("a\"b&c'd<e>\xC3\xA9", &out), 0);
    EXPECT_STREQ(out, "a&quot;b&amp;c&apos;d&lt;e&gt;\xC3\xA9");
    cl_xmlFreeMem(out);
    EXPECT_EQ(cl_xmlReplaceToQuot("", &out), 0);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(cl_xmlReplaceToQuot(nullptr, &out), 1);
    EXPECT_EQ(cl_xmlReplaceToQuot("x", nullptr), 1);
    hearth::test::fail_xml_memory_after(1);
    EXPECT_EQ(cl_xmlReplaceToQuot((std::string(1000, 'x') + "&&&&&&").c_str(), &out), 7);
    hearth::test::fail_xml_memory_after(-1);
    EXPECT_EQ(std::string(out), std::string(1000, 'x') + "&amp;&amp;&amp;&amp;");
    cl_xmlFreeMem(out);
    cl_xmlFreeMem(nullptr);
}

TEST(ClXml, FunctionsThatDoNothing) {
    EXPECT_EQ(ZEX_XML_RegMemFunc(malloc, calloc, free, realloc), 0);
    EXPECT_EQ(ZEX_XML_RegMemFunc(malloc, calloc, nullptr, realloc), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(ZEX_XML_RegDebugFunc(nullptr), ZEX_XML_ERR_NOT_FOUND);
    EXPECT_STREQ(ZEP_XML_GetVersion(), "V1.01");
}

}  // namespace
