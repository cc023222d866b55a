#include "hearth/cl_7bit.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include "text/iconv_text.h"

namespace {

using hearth::test::ucs2;
using hearth::test::Units;
using Bytes = std::vector<uint8_t>;

constexpr uint16_t kNone = 0xFFFF;

// The alphabets and the folding as characters, see tests/text/alphabets.txt.
struct Data {
    std::map<std::string, Units> tables;
    std::map<uint16_t, uint16_t> folded;
};

uint16_t named_character(const std::string &name) {
    static const std::map<std::string, uint16_t> kNames = {{"--", kNone}, {"SP", ' '},   {"LF", 10},
                                                           {"CR", 13},    {"ESC", 0x1B}, {"FF", 12},
                                                           {"GS", 0x1D}};
    auto found = kNames.find(name);
    return found != kNames.end() ? found->second : ucs2(name).at(0);
}

Data read_data() {
    Data data;
    std::ifstream file(HEARTH_SOURCE_DIR "/tests/text/alphabets.txt");
    std::string line, table;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string first, second, third, fourth;
        words >> first >> second >> third >> fourth;
        if (line.empty() || line.starts_with("# ")) {
            continue;
        }
        if (first == "fold") {
            for (uint16_t accented : ucs2(third)) {
                data.folded[accented] = static_cast<uint16_t>(second[0]);
            }
        } else if (first == "change") {
            data.tables[second][std::stoul(third, nullptr, 16)] = named_character(fourth);
        } else if (second.empty()) {
            table = first;
        } else {
            words = std::istringstream(line);
            while (words >> first) {
                data.tables[table].push_back(named_character(first));
            }
        }
    }
    return data;
}

const Data &data() {
    static const Data kData = read_data();
    return kData;
}

template <typename Unit, typename Call>
std::pair<uint32_t, std::vector<Unit>> run(size_t capacity, Call call) {
    std::vector<Unit> output(capacity + 1, 0x55);
    uint32_t length = static_cast<uint32_t>(capacity);
    uint32_t status = call(output.data(), &length);
    if (status != 0) {
        EXPECT_EQ(length, status == CL_TEXT_BAD_ARGUMENT ? 0 : capacity);
    } else {
        EXPECT_EQ(output.at(length), 0) << "terminator";
        output.resize(length);
    }
    return {status, output};
}

std::pair<uint32_t, Units> to_ucs2(const Bytes &septets, cl_7bitLanguage language,
                                   size_t capacity = 64) {
    return run<uint16_t>(capacity, [&](uint16_t *out, uint32_t *length) {
        return cl_7bitToUCS2Ex(septets.data(), static_cast<uint32_t>(septets.size()), out, length,
                               &language);
    });
}

std::pair<uint32_t, std::string> to_ascii(const Bytes &septets, cl_7bitLanguage language,
                                          size_t capacity = 64) {
    auto [status, text] = run<char>(capacity, [&](char *out, uint32_t *length) {
        return cl_7bitToASCIIEx(septets.data(), static_cast<uint32_t>(septets.size()), out, length,
                                &language);
    });
    return {status, std::string(text.begin(), text.end())};
}

struct LanguageCase {
    const char *base;
    const char *extension;
    uint32_t number;
    uint32_t locking;
    uint32_t shift;
    uint16_t ceiling;
};

// How the two directions number the languages. There is no Spanish base table.
constexpr LanguageCase kLanguages[] = {
    {"default", "default-ext", 0, 0, 0, 0x20AC}, {"default", "default-ext", 1, 2, 4, 0x20AC},
    {"turkish", "turkish-ext", 2, 1, 1, 0x20AC}, {"portuguese", "portuguese-ext", 3, 3, 3, 0x20BC},
    {"default", "spanish-ext", 4, 0, 2, 0x20BC},
};

template <typename Unit>
void expect_reading(const std::pair<uint32_t, Unit> &got, uint32_t value, uint32_t ceiling,
                    const std::string &where) {
    if (value == kNone) {
        EXPECT_EQ(got.first, 2u) << where;
        return;
    }
    ASSERT_EQ(got.first, 0u) << where;
    ASSERT_EQ(got.second.size(), 1u) << where;
    using Element = typename Unit::value_type;
    EXPECT_EQ(got.second[0], static_cast<Element>(value > ceiling ? ' ' : value)) << where;
}

