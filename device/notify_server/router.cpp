#include "router.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>

#include "base/io.h"

namespace hearth::notify_server {

namespace {

// While a client waits for another, the loop looks this often whether that one has stalled.
constexpr int kStallCheckMs = 250;

bool is_module(uint32_t id) {
    return id >= 1 && id <= NOTIFY_MID_MAX && id != NOTIFY_MID_SERVER;
}

bool is_request(const msg_header &header) {
    return header.sync_tag == NOTIFY_CALL && header.ack_tag != NOTIFY_ANSWER &&
           header.ack_tag != NOTIFY_NOTICE;
}

bool is_answer(const msg_header &header) {
    return header.sync_tag == NOTIFY_CALL && header.ack_tag == NOTIFY_ANSWER;
}

bool is_registration(const msg_header &header) {
    return header.sync_tag == NOTIFY_ONE_WAY && header.des_mid == NOTIFY_MID_SERVER &&
           header.data_len == 0;
}

// What the server says in its own name.
msg_header notice(uint32_t sync_tag, uint32_t msg_id, uint32_t des_mid) {
    msg_header header{};
    header.msg_id = msg_id;
    header.src_mid = NOTIFY_MID_SERVER;
    header.des_mid = des_mid;
    header.sync_tag = sync_tag;
    header.ack_tag = NOTIFY_NOTICE;
    header.ret_val = -1;
    return header;
}

// Whether a server answers on the path; if none does, the file may be replaced.
bool is_served(const sockaddr_un &address) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool served =
        fd >= 0 && connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return served;
}

}  // namespace

Router::~Router() {
    clients_.clear();
    for (int fd : {listener_, loop_, signals_, spare_}) {
        if (fd >= 0) {
            close(fd);
        }
    }
    if (listener_ >= 0) {
        unlink(path_.c_str());
    }
}

void Router::say(const char *format, ...) const {
    va_list values;
    va_start(values, format);
    fputs("notify_server: ", stderr);
    vfprintf(stderr, format, values);
    fputc('\n', stderr);
    va_end(values);
}

bool Router::open(const std::string &path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
        say("the path %s is too long", path.c_str());
        return false;
    }
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (is_served(address)) {
        say("another server is on %s", path.c_str());
        return false;
    }
    unlink(path.c_str());
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        listen(fd, SOMAXCONN) != 0) {
        say("cannot listen on %s: %s", path.c_str(), strerror(errno));
        if (fd >= 0) {
            close(fd);
        }
        return false;
    }
    listener_ = fd;
    path_ = path;
    return open_loop();
}

bool Router::open_loop() {
    sigset_t stop;
    sigemptyset(&stop);
    sigaddset(&stop, SIGTERM);
    sigaddset(&stop, SIGINT);
    sigprocmask(SIG_BLOCK, &stop, nullptr);
    signals_ = signalfd(-1, &stop, SFD_CLOEXEC | SFD_NONBLOCK);
    spare_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    loop_ = epoll_create1(EPOLL_CLOEXEC);
    epoll_event listening{.events = EPOLLIN, .data = {.ptr = &listener_}};
    epoll_event stopping{.events = EPOLLIN, .data = {.ptr = &signals_}};
    if (signals_ < 0 || loop_ < 0 || epoll_ctl(loop_, EPOLL_CTL_ADD, listener_, &listening) != 0 ||
        epoll_ctl(loop_, EPOLL_CTL_ADD, signals_, &stopping) != 0) {
        say("cannot set up the event loop: %s", strerror(errno));
        return false;
    }
    return true;
}

bool Router::run() {
    epoll_event events[64];
    for (;;) {
        bool waiting = std::any_of(clients_.begin(), clients_.end(),
                                   [](const auto &client) { return client->waits_for; });
        int count = epoll_wait(loop_, events, std::size(events), waiting ? kStallCheckMs : -1);
        if (count < 0 && errno != EINTR) {
            say("cannot wait for events: %s", strerror(errno));
            return false;
        }
        for (int i = 0; i < count; i++) {
            if (events[i].data.ptr == &signals_) {
                return true;
            }
            if (events[i].data.ptr == &listener_) {
                accept_clients();
            } else {
                on_event(static_cast<Client *>(events[i].data.ptr), events[i].events);
            }
            bury_failed();
        }
        if (waiting) {
            drop_stalled();
            bury_failed();
        }
        send_unsent();
        bury_failed();
        send_unsent();
        buried_.clear();
    }
}

