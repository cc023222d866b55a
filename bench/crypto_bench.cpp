// Ciphers, digests and checksums beside the libraries that a user would otherwise pick. Peers with
// several paths take the one they find best for the processor; "portable" is ours without the
// processor's instructions.
// packages: libssl-dev nettle-dev libmbedtls-dev zlib1g-dev libdeflate-dev libosmocore-dev
// link: crypto nettle mbedcrypto z deflate osmocore
// again: portable OPENSSL_ia32cap=:~0x20000000 ^sha256/(hearth_portable|openssl)/
#define OPENSSL_SUPPRESS_DEPRECATED
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <mbedtls/des.h>
#include <nettle/cbc.h>
#include <nettle/des.h>
#include <nettle/md5.h>
#include <nettle/sha2.h>
#include <openssl/des.h>
#include <openssl/md5.h>
#include <openssl/sha.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "crypto/cl_sha256_block.h"
#include "crypto/crc32.h"
#include "crypto/digest.h"
#include "hearth/cl_crc.h"
#include "hearth/cl_md5.h"
#include "hearth/cl_sha256.h"
#include "hearth/desc.h"

extern "C" {
#include <osmocom/core/crc16.h>
}

namespace {

// A message, and room for what is made of it.
struct Work {
    std::vector<uint8_t> data;
    std::vector<uint8_t> out;