TEST(SevenBit, EverySeptetReadsAsThePublishedTablesSay) {
    for (const LanguageCase &language : kLanguages) {
        const Units &base = data().tables.at(language.base);
        const Units &extension = data().tables.at(language.extension);
        ASSERT_EQ(base.size(), 128u);
        ASSERT_EQ(extension.size(), 128u);
        cl_7bitLanguage locked{{language.locking}, {language.shift}};
        cl_7bitLanguage national{{language.number}, {2}};
        cl_7bitLanguage plain{{language.number}, {~2u}};
        for (uint32_t i = 0; i < 128; ++i) {
            uint8_t septet = static_cast<uint8_t>(i);
            std::string where = std::string(language.extension) + " " + std::to_string(i);
            Bytes pair{0x1B, septet};
            uint32_t fallen = extension[i] == kNone ? base[i] : extension[i];
            expect_reading(to_ucs2(pair, locked), fallen, language.ceiling, where);
            expect_reading(to_ascii(pair, national), extension[i], 255, where);
            if (septet == 0x1B) {
                continue;
            }
            expect_reading(to_ucs2({septet}, locked), base[i], language.ceiling, where);
            expect_reading(to_ascii({septet}, national), base[i], 255, where);
            expect_reading(to_ascii({septet}, plain), data().tables.at("default")[i], 255, where);
        }
    }
}

Bytes expected_septets(uint16_t character, const char *extension) {
    for (const char *name : {"default", extension}) {
        const Units &table = data().tables.at(name);
        auto found = std::find(table.begin(), table.end(), character);
        if (character != kNone && found != table.end()) {
            uint8_t septet = static_cast<uint8_t>(found - table.begin());
            return name == extension ? Bytes{0x1B, septet} : Bytes{septet};
        }
    }
    return {};
}

// Encoding never looks into a national base table, whatever the flags say.
TEST(SevenBit, EveryCharacterIsWrittenByTheDefaultBaseTableFirst) {
    for (const LanguageCase &language : kLanguages) {
        cl_7bitLanguage selection{{language.number}, {2}};
        for (uint32_t i = 0; i <= 0xFFFF; ++i) {
            uint16_t character = static_cast<uint16_t>(i);
            Bytes expected = expected_septets(character, language.extension);
            uint8_t septets[3];
            uint32_t length = 1;
            ASSERT_EQ(cl_ucs2To7BITEx(&character, 1, septets, &length, &selection),
                      expected.empty() ? 11u : 0u);
            ASSERT_EQ(Bytes(septets, septets + length), expected) << i;
            ASSERT_EQ(septets[length], 0);
            uint32_t escaped = 7;
            ASSERT_EQ(cl_7bitCheck_Ex(character, language.number, &escaped), !expected.empty());
            ASSERT_EQ(escaped, expected.size() == 2);
            ASSERT_EQ(cl_7bitCheck_Ex(character, language.number, nullptr), !expected.empty());
            if (i > 0xFF) {
                continue;
            }
            char byte = static_cast<char>(i);
            length = 1;
            ASSERT_EQ(cl_asciiTo7BITEx(&byte, 1, septets, &length, &selection),
                      expected.empty() ? 11u : 0u);
            ASSERT_EQ(Bytes(septets, septets + length), expected) << i;
        }
    }
    uint32_t escaped = 0;
    EXPECT_EQ(cl_7bitCheck(0x20AC, &escaped), 1u);
    EXPECT_EQ(escaped, 1u);
    EXPECT_EQ(cl_7bitCheck(0x11E, nullptr), 0u);
}