void Router::accept_clients() {
    for (;;) {
        int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (fd < 0 && (errno == EMFILE || errno == ENFILE) && turn_one_away()) {
            continue;
        }
        if (fd < 0) {
            return;
        }
        if (clients_.size() >= limits_.clients) {
            close(fd);
            say("%zu connections are all there may be, one was turned away", limits_.clients);
            continue;
        }
        clients_.push_back(std::make_unique<Client>(fd, ++accepted_, limits_));
        watch(clients_.back().get());
    }
}

// Without this a connection for which there is no descriptor would stay at the head of the line
// and the loop spin. False when none is waiting.
bool Router::turn_one_away() {
    if (spare_ < 0) {
        return false;
    }
    close(spare_);
    int fd = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0) {
        close(fd);
        say("out of descriptors, a connection was turned away");
    }
    spare_ = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    return fd >= 0;
}

void Router::on_event(Client *client, uint32_t events) {
    if (client->failed) {
        return;
    }
    if ((events & EPOLLOUT) != 0) {
        client->flush();
        resume_waiting(client);
    }
    if ((events & ~static_cast<uint32_t>(EPOLLOUT)) != 0 && client->waits_for == nullptr) {
        if (client->receive()) {
            process(client);
        } else {
            fail(client, "closed");
        }
    }
    watch(client);
}

void Router::process(Client *client) {
    Frame frame{};
    for (;;) {
        switch (client->front(&frame)) {
            case Input::kFrame:
                if (!route(client, frame)) {
                    return;
                }
                break;
            case Input::kTooBig:
                drop_frame(client, frame.header, "its body is too long");
                if (is_request(frame.header)) {
                    refuse(client, frame.header);
                }
                break;
            case Input::kRubbish:
                fail(client, "sends what is no frame");
                return;
            case Input::kMore:
                return;
        }
        client->consume(frame);
    }
}

bool Router::route(Client *from, const Frame &frame) {
    const msg_header &header = frame.header;
    if (is_registration(header)) {
        bind(from, header.src_mid);
        return true;
    }
    if (header.ack_tag == NOTIFY_NOTICE || header.src_mid == NOTIFY_MID_SERVER) {
        drop_frame(from, header, "only the server speaks like that");
        return true;
    }
    if (header.des_mid == NOTIFY_MID_ALL && header.sync_tag == NOTIFY_ONE_WAY) {
        return fan_out(from, frame);
    }
    Client *to = is_module(header.des_mid) ? owners_[header.des_mid] : nullptr;
    if (is_request(header)) {
        // An answer has to find its way back, and to fit.
        bool answerable = is_module(header.src_mid) && owners_[header.src_mid] == from &&
                          header.ack_len <= limits_.body;
        if (to == nullptr || !answerable) {
            drop_frame(from, header,
                       to == nullptr ? "nobody has that id" : "no answer is possible");
            refuse(from, header);
            return true;
        }
    } else if (to == nullptr) {
        drop_frame(from, header, "nobody has that id");
        return true;
    }
    if (!has_room(to)) {
        from->waits_for = to;
        return false;
    }
    if (is_request(header)) {
        to->note_request(header, from->number());
    } else if (is_answer(header) && from->answers_another(header, to->number())) {
        drop_frame(from, header, "who asked is gone, and the id another's now");
        return true;
    }
    send(to, frame.bytes, frame.size);
    return true;
}

bool Router::fan_out(Client *from, const Frame &frame) {
    // One receiver may have all the modules: even then its queue stays within bounds.
    if (frame.size > limits_.queue / NOTIFY_MID_MAX) {
        drop_frame(from, frame.header, "it is too long to go to all");
        return true;
    }
    for (Client *to : owners_) {
        if (to != nullptr && !has_room(to)) {
            from->waits_for = to;
            return false;
        }
    }
    std::vector<uint8_t> copy(frame.bytes, frame.bytes + frame.size);
    for (uint32_t module = 1; module <= NOTIFY_MID_MAX; module++) {
        if (owners_[module] != nullptr) {
            memcpy(copy.data() + offsetof(msg_header, des_mid), &module, sizeof module);
            send(owners_[module], copy.data(), copy.size());
        }
    }
    return true;
}

void Router::bind(Client *client, uint32_t module) {
    if (!is_module(module)) {
        say("refused a registration of the id %u", module);
        return;
    }
    Client *before = owners_[module];
    if (before == client) {
        return;
    }
    if (client->first_module == 0) {
        client->first_module = module;
    }
    client->modules.set(module);
    owners_[module] = client;
    if (before != nullptr) {
        // The id has moved to a new process. Whoever waits for the old one gets no answer.
        before->modules.reset(module);
        announce_death(module, client);
    }
    say("module %u is on connection %d", module, client->fd());
}

