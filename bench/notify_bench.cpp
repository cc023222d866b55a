// packages: libsystemd-dev dbus libzmq3-dev
// link: systemd zmq
//
// Calls and posts from one process to another by way of a router: ours, sd-bus on a bus daemon, a
// ZeroMQ broker, and the least that two hops over Unix sockets can cost. The router and the
// answering side are processes of their own; `cpu` is the processor time of all of them per call.

#include <benchmark/benchmark.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>
#include <zmq.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "base/io.h"
#include "bench/processes.h"
#include "hearth/notify.h"

using hearth::bench::cpu_seconds;
using hearth::bench::now_ns;

namespace {

constexpr uint32_t kAnswering = 10;
constexpr uint32_t kAsking = 20;
constexpr char kRelayPath[] = "/var/tmp/relay";
constexpr char kEchoPath[] = "/var/tmp/echo";
constexpr char kBusAddress[] = "unix:path=/var/tmp/bus";
constexpr char kZmqFront[] = "ipc:///var/tmp/zmq-front";
constexpr char kZmqBack[] = "ipc:///var/tmp/zmq-back";
constexpr char kName[] = "org.hearth.Bench";
constexpr char kPath[] = "/org/hearth/Bench";

[[noreturn]] void fail(const char *what) {
    perror(what);
    exit(1);
}

// ---- The answering sides and the routers, each a process that runs this program anew.

uint32_t answer(uint32_t msg_id, void *in, void *out) {
    if (out != nullptr) {
        memcpy(out, in, msg_id);
    }
    return 0;
}

uint32_t hear(uint32_t, uintptr_t, uintptr_t) {
    return 0;
}

int answer_ours() {
    if (init_notify() != 0 || register_notify_handler(kAnswering, answer, hear) != 0) {
        fail("notify");
    }
    pause();
    return 0;
}

int answer_call(sd_bus_message *message, void *, sd_bus_error *) {
    const void *bytes = nullptr;
    size_t size = 0;
    sd_bus_message_read_array(message, 'y', &bytes, &size);
    sd_bus_message *reply = nullptr;
    sd_bus_message_new_method_return(message, &reply);
    sd_bus_message_append_array(reply, 'y', bytes, size);
    sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return 1;
}

sd_bus *open_bus() {
    sd_bus *bus = nullptr;
    for (int i = 0; i < 200; i++) {
        sd_bus_new(&bus);
        sd_bus_set_address(bus, kBusAddress);
        sd_bus_set_bus_client(bus, 1);
        if (sd_bus_start(bus) >= 0) {
            return bus;
        }
        sd_bus_unref(bus);
        usleep(10000);
    }
    fail("sd_bus_start");
}

const sd_bus_vtable kTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Echo", "ay", "ay", answer_call, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

int answer_sdbus() {
    sd_bus *bus = open_bus();
    sd_bus_add_object_vtable(bus, nullptr, kPath, kName, kTable, nullptr);
    sd_bus_request_name(bus, kName, 0);
    for (;;) {
        if (sd_bus_process(bus, nullptr) == 0) {
            sd_bus_wait(bus, UINT64_MAX);
        }
    }
}

int route_zmq() {
    void *context = zmq_ctx_new();
    void *front = zmq_socket(context, ZMQ_ROUTER);
    void *back = zmq_socket(context, ZMQ_DEALER);
    if (zmq_bind(front, kZmqFront) != 0 || zmq_bind(back, kZmqBack) != 0) {
        fail("zmq_bind");
    }
    return zmq_proxy(front, back, nullptr);
}

int answer_zmq() {
    void *socket = zmq_socket(zmq_ctx_new(), ZMQ_REP);
    if (zmq_connect(socket, kZmqBack) != 0) {
        fail("zmq_connect");
    }
    std::vector<char> buffer(65536);
    for (;;) {
        int size = zmq_recv(socket, buffer.data(), buffer.size(), 0);
        if (size >= 0) {
            zmq_send(socket, buffer.data(), static_cast<size_t>(size), 0);
        }
    }
}

sockaddr_un address_of(const char *path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, path);
    return address;
}

int listen_at(const char *path) {
    sockaddr_un address = address_of(path);
    unlink(path);
    int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        listen(fd, 64) != 0) {
        fail("listen");
    }
    return fd;
}

int connect_to(const char *path) {
    sockaddr_un address = address_of(path);
    for (int i = 0; i < 200; i++) {
        int fd = socket(AF_UNIX, SOCK_STREAM, 0);
        if (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) {
            return fd;
        }
        close(fd);
        usleep(10000);
    }
    fail("connect");
}

