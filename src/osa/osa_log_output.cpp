#include "osa/osa_log_output.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "base/text.h"
#include "hearth/osa_file.h"
#include "hearth/osa_log.h"
#include "hearth/osa_task.h"
#include "hearth/osa_time.h"
#include "osa/bounded_text.h"

namespace {

using hearth::BoundedText;
using hearth::format_text;
using hearth::LogMessage;

constexpr const char *kLogFolder = "/online/log";
constexpr const char *kLogFile = "/online/log/webapp.log";

// How the operations log knows this library.
constexpr uint32_t kOperationsModule = 33500;
using OperationsLog = int32_t (*)(uint32_t module, uint32_t severity, const char *format, ...);

// The hour of a stamp is local time plus this, without a wrap at 24, as is required.
constexpr int32_t kHourShift = 8;

struct Level {
    uint32_t level;
    uint32_t severity;  // for the operations log
    const char *tag;
};

// INFO is 4 and DEBG is 3, as is required.
constexpr Level s_log_level_msg[] = {
    {OSA_LOG_FATAL, 1, "<FATL>"}, {OSA_LOG_ERROR, 1, "<ERRO>"}, {OSA_LOG_WARNING, 2, "<WARN>"},
    {OSA_LOG_INFO, 4, "<INFO>"},  {OSA_LOG_DEBUG, 3, "<DEBG>"},
};
constexpr Level kNoLevel = {0, 0, "<NONE>"};

const Level &level_row(uint32_t level) {
    for (const Level &row : s_log_level_msg) {
        if (row.level == level) {
            return row;
        }
    }
    return kNoLevel;
}

// All guarded by the log's lock.
int g_fd = -1;
OperationsLog OM_log;

// The stamps of the second of the last line, without what follows the point. The calendar is asked
// once a second, because it looks at the zone's file each time, and when the zone has changed.
struct Second {
    time_t time;
    char zone[64];  // as the environment has it; a longer one is cut and never found again
    char padded[24];
    char plain[24];
};
Second g_second = {-1, "", "", ""};

// An unset zone is the system's file, an empty one is universal time.
const char *zone_setting() {
    const char *zone = getenv("TZ");
    return zone != nullptr ? zone : ":/etc/localtime";
}

const Second &this_second() {
    time_t now = osa_time(nullptr);
    const char *zone = zone_setting();
    if (now != g_second.time || strcmp(zone, g_second.zone) != 0) {
        osa_time_t local{};
        osa_gmtime(&now, &local);
        int32_t hour = local.hour + kHourShift;
        format_text(g_second.padded, sizeof g_second.padded, "%02d:%02d:%02d.", hour, local.minute,
                    local.second);
        format_text(g_second.plain, sizeof g_second.plain, "%d:%d:%d.", hour, local.minute,
                    local.second);
        g_second.time = now;
        hearth::copy_text(g_second.zone, zone);
    }
    return g_second;
}

using Stamp = char[32];

void plain_stamp(Stamp &stamp) {
    BoundedText(stamp).append(this_second().plain).append(osa_gettimeofusec() / 1000).append(" ");
}

void padded_stamp(Stamp &stamp) {
    const Second &second = this_second();
    uint32_t milliseconds = osa_gettimeofusec() / 1000;
    const char *zeros = milliseconds < 10 ? "00" : milliseconds < 100 ? "0" : "";
    BoundedText(stamp).append(second.padded).append(zeros).append(milliseconds).append(" ");
}

// Asking the system is a good part of what a line costs, so the id is kept until a fork.
int32_t g_id = -1;
bool g_forks_watched = false;

void forget_id() {
    g_id = -1;
}

// The id that lines show; false, with a text printed, when there is none.
bool own_id(int32_t *id) {
    if (g_id == -1) {
        g_forks_watched = g_forks_watched || pthread_atfork(nullptr, nullptr, forget_id) == 0;
        *id = osa_task_getid();
        if (*id == -1) {
            printf("get pid error : %s ", strerror(errno));
            return false;
        }
        g_id = g_forks_watched ? *id : -1;
        return true;
    }
    *id = g_id;
    return true;
}

// Lines print their number as a signed one.
int32_t line_of(const LogMessage &message) {
    return static_cast<int32_t>(message.line);
}

// What the prefixes of both forms have in common.
template <size_t N>
BoundedText begin_prefix(char (&prefix)[N], const LogMessage &message, int32_t id) {
    BoundedText text(prefix);
    text.append(message.name).append(" (  ").append(id).append("): ");
    return text.append(LEVEL_S(message.level)).append(" ");
}

// The log file, open and below its limit; -1 without one. A file at the limit is emptied, as is
// one whose status cannot be read.
int get_log_file(uint64_t size_limit) {
    if (g_fd == -1) {
        (void)mkdir(kLogFolder, 0777);
        g_fd = open(kLogFile, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0777);
    }
    osa_stat_t status{};
    if (osa_stat(kLogFile, &status) == 0) {
        if (g_fd == -1 || static_cast<uint64_t>(status.st_size) >> 10 < size_limit) {
            return g_fd;
        }
    }
    if (ftruncate(g_fd, 0) != 0) {
        printf("Warn! webapp.log ftruncate failed. err: %s\n", strerror(errno));
    }
    return g_fd;
}

// One call for the whole line, so that lines of several processes do not mix.
void print_log_to_file(const char *stamp, const char *prefix, const char *text,
                       uint64_t size_limit) {
    int fd = get_log_file(size_limit);
    if (fd == -1) {
        return;
    }
    auto part = [](const char *of) { return iovec{const_cast<char *>(of), strlen(of)}; };
    iovec parts[] = {part(stamp), part(prefix), part(text)};
    if (writev(fd, parts, 3) == -1) {
        printf("writev = -1, err: %s\n", strerror(errno));
    }
}

// Finds the function of the operations log. Without it the next message tries again.
bool load_operations_log() {
    if (OM_log != nullptr) {
        return true;
    }
    void *handle = dlopen("libplatform.so", RTLD_LAZY);
    if (handle == nullptr) {
        fprintf(stderr, "dlopen %s\n", dlerror());
        return false;
    }
    (void)dlerror();
    void *found = dlsym(handle, "OM_PrintfWithModule");
    const char *error = dlerror();
    if (error != nullptr || found == nullptr) {
        fprintf(stderr, "dlsym: %s\n", error != nullptr ? error : "OM_PrintfWithModule is null");
        dlclose(handle);
        return false;
    }
    OM_log = reinterpret_cast<OperationsLog>(found);
    return true;
}

void print_to_operations(const LogMessage &message, int32_t id, const char *tail) {
    const Level &level = level_row(message.level);
    char line[256];
    format_text(line, sizeof line, "(  %d): %s %s:%d %s", id, level.tag, tail, line_of(message),
                message.text);
    if (load_operations_log()) {
        OM_log(kOperationsModule, level.severity, "%s", line);
    }
}

}  // namespace