void Router::refuse(Client *from, const msg_header &request) {
    msg_header answer = notice(NOTIFY_CALL, request.msg_id, request.src_mid);
    answer.seq_num = request.seq_num;
    if (from->queued() > 2 * limits_.queue) {
        fail(from, "does not read its answers");
        return;
    }
    send(from, &answer, sizeof answer);
}

// What one round of events brings for a client leaves in one piece.
void Router::send(Client *to, const void *bytes, size_t size) {
    to->queue(bytes, size);
    if (!to->unsent) {
        to->unsent = true;
        unsent_.push_back(to);
    }
}

// Whether a client takes another frame; what it has is sent first, if that makes room.
bool Router::has_room(Client *to) {
    if (to->full() && to->unsent) {
        to->flush();
    }
    return !to->full();
}

void Router::send_unsent() {
    // Whoever waited for room may add to the list on the way.
    for (size_t i = 0; i < unsent_.size(); i++) {
        Client *client = unsent_[i];
        client->unsent = false;
        client->flush();
        resume_waiting(client);
        watch(client);
    }
    unsent_.clear();
}

void Router::drop_frame(const Client *from, const msg_header &header, const char *why) {
    if (verbose_) {
        say("dropped a frame of connection %d, %u from %u to %u: %s", from->fd(), header.msg_id,
            header.src_mid, header.des_mid, why);
    }
}

void Router::announce_death(uint32_t module, const Client *except) {
    for (const auto &client : clients_) {
        if (client.get() == except || client->failed || client->first_module == 0) {
            continue;
        }
        // Notices do not wait for room, so a client that never reads must not collect them.
        if (client->queued() > 2 * limits_.queue) {
            fail(client.get(), "does not read");
            continue;
        }
        msg_header death = notice(NOTIFY_ONE_WAY, module, client->first_module);
        send(client.get(), &death, sizeof death);
    }
}

// Only marks the client: the caller may be in the middle of a walk over all of them.
void Router::fail(Client *client, const char *why) {
    if (client->failed) {
        return;
    }
    client->failed = true;
    any_failed_ = true;
    if (verbose_ || client->modules.any()) {
        say("connection %d goes: %s", client->fd(), why);
    }
}

void Router::bury_failed() {
    while (any_failed_) {
        any_failed_ = false;
        auto dead = std::stable_partition(clients_.begin(), clients_.end(),
                                          [](const auto &client) { return !client->failed; });
        std::vector<std::unique_ptr<Client>> gone(std::make_move_iterator(dead),
                                                  std::make_move_iterator(clients_.end()));
        clients_.erase(dead, clients_.end());
        for (auto &client : gone) {
            if (client->watched != 0) {
                epoll_ctl(loop_, EPOLL_CTL_DEL, client->fd(), nullptr);
            }
            for (Client *&owner : owners_) {
                owner = owner == client.get() ? nullptr : owner;
            }
        }
        for (auto &client : gone) {
            for (uint32_t module = 1; module <= NOTIFY_MID_MAX; module++) {
                if (client->modules.test(module)) {
                    announce_death(module, nullptr);
                }
            }
            resume_waiting(client.get());
            buried_.push_back(std::move(client));
        }
    }
}

void Router::drop_stalled() {
    int64_t now = monotonic_ms();
    for (const auto &client : clients_) {
        Client *blocking = client->waits_for;
        if (blocking != nullptr && now - blocking->progress_ms() >= limits_.stall_ms) {
            fail(blocking, "blocks others and does not read");
        }
    }
}

// Goes on with the clients that were paused for this one, once it has room again or is gone.
void Router::resume_waiting(const Client *client) {
    if (!client->failed && client->queued() > limits_.queue / 2) {
        return;
    }
    for (size_t i = 0; i < clients_.size(); i++) {
        Client *paused = clients_[i].get();
        if (paused->waits_for == client) {
            paused->waits_for = nullptr;
            process(paused);
            watch(paused);
        }
    }
}

// Brings the events that the loop watches for in line with the client's state. A paused client
// with nothing to send is not watched at all: its hang-up can wait for its turn.
void Router::watch(Client *client) {
    uint32_t wanted = client->waits_for == nullptr ? uint32_t{EPOLLIN} : 0;
    wanted |= client->queued() > 0 ? uint32_t{EPOLLOUT} : 0;
    if (client->failed || wanted == client->watched) {
        return;
    }
    epoll_event event{.events = wanted, .data = {.ptr = client}};
    int change = wanted == 0 ? EPOLL_CTL_DEL : client->watched == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    if (epoll_ctl(loop_, change, client->fd(), &event) != 0) {
        say("cannot watch connection %d: %s", client->fd(), strerror(errno));
        fail(client, "cannot be watched");
        return;
    }
    client->watched = wanted;
}

}  // namespace hearth::notify_server
