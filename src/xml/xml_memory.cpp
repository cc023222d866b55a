#include <stdlib.h>

#include "hearth/xml.h"

namespace {

struct MemorySlots {
    void *(*allocate)(size_t);
    void *(*allocate_zeroed)(size_t, size_t);
    void (*release)(void *);
    void *(*reallocate)(void *, size_t);
};
const MemorySlots kMemory{malloc, calloc, free, realloc};

}  // namespace

void *XML_Malloc(size_t size) {
    return kMemory.allocate(size);
}

void *XML_Calloc(size_t count, size_t size) {
    return kMemory.allocate_zeroed(count, size);
}

void XML_Free(void *memory) {
    if (memory != nullptr) {
        kMemory.release(memory);
    }
}

void *XML_Realloc(void *memory, size_t size) {
    return kMemory.reallocate(memory, size);
}

int32_t ZEX_XML_RegMemFunc(void *(*allocate)(size_t size),
                           void *(*allocate_zeroed)(size_t count, size_t size),
                           void (*release)(void *memory),
                           void *(*reallocate)(void *memory, size_t size)) {
    // Required: the functions are looked at and not kept.
    bool complete = allocate != nullptr && allocate_zeroed != nullptr && release != nullptr &&
                    reallocate != nullptr;
    return complete ? 0 : ZEX_XML_ERR_PARAM;
}

void ZEX_XML_FreeMem(void *memory) {
    XML_Free(memory);
}
