#include "hearth/osa_task.h"

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/guard.h"
#include "base/number.h"
#include "base/text.h"

namespace {

constexpr const char *kPidFolder = "/var/run/pidfile/";

}  // namespace

int32_t osa_task_create(uintptr_t /*name*/, uintptr_t /*priority*/, uintptr_t /*stack_size*/,
                        uintptr_t /*entry*/) {
    return -1;
}

int32_t osa_task_getid(void) {
    return getpid();
}

int32_t osa_task_bExist(int32_t task) {
    if (task == -1) {
        return 0;
    }
    if (kill(task, 0) != 0) {
        printf("Error! kill failed! errno = %s\n", strerror(errno));
        return 0;
    }
    return 1;
}

int32_t osa_task_name_to_id(const char *name) {
    if (name == nullptr) {
        puts("Error!in osa_task_name_to_id, param illegal.");
        return -1;
    }
    char file_name[254];
    char path[255];
    hearth::format_text(file_name, sizeof file_name, "%s.pid", name);
    hearth::format_text(path, sizeof path, "%s%s", kPidFolder, file_name);
    hearth::StdioFile file(fopen(path, "re"));
    char line[256];
    if (!file || fgets(line, sizeof line, file.get()) == nullptr) {
        return -1;
    }
    int32_t task = hearth::to_int32(line);
    return task == 0 ? -1 : task;
}

pid_t osa_waitpid(pid_t task, int *status, int options) {
    return waitpid(task, status, options);
}

pid_t osa_wait(int *status) {
    return wait(status);
}

int osa_system(const char *command) {
    return system(command);
}