// Accepts connections; what arrives on one goes out on its partner: itself, or with `onward` a
// connection made there for it.
int relay(const char *path, const char *onward) {
    std::vector<pollfd> watched{{listen_at(path), POLLIN, 0}};
    std::map<int, int> partners;
    static char buffer[65536];
    for (;;) {
        poll(watched.data(), watched.size(), -1);
        for (size_t i = 1; i < watched.size(); i++) {
            if (watched[i].revents == 0) {
                continue;
            }
            ssize_t got = read(watched[i].fd, buffer, sizeof buffer);
            if (got > 0) {
                hearth::write_all(partners[watched[i].fd], buffer, static_cast<size_t>(got));
            } else {
                watched[i].fd = -1;
            }
        }
        if (watched[0].revents != 0) {
            int fd = accept(watched[0].fd, nullptr, nullptr);
            int partner = onward != nullptr ? connect_to(onward) : fd;
            partners[fd] = partner;
            partners[partner] = fd;
            watched.push_back({fd, POLLIN, 0});
            if (partner != fd) {
                watched.push_back({partner, POLLIN, 0});
            }
        }
    }
}

int exec_bus_daemon() {
    const char *config = "/var/tmp/bus.conf";
    std::ofstream(config) << "<busconfig><type>session</type><listen>" << kBusAddress
                          << "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                             "<allow send_destination=\"*\" eavesdrop=\"true\"/>"
                             "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy>"
                             "</busconfig>";
    execlp("dbus-daemon", "dbus-daemon", "--nofork", "--config-file", config, nullptr);
    fail("dbus-daemon");
}

int exec_server() {
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) < 0) {
        fail("readlink");
    }
    std::string folder = self;
    folder = folder.substr(0, folder.rfind("/bench/"));
    execl((folder + "/device/notify_server/hearth-notify-server").c_str(), "server", nullptr);
    fail("hearth-notify-server");
}

struct Role {
    const char *name;
    int (*run)();
};

constexpr Role kRoles[] = {
    {"ours-server", exec_server},
    {"ours-answer", answer_ours},
    {"sdbus-server", exec_bus_daemon},
    {"sdbus-answer", answer_sdbus},
    {"zmq-server", route_zmq},
    {"zmq-answer", answer_zmq},
    {"relay-server", [] { return relay(kRelayPath, kEchoPath); }},
    {"relay-answer", [] { return relay(kEchoPath, nullptr); }},
};

// ---- The asking side.

// The two processes of a peer, started once, and the processor time they have used.
std::vector<pid_t> start_peer(const std::string &name) {
    static std::mutex mutex;
    static std::map<std::string, std::vector<pid_t>> started;
    std::lock_guard lock(mutex);
    if (!started.contains(name)) {
        for (const char *part : {"-server", "-answer"}) {
            std::string role = name + part;
            pid_t pid = fork();
            if (pid == 0) {
                prctl(PR_SET_PDEATHSIG, SIGKILL);
                execl("/proc/self/exe", "notify_bench", "--role", role.c_str(), nullptr);
                fail("exec");
            }
            started[name].push_back(pid);
            usleep(200000);
        }
    }
    return started[name];
}

// One caller of each kind. ask() sends a message and waits for its echo; tell() does not wait.
struct Ours {
    static constexpr char kKind[] = "ours";
    Ours() {
        static std::once_flag once;
        std::call_once(once, [] {
            if (init_notify() != 0 || register_notify_handler(kAsking, nullptr, nullptr) != 0) {
                fail("notify");
            }
        });
    }
    bool ask(std::string *message) {
        uint32_t size = static_cast<uint32_t>(message->size());
        return send_notify(kAnswering, size, message->data(), message->data(), size, size) == 0;
    }
    void tell() { post_notify(kAnswering, 1, 2, 3); }
};

struct SdBus {
    static constexpr char kKind[] = "sdbus";
    sd_bus *bus = open_bus();
    ~SdBus() { sd_bus_flush_close_unref(bus); }
    sd_bus_message *make(const std::string &message) {
        sd_bus_message *call = nullptr;
        sd_bus_message_new_method_call(bus, &call, kName, kPath, kName, "Echo");
        sd_bus_message_append_array(call, 'y', message.data(), message.size());
        return call;
    }
    bool ask(std::string *message) {
        sd_bus_message *call = make(*message);
        sd_bus_message *reply = nullptr;
        int result = sd_bus_call(bus, call, 0, nullptr, &reply);
        sd_bus_message_unref(call);
        sd_bus_message_unref(reply);
        return result >= 0;
    }
    void tell() {
        sd_bus_message *call = make("12345678");
        sd_bus_message_set_expect_reply(call, 0);
        sd_bus_send(bus, call, nullptr);
        sd_bus_message_unref(call);
        sd_bus_flush(bus);
    }
};

