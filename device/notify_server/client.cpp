#include "client.h"

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "base/io.h"

namespace hearth::notify_server {

namespace {

// A buffer that grew for one large frame goes back to this.
constexpr size_t kKeptCapacity = 64 * 1024;

constexpr size_t kMostAsked = 16384;

uint64_t request_key(uint32_t module, uint32_t number) {
    return uint64_t{module} << 32 | number;
}

// Moves what is left to the front of the buffer and gives spare memory back.
void compact(std::vector<uint8_t> *buffer, size_t *start) {
    buffer->erase(buffer->begin(), buffer->begin() + static_cast<ptrdiff_t>(*start));
    *start = 0;
    if (buffer->capacity() > kKeptCapacity && buffer->size() < kKeptCapacity / 2) {
        buffer->shrink_to_fit();
    }
}

}  // namespace

Client::~Client() {
    close(fd_);
}

bool Client::receive() {
    static uint8_t chunk[kKeptCapacity];
    ssize_t got = recv(fd_, chunk, sizeof chunk, 0);
    if (got < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    if (got == 0) {
        return false;
    }
    size_t size = static_cast<size_t>(got);
    size_t skipped = std::min(skip_, size);
    skip_ -= skipped;
    if (in_start_ > 0) {
        compact(&in_, &in_start_);
    }
    in_.insert(in_.end(), chunk + skipped, chunk + size);
    return true;
}

Input Client::front(Frame *frame) const {
    size_t there = in_.size() - in_start_;
    if (there < sizeof(msg_header)) {
        return Input::kMore;
    }
    frame->bytes = in_.data() + in_start_;
    memcpy(&frame->header, frame->bytes, sizeof(msg_header));
    uint32_t body = frame->header.data_len;
    frame->size = sizeof(msg_header) + body;
    if (body > INT32_MAX) {
        return Input::kRubbish;
    }
    if (body > limits_.body) {
        return Input::kTooBig;
    }
    return there < frame->size ? Input::kMore : Input::kFrame;
}

void Client::consume(const Frame &frame) {
    size_t there = std::min(in_.size() - in_start_, frame.size);
    in_start_ += there;
    skip_ += frame.size - there;
    if (in_start_ == in_.size()) {
        compact(&in_, &in_start_);
    }
}

void Client::note_request(const msg_header &request, uint64_t from) {
    // A client that never answers must not collect them.
    if (asked_.size() >= kMostAsked) {
        asked_.clear();
    }
    asked_[request_key(request.src_mid, request.seq_num)] = from;
}

bool Client::answers_another(const msg_header &answer, uint64_t to) {
    auto found = asked_.find(request_key(answer.des_mid, answer.seq_num));
    if (found == asked_.end()) {
        return false;
    }
    bool another = found->second != to;
    asked_.erase(found);
    return another;
}

// Returns the bytes that left; all of them once the peer is deaf.
size_t Client::send_now(const void *bytes, size_t size) {
    while (!deaf_) {
        ssize_t sent = ::send(fd_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            return static_cast<size_t>(sent);
        }
        if (errno == EAGAIN) {
            return 0;
        }
        deaf_ = errno != EINTR;
    }
    return size;
}

void Client::queue(const void *bytes, size_t size) {
    if (queued() == 0) {
        progress_ms_ = monotonic_ms();
    }
    const uint8_t *from = static_cast<const uint8_t *>(bytes);
    out_.insert(out_.end(), from, from + size);
}

void Client::flush() {
    while (queued() > 0) {
        size_t sent = send_now(out_.data() + out_start_, queued());
        if (sent == 0) {
            break;
        }
        out_start_ += sent;
        progress_ms_ = monotonic_ms();
    }
    // Moving the rest is cheap only once most of the queue is gone.
    if (out_start_ > out_.size() / 2) {
        compact(&out_, &out_start_);
    }
}

}  // namespace hearth::notify_server
