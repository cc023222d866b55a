#include "support/xml_memory.h"

#include <stdlib.h>

#include "hearth/xml.h"

namespace {

thread_local int g_left = -1;

bool allowed() {
    if (g_left == 0) {
        return false;
    }
    g_left -= g_left > 0 ? 1 : 0;
    return true;
}

}  // namespace

void *XML_Malloc(size_t size) {
    return allowed() ? malloc(size) : nullptr;
}

void *XML_Realloc(void *memory, size_t size) {
    return allowed() ? realloc(memory, size) : nullptr;
}

namespace hearth::test {

void fail_xml_memory_after(int allocations) {
    g_left = allocations;
}

}  // namespace hearth::test
