#include <string.h>

#include <algorithm>

#include "hearth/xml.h"

namespace {

constexpr uint32_t kGrowth = 1024;

// Moves the text to memory of `capacity` bytes and a terminator. False when memory is out.
bool reallocate(XML_Membuf *buffer, uint64_t capacity) {
    if (capacity >= UINT32_MAX) {
        return false;
    }
    void *data = XML_Realloc(buffer->data, static_cast<size_t>(capacity) + 1);
    if (data == nullptr) {
        return false;
    }
    buffer->data = static_cast<char *>(data);
    buffer->capacity = static_cast<uint32_t>(capacity);
    buffer->length = std::min(buffer->length, buffer->capacity);
    buffer->data[buffer->length] = '\0';
    return true;
}

void set_length(XML_Membuf *buffer, uint32_t length) {
    buffer->length = length;
    if (buffer->data != nullptr) {
        buffer->data[length] = '\0';
    }
}

bool fits(const char *text, size_t *length) {
    *length = strlen(text);
    return *length < UINT32_MAX;
}

}  // namespace

void XML_MembufInit(XML_Membuf *buffer) {
    if (buffer != nullptr) {
        *buffer = XML_Membuf{nullptr, 0, 0, kGrowth};
    }
}

void XML_MembufDestroy(XML_Membuf *buffer) {
    if (buffer != nullptr) {
        XML_Free(buffer->data);
        XML_MembufInit(buffer);
    }
}

int32_t XML_MembufSetSize(XML_Membuf *buffer, uint32_t size) {
    if (buffer == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    uint64_t capacity = buffer->capacity;
    if (buffer->length > size) {
        if (capacity - size <= buffer->growth) {
            return 0;
        }
        capacity = uint64_t{size} + buffer->growth;
    } else if (capacity < size) {
        capacity += std::max(buffer->growth, size - buffer->length);
    } else {
        return 0;
    }
    return reallocate(buffer, capacity) || reallocate(buffer, size) ? 0 : ZEX_XML_ERR_NO_MEMORY;
}

int32_t XML_MemBufAssign(XML_Membuf *buffer, const char *bytes, uint32_t length) {
    if (buffer == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    if (bytes == nullptr) {
        XML_MembufDestroy(buffer);
        return 0;
    }
    int32_t result = XML_MembufSetSize(buffer, length);
    if (result != 0) {
        return result;
    }
    if (length > 0) {
        memcpy(buffer->data, bytes, length);
    }
    set_length(buffer, length);
    return 0;
}

int32_t XML_MemBufAssignStr(XML_Membuf *buffer, const char *text) {
    size_t length = 0;
    if (text != nullptr && !fits(text, &length)) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    return XML_MemBufAssign(buffer, text, static_cast<uint32_t>(length));
}

int32_t XML_MemBufInsert(XML_Membuf *buffer, const char *bytes, uint32_t length,
                         uint32_t position) {
    if (buffer == nullptr || position > buffer->length) {
        return ZEX_XML_ERR_PARAM;
    }
    if (bytes == nullptr || length == 0) {
        return 0;
    }
    if (length >= UINT32_MAX - buffer->length) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    int32_t result = XML_MembufSetSize(buffer, buffer->length + length);
    if (result != 0) {
        return result;
    }
    char *place = buffer->data + position;
    memmove(place + length, place, buffer->length - position);
    memcpy(place, bytes, length);
    set_length(buffer, buffer->length + length);
    return 0;
}

int32_t XML_MemBufAppend(XML_Membuf *buffer, char byte) {
    return buffer == nullptr ? ZEX_XML_ERR_PARAM
                             : XML_MemBufInsert(buffer, &byte, 1, buffer->length);
}

int32_t XML_MemBufAppendStr(XML_Membuf *buffer, const char *text) {
    size_t length = 0;
    if (buffer == nullptr) {
        return ZEX_XML_ERR_PARAM;
    }
    if (text != nullptr && !fits(text, &length)) {
        return ZEX_XML_ERR_NO_MEMORY;
    }
    return XML_MemBufInsert(buffer, text, static_cast<uint32_t>(length), buffer->length);
}
