#include "base/text.h"

#include <stdarg.h>
#include <stdio.h>

namespace hearth {

bool format_text(char *to, size_t capacity, const char *format, ...) {
    va_list values;
    va_start(values, format);
    int length = vsnprintf(to, capacity, format, values);
    va_end(values);
    return length >= 0 && static_cast<size_t>(length) < capacity;
}

}  // namespace hearth
