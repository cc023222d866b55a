// Replies through AT command functions. A target includes this header, which stands in for the
// channel to the AT server and holds the entry of the fuzzer, and defines `members()`.
//
// Input: the number of the member, and one reply for each exchange, the last one to the end:
//     flags    bits 0 to 2 are Ret_val; with kFails the channel fails
//     told     with kTellsLength two bytes: what `report_len` says of a reply of any length
//     length   with kOneOfMany two bytes: of the text, behind which the next reply stands
//     text
// Numbers are little-endian. Behind the last reply the channel fails.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <span>
#include <tuple>
#include <type_traits>

#include "exact_copy.h"
#include "hearth/at_lib.h"

namespace hearth::fuzz {

constexpr uint8_t kTellsLength = 0x20;
constexpr uint8_t kFails = 0x40;
constexpr uint8_t kOneOfMany = 0x80;

using AtMember = void (*)();

std::span<const AtMember> members();

// What is left of the input.
inline std::span<const uint8_t> g_replies;

inline uint32_t take_number(size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width && !g_replies.empty(); i++) {
        value |= static_cast<uint32_t>(g_replies.front()) << 8 * i;
        g_replies = g_replies.subspan(1);
    }
    return value;
}

// Calls a member. Parameters behind those that are given point to records, for which there are
// zeroed ones, each in a block of its own size, so that a sanitizer sees a step beyond it.
template <typename... Parameters, typename... Given>
int32_t call_with(int32_t (*function)(Parameters...), Given... given) {
    if constexpr (sizeof...(Given) == sizeof...(Parameters)) {
        return function(given...);
    } else {
        using Next = std::tuple_element_t<sizeof...(Given), std::tuple<Parameters...>>;
        using Record = std::remove_const_t<std::remove_pointer_t<Next>>;
        static_assert(std::is_pointer_v<Next> && !std::is_same_v<Record, char>);
        auto record = std::make_unique<Record>();
        return call_with(function, given..., record.get());
    }
}

// The same as a row of a table of members.
template <auto Function, auto... Given>
void call() {
    call_with(Function, Given...);
}

// A list that a member hands out belongs to the caller; after a failure there is none. `entries`
// is null before the call.
template <typename Entry>
void take_list(int32_t result, Entry *entries, uint32_t count) {
    require(result == 0 || entries == nullptr);
    if (entries != nullptr) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(entries);
        volatile uint8_t last = bytes[count * sizeof(Entry) - 1];
        (void)last;
    }
    free(entries);
}

}  // namespace hearth::fuzz

extern "C" int32_t GetDataFromAtServer(at_server_msg *message) {
    using namespace hearth::fuzz;
    require(memchr(message->match, 0, sizeof message->match) != nullptr);
    require(message->timeout > 0);
    bool has_reply = !g_replies.empty();
    uint8_t flags = static_cast<uint8_t>(take_number(1));
    memset(message->match, 0, sizeof *message - offsetof(at_server_msg, match));
    if (!has_reply || (flags & kFails) != 0) {
        return -1;
    }
    uint32_t told = take_number(flags & kTellsLength ? 2 : 0);
    size_t length = flags & kOneOfMany ? take_number(2) : g_replies.size();
    std::span<const uint8_t> text = g_replies.first(std::min(length, g_replies.size()));
    g_replies = g_replies.subspan(text.size());
    text = text.first(std::min(text.size(), sizeof message->report - 1));
    std::copy(text.begin(), text.end(), message->report);
    message->Ret_val = flags & 7;
    message->report_len = flags & kTellsLength ? told : static_cast<uint32_t>(text.size());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace hearth::fuzz;
    std::span<const AtMember> all = members();
    g_replies = {data, size};
    uint32_t number = take_number(1);
    all[number % all.size()]();
    return 0;
}