    explicit Work(size_t size) : data(size), out(size + 64) {
        for (size_t i = 0; i < size; i++) {
            data[i] = static_cast<uint8_t>(i * 131 + 17);
        }
    }
    uint32_t size() const { return static_cast<uint32_t>(data.size()); }
};

using Run = void (*)(Work &work);

void measure(benchmark::State &state, Run run) {
    Work work(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        run(work);
        benchmark::DoNotOptimize(work.out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

constexpr uint8_t kKey[24] = {1,   35,  69,  103, 137, 171, 205, 239, 35,  69,  103, 137,
                              171, 205, 239, 1,   69,  103, 137, 171, 205, 239, 1,   35};
constexpr uint8_t kIv[8] = {18, 52, 86, 120, 144, 171, 205, 239};

template <int32_t Encrypt>
void des_hearth(Work &work) {
    static const DES_CBC_Context ready = [] {
        DES_CBC_Context context;
        DES_CBCInit(&context, kKey, kIv, Encrypt);
        return context;
    }();
    DES_CBC_Context context = ready;
    benchmark::DoNotOptimize(
        DES_CBCUpdate(&context, work.out.data(), work.data.data(), work.size()));
}

DES_cblock &to_block(const uint8_t *bytes) {
    static DES_cblock block;
    memcpy(block, bytes, sizeof block);
    return block;
}

template <int32_t Encrypt>
void des_openssl(Work &work) {
    static const DES_key_schedule schedule = [] {
        DES_key_schedule made;
        DES_set_key_unchecked(&to_block(kKey), &made);
        return made;
    }();
    DES_cblock iv;
    memcpy(iv, kIv, sizeof iv);
    DES_ncbc_encrypt(work.data.data(), work.out.data(), static_cast<long>(work.data.size()),
                     const_cast<DES_key_schedule *>(&schedule), &iv, Encrypt);
}

template <bool Encrypt>
void des_nettle(Work &work) {
    static const des_ctx ready = [] {
        des_ctx context;
        des_set_key(&context, kKey);
        return context;
    }();
    uint8_t iv[8];
    memcpy(iv, kIv, sizeof iv);
    auto *cipher = reinterpret_cast<nettle_cipher_func *>(Encrypt ? des_encrypt : des_decrypt);
    (Encrypt
         ? cbc_encrypt(&ready, cipher, 8, iv, work.data.size(), work.out.data(), work.data.data())
         : cbc_decrypt(&ready, cipher, 8, iv, work.data.size(), work.out.data(), work.data.data()));
}

template <int Mode>
void des_mbedtls(Work &work) {
    static mbedtls_des_context ready = [] {
        mbedtls_des_context context;
        mbedtls_des_init(&context);
        (Mode == MBEDTLS_DES_ENCRYPT ? mbedtls_des_setkey_enc : mbedtls_des_setkey_dec)(&context,
                                                                                        kKey);
        return context;
    }();
    uint8_t iv[8];
    memcpy(iv, kIv, sizeof iv);
    mbedtls_des_crypt_cbc(&ready, Mode, work.data.size(), iv, work.data.data(), work.out.data());
}

template <int32_t Encrypt>
void des3_hearth(Work &work) {
    static const DES3_CBC_Context ready = [] {
        DES3_CBC_Context context;
        DES3_CBCInit(&context, kKey, kIv, Encrypt);
        return context;
    }();
    DES3_CBC_Context context = ready;
    benchmark::DoNotOptimize(
        DES3_CBCUpdate(&context, work.out.data(), work.data.data(), work.size()));
}

template <int32_t Encrypt>
void des3_openssl(Work &work) {
    struct Schedules {
        DES_key_schedule keys[3];
    };
    static Schedules schedules = [] {
        Schedules made;
        for (size_t i = 0; i < 3; i++) {
            DES_set_key_unchecked(&to_block(kKey + 8 * i), &made.keys[i]);
        }
        return made;
    }();
    DES_cblock iv;
    memcpy(iv, kIv, sizeof iv);
    DES_ede3_cbc_encrypt(work.data.data(), work.out.data(), static_cast<long>(work.data.size()),
                         &schedules.keys[0], &schedules.keys[1], &schedules.keys[2], &iv, Encrypt);
}

template <bool Encrypt>
void des3_nettle(Work &work) {
    static const des3_ctx ready = [] {
        des3_ctx context;
        des3_set_key(&context, kKey);
        return context;
    }();
    uint8_t iv[8];
    memcpy(iv, kIv, sizeof iv);
    auto *cipher = reinterpret_cast<nettle_cipher_func *>(Encrypt ? des3_encrypt : des3_decrypt);
    (Encrypt
         ? cbc_encrypt(&ready, cipher, 8, iv, work.data.size(), work.out.data(), work.data.data())
         : cbc_decrypt(&ready, cipher, 8, iv, work.data.size(), work.out.data(), work.data.data()));
}

void md5_hearth(Work &work) {
    benchmark::DoNotOptimize(cl_md5Stream(work.data.data(), work.size(), work.out.data()));
}

void md5_openssl(Work &work) {
    MD5(work.data.data(), work.data.size(), work.out.data());
}

void md5_nettle(Work &work) {
    md5_ctx context;
    nettle_md5_init(&context);
    nettle_md5_update(&context, work.data.size(), work.data.data());
    nettle_md5_digest(&context, 16, work.out.data());
}

void sha256_hearth(Work &work) {
    benchmark::DoNotOptimize(sha256(work.data.data(), work.size(), work.out.data()));
}

void sha256_portable(Work &work) {
    Sha256_Context context;
    Sha256_Init(&context);
    hearth::digest_update(&context, work.data.data(), work.data.size(),
                          hearth::sha256_blocks_portable);
    hearth::digest_pad(&context, hearth::sha256_blocks_portable,
                       [](uint8_t *to, uint64_t bits) { hearth::store_native(to, bits); });
    memcpy(work.out.data(), context.state, sizeof context.state);
}

// OPENSSL_ia32cap=:~0x20000000 in the environment takes the processor's instructions for it from
// OpenSSL: then compare with "portable".
void sha256_openssl(Work &work) {
    SHA256(work.data.data(), work.data.size(), work.out.data());
}

void sha256_nettle(Work &work) {
    sha256_ctx context;
    nettle_sha256_init(&context);
    nettle_sha256_update(&context, work.data.size(), work.data.data());
    nettle_sha256_digest(&context, 32, work.out.data());
}

void crc32_hearth(Work &work) {
    uint32_t crc = 0;
    cl_crc32(work.data.data(), work.size(), &crc);
    work.out[0] = static_cast<uint8_t>(crc);
}

void crc32_portable(Work &work) {
    work.out[0] = static_cast<uint8_t>(hearth::crc32_tables(0, work.data.data(), work.data.size()));
}

void crc32_zlib(Work &work) {
    work.out[0] = static_cast<uint8_t>(crc32(0, work.data.data(), work.size()));
}

void crc32_libdeflate(Work &work) {
    work.out[0] = static_cast<uint8_t>(libdeflate_crc32(0, work.data.data(), work.data.size()));
}

void crc16_hearth(Work &work) {
    work.out[0] = static_cast<uint8_t>(cl_CRC16(work.data.data(), work.size()));
}

void crc16_osmocore(Work &work) {
    work.out[0] = static_cast<uint8_t>(osmo_crc16(0, work.data.data(), work.data.size()));
}

struct Entry {
    const char *name;
    Run run;
    std::vector<int64_t> sizes;
};

const std::vector<int64_t> kMessages = {64, 8192};
const std::vector<int64_t> kBuffers = {32, 64, 1024, 65536};

const std::vector<Entry> kEntries = {
    {"des_cbc_encrypt/hearth", des_hearth<1>, kMessages},
    {"des_cbc_encrypt/openssl", des_openssl<DES_ENCRYPT>, kMessages},
    {"des_cbc_encrypt/nettle", des_nettle<true>, kMessages},
    {"des_cbc_encrypt/mbedtls", des_mbedtls<MBEDTLS_DES_ENCRYPT>, kMessages},
    {"des_cbc_decrypt/hearth", des_hearth<0>, kMessages},
    {"des_cbc_decrypt/openssl", des_openssl<DES_DECRYPT>, kMessages},
    {"des_cbc_decrypt/nettle", des_nettle<false>, kMessages},
    {"des_cbc_decrypt/mbedtls", des_mbedtls<MBEDTLS_DES_DECRYPT>, kMessages},
    {"des3_cbc_encrypt/hearth", des3_hearth<1>, kMessages},
    {"des3_cbc_encrypt/openssl", des3_openssl<DES_ENCRYPT>, kMessages},
    {"des3_cbc_encrypt/nettle", des3_nettle<true>, kMessages},
    {"des3_cbc_decrypt/hearth", des3_hearth<0>, kMessages},
    {"des3_cbc_decrypt/openssl", des3_openssl<DES_DECRYPT>, kMessages},
    {"des3_cbc_decrypt/nettle", des3_nettle<false>, kMessages},
    {"md5/hearth", md5_hearth, kMessages},
    {"md5/openssl", md5_openssl, kMessages},
    {"md5/nettle", md5_nettle, kMessages},
    {"sha256/hearth", sha256_hearth, kMessages},
    {"sha256/openssl", sha256_openssl, kMessages},
    {"sha256/nettle", sha256_nettle, kMessages},
    {"sha256/hearth_portable", sha256_portable, kMessages},
    {"crc32/hearth", crc32_hearth, kBuffers},
    {"crc32/hearth_portable", crc32_portable, kBuffers},
    {"crc32/zlib", crc32_zlib, kBuffers},
    {"crc32/libdeflate", crc32_libdeflate, kBuffers},
    {"crc16/hearth", crc16_hearth, kBuffers},
    {"crc16/osmocore", crc16_osmocore, kBuffers},
};

[[maybe_unused]] const bool kRegistered = [] {
    for (const Entry &entry : kEntries) {
        auto *registered = benchmark::RegisterBenchmark(entry.name, measure, entry.run);
        for (int64_t size : entry.sizes) {
            registered->Arg(size);
        }
    }
    return true;
}();

}  // namespace
