#include "hearth/osa_log.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

#include "base/guard.h"
#include "base/number.h"
#include "base/text.h"
#include "hearth/osa_file.h"
#include "hearth/xml.h"
#include "osa/osa_log_output.h"

namespace {

using hearth::LogMessage;
using hearth::LogTargets;
using Lock = hearth::MutexLock;
using Tree = hearth::Owned<XML_Node, cl_xmlFreeNode>;

constexpr const char *kSettings = "/data/userdata/log/logs.xml";
constexpr const char *kCounter = "/var/log/applog_shm";
constexpr size_t kCounterSize = sizeof(uint32_t);

// Held for the whole of a log call, so that nothing that runs under it may log. Some values are
// read before it is taken, to turn away a message that nothing lets through; these are atomic.
pthread_mutex_t p_lock = PTHREAD_MUTEX_INITIALIZER;

// Guarded by p_lock.
log_setting g_def_log_setting;
uint64_t osa_log_size = 1024;

// Written under p_lock, read without.
std::atomic<uint32_t> osa_log_where = hearth::kLogToOperations;
// The counter that all processes share; null until it is mapped.
std::atomic<uint32_t *> pshm;
// The counter when the settings were last loaded. Stored after what was loaded.
std::atomic<uint32_t> readcfg;
// The levels that may pass for a module, for all whose names begin alike together: those of the
// default entry and of the entries among them.
constexpr size_t kBeginnings = 32;
std::atomic<uint32_t> g_passing[kBeginnings];

// The place of a name in g_passing.
size_t beginning_of(const char *name) {
    size_t place = static_cast<uint8_t>(name[0]);
    return (name[0] != '\0' ? place + static_cast<uint8_t>(name[1]) : 0) % kBeginnings;
}

// The whole name of a module's entry, which stands behind the record: that holds 27 characters.
char *whole_name(log_setting *entry) {
    return reinterpret_cast<char *>(entry + 1);
}

void note_passing_levels() {
    uint32_t passing[kBeginnings] = {};
    for (log_setting *entry = g_def_log_setting.next; entry != nullptr; entry = entry->next) {
        passing[beginning_of(whole_name(entry))] |= entry->mask;
    }
    for (size_t i = 0; i < kBeginnings; i++) {
        g_passing[i].store(passing[i] | g_def_log_setting.mask, std::memory_order_relaxed);
    }
}

// The entry of a module, or null.
log_setting *find_entry(const char *name) {
    for (log_setting *entry = g_def_log_setting.next; entry != nullptr; entry = entry->next) {
        if (strcmp(whole_name(entry), name) == 0) {
            return entry;
        }
    }
    return nullptr;
}

void remove_entries() {
    log_setting *entry = g_def_log_setting.next;
    g_def_log_setting.next = nullptr;
    while (entry != nullptr) {
        log_setting *next = entry->next;
        free(entry);
        entry = next;
    }
}

void set_module_mask(const char *name, uint32_t mask) {
    log_setting *entry = find_entry(name);
    if (entry == nullptr) {
        entry = static_cast<log_setting *>(calloc(1, sizeof(log_setting) + strlen(name) + 1));
        if (entry == nullptr) {
            return;
        }
        hearth::copy_text(entry->name, name);
        strcpy(whole_name(entry), name);
        entry->next = g_def_log_setting.next;
        g_def_log_setting.next = entry;
    }
    entry->mask = mask;
}

void set_mask(std::string_view name, uint32_t mask) {
    if (name.empty() || name == "default") {
        g_def_log_setting.mask = mask;
    } else if (name == "all") {
        g_def_log_setting.mask = mask;
        remove_entries();
    } else {
        set_module_mask(name.data(), mask);
    }
    note_passing_levels();
}

// The text of a child element; null without one or without a text. `missing` is printed when there
// is no such element.
const char *child_value(const XML_Node *parent, const char *name, const char *missing) {
    const char *value = nullptr;
    const XML_Node *child = cl_xmlGetNodeChildByName(parent, name);
    if (cl_xmlGetNodeValue(child, nullptr, nullptr, nullptr, &value) != 0) {
        puts(missing);
    }
    return value;
}

void load_modules(const XML_Node *modules) {
    constexpr const char *kMissing = "Error! nodeModule NULL.";
    for (const XML_Node *entry = cl_xmlGetNodeFirstChild(modules); entry != nullptr;
         entry = cl_xmlGetNodeNextSibling(entry)) {
        const char *name = child_value(entry, "name", kMissing);
        const char *mask = child_value(entry, "mask", kMissing);
        if (name != nullptr && mask != nullptr) {
            set_mask(name, static_cast<uint32_t>(hearth::to_int32(mask)));
        }
    }
}

bool load_settings() {
    char path[128];
    XML_Node *parsed = nullptr;
    if (osa_getfullpath(kSettings, path) != 0 || cl_xmlParseFile(path, &parsed) != 0) {
        return false;
    }
    Tree tree(parsed);
    if (const char *where = child_value(tree.get(), "Where", "Error! nodeWhere NULL.")) {
        osa_log_where.store(static_cast<uint32_t>(hearth::to_int32(where)),
                            std::memory_order_relaxed);
    }
    if (const char *size = child_value(tree.get(), "Size", "Error! nodeSize NULL.")) {
        osa_log_size = static_cast<uint64_t>(strtoll(size, nullptr, 10));
    }
    const XML_Node *modules = cl_xmlGetNodeChildByName(tree.get(), "Modules");
    if (modules == nullptr) {
        puts("Error! nodeModule NULL.");
        return false;
    }
    load_modules(modules);
    return true;
}

// Tells on standard error which step failed. The blank behind the line end is required.
bool counter_failed(const char *function, const char *step) {
    fprintf(stderr, "%s %s error: %s \n ", function, step, strerror(errno));
    return false;
}

// Brings the counter's file to its size and maps it. Nothing is mapped on failure.
bool map_counter(int fd, int protection, const char *function, uint32_t **counter) {
    if (ftruncate(fd, static_cast<off_t>(kCounterSize)) != 0) {
        return counter_failed(function, "ftruncate");
    }
    void *mapped = mmap(nullptr, kCounterSize, protection, MAP_SHARED, fd, 0);
    if (mapped == MAP_FAILED) {
        return counter_failed(function, "mmap");
    }
    *counter = static_cast<uint32_t *>(mapped);
    return true;
}

// Maps the counter at the first call. The process that creates it starts it at 1.
bool watch_counter() {
    constexpr const char *kFunction = "default_log_filter";
    if (pshm.load(std::memory_order_relaxed) != nullptr) {
        return true;
    }
    uint32_t *counter = nullptr;
    hearth::Descriptor created(open(kCounter, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (created) {
        if (!map_counter(created.get(), PROT_READ | PROT_WRITE, kFunction, &counter)) {
            return false;
        }
        __atomic_store_n(counter, 1, __ATOMIC_RELAXED);
    } else {
        if (errno != EEXIST) {
            return counter_failed(kFunction, "shm_open");
        }
        hearth::Descriptor existing(open(kCounter, O_RDWR | O_CLOEXEC));
        if (!existing) {
            return counter_failed(kFunction, "shm_open");
        }
        if (!map_counter(existing.get(), PROT_READ, kFunction, &counter)) {
            return false;
        }
    }
    pshm.store(counter, std::memory_order_release);
    return true;
}

void load_when_changed() {
    uint32_t counter = __atomic_load_n(pshm.load(std::memory_order_relaxed), __ATOMIC_RELAXED);
    if (counter > readcfg.load(std::memory_order_relaxed)) {
        load_settings();
        readcfg.store(counter, std::memory_order_release);
    }
}

// The entry that lets a message pass or stops it; null while the counter cannot be watched.
const log_setting *deciding_entry(const char *module) {
    if (!watch_counter()) {
        return nullptr;
    }
    load_when_changed();
    const log_setting *entry = nullptr;
    if (module != nullptr && *module != '\0') {
        entry = find_entry(module);
    }
    return entry != nullptr ? entry : &g_def_log_setting;
}

// True when no entry that the module may have lets the level pass, by settings that are up to date.
bool nothing_passes(const char *module, uint32_t level) {
    const uint32_t *counter = pshm.load(std::memory_order_acquire);
    return counter != nullptr &&
           __atomic_load_n(counter, __ATOMIC_RELAXED) <= readcfg.load(std::memory_order_acquire) &&
           (g_passing[beginning_of(module != nullptr ? module : "")].load(
                std::memory_order_relaxed) &
            level) == 0;
}

// Whether a message has to be looked at under the lock.
bool wanted(const char *module, uint32_t level) {
    return osa_log_where.load(std::memory_order_relaxed) != 0 && !nothing_passes(module, level);
}

using Printer = void (*)(const LogMessage &, const LogTargets &);

void log(Printer print, const char *module, LogMessage message, const char *format,
         va_list values) {
    int caller_errno = errno;
    Lock lock(p_lock);
    const log_setting *entry = deciding_entry(module);
    if (entry != nullptr && (entry->mask & message.level) != 0 && format != nullptr) {
        char text[256] = "";
        errno = caller_errno;
        vsnprintf(text, sizeof text, format, values);
        message.name = entry->name;
        message.text = text;
        errno = caller_errno;
        print(message, {osa_log_where.load(std::memory_order_relaxed), osa_log_size});
    }
    errno = caller_errno;
}

}  // namespace

void osa_print_log(const char *module, uint32_t level, const char *format, ...) {
    if (!wanted(module, level)) {
        return;
    }
    va_list values;
    va_start(values, format);
    log(hearth::print_log, module, {nullptr, nullptr, 0, level, nullptr}, format, values);
    va_end(values);
}

void osa_print_log_ex(const char *module, const char *file, uint32_t line, uint32_t level,
                      const char *format, ...) {
    if (!wanted(module, level)) {
        return;
    }
    va_list values;
    va_start(values, format);
    log(hearth::print_log_ex, module, {nullptr, file, line, level, nullptr}, format, values);
    va_end(values);
}

int32_t default_log_filter(const char *module, uint32_t level, const log_setting **setting) {
    if (setting == nullptr) {
        return 0;
    }
    Lock lock(p_lock);
    const log_setting *entry = deciding_entry(module);
    if (entry == nullptr) {
        return 0;
    }
    *setting = entry;
    return (entry->mask & level) != 0;
}

int32_t osa_log_load_cfg(void) {
    Lock lock(p_lock);
    return load_settings();
}

void osa_set_log_mask(const char *name, uint32_t mask) {
    Lock lock(p_lock);
    set_mask(name != nullptr ? name : "", mask);
}

int32_t osa_update_cfg(void) {
    constexpr const char *kFunction = "osa_update_cfg";
    hearth::Descriptor file(open(kCounter, O_RDWR | O_CLOEXEC));
    if (!file) {
        return counter_failed(kFunction, "shm_open");
    }
    uint32_t *counter = nullptr;
    if (!map_counter(file.get(), PROT_READ | PROT_WRITE, kFunction, &counter)) {
        return 0;
    }
    __atomic_fetch_add(counter, 1, __ATOMIC_RELAXED);
    munmap(counter, kCounterSize);
    return 1;
}

const char *osa_get_log_cfgpath(void) {
    Lock lock(p_lock);
    // Written once: callers hold the buffer.
    static char LogCfgFile[128];
    if (LogCfgFile[0] == '\0' && osa_getfullpath(kSettings, LogCfgFile) != 0) {
        return nullptr;
    }
    return LogCfgFile;
}
