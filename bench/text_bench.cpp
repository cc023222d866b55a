// Text conversions beside libosmocore, glibc's iconv, ICU and OpenSSL.
// packages: libosmocore-dev libicu-dev libssl-dev
// link: osmogsm osmocore icuuc crypto
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <unicode/ustring.h>

#include <string>
#include <vector>

#include "hearth/cl_7bit.h"
#include "hearth/cl_base64.h"
#include "hearth/cl_convertor.h"

extern "C" {
#include <osmocom/gsm/gsm_utils.h>
}

namespace {

using State = benchmark::State;

constexpr uint32_t kMessage = 160;
constexpr uint32_t kLong = 65536;

std::string latin(uint32_t size) {
    const std::string line = "Please call 0123456789 before 18:30, or write to the box office. ";
    std::string text;
    while (text.size() < size) {
        text += line;
    }
    text.resize(size);
    return text;
}

// Cyrillic with Latin words and blanks between.
std::u16string mixed(uint32_t size) {
    const std::u16string line = u"Пожалуйста, перезвоните до 18:30 — Hearth, 42 €. 東京 ";
    std::u16string text;
    while (text.size() < size) {
        text += line;
    }
    text.resize(size);
    return text;
}

std::u16string widened(const std::string &text) {
    return {text.begin(), text.end()};
}

std::string utf8_of(const std::u16string &text) {
    std::string utf8(text.size() * 3 + 1, '\0');
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8(utf8.data(), static_cast<int32_t>(utf8.size()), &length, text.data(),
                static_cast<int32_t>(text.size()), &error);
    utf8.resize(static_cast<size_t>(length));
    return utf8;
}

// GSM 7-bit: text to packed octets and back.

void gsm7_encode_hearth(State &state) {
    std::string text = latin(kMessage);
    uint8_t septets[2 * kMessage + 1], octets[kMessage];
    for (auto _ : state) {
        uint32_t count = kMessage, length = kMessage;
        cl_asciiTo7BIT(text.data(), kMessage, septets, &count);
        cl_7bitEncode(septets, count, octets, &length);
        benchmark::DoNotOptimize(octets);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(gsm7_encode_hearth)->Name("gsm7 encode 160/hearth");

void gsm7_encode_osmocore(State &state) {
    std::string text = latin(kMessage);
    uint8_t octets[kMessage];
    for (auto _ : state) {
        int length = 0;
        gsm_7bit_encode_n(octets, sizeof octets, text.c_str(), &length);
        benchmark::DoNotOptimize(octets);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(gsm7_encode_osmocore)->Name("gsm7 encode 160/libosmocore");

std::vector<uint8_t> packed_message() {
    std::string text = latin(kMessage);
    std::vector<uint8_t> octets(kMessage);
    int length = 0;
    gsm_7bit_encode_n(octets.data(), octets.size(), text.c_str(), &length);
    octets.resize(static_cast<size_t>(length));
    return octets;
}

void gsm7_decode_hearth(State &state) {
    std::vector<uint8_t> octets = packed_message();
    uint8_t septets[kMessage + 1];
    char text[kMessage + 1];
    for (auto _ : state) {
        uint32_t count = kMessage, length = kMessage;
        cl_7bitDecode(octets.data(), static_cast<uint32_t>(octets.size()), septets, &count);
        cl_7bitToASCII(septets, count, text, &length);
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(gsm7_decode_hearth)->Name("gsm7 decode 160/hearth");

void gsm7_decode_osmocore(State &state) {
    std::vector<uint8_t> octets = packed_message();
    char text[kMessage + 1];
    for (auto _ : state) {
        gsm_7bit_decode_n(text, sizeof text, octets.data(), kMessage);
        benchmark::DoNotOptimize(text);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(gsm7_decode_osmocore)->Name("gsm7 decode 160/libosmocore");

// UCS-2 and UTF-8.

class Iconv {
  public:
    Iconv(const char *to, const char *from) : converter_(iconv_open(to, from)) {}
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;
    ~Iconv() { iconv_close(converter_); }

    void convert(const void *from, size_t size, void *to, size_t capacity) {
        char *in = static_cast<char *>(const_cast<void *>(from));
        char *out = static_cast<char *>(to);
        iconv(converter_, &in, &size, &out, &capacity);
    }

  private:
    iconv_t converter_;
};

void to_utf8_hearth(State &state, const std::u16string &text) {
    std::vector<char> utf8(text.size() * 3 + 1);
    const uint16_t *units = reinterpret_cast<const uint16_t *>(text.data());
    for (auto _ : state) {
        uint32_t length = static_cast<uint32_t>(utf8.size() - 1);
        cl_ucs2ToUTF8(units, static_cast<uint32_t>(text.size()), utf8.data(), &length);
        benchmark::DoNotOptimize(utf8.data());
        benchmark::ClobberMemory();
    }
}

void to_utf8_iconv(State &state, const std::u16string &text) {
    std::vector<char> utf8(text.size() * 3 + 1);
    Iconv converter("UTF-8", "UTF-16LE");
    for (auto _ : state) {
        converter.convert(text.data(), text.size() * 2, utf8.data(), utf8.size());
        benchmark::DoNotOptimize(utf8.data());
        benchmark::ClobberMemory();
    }
}

void to_utf8_icu(State &state, const std::u16string &text) {
    std::vector<char> utf8(text.size() * 3 + 1);
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strToUTF8(utf8.data(), static_cast<int32_t>(utf8.size()), &length, text.data(),
                    static_cast<int32_t>(text.size()), &error);
        benchmark::DoNotOptimize(utf8.data());
        benchmark::ClobberMemory();
    }
}

void from_utf8_hearth(State &state, const std::u16string &text) {
    std::string utf8 = utf8_of(text);
    std::vector<uint16_t> units(text.size() + 1);
    for (auto _ : state) {
        uint32_t length = static_cast<uint32_t>(text.size());
        cl_utf8ToUCS2(utf8.data(), static_cast<uint32_t>(utf8.size()), units.data(), &length);
        benchmark::DoNotOptimize(units.data());
        benchmark::ClobberMemory();
    }
}

void from_utf8_iconv(State &state, const std::u16string &text) {
    std::string utf8 = utf8_of(text);
    std::vector<uint16_t> units(text.size() + 1);
    Iconv converter("UTF-16LE", "UTF-8");
    for (auto _ : state) {
        converter.convert(utf8.data(), utf8.size(), units.data(), units.size() * 2);
        benchmark::DoNotOptimize(units.data());
        benchmark::ClobberMemory();
    }
}

void from_utf8_icu(State &state, const std::u16string &text) {
    std::string utf8 = utf8_of(text);
    std::vector<UChar> units(text.size() + 1);
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, utf8.data(),
                      static_cast<int32_t>(utf8.size()), &error);
        benchmark::DoNotOptimize(units.data());
        benchmark::ClobberMemory();
    }
}

// Hexadecimal and Base64.

std::vector<uint8_t> octets_of(int64_t size) {
    std::vector<uint8_t> bytes(static_cast<size_t>(size));
    uint32_t seed = 1;
    for (uint8_t &byte : bytes) {
        seed = seed * 1103515245 + 12345;
        byte = static_cast<uint8_t>(seed >> 16);
    }
    return bytes;
}

void to_hex_hearth(State &state, uint32_t size) {
    std::vector<uint8_t> bytes = octets_of(size);
    std::vector<char> text(2 * size + 2);
    for (auto _ : state) {
        uint32_t length = 2 * size + 1;
        cl_bytesToString(bytes.data(), size, text.data(), &length);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

void to_hex_openssl(State &state, uint32_t size) {
    std::vector<uint8_t> bytes = octets_of(size);
    std::vector<char> text(2 * size + 2);
    for (auto _ : state) {
        size_t length = 0;
        OPENSSL_buf2hexstr_ex(text.data(), text.size(), &length, bytes.data(), size, '\0');
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

std::vector<char> hex_of(uint32_t size) {
    std::vector<char> text(2 * size + 2);
    uint32_t length = 2 * size + 1;
    cl_bytesToString(octets_of(size).data(), size, text.data(), &length);
    return text;
}

void from_hex_hearth(State &state, uint32_t size) {
    std::vector<char> text = hex_of(size);
    std::vector<uint8_t> bytes(size);
    for (auto _ : state) {
        uint32_t length = size;
        cl_stringToBytes(text.data(), 2 * size, bytes.data(), &length);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
}

void from_hex_openssl(State &state, uint32_t size) {
    std::vector<char> text = hex_of(size);
    std::vector<uint8_t> bytes(size);
    for (auto _ : state) {
        size_t length = 0;
        OPENSSL_hexstr2buf_ex(bytes.data(), bytes.size(), &length, text.data(), '\0');
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
}

void to_base64_hearth(State &state, uint32_t size) {
    std::vector<uint8_t> bytes = octets_of(size);
    std::vector<char> text(size * 4 / 3 + 8);
    for (auto _ : state) {
        uint32_t length = static_cast<uint32_t>(text.size());
        cl_base64Encode(bytes.data(), size, text.data(), &length);
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

void to_base64_openssl(State &state, uint32_t size) {
    std::vector<uint8_t> bytes = octets_of(size);
    std::vector<unsigned char> text(size * 4 / 3 + 8);
    for (auto _ : state) {
        EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(size));
        benchmark::DoNotOptimize(text.data());
        benchmark::ClobberMemory();
    }
}

std::vector<char> base64_of(uint32_t size) {
    std::vector<char> text(size * 4 / 3 + 8);
    uint32_t length = static_cast<uint32_t>(text.size());
    cl_base64Encode(octets_of(size).data(), size, text.data(), &length);
    text.resize(length);
    text.push_back('\0');
    return text;
}

void from_base64_hearth(State &state, uint32_t size) {
    std::vector<char> text = base64_of(size);
    std::vector<uint8_t> bytes(size + 4);
    for (auto _ : state) {
        uint32_t length = static_cast<uint32_t>(bytes.size());
        cl_base64Decode(text.data(), 1, bytes.data(), &length);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
}

void from_base64_openssl(State &state, uint32_t size) {
    std::vector<char> text = base64_of(size);
    std::vector<uint8_t> bytes(size + 4);
    for (auto _ : state) {
        EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char *>(text.data()),
                        static_cast<int>(text.size() - 1));
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
}

// Every conversion at both sizes.
bool register_all() {
    auto add = [](const std::string &work, const char *peer, auto run) {
        benchmark::RegisterBenchmark((work + "/" + peer).c_str(), run);
    };
    for (uint32_t size : {kMessage, kLong}) {
        std::string characters = std::to_string(size);
        for (auto [kind, text] :
             {std::pair<const char *, std::u16string>{"ASCII ", widened(latin(size))},
              {"mixed ", mixed(size)}}) {
            auto with = [text = text](auto run) { return [=](State &state) { run(state, text); }; };
            std::string to = "UCS-2 to UTF-8 " + std::string(kind) + characters;
            add(to, "hearth", with(to_utf8_hearth));
            add(to, "icu", with(to_utf8_icu));
            add(to, "iconv", with(to_utf8_iconv));
            std::string from = "UTF-8 to UCS-2 " + std::string(kind) + characters;
            add(from, "hearth", with(from_utf8_hearth));
            add(from, "icu", with(from_utf8_icu));
            add(from, "iconv", with(from_utf8_iconv));
        }
        auto with = [size](auto run) { return [=](State &state) { run(state, size); }; };
        add("hexadecimal encode " + characters, "hearth", with(to_hex_hearth));
        add("hexadecimal encode " + characters, "openssl", with(to_hex_openssl));
        add("hexadecimal decode " + characters, "hearth", with(from_hex_hearth));
        add("hexadecimal decode " + characters, "openssl", with(from_hex_openssl));
        add("Base64 encode " + characters, "hearth", with(to_base64_hearth));
        add("Base64 encode " + characters, "openssl", with(to_base64_openssl));
        add("Base64 decode " + characters, "hearth", with(from_base64_hearth));
        add("Base64 decode " + characters, "openssl", with(from_base64_openssl));
    }
    return true;
}

const bool kRegistered = register_all();

}  // namespace
