// Enters a private device root and runs a command in it.
//
//     hearth-root -- COMMAND [ARGUMENT...]
//
// The command sees the host's files, but /data, /app, /online and /var are its own, empty and in
// memory, and so are its System V queues. Nothing on the host is touched. When the command ends,
// every process that it left behind is ended too.

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace {

// Exit status of this program's own failures, as env(1) and its like use it.
constexpr int kOwnFailure = 125;
constexpr const char *kNewRoot = "/mnt";

// The folders that a device has of its own.
constexpr const char *kPrivate[] = {"data", "app", "online", "var", "mnt"};

// What stands in them at boot.
constexpr const char *kFolders[] = {
    "/data/userdata", "/data/userdata/log", "/app/config",      "/app/webroot",
    "/online/log",    "/var/run",           "/var/run/pidfile", "/var/run/notify",
    "/var/log",       "/var/tmp",           "/var/lib",
};

[[noreturn]] void fail(const char *what, const char *name) {
    fprintf(stderr, "hearth-root: %s %s: %s\n", what, name, strerror(errno));
    exit(kOwnFailure);
}

void write_file(const char *path, const std::string &text) {
    int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        fail("cannot write", path);
    }
    close(fd);
}

// Root may do without a user namespace; everyone else gets one in which they are themselves.
void enter_namespaces() {
    uid_t uid = geteuid();
    gid_t gid = getegid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWIPC) == 0) {
        write_file("/proc/self/setgroups", "deny");
        write_file("/proc/self/uid_map", std::to_string(uid) + " " + std::to_string(uid) + " 1");
        write_file("/proc/self/gid_map", std::to_string(gid) + " " + std::to_string(gid) + " 1");
        return;
    }
    if (uid == 0 && unshare(CLONE_NEWNS | CLONE_NEWIPC) == 0) {
        return;
    }
    fprintf(
        stderr,
        "hearth-root: this machine does not allow user namespaces (%s).\n"
        "Allow them with one of\n"
        "    sudo sysctl -w kernel.unprivileged_userns_clone=1\n"
        "    sudo sysctl -w kernel.apparmor_restrict_unprivileged_userns=0\n"
        "    sudo sysctl -w user.max_user_namespaces=10000\n"
        "or, in a container, start it with --privileged or --security-opt seccomp=unconfined.\n",
        strerror(errno));
    exit(kOwnFailure);
}

bool is_private(std::string_view name) {
    for (const char *entry : kPrivate) {
        if (name == entry) {
            return true;
        }
    }
    return false;
}

// Brings one entry of the host's root directory into the new root.
void mirror(const std::string &name) {
    std::string from = "/" + name;
    std::string to = kNewRoot + from;
    struct stat status {};
    if (lstat(from.c_str(), &status) != 0) {
        return;
    }
    if (S_ISLNK(status.st_mode)) {
        char target[4096];
        ssize_t length = readlink(from.c_str(), target, sizeof target - 1);
        if (length > 0) {
            target[length] = '\0';
            if (symlink(target, to.c_str()) != 0) {
                fail("cannot link", to.c_str());
            }
        }
        return;
    }
    if (S_ISDIR(status.st_mode)) {
        if (mkdir(to.c_str(), 0755) != 0) {
            fail("cannot make", to.c_str());
        }
    } else if (S_ISREG(status.st_mode)) {
        int fd = open(to.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
        if (fd < 0) {
            fail("cannot make", to.c_str());
        }
        close(fd);
    } else {
        return;
    }
    // What may not be bound (a folder without access) is left out.
    (void)mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr);
}

void build_root() {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        fail("cannot make private", "/");
    }
    if (mount("hearth", kNewRoot, "tmpfs", 0, "mode=755") != 0) {
        fail("cannot mount", kNewRoot);
    }
    DIR *top = opendir("/");
    if (top == nullptr) {
        fail("cannot read", "/");
    }
    while (const dirent *entry = readdir(top)) {
        std::string name = entry->d_name;
        if (name != "." && name != ".." && !is_private(name)) {
            mirror(name);
        }
    }
    closedir(top);
    for (const char *entry : kPrivate) {
        std::string path = std::string(kNewRoot) + "/" + entry;
        if (mkdir(path.c_str(), 0755) != 0) {
            fail("cannot make", path.c_str());
        }
    }
    if (chdir(kNewRoot) != 0 || syscall(SYS_pivot_root, ".", ".") != 0) {
        fail("cannot enter", kNewRoot);
    }
    // The host's root now lies over the new one, at the same place.
    if (umount2(".", MNT_DETACH) != 0 || chdir("/") != 0) {
        fail("cannot leave", "the host's root");
    }
    for (const char *folder : kFolders) {
        if (mkdir(folder, 0755) != 0) {
            fail("cannot make", folder);
        }
    }
}

// Ends whatever the command left running: orphans of its become this process's children.
void end_leftovers() {
    std::string path = "/proc/self/task/" + std::to_string(getpid()) + "/children";
    for (;;) {
        FILE *file = fopen(path.c_str(), "re");
        if (file == nullptr) {
            return;
        }
        int child = 0;
        bool any = false;
        while (fscanf(file, "%d", &child) == 1) {
            any = true;
            kill(child, SIGKILL);
        }
        fclose(file);
        if (!any) {
            return;
        }
        while (waitpid(-1, nullptr, 0) > 0) {
        }
    }
}

volatile sig_atomic_t g_command = 0;

void pass_on(int signal) {
    if (g_command > 0) {
        kill(g_command, signal);
    }
}

int run(char **command) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    pid_t child = fork();
    if (child < 0) {
        fail("cannot fork for", command[0]);
    }
    if (child == 0) {
        execvp(command[0], command);
        fail("cannot run", command[0]);
    }
    g_command = child;
    signal(SIGTERM, pass_on);
    signal(SIGINT, pass_on);
    signal(SIGHUP, pass_on);
    int status = 0;
    for (;;) {
        int which_status = 0;
        pid_t which = waitpid(-1, &which_status, 0);
        if (which == child) {
            status = which_status;
            break;
        }
        if (which < 0 && errno != EINTR) {
            fail("cannot wait for", command[0]);
        }
    }
    end_leftovers();
    if (WIFSIGNALED(status)) {
        fprintf(stderr, "hearth-root: %s ended by signal %d (%s)\n", command[0], WTERMSIG(status),
                strsignal(WTERMSIG(status)));
        return 128 + WTERMSIG(status);
    }
    return WEXITSTATUS(status);
}

}  // namespace

int main(int count, char **arguments) {
    int at = 1;
    if (at < count && strcmp(arguments[at], "--") == 0) {
        at++;
    }
    if (at >= count) {
        fputs("usage: hearth-root [--] COMMAND [ARGUMENT...]\n", stderr);
        return kOwnFailure;
    }
    // A relative program path keeps its meaning: the working directory is entered anew.
    char *folder = get_current_dir_name();
    enter_namespaces();
    build_root();
    if (folder == nullptr || chdir(folder) != 0) {
        (void)!chdir("/");
    }
    free(folder);
    return run(arguments + at);
}
