#include <gtest/gtest.h>

#include <string>

#include "hearth/xml.h"
#include "support/xml_memory.h"

namespace {

using hearth::test::fail_xml_memory_after;

TEST(XmlMembuf, GrowsAndShrinksByItsRule) {
    struct Step {
        uint32_t length, capacity, growth, size;  // before, and what is asked for
        uint32_t new_capacity;
    };
    for (const Step &s : {
             Step{0, 0, 1024, 0, 0},
             Step{0, 0, 1024, 1, 1024},
             Step{0, 0, 1024, 5000, 5000},
             Step{10, 100, 1024, 100, 100},
             Step{10, 100, 1024, 101, 1124},
             Step{10, 100, 1024, 5000, 5090},
             // Asked for less than there is, it shrinks when it spares more than one step.
             Step{2000, 3000, 1024, 1976, 3000},
             Step{2000, 3000, 1024, 1975, 2999},
             Step{2000, 3000, 1024, 2000, 3000},
             Step{2000, 3000, 1024, 100, 1124},
         }) {
        XML_Membuf buffer;
        XML_MembufInit(&buffer);
        buffer.growth = s.growth;
        if (s.capacity > 0) {
            buffer.data = static_cast<char *>(malloc(s.capacity + 1));
            memset(buffer.data, 'x', s.length);
            buffer.data[s.length] = '\0';
            buffer.length = s.length;
            buffer.capacity = s.capacity;
        }
        EXPECT_EQ(XML_MembufSetSize(&buffer, s.size), 0);
        EXPECT_EQ(buffer.capacity, s.new_capacity) << s.length << " " << s.size;
        EXPECT_EQ(buffer.length, std::min(s.length, s.new_capacity));
        EXPECT_EQ(buffer.data == nullptr ? 0 : strlen(buffer.data), buffer.length);
        XML_MembufDestroy(&buffer);
        EXPECT_EQ(buffer.data, nullptr);
        EXPECT_EQ(buffer.growth, 1024u);
    }
}

TEST(XmlMembuf, Editing) {
    XML_Membuf buffer;
    XML_MembufInit(&buffer);
    EXPECT_EQ(XML_MemBufAppendStr(&buffer, "bd"), 0);
    EXPECT_EQ(XML_MemBufInsert(&buffer, "c", 1, 1), 0);
    EXPECT_EQ(XML_MemBufInsert(&buffer, "a", 1, 0), 0);
    EXPECT_EQ(XML_MemBufAppend(&buffer, 'e'), 0);
    EXPECT_EQ(XML_MemBufInsert(&buffer, "x", 1, 6), ZEX_XML_ERR_PARAM);
    EXPECT_EQ(XML_MemBufInsert(&buffer, nullptr, 1, 0), 0);
    EXPECT_EQ(XML_MemBufInsert(&buffer, "x", 0, 0), 0);
    EXPECT_EQ(XML_MemBufAppendStr(&buffer, nullptr), 0);
    EXPECT_STREQ(buffer.data, "abcde");
    EXPECT_EQ(XML_MemBufAssign(&buffer, "xyz", 2), 0);
    EXPECT_STREQ(buffer.data, "xy");
    EXPECT_EQ(buffer.length, 2u);
    EXPECT_EQ(XML_MemBufAssignStr(&buffer, "longer than before"), 0);
    EXPECT_STREQ(buffer.data, "longer than before");
    EXPECT_EQ(XML_MemBufAssign(&buffer, nullptr, 9), 0);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.capacity, 0u);
    EXPECT_EQ(XML_MembufSetSize(&buffer, UINT32_MAX), ZEX_XML_ERR_NO_MEMORY)
        << "no terminator fits";
    EXPECT_EQ(XML_MemBufAppend(nullptr, 'x'), ZEX_XML_ERR_PARAM);
}

TEST(XmlMembuf, MemoryRunsOut) {
    XML_Membuf buffer;
    XML_MembufInit(&buffer);
    ASSERT_EQ(XML_MemBufAssignStr(&buffer, "text"), 0);
    fail_xml_memory_after(0);
    EXPECT_EQ(XML_MemBufAppendStr(&buffer, std::string(2000, 'x').c_str()), ZEX_XML_ERR_NO_MEMORY);
    fail_xml_memory_after(-1);
    EXPECT_STREQ(buffer.data, "text");
    EXPECT_EQ(buffer.capacity, 1024u);
    XML_MembufDestroy(&buffer);
}

}  // namespace