TEST(SevenBit, LongTextsKeepOrderAndDropWhatHasNoSeptet) {
    const std::string plain = "The quick brown fox 0123456789 JUMPS over the lazy dog.";
    for (size_t at = 0; at <= plain.size(); ++at) {
        std::string with = plain;
        with.insert(at, "é中{");
        Units text = ucs2(with);
        Bytes expected(plain.begin(), plain.end());
        Bytes middle{0x05, 0x1B, 0x28};
        expected.insert(expected.begin() + static_cast<long>(at), middle.begin(), middle.end());
        Bytes septets(2 * text.size() + 1);
        uint32_t length = 1;
        ASSERT_EQ(
            cl_ucs2To7BIT(text.data(), static_cast<uint32_t>(text.size()), septets.data(), &length),
            11u);
        septets.resize(length);
        ASSERT_EQ(septets, expected);

        with.erase(with.find("中"), 3);
        ASSERT_EQ(to_ucs2(expected, {}).second, ucs2(with));
        ASSERT_EQ(to_ucs2(expected, {}, plain.size() + 2).first, 0u);
        ASSERT_EQ(to_ucs2(expected, {}, plain.size() + 1).first, 6u);
        ASSERT_EQ(to_ascii(expected, {}).second, hearth::test::latin1(with));
        for (auto [byte, status] : {std::pair{0x81, 11u}, {0xFF, 11u}, {0x80, 2u}}) {
            Bytes bad = expected;
            bad.insert(bad.begin() + static_cast<long>(at), static_cast<uint8_t>(byte));
            ASSERT_EQ(to_ucs2(bad, {}).first, status);
            ASSERT_EQ(to_ascii(bad, {}).first, status);
        }
    }
}

TEST(SevenBit, ReadersStopAtTheFirstBadByte) {
    struct Case {
        Bytes septets;
        size_t capacity;
        uint32_t ucs2;
        uint32_t ascii;
    };
    const Case kCases[] = {
        {{0x1B}, 4, 6, 6},         {{0x41, 0x1B}, 4, 6, 6},
        {{0x1B, 0x00}, 4, 0, 2},   {{0x1B, 0x80}, 4, 2, 2},
        {{0x1B, 0x81}, 4, 11, 2},  {{0x1B, 0xFF}, 4, 11, 2},
        {{0x41, 0x42}, 1, 6, 6},   {{0x41, 0x80}, 1, 2, 2},
        {{0x41, 0x90}, 1, 11, 11}, {{0x1B, 0x28}, 1, 0, 0},
        {{0x41}, 0, 6, 6},         {{}, 4, 1, 1},
        {{0x1B, 0x1B}, 1, 0, 0},   {{0x1B, 0x28, 0x41}, 1, 6, 6},
    };
    for (const Case &c : kCases) {
        EXPECT_EQ(to_ucs2(c.septets, {}, c.capacity).first, c.ucs2);
        EXPECT_EQ(to_ascii(c.septets, {}, c.capacity).first, c.ascii);
    }
    uint16_t text[2];
    uint32_t length = 1;
    EXPECT_EQ(cl_7bitToUCS2(reinterpret_cast<const uint8_t *>("\x0B"), 1, text, &length), 0u);
    EXPECT_EQ(text[0], 0xD8);
}

TEST(SevenBit, BadArgumentsClearTheLength) {
    uint8_t bytes[8] = {};
    uint16_t units[8] = {};
    char text[8] = {};
    uint32_t length = 0;
    auto expect_one = [&](auto call, auto *in, auto *out) {
        for (auto [from, count, to] : {std::tuple{decltype(in)(nullptr), 1u, out},
                                       {in, 0u, out},
                                       {in, 1u, decltype(out)(nullptr)}}) {
            length = 5;
            EXPECT_EQ(call(from, count, to, &length), 1u);
            EXPECT_EQ(length, 0u);
        }
        EXPECT_EQ(call(in, 1, out, static_cast<uint32_t *>(nullptr)), 1u);
    };
    expect_one(cl_7bitEncode, bytes, bytes);
    expect_one(cl_7bitDecode, bytes, bytes);
    expect_one([](auto... a) { return cl_7bitDecodeEx(a..., 3); }, bytes, bytes);
    expect_one(cl_asciiTo7BIT, text, bytes);
    expect_one(cl_ucs2To7BIT, units, bytes);
    expect_one(cl_7bitToASCII, bytes, text);
    expect_one(cl_7bitToUCS2, bytes, units);
    expect_one(cl_8bitEncode, bytes, bytes);
    expect_one(cl_8bitDecode, bytes, units);
    for (uint32_t status :
         {cl_asciiTo7BIT("a", 1, bytes, &length), cl_8bitEncode(bytes, 1, bytes + 1, &length)}) {
        EXPECT_EQ(status, 6u);
    }
    EXPECT_EQ(cl_convert_Spanish_to_gsmdef('A', nullptr), 1u);
}

