// How every process follows the SIM: the change counter that all of them map, and the cache that
// a lookup fills again after a change.
//
// The AT server writes the SIM items of "global" and then moves the counter; nobody is told
// actively. The items carry the state, the counter only says that they have changed.

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/number.h"
#include "base/text.h"
#include "config/src/global_config.h"
#include "hearth/osa_time.h"

using hearth::config::g_state;
using hearth::config::kDefaultFile;
using hearth::config::kGlobal;
using hearth::config::kPathSize;
using hearth::config::kUserData;
using hearth::config::Path;

namespace {

constexpr const auto &kLogSource = hearth::config::kConfigLog;
constexpr const char *kCounterFile = "/var/log/global_shm";
// Values of the counter run from 1 to this.
constexpr uint32_t kLastCount = 999;
constexpr int kLastPoll = 20;
constexpr uint32_t kPollMs = 200;

using Counter = std::atomic<uint32_t>;
static_assert(sizeof(Counter) == 4 && Counter::is_always_lock_free);

// Set once and kept. Processes read and write the counter without a lock.
std::atomic<Counter *> pSharedMem = nullptr;
std::atomic<int> shmfd = -1;
std::atomic<uint32_t> s_updatedTimes = 0;

unsigned address_of(const Counter *counter) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(counter));
}

// Sizes and maps the counter's file. Null on failure.
Counter *map_counter(int fd) {
    if (ftruncate(fd, sizeof(uint32_t)) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "ftruncate failed: %s\n", strerror(errno));
        return nullptr;
    }
    void *memory = mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) {
        HEARTH_LOG(OSA_LOG_ERROR, "mmap failed: %s\n", strerror(errno));
        return nullptr;
    }
    return static_cast<Counter *>(memory);
}

// Opens the counter's file, making it where it is missing. -1 on failure.
int open_counter(bool *created) {
    int fd = open(kCounterFile, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    *created = fd >= 0;
    if (fd < 0 && errno != EEXIST) {
        HEARTH_LOG(OSA_LOG_ERROR, "open shm file for config failed: %s\n", strerror(errno));
    } else if (fd < 0) {
        fd = open(kCounterFile, O_RDWR | O_CLOEXEC);
        if (fd < 0) {
            HEARTH_LOG(OSA_LOG_ERROR, "open shm for config failed: %s\n", strerror(errno));
        }
    }
    return fd;
}

// Takes the mapping and its descriptor for this process, unless another thread was first.
void adopt(Counter *counter, int fd) {
    Counter *none = nullptr;
    if (pSharedMem.compare_exchange_strong(none, counter)) {
        shmfd = fd;
    } else {
        munmap(counter, sizeof(uint32_t));
        close(fd);
    }
}

bool attach_counter() {
    bool created = false;
    int fd = open_counter(&created);
    if (fd < 0) {
        return false;
    }
    Counter *counter = map_counter(fd);
    if (counter == nullptr) {
        close(fd);
        shmfd = -1;
        return false;
    }
    if (created) {
        counter->store(1, std::memory_order_relaxed);
        HEARTH_LOG(OSA_LOG_INFO, "created: pSharedMem(0x%x) content (%d)\n", address_of(counter),
                   static_cast<int>(counter->load(std::memory_order_relaxed)));
    } else {
        HEARTH_LOG(OSA_LOG_INFO, "exsited: pSharedMem(0x%x) content (%d)\n", address_of(counter),
                   static_cast<int>(counter->load(std::memory_order_relaxed)));
    }
    adopt(counter, fd);
    return true;
}

uint32_t present_count() {
    return pSharedMem.load()->load(std::memory_order_relaxed);
}

int32_t lock_file(int operation) {
    return cl_init_mmap() == 1 ? flock(shmfd, operation) : -1;
}

bool locate_global_items(Path &path) {
    if (path.start(kUserData) && path.append(kGlobal).append("/").append(kDefaultFile).valid()) {
        return true;
    }
    HEARTH_LOG(OSA_LOG_ERROR, "get userdata path failed!\n");
    return false;
}

// One look at `sim_state`. True when the state has settled.
bool poll_sim_state(const char *path) {
    char text[kPathSize] = "";
    uint32_t length = sizeof text;
    if (cfg_local_get_config(path, "sim_state", text, &length) != CFG_OK) {
        HEARTH_LOG(OSA_LOG_ERROR, "read sim_state from global/config.xml failed !\n");
        return false;
    }
    int32_t state = hearth::to_int32(text);
    if (state < CFG_SIMST_IDLE || state > CFG_SIMST_LOCK) {
        HEARTH_LOG(OSA_LOG_ERROR, "invalid sim_state (%d)\n", state);
        return false;
    }
    g_state.g_enSimState = state;
    if (state == CFG_SIMST_IDLE) {
        return false;
    }
    HEARTH_LOG(OSA_LOG_INFO, "sim_state (%d) (0:IDLE 1:IN 2:OK 3:LOCK) break;\n", state);
    return true;
}

// Waits for the AT server to settle the state, some 4.2 seconds at most. Called without the lock.
void wait_for_sim_state(const char *path) {
    for (int polls = 0; g_state.g_enSimState == CFG_SIMST_IDLE && polls <= kLastPoll; polls++) {
        if (poll_sim_state(path)) {
            return;
        }
        osa_sleep(kPollMs);
        HEARTH_LOG(OSA_LOG_INFO, "wait for ats sim state notify (%d)\n", polls);
    }
}

// The prefix of the last good SIM, kept for boots in which the SIM cannot be read.
int32_t read_custom_dir() {
    Path path;
    if (!path.allocated()) {
        HEARTH_LOG(OSA_LOG_ERROR, "malloc failed!\n");
        return -1;
    }
    if (!path.start("/data/userdata/global/config.xml")) {
        HEARTH_LOG(OSA_LOG_ERROR, "cfg_get_imsi_value osa_getfullpath failed!\n");
        return 0;
    }
    uint32_t length = sizeof g_state.g_szImsi;
    if (cfg_local_get_config(path.text(), "custom_dir", g_state.g_szImsi, &length) != CFG_OK) {
        HEARTH_LOG(OSA_LOG_ERROR, "cfg_get_imsi_value cfg_local_get_config failed!\n");
    }
    return 0;
}

// Takes the prefix from the SIM's own IMSI and keeps it for later boots.
int32_t read_imsi(const char *path) {
    char imsi[kPathSize] = "";
    uint32_t length = sizeof imsi;
    if (cfg_local_get_config(path, "imsi_string", imsi, &length) != CFG_OK) {
        HEARTH_LOG(OSA_LOG_ERROR, "read imsi string from global/config.xml failed !\n");
        return -1;
    }
    hearth::copy_text(g_state.g_szImsi, imsi);
    if (set_config(kGlobal, "custom_dir", g_state.g_szImsi) != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "cfg_get_imsi_value cfg_set_config failed!\n");
    }
    HEARTH_LOG(OSA_LOG_INFO, "imsi string (%s) updated into config success. \n", g_state.g_szImsi);
    g_state.g_cfgiImsiFlag = 1;
    return 0;
}

}  // namespace

