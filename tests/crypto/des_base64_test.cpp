#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "hearth/cl_des.h"
#include "support/faults.h"

namespace {

TEST(DesBase64, TextsOfEveryLengthGoThereAndBack) {
    for (int32_t mode : {1, 2}) {
        for (size_t length = 1; length <= 70; length++) {
            std::string text;
            for (size_t i = 0; i < length; i++) {
                text += static_cast<char>('!' + (i * 11 + length) % 90);
            }
            size_t needed = (length + 7) / 8 * 16 + 1;
            std::string packed(needed, '#');
            auto size = static_cast<uint32_t>(needed);
            EXPECT_EQ(des_encrypt_base64(text.c_str(), packed.data(), size - 1, mode), 6);
            ASSERT_EQ(des_encrypt_base64(text.c_str(), packed.data(), size, mode), 0);
            size_t cipher_bytes = (length + 7) / 8 * 8 + 1;
            EXPECT_EQ(strlen(packed.c_str()), (cipher_bytes + 2) / 3 * 4);
            std::string back(length + 1, '#');
            size = static_cast<uint32_t>(length);
            ASSERT_EQ(des_decrypt_base64(packed.c_str(), back.data(), size + 1, mode), 0);
            EXPECT_STREQ(back.c_str(), text.c_str());
            back.assign(length + 1, '#');
            ASSERT_EQ(des_decrypt_base64(packed.c_str(), back.data(), size, mode), 0);
            EXPECT_EQ(back, text + "#");
            EXPECT_EQ(des_decrypt_base64(packed.c_str(), back.data(), size - 1, mode), 6);
        }
    }
}

TEST(DesBase64, ModesDiffer) {
    char one[64], two[64], back[64];
    ASSERT_EQ(des_encrypt_base64("a text", one, sizeof one, 1), 0);
    ASSERT_EQ(des_encrypt_base64("a text", two, sizeof two, 2), 0);
    EXPECT_STRNE(one, two);
    ASSERT_EQ(des_decrypt_base64(one, back, sizeof back, 2), 0);
    EXPECT_STRNE(back, "a text");
}

TEST(DesBase64, RefusesBadTexts) {
    char out[64];
    EXPECT_EQ(des_encrypt_base64(nullptr, out, sizeof out, 1), 1);
    EXPECT_EQ(des_encrypt_base64("a", nullptr, 64, 1), 1);
    EXPECT_EQ(des_encrypt_base64("a", out, sizeof out, 3), 1);
    EXPECT_EQ(des_encrypt_base64("", out, sizeof out, 1), 1);
    EXPECT_EQ(des_encrypt_base64("a", out, 0, 1), 6);
    EXPECT_EQ(des_decrypt_base64(nullptr, out, sizeof out, 1), 1);
    EXPECT_EQ(des_decrypt_base64("QUJD", nullptr, 64, 1), 1);
    EXPECT_EQ(des_decrypt_base64("QUJD", out, sizeof out, 0), 1);
    for (const char *text : {"", "=", "QUJ", "QUJDQUJD", "@@@"}) {
        EXPECT_EQ(des_decrypt_base64(text, out, sizeof out, 1), -1) << text;
    }
}

TEST(DesBase64, FailsWithEachAllocation) {
    using namespace hearth::test;
    char packed[64], back[64];
    std::vector<int32_t> results;
    for_each_fault(Fault::kFail, kAllocations, ENOMEM, [&] {
        results.push_back(des_encrypt_base64("a text", packed, sizeof packed, 1));
    });
    // The cipher text and its padding; what the coding takes is its own affair.
    ASSERT_GE(results.size(), 3u);
    EXPECT_EQ(results[0], 7);
    EXPECT_EQ(results[1], 7);
    EXPECT_EQ(results.back(), 0);
    results.clear();
    for_each_fault(Fault::kFail, kAllocations, ENOMEM,
                   [&] { results.push_back(des_decrypt_base64(packed, back, sizeof back, 1)); });
    ASSERT_GE(results.size(), 2u);
    EXPECT_EQ(results[0], 7);
    EXPECT_EQ(results.back(), 0);
    EXPECT_STREQ(back, "a text");
}

}  // namespace
