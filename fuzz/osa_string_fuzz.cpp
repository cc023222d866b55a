// What the web sends through the text helpers: the look for a script tag, and replacing. Input: a
// byte for the length of what is looked for, that text, then the body.
// libFuzzer: -max_len=512 -dict=fuzz/web.dict
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>

#include "exact_copy.h"
#include "hearth/osa_string.h"

using hearth::fuzz::Exact;
using hearth::fuzz::require;

namespace {

Exact<char> copy_of(const std::string &text) {
    return {reinterpret_cast<const uint8_t *>(text.c_str()), text.size() + 1};
}

void replace(const std::string &text, const std::string &old) {
    char *replaced = osa_str_replace(copy_of(text).get(), copy_of(old).get(), "new");
    size_t found = text.find(old);
    require((replaced != nullptr) == (found != std::string::npos));
    require(replaced == nullptr || std::string(text).replace(found, old.size(), "new") == replaced);
    free(replaced);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) {
        return 0;
    }
    size_t old_size = std::min<size_t>(data[0] % 32, size - 1);
    std::string old(reinterpret_cast<const char *>(data) + 1, old_size);
    Exact<char> body(data + 1 + old_size, size - 1 - old_size);
    auto length = static_cast<uint32_t>(size - 1 - old_size);
    int32_t result = osa_check_restful_body(body.get(), length);
    require(result == 0 || result == -1);

    std::string text = std::string(body.get(), length).c_str();
    Exact<char> lower = copy_of(text);
    require(osa_strlwr(lower.get()) == lower.get());
    require(osa_stricmp(lower.get(), text.c_str()) == 0);
    // Case is no way around the look.
    require(length == 0 ||
            osa_check_restful_body(lower.get(), static_cast<uint32_t>(text.size())) == result);
    replace(text, old.c_str());
    return 0;
}
