// A byte stream into the receive side of the bus client: a frame is handled from its first byte to
// its handler.
// libFuzzer: -max_len=4096

#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "bus_stand_in.h"
#include "hearth/notify_recv.h"
#include "hearth/webserver.h"

namespace {

using hearth::fuzz::g_sink;

uint32_t on_request(uint32_t msg_id, void *in, void *out) {
    g_sink = *static_cast<const uint8_t *>(in);
    if (out != nullptr) {
        *static_cast<uint8_t *>(out) = 1;
    }
    return msg_id;
}

uint32_t on_values(uint32_t, uintptr_t arg1, uintptr_t arg2) {
    g_sink = static_cast<unsigned>(arg1 + arg2);
    return 0;
}

uint32_t on_buffers(uint32_t, uintptr_t arg1, uintptr_t arg2) {
    for (uintptr_t part : {arg1, arg2}) {
        g_sink = part != 0 ? *reinterpret_cast<const uint8_t *>(part) : 0;
    }
    return 0;
}

char *on_web(char *target, uint32_t, char *content) {
    std::string text(target, strnlen(target, 64));
    return strdup((text + content).c_str());
}

void release_text(char *text) {
    free(text);
}

// Lengths stay small, or so large that no memory is asked for: what is looked for is a wrong
// turn, not an empty machine.
std::string tame(const uint8_t *data, size_t size) {
    std::string stream(reinterpret_cast<const char *>(data), size);
    size_t at = 0;
    while (at + sizeof(msg_header) <= stream.size()) {
        msg_header header;
        memcpy(&header, &stream[at], sizeof header);
        header.data_len =
            header.data_len >> 28 == 15 ? header.data_len | 0x80000000 : header.data_len & 0xfff;
        header.ack_len &= 0xffff;
        // Whether an event carries buffers is agreed between the modules; a handler cannot tell.
        header.ex_flag |= header.des_mid == 20 ? 1 : 0;
        memcpy(&stream[at], &header, sizeof header);
        at += sizeof header + (header.data_len & 0x7fffffff);
    }
    return stream;
}

}  // namespace

extern "C" {

ssize_t sendmsg(int, const msghdr *message, int) {
    return hearth::fuzz::read_pieces(message);
}

// The web server takes each hook at once.
int32_t send_notify(uint32_t, uint32_t, void *, void *, uint32_t, uint32_t) {
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    size = std::min(size, size_t{60000});
    hearth::fuzz::connect_library();
    static const int32_t kRegistered =
        register_notify_handler(12, on_request, on_values) |
        register_notify_handler(20, on_request, on_buffers) |
        webserver_register_hookfunction(12, "web", on_web, release_text) |
        webserver_register_hookfunction(20, "fifteen-letters", on_web, release_text);
    if (kRegistered != 0) {
        abort();
    }
    std::string stream = tame(data, size);
    if (write(hearth::fuzz::g_server_end, stream.data(), stream.size()) < 0) {
        abort();
    }
    close(hearth::fuzz::g_server_end);
    // Each call takes a header at least, or meets the end and closes the connection.
    for (size_t i = 0; i < size / sizeof(msg_header) + 2; i++) {
        handle_recv_msg();
    }
    return 0;
}

}  // extern "C"
