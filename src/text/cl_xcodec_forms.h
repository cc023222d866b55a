// Forms 81 and 82 read with a bound on what they may produce.
#pragma once

#include <stdint.h>

namespace hearth::text {

constexpr uint8_t kForm80 = 0x80;
constexpr uint8_t kForm81 = 0x81;
constexpr uint8_t kForm82 = 0x82;

// Reads form 81 or 82 into at most `room` characters and a terminator. Returns a status; `length`
// is stored on success only.
uint32_t decode_relative(uint8_t form, const uint8_t *bytes, uint32_t count, uint16_t *text,
                         uint32_t room, uint32_t *length);

}  // namespace hearth::text
