// A notify server process and hand-made frames, for tests of the bus.
#pragma once

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "base/io.h"
#include "hearth/notify_frame.h"

namespace hearth::test {

inline constexpr char kServerPath[] = "/var/run/notify/notifyserver";

struct Frame {
    msg_header header{};
    std::string body;
};

inline Frame make_frame(uint32_t sync_tag, uint32_t ack_tag, uint32_t src_mid, uint32_t des_mid,
                        uint32_t msg_id = 0, std::string body = "") {
    Frame frame;
    frame.header.msg_id = msg_id;
    frame.header.src_mid = src_mid;
    frame.header.des_mid = des_mid;
    frame.header.sync_tag = sync_tag;
    frame.header.ack_tag = ack_tag;
    frame.header.data_len = static_cast<uint32_t>(body.size());
    frame.header.ret_val = -1;
    frame.body = std::move(body);
    return frame;
}

inline Frame make_registration(uint32_t mid) {
    return make_frame(NOTIFY_ONE_WAY, NOTIFY_PLAIN, mid, NOTIFY_MID_SERVER);
}

// One end of a bus connection, driven frame by frame.
class Peer {
  public:
    explicit Peer(int fd) : fd_(fd) {}
    Peer(Peer &&other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    Peer &operator=(Peer &&) = delete;
    ~Peer() { hang_up(); }

    // Connects to the server, which may be about to start.
    static Peer connect_to_server(int64_t limit_ms = 5000) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, kServerPath);
        int64_t end = monotonic_ms() + limit_ms;
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        while (connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0) {
            if (monotonic_ms() > end) {
                close(fd);
                return Peer(-1);
            }
            usleep(5000);
        }
        return Peer(fd);
    }

    int fd() const { return fd_; }
    void hang_up() {
        if (fd_ >= 0) {
            close(fd_);
        }
        fd_ = -1;
    }

    bool send(const Frame &frame) const {
        std::string bytes(reinterpret_cast<const char *>(&frame.header), sizeof frame.header);
        bytes += frame.body;
        return send_bytes(bytes);
    }

    bool send_bytes(const std::string &bytes) const {
        size_t done = 0;
        while (done < bytes.size()) {
            ssize_t sent = ::send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            done += static_cast<size_t>(sent);
        }
        return true;
    }

    // The next frame; nothing if none comes in time or the other end has closed.
    std::optional<Frame> receive(int limit_ms = 3000) const {
        pollfd ready{fd_, POLLIN, 0};
        Frame frame;
        if (poll(&ready, 1, limit_ms) != 1 ||
            read_all(fd_, &frame.header, sizeof frame.header) != sizeof frame.header) {
            return std::nullopt;
        }
        frame.body.resize(frame.header.data_len);
        if (read_all(fd_, frame.body.data(), frame.body.size()) !=
            static_cast<ssize_t>(frame.body.size())) {
            return std::nullopt;
        }
        return frame;
    }

    // Whether the other end closes the connection in time.
    bool sees_end(int limit_ms = 3000) const {
        pollfd ready{fd_, POLLIN, 0};
        char byte;
        return poll(&ready, 1, limit_ms) == 1 && recv(fd_, &byte, 1, 0) <= 0;
    }

  private:
    int fd_;
};

// Stands in for the notify server: takes the library's connections and leaves the rest to the
// test.
class ScriptedServer {
  public:
    ScriptedServer() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        strcpy(address.sun_path, kServerPath);
        unlink(kServerPath);
        fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        bind(fd_, reinterpret_cast<sockaddr *>(&address), sizeof address);
        listen(fd_, 8);
    }
    ScriptedServer(const ScriptedServer &) = delete;
    ScriptedServer &operator=(const ScriptedServer &) = delete;
    ~ScriptedServer() {
        close(fd_);
        unlink(kServerPath);
    }

    Peer accept() const { return Peer(accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC)); }

  private:
    int fd_;
};

// The notify server of the desk, as a process of its own.
class ServerProcess {
  public:
    explicit ServerProcess(std::vector<std::string> options = {}) { start(std::move(options)); }
    ServerProcess(const ServerProcess &) = delete;
    ServerProcess &operator=(const ServerProcess &) = delete;
    ~ServerProcess() { stop(SIGTERM); }

    pid_t pid() const { return pid_; }

    // Ends the server; returns its wait status.
    int stop(int signal) {
        int status = -1;
        if (pid_ > 0) {
            kill(pid_, signal);
            waitpid(pid_, &status, 0);
        }
        pid_ = -1;
        return status;
    }

    void start(std::vector<std::string> options = {}) {
        options.insert(options.begin(),
                       HEARTH_BINARY_DIR "/device/notify_server/hearth-notify-server");
        std::vector<char *> arguments;
        for (std::string &option : options) {
            arguments.push_back(option.data());
        }
        arguments.push_back(nullptr);
        posix_spawn(&pid_, arguments[0], nullptr, nullptr, arguments.data(), environ);
    }

  private:
    pid_t pid_ = -1;
};

}  // namespace hearth::test
