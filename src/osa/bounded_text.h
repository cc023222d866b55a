// Text that grows in a buffer of fixed size until that is full, and is always terminated.
#pragma once

#include <stddef.h>

#include <charconv>
#include <string_view>
#include <type_traits>

#include "base/text.h"

namespace hearth {

class BoundedText {
  public:
    BoundedText(char *to, size_t capacity) : next_(to), left_(capacity) { append(""); }
    template <size_t N>
    explicit BoundedText(char (&to)[N]) : BoundedText(to, N) {}

    BoundedText &append(std::string_view text) {
        size_t copied = copy_text(next_, left_, text);
        next_ += copied;
        left_ -= copied;
        return *this;
    }

    template <typename Number>
    requires std::is_integral_v<Number> BoundedText &append(Number number) {
        char digits[24];
        auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return append({digits, static_cast<size_t>(end - digits)});
    }

  private:
    char *next_;
    size_t left_;
};

}  // namespace hearth
