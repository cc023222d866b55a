#include "soak/board.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>

#include <iterator>
#include <new>

#include "base/io.h"

namespace hearth::soak {

namespace {

Board *g_board;

}  // namespace

void make_board() {
    void *memory =
        mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        perror("soak: no memory");
        exit(1);
    }
    g_board = new (memory) Board{};
}

Board &board() {
    return *g_board;
}

void fail(const char *format, ...) {
    int place = board().failures.fetch_add(1);
    if (place >= static_cast<int>(std::size(board().failure_texts))) {
        return;
    }
    va_list values;
    va_start(values, format);
    vsnprintf(board().failure_texts[place], sizeof board().failure_texts[place], format, values);
    va_end(values);
}

void Service::up() {
    up_since = monotonic_ms();
}

bool TableModel::touches(uint32_t serial) const {
    const Entry &entry = entries[serial];
    switch (change.kind) {
        case kInsert:
            return serial == change.serial;
        case kDelete:
        case kUpdate:
            return entry.present &&
                   (change.whole_group ? entry.group == change.group : serial == change.serial);
        case kTruncate:
        case kRecreate:
            return entry.present;
        default:
            return false;
    }
}

TableModel::Entry TableModel::changed(uint32_t serial) const {
    if (!touches(serial)) {
        return entries[serial];
    }
    if (change.kind == kInsert) {
        return {true, change.group, change.version};
    }
    if (change.kind == kUpdate) {
        return {true, entries[serial].group, change.version};
    }
    return {false, 0, 0};
}

}  // namespace hearth::soak
