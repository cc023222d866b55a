#include "hearth/cl_crc.h"

#include "crypto/crc32.h"
#include "crypto/vectors.h"

namespace {

using hearth::test::Bytes;
using hearth::test::bytes_of;
using hearth::test::load_vectors;
using hearth::test::VectorRow;

TEST(Crc, GivesThePublishedValues) {
    for (const VectorRow &row : load_vectors("crc.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0]);
        Bytes message = bytes_of(row.fields[0]);
        auto length = static_cast<uint32_t>(message.size());
        auto crc32 = static_cast<uint32_t>(std::stoul(row.fields[1], nullptr, 16));
        auto crc16 = static_cast<uint16_t>(std::stoul(row.fields[2], nullptr, 16));
        EXPECT_EQ(cl_CRC16(message.data(), length), crc16);
        EXPECT_EQ(~hearth::crc32_tables(~0u, message.data(), length), crc32);
        // In one piece, and cut in two at places that leave another alignment and another rest.
        for (uint32_t cut : {0u, 1u, length / 2, length - 1}) {
            uint32_t crc = 0;
            EXPECT_EQ(cl_crc32(message.data(), cut, &crc), 0);
            EXPECT_EQ(cl_crc32(message.data() + cut, length - cut, &crc), 0);
            EXPECT_EQ(crc, crc32) << cut;
        }
    }
}

TEST(Crc, RefusesNull) {
    uint32_t crc = 7;
    EXPECT_EQ(cl_crc32(nullptr, 0, &crc), 1);
    EXPECT_EQ(crc, 7u);
    EXPECT_EQ(cl_crc32("a", 1, nullptr), 1);
    EXPECT_EQ(cl_CRC16(nullptr, 4), 0);
}

// The first word of the table that is not the polynomial's own, and its last.
TEST(Crc, ShowsItsTable) {
    EXPECT_EQ(cl_get_crc_table()[1], 0x77073096u);
    EXPECT_EQ(cl_get_crc_table()[128], 0xedb88320u);
    EXPECT_EQ(cl_get_crc_table()[255], 0x2d02ef8du);
}

}  // namespace
