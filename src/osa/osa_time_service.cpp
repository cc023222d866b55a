// The time service of the device, in libraries that are loaded when first needed.
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>

#include "base/guard.h"
#include "base/number.h"
#include "base/text.h"
#include "hearth/osa_time.h"

static_assert(sizeof(osa_time_service_t) == 60 && offsetof(osa_time_service_t, second) == 4 &&
              offsetof(osa_time_service_t, zone) == 48);
static_assert(sizeof(osa_time_t) == 52 && offsetof(osa_time_t, zone) == 32);

void (*pSetTimeCloneCfg)(void);

namespace {

using hearth::wrapping_add;

using ServiceCall = int32_t (*)(osa_time_service_t *);

constexpr int32_t kFirstYear = 1900;
constexpr int32_t kServiceFailed = -2;

pthread_mutex_t g_load_lock = PTHREAD_MUTEX_INITIALIZER;
// All guarded by g_load_lock; once set, never changed.
void *g_pdlTimeCloneHandle;
void *g_pdlSyncTimeHandle;
ServiceCall pSetTimeInfo;
ServiceCall pGetTimeInfo;

// Loads a library; its name in the text is not always that of its file.
void *load(const char *file, const char *text) {
    void *handle = dlopen(file, RTLD_LAZY);
    if (handle == nullptr) {
        printf(text, dlerror());
    }
    return handle;
}

template <typename Function>
bool resolve(void *handle, const char *name, Function *function) {
    *function = reinterpret_cast<Function>(dlsym(handle, name));
    if (*function == nullptr) {
        const char *error = dlerror();
        fprintf(stderr, "%s\n", error != nullptr ? error : name);
        return false;
    }
    return true;
}

bool load_time_service() {
    if (g_pdlSyncTimeHandle != nullptr) {
        return true;
    }
    g_pdlSyncTimeHandle = load("libnetplatform.so", "Failed to link g_pdlSyncTimeHandle %s");
    return g_pdlSyncTimeHandle != nullptr &&
           resolve(g_pdlSyncTimeHandle, "SetTimeInfo", &pSetTimeInfo) &&
           resolve(g_pdlSyncTimeHandle, "GetTimeInfo", &pGetTimeInfo);
}

// The function of the loaded service, or null. A library that lacks it stays loaded, so the
// function is looked at as well.
ServiceCall service_call(const ServiceCall &function, const char *text) {
    hearth::MutexLock lock(g_load_lock);
    if (!load_time_service() || function == nullptr) {
        puts(text);
        return nullptr;
    }
    return function;
}

}  // namespace

int32_t init_sync_timedl(void) {
    hearth::MutexLock lock(g_load_lock);
    return load_time_service();
}

int32_t InitTimeClonedl(void) {
    hearth::MutexLock lock(g_load_lock);
    if (g_pdlTimeCloneHandle != nullptr) {
        puts("g_pdlTimeCloneHandle is not NULL!");
        return 1;
    }
    g_pdlTimeCloneHandle = load("libSetTimeCloneCfg.so", "Failed to link SetTimeCloneCfg %s");
    return g_pdlTimeCloneHandle != nullptr &&
           resolve(g_pdlTimeCloneHandle, "SetTimeCloneCfg", &pSetTimeCloneCfg);
}

int32_t osa_settime(const osa_time_t *time, uint32_t source) {
    if (time == nullptr || source >= OSA_TIME_SOURCES) {
        return 0;
    }
    ServiceCall set = service_call(pSetTimeInfo, "[osa_settime] init_sync_timedl failed .");
    if (set == nullptr) {
        return 0;
    }
    osa_time_service_t record{};
    record.source = source;
    record.second = time->second;
    record.minute = time->minute;
    record.hour = time->hour;
    record.day = time->day;
    record.month = wrapping_add(time->month, -1);
    record.year = wrapping_add(time->year, -kFirstYear);
    record.weekday = time->weekday;
    record.yearday = time->yearday;
    hearth::copy_text(record.zone, hearth::field_text(time->zone));
    return set(&record) != kServiceFailed;
}

int32_t osa_gettime(osa_time_t *time) {
    if (time == nullptr) {
        return 0;
    }
    ServiceCall get = service_call(pGetTimeInfo, "[osa_gettime] init_sync_timedl failed .");
    osa_time_service_t record{};
    if (get == nullptr || get(&record) == kServiceFailed) {
        return 0;
    }
    time->second = record.second;
    time->minute = record.minute;
    time->hour = record.hour;
    time->day = record.day;
    time->month = wrapping_add(record.month, 1);
    time->year = wrapping_add(record.year, kFirstYear);
    time->weekday = record.weekday;
    time->yearday = record.yearday;
    time->source = record.source;
    hearth::copy_text(time->zone, hearth::field_text(record.zone));
    return 1;
}
