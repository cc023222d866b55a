#include <string.h>

#include "crypto/cl_sha256_block.h"
#include "crypto/digest.h"
#include "crypto/vectors.h"
#include "hearth/cl_md5.h"
#include "hearth/cl_sha256.h"

namespace {

using hearth::test::Bytes;
using hearth::test::bytes_of;
using hearth::test::load_vectors;
using hearth::test::VectorRow;

// Feeds the message in pieces of one size.
template <typename Context, auto Init, auto Update, auto Final, size_t Size>
Bytes in_pieces(const Bytes &message, size_t piece) {
    Context context;
    EXPECT_EQ(Init(&context), 0);
    for (size_t at = 0; at < message.size(); at += piece) {
        size_t length = std::min(piece, message.size() - at);
        EXPECT_EQ(Update(&context, message.data() + at, static_cast<uint32_t>(length)), 0);
    }
    Bytes digest(Size);
    EXPECT_EQ(Final(&context, digest.data()), 0);
    Context wiped{};
    EXPECT_EQ(memcmp(&context, &wiped, sizeof context), 0);
    return digest;
}

constexpr auto md5_in_pieces =
    in_pieces<cl_md5_context, cl_md5_init, cl_md5_update, cl_md5_final, 16>;
constexpr auto sha256_in_pieces =
    in_pieces<Sha256_Context, Sha256_Init, Sha256_Update, Sha256_Final, 32>;

TEST(Digest, Md5GivesThePublishedValues) {
    for (const VectorRow &row : load_vectors("md5.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0]);
        Bytes message = bytes_of(row.fields[0]);
        Bytes expected = bytes_of(row.fields[1]);
        Bytes digest(16);
        message.reserve(1);  // data() of the empty message is a place, too
        EXPECT_EQ(
            cl_md5Stream(message.data(), static_cast<uint32_t>(message.size()), digest.data()), 0);
        EXPECT_EQ(digest, expected);
        for (size_t piece : {1, 7, 63, 64, 65, 200}) {
            EXPECT_EQ(md5_in_pieces(message, piece), expected) << piece;
        }
    }
}

TEST(Digest, Sha256GivesThePublishedValues) {
    for (const VectorRow &row : load_vectors("sha256.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0]);
        Bytes message = bytes_of(row.fields[0]);
        Bytes expected = bytes_of(row.fields[1]);
        Bytes digest(32);
        EXPECT_EQ(sha256(message.data(), static_cast<uint32_t>(message.size()), digest.data()), 0);
        EXPECT_EQ(digest, expected);
        for (size_t piece : {1, 7, 63, 64, 65, 200}) {
            EXPECT_EQ(sha256_in_pieces(message, piece), expected) << piece;
        }
    }
}

// The code for processors without instructions of their own, which the library may not pick here.
TEST(Digest, PortableSha256GivesThePublishedValues) {
    for (const VectorRow &row : load_vectors("sha256.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0]);
        Bytes message = bytes_of(row.fields[0]);
        Sha256_Context context;
        Sha256_Init(&context);
        hearth::digest_update(&context, message.data(), message.size(),
                              hearth::sha256_blocks_portable);
        hearth::digest_pad(&context, hearth::sha256_blocks_portable,
                           [](uint8_t *to, uint64_t bits) {
                               hearth::store_be32(to, static_cast<uint32_t>(bits >> 32));
                               hearth::store_be32(to + 4, static_cast<uint32_t>(bits));
                           });
        Bytes digest(32);
        for (size_t i = 0; i < 8; i++) {
            hearth::store_be32(&digest[4 * i], context.state[i]);
        }
        EXPECT_EQ(digest, bytes_of(row.fields[1]));
    }
}

TEST(Digest, RefusesBadArguments) {
    uint8_t digest[32] = {};
    cl_md5_context md5;
    Sha256_Context sha;
    EXPECT_EQ(cl_md5Stream(nullptr, 1, digest), 1);
    EXPECT_EQ(cl_md5Stream("a", 1, nullptr), 1);
    EXPECT_EQ(cl_md5_init(nullptr), 1);
    cl_md5_init(&md5);
    EXPECT_EQ(cl_md5_update(&md5, nullptr, 1), 1);
    EXPECT_EQ(cl_md5_update(&md5, nullptr, 0), 0);
    EXPECT_EQ(cl_md5_final(&md5, nullptr), 1);
    EXPECT_EQ(sha256("a", 0, digest), -1);
    EXPECT_EQ(sha256(nullptr, 1, digest), -1);
    EXPECT_EQ(sha256("a", 1, nullptr), -1);
    Sha256_Init(&sha);
    EXPECT_EQ(Sha256_Update(&sha, nullptr, 1), -1);
    EXPECT_EQ(Sha256_Final(&sha, nullptr), -1);
}

}  // namespace
