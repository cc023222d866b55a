// What the AT subcommands share.
#pragma once

#include <cstdint>
#include <string>

#include "tool.h"

namespace hearth::tool {

// Failure unless an AT server lives.
void need_at_server();

// Failure unless a command function returned 0 and left AT_ERR_NONE, or 0, in `err`.
void expect_at(const std::string &what, int32_t result, uint32_t err);
void expect_at(const std::string &what, int32_t result, int32_t err = -2);

// Lets an option take telephone numbers alone.
Option check_number(Option option);

// A text of a record, wherever it ends.
template <size_t N>
std::string field(const char (&text)[N]) {
    std::string whole(text, N);
    return whole.substr(0, whole.find('\0'));
}

}  // namespace hearth::tool
