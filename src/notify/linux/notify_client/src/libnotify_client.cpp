// The connection to the notify server and the registration of modules.

#include "libnotify_client.h"

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "base/guard.h"
#include "base/log.h"
#include "base/text.h"
#include "hearth/notify_recv.h"
#include "hearth/osa_pthread.h"
#include "hearth/threadpool.h"

namespace hearth::notify {

std::atomic<int> g_sock_fd{-1};
std::atomic<int> g_has_registed;
std::atomic<int> g_init_thread_pool;
std::atomic<int> g_recv_thraed_run;
std::atomic<uint32_t> g_my_mid;
std::atomic<notify_sync_handler> notify_sync_handlers[kModules];
std::atomic<notify_asyn_handler> notify_asyn_handlers[kModules];
std::atomic<int32_t> g_des_mod_online[kModules] = {-1};
char g_client_name[128];

}  // namespace hearth::notify

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

constexpr char kClientPath[] = "/var/run/notify/notifyclient";
constexpr char kServerPath[] = "/var/run/notify/notifyserver";
constexpr int kConnectAttempts = 20;
constexpr useconds_t kConnectPause = 100000;

std::atomic<int> g_thread_num{5};
std::atomic<uint32_t> module_register[kModules];  // the id itself once registered
pthread_mutex_t lock_g_my_mid = PTHREAD_MUTEX_INITIALIZER;
// Held while connecting, before all other locks: the receive thread and callers of register_again
// may find the connection closed at the same time.
pthread_mutex_t lock_connect = PTHREAD_MUTEX_INITIALIZER;

socklen_t fill_address(sockaddr_un *address, const char *path) {
    *address = {};
    address->sun_family = AF_UNIX;
    size_t length = hearth::copy_text(address->sun_path, path);
    return static_cast<socklen_t>(length + 2);
}

bool is_closed() {
    if (peek(g_sock_fd) == -1) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>module has initialized!\n");
    return false;
}

bool create_socket() {
    hearth::MutexLock lock(lock_send);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd >= FD_SETSIZE) {
        // The receive thread could not wait on it.
        close(fd);
        fd = -1;
        errno = EMFILE;
    }
    if (fd < 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>Create socket_fd fail! errno is %s \n",
                   strerror(errno));
        return false;
    }
    put(g_sock_fd, fd);
    return true;
}

bool bind_client() {
    hearth::format_text(g_client_name, sizeof g_client_name, "%s%05d", kClientPath, getpid());
    sockaddr_un address;
    socklen_t length = fill_address(&address, g_client_name);
    unlink(g_client_name);
    if (bind(peek(g_sock_fd), reinterpret_cast<sockaddr *>(&address), length) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>Bind socket fail! errno= %s \n", strerror(errno));
        return false;
    }
    return true;
}

// Takes turns with senders of other threads, which may have an answer to send at any time.
bool try_connect(const sockaddr_un &address, socklen_t length) {
    hearth::MutexLock lock(lock_send);
    return connect(peek(g_sock_fd), reinterpret_cast<const sockaddr *>(&address), length) == 0;
}

bool connect_server() {
    sockaddr_un address;
    socklen_t length = fill_address(&address, kServerPath);
    int error = 0;
    for (int attempt = 1; attempt <= kConnectAttempts; attempt++) {
        if (try_connect(address, length)) {
            return true;
        }
        error = errno;
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>connect socket fail! time is %d, errno= %s\n",
                   attempt, strerror(error));
        usleep(kConnectPause);
    }
    HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>connect socket fail! all failed!errno= %s\n",
               strerror(error));
    return false;
}

// A failure leaves the messages to the receive thread.
void start_pool() {
    if (peek(g_init_thread_pool) != 0) {
        return;
    }
    if (pool_init(peek(g_thread_num)) == 0) {
        put(g_init_thread_pool, 1);
    } else {
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>create thread pool return err\n");
    }
}

void *run_receive_thread(void *) {
    // A signal must not cut a read short: the rest of the frame would be taken for the next.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    return recv_msg_thread(nullptr);
}

bool start_receive_thread() {
    if (peek(g_recv_thraed_run) != 0) {
        return true;
    }
    put(g_recv_thraed_run, 1);
    if (osa_pthread_create("recv_msg_thread", 0, 0, run_receive_thread, nullptr) == 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>Pthread_create fail n");
        put(g_recv_thraed_run, 0);
        return false;
    }
    return true;
}

}  // namespace

extern "C" HEARTH_API int32_t init_notify(void) {
    if (!is_closed()) {
        return -1;
    }
    hearth::MutexLock lock(lock_connect);
    if (!is_closed()) {
        return -1;
    }
    init_ack_list();
    reset_timeout_list();
    if (signal(SIGPIPE, SIG_IGN) == SIG_ERR) {
        HEARTH_LOG(OSA_LOG_ERROR, "init_notify-->>ignored the SIGPIPE fail !\n");
    }
    if (!create_socket()) {
        return -1;
    }
    if (!bind_client() || !connect_server()) {
        clear_socketfd();
        return -1;
    }
    start_pool();
    if (!start_receive_thread()) {
        clear_socketfd();
        return -1;
    }
    create_timeout_thread();
    return 0;
}

extern "C" HEARTH_API int32_t register_notify_handler(uint32_t mid,
                                                      notify_sync_handler sync_handler,
                                                      notify_asyn_handler asyn_handler) {
    if (peek(g_sock_fd) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "register_notify_handler-->>g_sock_fd= %d!\n", peek(g_sock_fd));
        return -1;
    }
    if (!is_valid_mid(mid)) {
        HEARTH_LOG(OSA_LOG_ERROR, "register_notify_handler-->>mid is wrong!\n");
        return -1;
    }
    put(module_register[mid], mid);
    // Whoever sees a handler also sees what its daemon prepared for it.
    notify_sync_handlers[mid].store(sync_handler, std::memory_order_release);
    notify_asyn_handlers[mid].store(asyn_handler, std::memory_order_release);
    if (send_registration(mid) == -1) {
        HEARTH_LOG(OSA_LOG_ERROR, "register_notify_handler-->>send register msg  return error!\n");
        return -1;
    }
    {
        hearth::MutexLock lock(lock_g_my_mid);
        if (peek(g_my_mid) == 0) {
            put(g_my_mid, mid);
        }
    }
    put(g_has_registed, 1);
    return 0;
}

extern "C" HEARTH_API int32_t set_pool_thread_num(int32_t n) {
    put(g_thread_num, n);
    return n;
}

extern "C" HEARTH_API void clear_socketfd(void) {
    // Keeps a frame that is on its way out from ending in whatever gets the descriptor next.
    hearth::MutexLock lock(lock_send);
    int fd = peek(g_sock_fd);
    if (fd == -1) {
        return;
    }
    close(fd);
    put(g_sock_fd, -1);
    put(g_has_registed, 0);
    for (std::atomic<int32_t> &online : g_des_mod_online) {
        put(online, -1);
    }
}

// A registration that fails leaves the connection open and unregistered until it next drops:
// required.
extern "C" HEARTH_API void register_again(void) {
    if (init_notify() != 0) {
        return;
    }
    for (const std::atomic<uint32_t> &entry : module_register) {
        uint32_t mid = peek(entry);
        if (is_valid_mid(mid) && send_registration(mid) == -1) {
            HEARTH_LOG(OSA_LOG_ERROR, "register_again-->>send register msg  return error!\n");
            return;
        }
    }
    put(g_has_registed, 1);
}
