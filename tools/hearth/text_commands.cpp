// hearth text: the codings of messages, SIM records and AT strings.

#include <cstring>

#include "convert.h"
#include "hearth/cl_7bit.h"
#include "hearth/cl_convertor.h"
#include "hearth/cl_xcodec.h"
#include "tool.h"

namespace hearth::tool {

namespace {

struct TextOptions {
    std::string form;
    std::string text;
    size_t septets = 0;
};

void expect_ok(uint32_t status, const std::string &what) {
    if (status != CL_TEXT_OK) {
        throw Failure(what, kTextResults, status);
    }
}

uint32_t size_of(size_t size) {
    return static_cast<uint32_t>(size);
}

// Calls a coder of UCS-2 text with room for four bytes a character and its head.
using Encoder = uint32_t (*)(const uint16_t *, uint32_t, uint8_t *, uint32_t *);
std::string encode_by(Encoder encoder, const std::u16string &text) {
    std::string out;
    uint32_t status = converted(out, text.size() * 4 + 8, [&](char *to, uint32_t *length) {
        return encoder(units_of(text), size_of(text.size()), reinterpret_cast<uint8_t *>(to),
                       length);
    });
    expect_ok(status, "cannot encode the text");
    return out;
}

// Room for the 256 characters that a length byte can promise, too.
using Decoder = uint32_t (*)(const uint8_t *, uint32_t, uint16_t *, uint32_t *);
std::u16string decode_by(Decoder decoder, const std::string &bytes) {
    std::u16string out;
    uint32_t status = converted(out, bytes.size() + 300, [&](char16_t *to, uint32_t *length) {
        return decoder(bytes_of(bytes), size_of(bytes.size()), reinterpret_cast<uint16_t *>(to),
                       length);
    });
    expect_ok(status, "cannot decode the bytes");
    return out;
}

std::string encode_packed(const std::u16string &text) {
    return pack_septets(ucs2_to_septets(text));
}

// Without a count, a carriage return that fills seven spare bits is not text.
std::string unpacked(const std::string &octets, size_t count) {
    std::string septets = unpack_septets(octets, 0, count == 0 ? SIZE_MAX : count);
    if (count == 0 && septets.size() % 8 == 0 && !septets.empty() && septets.back() == '\r') {
        septets.pop_back();
    }
    return septets;
}

// A form: what `encode` makes and `decode` takes is shown in hexadecimal.
struct Form {
    const char *name;
    const char *what;
    std::string (*encode)(const std::u16string &text);
    std::u16string (*decode)(const std::string &bytes, size_t septets);
};

constexpr Form kForms[] = {
    {"gsm7", "packed septets of the default alphabet", encode_packed,
     [](const std::string &bytes, size_t septets) {
         return septets_to_ucs2(unpacked(bytes, septets));
     }},
    {"septets", "septets, one a byte", ucs2_to_septets,
     [](const std::string &bytes, size_t) { return septets_to_ucs2(bytes); }},
    {"ucs2", "two bytes a character", ucs2_to_bytes,
     [](const std::string &bytes, size_t) { return decode_by(cl_byteOrderToWideChar, bytes); }},
    {"sim80", "SIM record, form 80",
     [](const std::u16string &text) { return encode_by(cl_encode80, text); },
     [](const std::string &bytes, size_t) { return decode_by(cl_decode80, bytes); }},
    {"sim81", "SIM record, form 81",
     [](const std::u16string &text) { return encode_by(cl_encode81, text); },
     [](const std::string &bytes, size_t) { return decode_by(cl_decode81, bytes); }},
    {"sim82", "SIM record, form 82",
     [](const std::u16string &text) { return encode_by(cl_encode82, text); },
     [](const std::string &bytes, size_t) { return decode_by(cl_decode82, bytes); }},
    {"utf8", "the text's own bytes", [](const std::u16string &text) { return ucs2_to_utf8(text); },
     [](const std::string &bytes, size_t) { return utf8_to_ucs2(bytes); }},
};

const Form &form_of(const std::string &name) {
    for (const Form &form : kForms) {
        if (name == form.name) {
            return form;
        }
    }
    throw Failure("no form \"" + name + "\"", kExitUsage);
}

void run_encode(const TextOptions &options) {
    std::u16string text = utf8_to_ucs2(options.text);
    std::string hex = to_hex(form_of(options.form).encode(text));
    show({{"form", options.form}, {"hex", hex}, {"bytes", hex.size() / 2}}, hex + "\n");
}

// Forms 81 and 82 tell how many characters follow; the library reads what is there.
void check_record(const std::string &form, const std::string &bytes) {
    size_t head = form == "sim81" ? 3 : form == "sim82" ? 4 : 0;
    if (head == 0) {
        return;
    }
    auto first = static_cast<unsigned char>(bytes.empty() ? 0 : bytes[0]);
    if (bytes.size() < head || first != (head == 3 ? 0x81 : 0x82) ||
        bytes.size() - head < static_cast<unsigned char>(bytes[1])) {
        throw Failure("the bytes are no record of " + form +
                      ": its number, the count, the base, then a byte a character");
    }
}

void run_decode(const TextOptions &options) {
    std::string bytes = from_hex(options.text);
    check_record(options.form, bytes);
    std::string text = ucs2_to_utf8(form_of(options.form).decode(bytes, options.septets));
    show({{"form", options.form}, {"text", printable(text)}}, text + "\n");
}

void add_form(Command command, TextOptions &options) {
    std::vector<std::string> names;
    std::string what;
    for (const Form &form : kForms) {
        names.emplace_back(form.name);
        what +=
            std::string("\n  ") + form.name + std::string(10 - strlen(form.name), ' ') + form.what;
    }
    command.option("--form", options.form, "how the text is coded").required().one_of(names);
    command.explain("Forms:" + what);
}

}  // namespace

void add_text_commands(Command app) {
    Command text = app.group("text", "text codings of messages and SIM records");

    Command encode = text.command("encode", "UTF-8 text to hexadecimal bytes");
    TextOptions &encoding = on_run(encode, run_encode);
    encode.option("TEXT", encoding.text, "the text").required();
    add_form(encode, encoding);

    Command decode = text.command("decode", "hexadecimal bytes to UTF-8 text");
    TextOptions &decoding = on_run(decode, run_decode);
    decode.option("BYTES", decoding.text, "hexadecimal").required();
    add_form(decode, decoding);
    decode.option("--septets", decoding.septets, "gsm7: septets, as the message's header says")
        .range(1, 4096);
}

}  // namespace hearth::tool
