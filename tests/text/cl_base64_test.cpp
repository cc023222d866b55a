#include "hearth/cl_base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/faults.h"

namespace {

using Result = std::pair<uint32_t, std::string>;

Result encode(const std::string &bytes, uint32_t capacity) {
    std::string text(capacity, '!');
    uint32_t length = capacity;
    uint32_t status = cl_base64Encode(reinterpret_cast<const uint8_t *>(bytes.data()),
                                      static_cast<uint32_t>(bytes.size()), text.data(), &length);
    return {status, text.substr(0, status == 0 ? length : 0)};
}

Result decode(const std::string &text, uint32_t capacity) {
    std::string bytes(capacity, '!');
    uint32_t length = capacity;
    uint32_t status =
        cl_base64Decode(text.c_str(), 1, reinterpret_cast<uint8_t *>(bytes.data()), &length);
    return {status, bytes.substr(0, status == 0 ? length : 0)};
}

// The vectors of RFC 4648.
TEST(Base64, PublishedVectorsBothWays) {
    const std::pair<const char *, const char *> kVectors[] = {
        {"f", "Zg=="},         {"fo", "Zm8="},         {"foo", "Zm9v"}, {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"}, {"Ma", "TWE="},
    };
    for (auto [bytes, text] : kVectors) {
        uint32_t characters = static_cast<uint32_t>(strlen(text));
        uint32_t count = static_cast<uint32_t>(strlen(bytes));
        EXPECT_EQ(encode(bytes, characters), (Result{0, text}));
        EXPECT_EQ(encode(bytes, characters - 1), (Result{6, ""}));
        EXPECT_EQ(decode(text, count), (Result{0, bytes}));
        EXPECT_EQ(decode(text, count - 1), (Result{6, ""}));
    }
}

// The model takes the bits one by one.
std::string model(const std::string &bytes) {
    const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bits, text;
    for (unsigned char byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            bits += (byte >> bit & 1) != 0 ? '1' : '0';
        }
    }
    bits.resize((bits.size() + 5) / 6 * 6, '0');
    for (size_t at = 0; at < bits.size(); at += 6) {
        text += kDigits[std::stoul(bits.substr(at, 6), nullptr, 2)];
    }
    return text + std::string((4 - text.size() % 4) % 4, '=');
}

TEST(Base64, EveryLengthBothWays) {
    std::mt19937 random(3);
    for (uint32_t size = 1; size < 400; ++size) {
        std::string bytes(size, 0);
        for (char &byte : bytes) {
            byte = static_cast<char>(random());
        }
        std::string text = model(bytes);
        ASSERT_EQ(encode(bytes, static_cast<uint32_t>(text.size())), (Result{0, text}));
        ASSERT_EQ(decode(text, size), (Result{0, bytes}));
        // The count of the decoder says nothing: the text ends at its first padding.
        ASSERT_EQ(decode(text + (size % 3 == 0 ? "" : "TWFu"), size), (Result{0, bytes}));
    }
}

TEST(Base64, ReadsWhatItGets) {
    struct Case {
        const char *text;
        uint32_t status;
        std::string bytes;
    };
    const Case kCases[] = {
        {"", CL_TEXT_BASE64_FAILED, ""},
        {"TWF", CL_TEXT_BASE64_FAILED, ""},
        {"TW=", CL_TEXT_BASE64_FAILED, ""},
        {"=TWFu", CL_TEXT_BASE64_FAILED, ""},
        {"TWFuT", 0, "Man"},
        {"TWFuTWF", 0, "Man"},
        {"TWF=u", 0, "Ma"},
        {"TWFu=", 0, "Ma"},
        {"TWFu==", 0, "M"},
        // One character outside the alphabet shifts its group by six bits, and no other.
        {"TW-uTWFu", 0, std::string("\x01\x35\xaeMan", 6)},
        {"\x80WFuTWFu", 0, std::string("\x01\x61\x6eMan", 6)},
    };
    const std::string lead(48, 'x');
    for (const Case &c : kCases) {
        EXPECT_EQ(decode(c.text, 100), (Result{c.status, c.bytes})) << c.text;
        if (c.status == 0) {
            EXPECT_EQ(decode(model(lead) + c.text, 100), (Result{0, lead + c.bytes})) << c.text;
        }
    }
}

TEST(Base64, BadArgumentsAndNoMemory) {
    uint8_t bytes[4] = {'M', 'a', 'n', 0};
    char text[5] = "TWFu";
    uint32_t length = 9;
    EXPECT_EQ(cl_base64Encode(nullptr, 1, text, &length), 1u);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(cl_base64Encode(bytes, 1, text, &length), 6u);
    EXPECT_EQ(cl_base64Encode(bytes, 0, text, &length), 1u);
    EXPECT_EQ(cl_base64Encode(bytes, 1, nullptr, &length), 1u);
    EXPECT_EQ(cl_base64Encode(bytes, 1, text, nullptr), 1u);
    EXPECT_EQ(cl_base64Decode(text, 0, bytes, &length), 1u);
    EXPECT_EQ(cl_base64Decode(text, 4, bytes, &length), 6u);
    std::string many(600, 'M');
    std::string room(800, 0);
    uint32_t status = CL_TEXT_BASE64_FAILED;
    int failed = hearth::test::for_each_fault(
        hearth::test::Fault::kFail, hearth::test::kAllocations, ENOMEM, [&] {
            EXPECT_EQ(status, CL_TEXT_BASE64_FAILED);
            length = 800;
            status = cl_base64Encode(reinterpret_cast<uint8_t *>(many.data()), 600, room.data(),
                                     &length);
        });
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(status, 0u);
}

}  // namespace
