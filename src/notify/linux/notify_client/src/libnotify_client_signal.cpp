// Cleaning up after fatal signals. Nothing installs it: a client's socket file stays behind when
// its process dies, and the next process with that id unlinks it.

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include "base/log.h"
#include "libnotify_client.h"

namespace {

using namespace hearth::notify;

constexpr hearth::LogSource kLogSource{"notify_client",
                                       "notify/linux/notify_client/src/libnotify_client"};

struct FatalSignal {
    int number;
    const char *name;
};

constexpr FatalSignal kFatalSignals[] = {
    {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGTERM, "SIGTERM"},
    {SIGSEGV, "SIGSEGV"}, {SIGBUS, "SIGBUS"},
};

void clearup_process_res(int number) {
    HEARTH_LOG(OSA_LOG_ERROR,
               "clearup_process_res-->>client_notify= %d received sig= :%d!, will quit!!!\n ",
               peek(g_my_mid), number);
    put(g_recv_thraed_run, 0);
    clear_socketfd();
    unlink(g_client_name);
    exit(1);
}

}  // namespace

namespace hearth::notify {

void install_sig_handle() {
    for (const FatalSignal &fatal : kFatalSignals) {
        if (signal(fatal.number, clearup_process_res) == SIG_ERR) {
            HEARTH_LOG(OSA_LOG_ERROR, "install %s fail !\n", fatal.name);
        }
    }
}

}  // namespace hearth::notify