const char *LEVEL_S(uint32_t level) {
    return level_row(level).tag;
}

void hearth::print_log(const LogMessage &message, const LogTargets &targets) {
    int32_t id = 0;
    if (!own_id(&id)) {
        return;
    }
    char prefix[100];
    begin_prefix(prefix, message, id);
    Stamp stamp;
    plain_stamp(stamp);
    if ((targets.where & kLogToOutput) != 0) {
        printf("%s %s %s", prefix, stamp, message.text);
    }
    if ((targets.where & kLogToFile) != 0) {
        print_log_to_file(stamp, prefix, message.text, targets.size_limit);
    }
}

void hearth::print_log_ex(const LogMessage &message, const LogTargets &targets) {
    const char *filetmp = message.file != nullptr ? strrchr(message.file, '/') : nullptr;
    if (filetmp == nullptr) {
        printf("error!in print_log_ex, filetmp NULL. err = %s\n", strerror(errno));
        return;
    }
    const char *tail = filetmp + 1;
    int32_t id = 0;
    if (!own_id(&id)) {
        return;
    }
    char prefix[128];
    begin_prefix(prefix, message, id).append(tail).append(":").append(line_of(message)).append(" ");
    Stamp stamp;
    padded_stamp(stamp);
    // The order on standard output is the opposite of print_log's, as is required.
    if ((targets.where & kLogToOutput) != 0) {
        printf("%s %s %s", stamp, prefix, message.text);
    }
    if ((targets.where & kLogToFile) != 0) {
        print_log_to_file(stamp, prefix, message.text, targets.size_limit);
    }
    if ((targets.where & kLogToOperations) != 0) {
        print_to_operations(message, id, tail);
    }
}
