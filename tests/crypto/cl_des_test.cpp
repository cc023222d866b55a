#include "hearth/cl_des.h"

#include <stdlib.h>
#include <string.h>

#include <map>

#include "crypto/vectors.h"
#include "hearth/desc.h"
#include "support/faults.h"

namespace {

using hearth::test::Bytes;
using hearth::test::bytes_of;
using hearth::test::load_vectors;
using hearth::test::pattern;
using hearth::test::VectorRow;

struct Schedules {
    uint32_t encrypting[CL_DES3_SCHEDULE];
    uint32_t decrypting[CL_DES3_SCHEDULE];
};

Schedules triple(const Bytes &key) {
    Schedules s;
    if (key.size() == 16) {
        EXPECT_EQ(cl_des3Set2keys(&key[0], &key[8], s.encrypting, s.decrypting), 0);
    } else {
        EXPECT_EQ(cl_des3Set3keys(&key[0], &key[8], &key[16], s.encrypting, s.decrypting), 0);
    }
    return s;
}

// Runs a message through one of the functions with an in-out length.
template <typename Key>
Bytes run(int32_t (*function)(const Key *, const uint8_t *, uint32_t, uint8_t *, uint32_t *),
          const Key *key, const Bytes &in) {
    Bytes out(in.size() + 7);
    auto length = static_cast<uint32_t>(in.size());
    EXPECT_EQ(function(key, in.data(), length, out.data(), &length), 0);
    out.resize(length);
    return out;
}

// Runs a message through a context in pieces of the given number of blocks, twice with a restart
// between.
template <typename Context, auto Init, auto Update, auto Restart, int Success>
Bytes run_context(const Bytes &key, const Bytes &iv, bool encrypt, const Bytes &in, size_t blocks) {
    Context context;
    Init(&context, key.data(), iv.data(), encrypt ? 2 : 0);
    Bytes out(in.size());
    for (int round = 0; round < 2; round++) {
        memcpy(out.data(), in.data(), in.size());
        for (size_t at = 0; at < in.size(); at += 8 * blocks) {
            auto length = static_cast<uint32_t>(std::min(8 * blocks, in.size() - at));
            // The second round works in place.
            const uint8_t *from = round == 0 ? in.data() : out.data();
            EXPECT_EQ(Update(&context, out.data() + at, from + at, length), Success);
        }
        Restart(&context);
    }
    return out;
}

constexpr auto des_cbc =
    run_context<DES_CBC_Context, DES_CBCInit, DES_CBCUpdate, DES_CBCRestart, 1>;
constexpr auto desx_cbc =
    run_context<DESX_CBC_Context, DESX_CBCInit, DESX_CBCUpdate, DESX_CBCRestart, 1>;
constexpr auto des3_cbc =
    run_context<DES3_CBC_Context, DES3_CBCInit, DES3_CBCUpdate, DES3_CBCRestart, 0>;

Bytes joined(Bytes first, const Bytes &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

void check_ecb(const VectorRow &row, const Bytes &key, const Bytes &plain, const Bytes &cipher) {
    if (row.fields[0] == "des-ecb") {
        EXPECT_EQ(run(cl_desECBEncrypt, key.data(), plain), cipher);
        EXPECT_EQ(run(cl_desECBDecrypt, key.data(), cipher), plain);
        return;
    }
    Schedules s = triple(key);
    EXPECT_EQ(run(cl_des3ECBEncrypt, s.encrypting, plain), cipher);
    EXPECT_EQ(run(cl_des3ECBDecrypt, s.decrypting, cipher), plain);
    uint8_t block[8];
    EXPECT_EQ(cl_desCrypt(s.encrypting, CL_DES3_SCHEDULE, plain.data(), block), 0);
    EXPECT_EQ(memcmp(block, cipher.data(), 8), 0);
}

TEST(Des, GivesThePublishedValues) {
    const std::map<std::string, decltype(&des_cbc)> kContexts = {
        {"des-cbc", &des_cbc}, {"desx-cbc", &desx_cbc}, {"des-ede3-cbc", &des3_cbc}};
    for (const VectorRow &row : load_vectors("des.txt")) {
        SCOPED_TRACE(row.title + ": " + row.fields[0] + " " + row.fields[1] + " " + row.fields[3]);
        Bytes key = bytes_of(row.fields[1]);
        Bytes iv = bytes_of(row.fields[2]);
        Bytes plain = bytes_of(row.fields[3]);
        Bytes cipher = bytes_of(row.fields[4]);
        if (iv.empty()) {
            check_ecb(row, key, plain, cipher);
            continue;
        }
        auto context = *kContexts.at(row.fields[0]);
        for (size_t blocks : {1, 3, 100}) {
            EXPECT_EQ(context(key, iv, true, plain, blocks), cipher) << blocks;
            EXPECT_EQ(context(key, iv, false, cipher, blocks), plain) << blocks;
        }
        Bytes key_block = joined(key, iv);
        if (row.fields[0] == "des-cbc") {
            EXPECT_EQ(run(cl_desCBCEncrypt, key_block.data(), plain), cipher);
            EXPECT_EQ(run(cl_desCBCDecrypt, key_block.data(), cipher), plain);
        } else if (row.fields[0] == "des-ede3-cbc") {
            EXPECT_EQ(run(cl_Encrypt, key_block.data(), plain), cipher);
            EXPECT_EQ(run(cl_Decrypt, key_block.data(), cipher), plain);
        }
    }
}

TEST(Des, DecryptingScheduleIsTheEncryptingOneInReversedPairs) {
    Bytes key = bytes_of("0123456789abcdef");
    uint32_t alone[32], encrypting[32], decrypting[32];
    EXPECT_EQ(cl_desKeyScdu(key.data(), alone), 0);
    EXPECT_EQ(cl_desSetkey(key.data(), encrypting, decrypting), 0);
    for (size_t i = 0; i < 32; i++) {
        EXPECT_EQ(encrypting[i], alone[i]);
        EXPECT_EQ(decrypting[i ^ 1], encrypting[31 - i]);
    }
    uint8_t block[8] = {'N', 'o', 'w', ' ', 'i', 's', ' ', 't'};
    EXPECT_EQ(cl_desCrypt(encrypting, 32, block, block), 0);
    EXPECT_EQ(cl_desCrypt(decrypting, 32, block, block), 0);
    EXPECT_EQ(memcmp(block, "Now is t", 8), 0);
    // A schedule of any words stays within the tables.
    memset(alone, 0xff, sizeof alone);
    EXPECT_EQ(cl_desCrypt(alone, 32, block, block), 0);
    EXPECT_EQ(cl_desCrypt(alone, 33, block, block), 1);
    EXPECT_EQ(cl_desCrypt(nullptr, 32, block, block), 1);
    EXPECT_EQ(cl_desKeyScdu(nullptr, alone), 1);
    EXPECT_EQ(cl_desSetkey(key.data(), nullptr, alone), 1);
    EXPECT_EQ(cl_des3Set3keys(key.data(), key.data(), nullptr, encrypting, decrypting), 1);
}

TEST(Des, CbcWrappersPadWithZerosAndKeepThePadding) {
    Bytes key = pattern(32);
    Bytes plain = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    Bytes padded = plain;
    padded.resize(16);
    for (auto [encrypt, decrypt] :
         {std::pair(&cl_desCBCEncrypt, &cl_desCBCDecrypt), std::pair(&cl_Encrypt, &cl_Decrypt)}) {
        Bytes cipher = run(encrypt, key.data(), plain);
        EXPECT_EQ(cipher.size(), 16u);
        EXPECT_EQ(cipher, run(encrypt, key.data(), padded));
        EXPECT_EQ(run(decrypt, key.data(), cipher), padded);
        uint8_t out[16];
        uint32_t length = 8;
        EXPECT_EQ(encrypt(key.data(), plain.data(), 9, out, &length), 6);
        EXPECT_EQ(length, 8u);
        EXPECT_EQ(encrypt(key.data(), plain.data(), 0, out, &length), 1);
        EXPECT_EQ(length, 0u);
        for (int hole = 0; hole < 4; hole++) {
            length = 16;
            EXPECT_EQ(encrypt(hole == 0 ? nullptr : key.data(), hole == 1 ? nullptr : plain.data(),
                              9, hole == 2 ? nullptr : out, hole == 3 ? nullptr : &length),
                      1);
            EXPECT_EQ(length, hole == 3 ? 16u : 0u);
        }
        length = UINT32_MAX;
        EXPECT_EQ(encrypt(key.data(), plain.data(), UINT32_MAX - 3, out, &length), 1);
        length = 16;
        hearth::test::arm_fault(hearth::test::Fault::kFail, hearth::test::kAllocations, 1, ENOMEM);
        EXPECT_EQ(encrypt(key.data(), plain.data(), 9, out, &length), 7);
        EXPECT_TRUE(hearth::test::disarm_fault());
    }
}

TEST(Des, EcbTakesAPartialBlockFromTheOutput) {
    Bytes key = pattern(8);
    Bytes padded = joined(pattern(11), Bytes(5));
    Bytes cipher = run(cl_desECBEncrypt, key.data(), padded);
    Bytes in_place = joined(pattern(11), Bytes(5, 0xee));
    uint32_t length = 11;
    EXPECT_EQ(cl_desECBEncrypt(key.data(), in_place.data(), 11, in_place.data(), &length), 0);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(in_place, cipher);
    Bytes apart(16);  // its three bytes behind the first block are zero, not the input's
    length = 11;
    EXPECT_EQ(cl_desECBEncrypt(key.data(), padded.data(), 11, apart.data(), &length), 0);
    EXPECT_EQ(apart, run(cl_desECBEncrypt, key.data(), joined(pattern(8), Bytes(8))));
    // Decryption with the true length runs the whole last block.
    length = 11;
    EXPECT_EQ(cl_desECBDecrypt(key.data(), cipher.data(), 11, apart.data(), &length), 0);
    EXPECT_EQ(length, 16u);
    EXPECT_EQ(apart, padded);
}

TEST(Des, EcbRefusesBadArguments) {
    Bytes key = pattern(8), data = pattern(16);
    Schedules s = triple(pattern(24));
    uint32_t length = 7;
    EXPECT_EQ(cl_desECBEncrypt(key.data(), data.data(), 8, data.data(), &length), 6);
    EXPECT_EQ(cl_des3ECBDecrypt(s.decrypting, data.data(), 8, data.data(), &length), 6);
    EXPECT_EQ(cl_desECBDecrypt(key.data(), data.data(), 0, data.data(), &length), 1);
    EXPECT_EQ(cl_desECBDecrypt(nullptr, data.data(), 8, data.data(), &length), 1);
    EXPECT_EQ(cl_des3ECBEncrypt(nullptr, data.data(), 8, data.data(), &length), 1);
    EXPECT_EQ(cl_des3ECBEncrypt(s.encrypting, nullptr, 8, data.data(), &length), 1);
    EXPECT_EQ(cl_des3ECBEncrypt(s.encrypting, data.data(), 8, nullptr, &length), 1);
    EXPECT_EQ(cl_des3ECBEncrypt(s.encrypting, data.data(), 8, data.data(), nullptr), 1);
    EXPECT_EQ(length, 7u);
}

TEST(Des, UpdatesRefuseWhatIsNoWholeBlock) {
    Bytes key = pattern(24), data = pattern(16);
    DES_CBC_Context des;
    DESX_CBC_Context desx;
    DES3_CBC_Context des3;
    DES_CBCInit(&des, key.data(), data.data(), 1);
    DESX_CBCInit(&desx, key.data(), data.data(), 1);
    DES3_CBCInit(&des3, key.data(), data.data(), 1);
    EXPECT_EQ(DES_CBCUpdate(&des, data.data(), data.data(), 7), 1030);
    EXPECT_EQ(DESX_CBCUpdate(&desx, data.data(), data.data(), 9), 1030);
    EXPECT_EQ(DES3_CBCUpdate(&des3, data.data(), data.data(), 15), 1030);
    EXPECT_EQ(data, pattern(16));
    EXPECT_EQ(DES_CBCUpdate(&des, nullptr, nullptr, 0), 1);
    EXPECT_EQ(DES3_CBCUpdate(&des3, nullptr, nullptr, 0), 0);
    EXPECT_EQ(DES_CBCUpdate(&des, nullptr, data.data(), 8), 1030);
    EXPECT_EQ(DESX_CBCUpdate(nullptr, data.data(), data.data(), 8), 1030);
}

TEST(Des, InitialVectorsAreDigitsAndLowerCaseLetters) {
    srand(3);
    Bytes first(8), second(8);
    EXPECT_EQ(cl_desCBCGenerateIV(first.data()), 0);
    EXPECT_EQ(cl_desCBCGenerateIV(second.data()), 0);
    EXPECT_NE(first, second);
    for (uint8_t c : joined(first, second)) {
        EXPECT_TRUE((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) << int(c);
    }
    srand(3);
    EXPECT_EQ(cl_desCBCGenerateIV(second.data()), 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(cl_desCBCGenerateIV(nullptr), 1);
}

}  // namespace