struct Zmq {
    static constexpr char kKind[] = "zmq";
    void *context = zmq_ctx_new();
    void *socket = zmq_socket(context, ZMQ_REQ);
    Zmq() { zmq_connect(socket, kZmqFront); }
    ~Zmq() {
        zmq_close(socket);
        zmq_ctx_destroy(context);
    }
    bool ask(std::string *message) {
        return zmq_send(socket, message->data(), message->size(), 0) >= 0 &&
               zmq_recv(socket, message->data(), message->size(), 0) >= 0;
    }
};

struct Relay {
    static constexpr char kKind[] = "relay";
    int fd = connect_to(kRelayPath);
    ~Relay() { close(fd); }
    bool ask(std::string *message) {
        return hearth::write_all(fd, message->data(), message->size()) &&
               hearth::read_all(fd, message->data(), message->size()) ==
                   static_cast<ssize_t>(message->size());
    }
};

template <typename Caller>
void call(benchmark::State &state) {
    std::vector<pid_t> others = start_peer(Caller::kKind);
    Caller caller;
    std::string message(static_cast<size_t>(state.range(0)), 'x');
    for (int i = 0; i < 50; i++) {
        caller.ask(&message);
    }
    std::vector<int64_t> times;
    double before = state.thread_index() == 0 ? cpu_seconds(others) : 0;
    for (auto _ : state) {
        int64_t start = now_ns();
        if (!caller.ask(&message)) {
            state.SkipWithError("a call failed");
            break;
        }
        times.push_back(now_ns() - start);
    }
    if (times.empty()) {
        return;
    }
    std::sort(times.begin(), times.end());
    auto microseconds = [&](size_t index) { return static_cast<double>(times[index]) / 1e3; };
    state.counters["p50_us"] =
        benchmark::Counter(microseconds(times.size() / 2), benchmark::Counter::kAvgThreads);
    state.counters["p99_us"] =
        benchmark::Counter(microseconds(times.size() * 99 / 100), benchmark::Counter::kAvgThreads);
    state.counters["calls"] =
        benchmark::Counter(static_cast<double>(times.size()), benchmark::Counter::kIsRate);
    if (state.thread_index() == 0) {
        double calls = static_cast<double>(times.size()) * state.threads();
        state.counters["cpu_us"] = (cpu_seconds(others) - before) * 1e6 / calls;
    }
}

// Posts, with a call at the end of each hundred that tells that they have arrived.
template <typename Caller>
void post(benchmark::State &state) {
    std::vector<pid_t> others = start_peer(Caller::kKind);
    Caller caller;
    std::string message(8, 'x');
    double before = cpu_seconds(others);
    for (auto _ : state) {
        for (int i = 0; i < 99; i++) {
            caller.tell();
        }
        caller.ask(&message);
    }
    double posts = static_cast<double>(state.iterations()) * 100;
    state.counters["posts"] = benchmark::Counter(posts, benchmark::Counter::kIsRate);
    state.counters["cpu_us"] = (cpu_seconds(others) - before) * 1e6 / posts;
}

#define CALLS(caller) \
    BENCHMARK(call<caller>)->Arg(64)->Arg(4096)->Threads(1)->Threads(8)->UseRealTime()

CALLS(Ours);
CALLS(SdBus);
CALLS(Zmq);
CALLS(Relay);
// How the bus grows.
BENCHMARK(call<Ours>)->Arg(64)->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(post<Ours>)->UseRealTime();
BENCHMARK(post<SdBus>)->UseRealTime();

}  // namespace

int main(int count, char **arguments) {
    if (count == 3 && strcmp(arguments[1], "--role") == 0) {
        for (const Role &role : kRoles) {
            if (strcmp(role.name, arguments[2]) == 0) {
                return role.run();
            }
        }
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    benchmark::Initialize(&count, arguments);
    // By this thread, with whose end they die.
    for (const char *kind : {Ours::kKind, SdBus::kKind, Zmq::kKind, Relay::kKind}) {
        start_peer(kind);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