int32_t cl_init_mmap(void) {
    if (pSharedMem.load() != nullptr) {
        return 1;
    }
    if (!attach_counter()) {
        return 0;
    }
    s_updatedTimes = present_count();
    return 1;
}

int32_t cl_lockfile(void) {
    return lock_file(LOCK_EX);
}

int32_t cl_unlockfile(void) {
    return lock_file(LOCK_UN);
}

void cl_touch_simst(void) {
    Counter *counter = pSharedMem;
    if (counter == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "not inited.\n");
        return;
    }
    uint32_t before = present_count();
    uint32_t after = before + 1 > kLastCount ? 1 : before + 1;
    counter->store(after, std::memory_order_relaxed);
    HEARTH_LOG(OSA_LOG_INFO, "shm is updated from (%d) to (%d).\n", static_cast<int>(before),
               static_cast<int>(after));
}

int32_t cl_is_simst_updated(void) {
    if (pSharedMem.load() == nullptr && cl_init_mmap() != 1) {
        return 0;
    }
    uint32_t count = present_count();
    uint32_t seen = s_updatedTimes;
    if (count == seen) {
        HEARTH_LOG(OSA_LOG_INFO, "imsi not updated. shm: (%d).\n", static_cast<int>(count));
        return 0;
    }
    s_updatedTimes = count;
    HEARTH_LOG(OSA_LOG_INFO, "imsi update detected. shm: (%d) to (%d).\n", static_cast<int>(seen),
               static_cast<int>(count));
    return 1;
}

void cl_reset_imsi(void) {
    memset(g_state.g_szImsi, 0, sizeof g_state.g_szImsi);
    g_state.g_enSimState = CFG_SIMST_IDLE;
    g_state.g_cfgiImsiFlag = 0;
    g_state.g_cfgiCustomFlag = 0;
}

void simst_change_handle(void) {
    if (cl_is_simst_updated() != 1) {
        HEARTH_LOG(OSA_LOG_INFO, "[config] imsi not updated.\n");
        return;
    }
    if (cl_lockfile() != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "[config] lock file failed.\n");
    }
    cl_reset_imsi();
    if (cl_unlockfile() != 0) {
        HEARTH_LOG(OSA_LOG_ERROR, "[config] unlock file failed.\n");
    }
}

int32_t cfg_get_imsi_custom_dir(void) {
    Path path;
    if (!locate_global_items(path)) {
        return -1;
    }
    if (g_state.g_szImsi[0] != '\0') {
        return 0;
    }
    // Others may look up while this thread waits.
    hearth::config::give_lock();
    wait_for_sim_state(path.text());
    hearth::config::take_lock();
    if (g_state.g_enSimState == CFG_SIMST_OK) {
        return 0;
    }
    if (read_custom_dir() != 0) {
        return -1;
    }
    if (g_state.g_szImsi[0] == '\0') {
        // The wait is paid once per SIM change: the next lookup finds a state.
        g_state.g_enSimState = CFG_SIMST_IN;
    }
    HEARTH_LOG(OSA_LOG_INFO, "leave cfg_get_imsi_value get custom from config\n");
    return 0;
}

int32_t cfg_get_imsi_value(void) {
    HEARTH_LOG(OSA_LOG_INFO, "enter cfg_get_imsi_value\n");
    cfg_get_imsi_custom_dir();
    Path path;
    if (!locate_global_items(path)) {
        return -1;
    }
    int32_t result = 0;
    if (g_state.g_cfgiImsiFlag == 0 && g_state.g_enSimState == CFG_SIMST_OK) {
        result = read_imsi(path.text());
    }
    HEARTH_LOG(OSA_LOG_INFO, "leave cfg_get_imsi_value\n");
    return result;
}
