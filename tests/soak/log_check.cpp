#include "soak/log_check.h"

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "base/guard.h"
#include "soak/board.h"

namespace hearth::soak {

namespace {

constexpr size_t kHead = 128;
constexpr uint64_t kPage = 4096;

// What stands before the text: "08:51:18.541 soak (  13421): <INFO> soak:1 ".
bool read_stamp(std::string_view line, LogStamp *stamp) {
    std::string text(line);
    int hour, minute, second, millisecond, id, at = 0;
    if (sscanf(text.c_str(), "%2d:%2d:%2d.%3d soak ( %d): <INFO> soak:1 %n", &hour, &minute,
               &second, &millisecond, &id, &at) != 5 ||
        at == 0) {
        return false;
    }
    const char *rest = text.c_str() + at;
    return sscanf(rest, "%d/%u/%d/%u", &stamp->slot, &stamp->life, &stamp->thread,
                  &stamp->number) == 4 &&
           rest == text_of(*stamp);
}

std::string read_part(int fd, uint64_t offset, size_t size) {
    std::string text(size, '\0');
    ssize_t got = pread(fd, text.data(), size, static_cast<off_t>(offset));
    text.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return text;
}

}  // namespace

std::string text_of(const LogStamp &stamp) {
    char head[64];
    snprintf(head, sizeof head, "%d/%u/%d/%u ", stamp.slot, stamp.life, stamp.thread, stamp.number);
    return head + std::string(stamp.number * 7 % 180, static_cast<char>('a' + stamp.number % 26)) +
           ";";
}

bool LogCheck::same_file(const std::string &head) const {
    return head.size() >= head_.size() && head.compare(0, head_.size(), head_) == 0;
}

void LogCheck::look(uint64_t kills) {
    Descriptor file(open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return;
    }
    if (!same_file(read_part(file.get(), 0, kHead))) {
        offset_ = 0;
        last_.clear();
        restarts_++;
    }
    off_t end = lseek(file.get(), 0, SEEK_END);
    if (end <= static_cast<off_t>(offset_)) {
        return;
    }
    std::string text = read_part(file.get(), offset_, static_cast<size_t>(end) - offset_);
    // Emptied while it was read: next time.
    std::string head = read_part(file.get(), 0, kHead);
    if (head.size() < kHead || (offset_ != 0 && !same_file(head)) ||
        (offset_ == 0 && text.compare(0, kHead, head) != 0)) {
        return;
    }
    head_ = head;
    std::string_view rest = text;
    for (size_t length; (length = rest.find('\n')) != std::string_view::npos;) {
        line(rest.substr(0, length), offset_, kills);
        rest.remove_prefix(length + 1);
        offset_ += length + 1;
    }
}

void LogCheck::line(std::string_view text, uint64_t offset, uint64_t kills) {
    LogStamp stamp{};
    if (read_stamp(text, &stamp)) {
        lines_++;
        uint32_t &last = last_[{stamp.slot, stamp.life, stamp.thread}];
        if (last != 0 && stamp.number != last + 1) {
            fail("log: line %d/%u/%d/%u follows number %u", stamp.slot, stamp.life, stamp.thread,
                 stamp.number, last);
        }
        last = stamp.number;
        return;
    }
    uint64_t page_end = (offset / kPage + 1) * kPage;
    if (page_end < offset + text.size() && torn_ < kills) {
        torn_++;
        line(text.substr(page_end - offset), page_end, 0);
        return;
    }
    fail("log: no whole line at %llu: \"%.*s\"", static_cast<unsigned long long>(offset),
         static_cast<int>(text.size()), text.data());
}

}  // namespace hearth::soak