// Bits in a row, septet i from bit 7 i on: what a sender means by packing.
Bytes packed_bits(const Bytes &septets, size_t fill_bits) {
    Bytes octets((septets.size() * 7 + fill_bits + 7) / 8 + 1);
    for (size_t i = 0; i < septets.size(); ++i) {
        for (size_t bit = 0; bit < 8; ++bit) {
            size_t at = fill_bits + 7 * i + bit;
            octets[at / 8] |= static_cast<uint8_t>((septets[i] >> bit & 1) << at % 8);
        }
    }
    octets.pop_back();
    return octets;
}

Bytes random_bytes(size_t size, uint8_t mask) {
    static std::mt19937 random(7);
    Bytes bytes(size);
    std::generate(bytes.begin(), bytes.end(),
                  [&] { return static_cast<uint8_t>(random() & mask); });
    return bytes;
}

TEST(SevenBit, PacksEveryCount) {
    for (uint32_t count = 1; count <= 40; ++count) {
        for (uint8_t mask : {uint8_t{0x7F}, uint8_t{0xFF}}) {
            Bytes septets = random_bytes(count, mask);
            // A septet of eight bits spills onto the next, but not out of its group of eight.
            Bytes masked = septets;
            for (size_t i = 7; i < count; i += 8) {
                masked[i] &= 0x7F;
            }
            Bytes expected = packed_bits(masked, 0);
            if (count % 8 == 7) {
                expected.back() = static_cast<uint8_t>((expected.back() & 1) | 0x1A);
            }
            Bytes octets(expected.size(), 0x55);
            uint32_t length = count / 8 * 7;
            ASSERT_EQ(cl_7bitEncode(septets.data(), count, octets.data(), &length), 0u);
            ASSERT_EQ(length, expected.size());
            ASSERT_EQ(octets, expected) << count;
            length = count / 8 * 7 - 1;
            ASSERT_EQ(cl_7bitEncode(septets.data(), count, octets.data(), &length),
                      count < 8 ? 0u : 6u);
        }
    }
    const Bytes kHello{0xE8, 0x32, 0x9B, 0xFD, 0x46, 0x97, 0xD9, 0xEC, 0x37};
    Bytes octets(9);
    uint32_t length = 9;
    ASSERT_EQ(
        cl_7bitEncode(reinterpret_cast<const uint8_t *>("hellohello"), 10, octets.data(), &length),
        0u);
    EXPECT_EQ(octets, kHello);
}

TEST(SevenBit, UnpacksEveryCountAndEveryFill) {
    for (uint32_t fill = 0; fill <= 7; ++fill) {
        for (uint32_t count = fill == 0 ? 1 : 2; count <= 30; ++count) {
            Bytes octets = random_bytes(count, 0xFF);
            // The septets that lie whole in the octets; six octets and six septets leave a rest.
            uint32_t whole = (count * 8 - fill) / 7;
            Bytes expected(whole);
            for (size_t i = 0; i < whole * 7; ++i) {
                size_t at = fill + i;
                expected[i / 7] |= static_cast<uint8_t>((octets[at / 8] >> at % 8 & 1) << i % 7);
            }
            uint32_t least = (count - (fill > 0)) / 7 * 8;
            Bytes septets(whole + 1, 0x55);
            auto decode = [&](uint32_t *length) {
                return fill == 0 ? cl_7bitDecode(octets.data(), count, septets.data(), length)
                                 : cl_7bitDecodeEx(octets.data(), count, septets.data(), length,
                                                   static_cast<uint16_t>(7 - fill));
            };
            uint32_t length = least - 1;
            ASSERT_EQ(decode(&length), least == 0 ? 0u : 6u);
            length = least;
            ASSERT_EQ(decode(&length), 0u);
            // One fill bit: the septet of the first octet stands in the buffer and is not counted.
            ASSERT_EQ(length, whole - (fill == 1)) << fill << " " << count;
            ASSERT_EQ(septets[whole], 0);
            septets.pop_back();
            ASSERT_EQ(septets, expected) << fill << " " << count;
        }
    }
}

