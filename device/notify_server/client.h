// One connection of the notify server: its frames coming in and its bytes going out.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <bitset>
#include <unordered_map>
#include <vector>

#include "hearth/notify_frame.h"

namespace hearth::notify_server {

struct Limits {
    size_t body = 1 << 20;    // longest body that is forwarded
    size_t queue = 1 << 20;   // bytes that wait for one client before its senders are paused
    size_t clients = 256;     // connections at a time
    int64_t stall_ms = 5000;  // a client that blocks others this long without reading is dropped
};

// A frame in a client's input; the body is there in full.
struct Frame {
    msg_header header;
    const uint8_t *bytes;  // header and body as received
    size_t size;
};

enum class Input {
    kFrame,   // a frame stands at the front
    kTooBig,  // a header does, whose body is longer than what is forwarded
    kMore,    // not enough bytes yet
    kRubbish  // the stream makes no sense any more
};

class Client {
  public:
    // `number` tells the connection from all others, also from those before it.
    Client(int fd, uint64_t number, const Limits &limits)
        : fd_(fd), number_(number), limits_(limits) {}
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    ~Client();

    int fd() const { return fd_; }
    uint64_t number() const { return number_; }

    // Takes what one read gives. False when the peer closed or the socket failed.
    bool receive();
    // Looks at the front of the input.
    Input front(Frame *frame) const;
    // Takes a frame, or a header whose body is then read away, off the input.
    void consume(const Frame &frame);

    // Puts bytes behind those that wait to be sent.
    void queue(const void *bytes, size_t size);
    // Sends what the socket takes of the queue. Once the peer has closed its end the queue goes
    // nowhere: what the peer sent before is still read, and its end shows there.
    void flush();
    size_t queued() const { return out_.size() - out_start_; }
    // Notes that a request went here, and from which connection.
    void note_request(const msg_header &request, uint64_t from);
    // Whether the connection is not the one whose request this answers. Forgets the request.
    bool answers_another(const msg_header &answer, uint64_t to);

    // No room for another frame: its senders have to wait.
    bool full() const { return queued() > limits_.queue; }
    // Time of the last step forward of the queue, on the monotonic clock.
    int64_t progress_ms() const { return progress_ms_; }

    std::bitset<NOTIFY_MID_MAX + 1> modules;  // ids bound to this connection
    uint32_t first_module = 0;                // the first one, to which notices are addressed
    Client *waits_for = nullptr;              // paused until that client has room
    uint32_t watched = 0;                     // events that the loop watches for
    bool failed = false;                      // about to be closed
    bool unsent = false;                      // has bytes that the loop is yet to send

  private:
    size_t send_now(const void *bytes, size_t size);

    int fd_;
    const uint64_t number_;
    const Limits &limits_;
    std::vector<uint8_t> in_;
    size_t in_start_ = 0;
    size_t skip_ = 0;  // bytes of a refused body still to come
    std::vector<uint8_t> out_;
    size_t out_start_ = 0;
    int64_t progress_ms_ = 0;
    // By module and number of the request: the connection that sent it.
    std::unordered_map<uint64_t, uint64_t> asked_;
    bool deaf_ = false;  // the peer takes nothing any more
};

}  // namespace hearth::notify_server
