// libSetTimeCloneCfg.so of the desk. Where the device would copy the time configuration to its
// second system, the desk has none and records that it was asked.

#include <fcntl.h>
#include <unistd.h>

extern "C" void SetTimeCloneCfg(void) {
    int fd = open("/data/time_clone_requested", O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0) {
        close(fd);
    }
}