TEST(SevenBit, ASingleOctetBehindFillBitsIsABadArgument) {
    const uint8_t octet = 0x83;
    for (int fill : {7, 1, 0, -1, -60000}) {
        uint16_t shift = static_cast<uint16_t>(7 - fill);
        uint8_t septets[3] = {};
        uint32_t length = 2;
        EXPECT_EQ(cl_7bitDecodeEx(&octet, 1, septets, &length, shift), 1u);
        EXPECT_EQ(length, 0u);
        EXPECT_EQ(septets[0], shift == 6 ? 0x41 : 0);
    }
}

TEST(SevenBit, EightBitDataIsCutOrWidened) {
    const uint8_t bytes[10] = {0, 1, 2, 0xFF, 4, 5, 6, 7, 8, 9};
    uint8_t copy[5] = {9, 9, 9, 9, 9};
    uint32_t length = 4;
    EXPECT_EQ(cl_8bitEncode(bytes, 10, copy, &length), 0u);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(Bytes(copy, copy + 5), (Bytes{0, 1, 2, 0xFF, 9}));
    uint16_t units[11];
    length = 10;
    EXPECT_EQ(cl_8bitDecode(bytes, 10, units, &length), 6u);
    length = 11;
    EXPECT_EQ(cl_8bitDecode(bytes, 10, units, &length), 0u);
    EXPECT_EQ(length, 10u);
    EXPECT_EQ(units[3], 0xFF);
    EXPECT_EQ(units[10], 0);
}

TEST(SevenBit, FoldsWhatTheTableHoldsAndNothingElse) {
    ASSERT_EQ(data().folded.size(), 89u);
    for (uint32_t i = 0; i <= 0xFFFF; ++i) {
        auto found = data().folded.find(static_cast<uint16_t>(i));
        uint16_t folded = 0;
        ASSERT_EQ(cl_convert_Spanish_to_gsmdef(static_cast<uint16_t>(i), &folded),
                  found == data().folded.end() ? 3u : 0u);
        ASSERT_EQ(folded, found == data().folded.end() ? i : found->second);
    }
}

TEST(SevenBit, TheDecoderOfTheDeviceQueriesHasItsOwnTables) {
    Units extension = data().tables.at("default-ext");
    std::swap(extension[0x0A], extension[0x1B]);
    for (uint32_t i = 0; i < 128; ++i) {
        EXPECT_EQ(arrayGSM_7DefaultTable[i], data().tables.at("default")[i]);
        EXPECT_EQ(arrayGSM_7ExtTable[i], extension[i]);
    }
    struct Case {
        Bytes septets;
        int32_t capacity;
        int32_t result;
        Units text;
    };
    const Case kCases[] = {
        {{0x41, 0x1B, 0x65, 0x15}, 3, 0, {'A', 0x20AC, 0x3A9, 0}},
        {{0x1B, 0x0A, 0x1B, 0x1B}, 2, 0, {'\n', ' ', 0}},
        {{0x41, 0x42, 0x43}, 2, -1, {}},
        {{0x41, 0x42, 0x43}, 0, 0, {0, 7, 7, 7}},
        {{0x1B}, 4, -1, {}},
        {{0x1B, 0x41}, 4, -1, {}},
        {{0x1B, 0x80}, 4, -1, {}},
        {{0x80}, 4, -1, {}},
        {{0x81}, 4, -1, {}},
        {{}, 4, 0, {0}},
        {{0x41}, -1, -1, {}},
    };
    for (const Case &c : kCases) {
        Units text(5, 7);
        int32_t length = 99;
        int32_t count = static_cast<int32_t>(c.septets.size());
        const uint8_t nothing = 0;
        const uint8_t *septets = c.septets.empty() ? &nothing : c.septets.data();
        EXPECT_EQ(GSM_7BitToWCHAR(septets, count, text.data(), c.capacity, &length), c.result);
        EXPECT_EQ(length, c.result != 0 ? 99 : static_cast<int32_t>(c.text.size()) - 1);
        text.resize(c.text.size());
        EXPECT_EQ(text, c.text);
    }
    uint16_t text[2];
    int32_t length = 0;
    EXPECT_EQ(GSM_7BitToWCHAR(nullptr, 1, text, 1, &length), -1);
    EXPECT_EQ(GSM_7BitToWCHAR(reinterpret_cast<const uint8_t *>("A"), 1, nullptr, 0, &length), -1);
    EXPECT_EQ(GSM_7BitToWCHAR(reinterpret_cast<const uint8_t *>("A"), 1, text, 1, nullptr), -1);
}

}  // namespace
