// libnetplatform.so of the desk: the time service. The host's clock is not ours to set, so a time
// that is set is kept as its distance from that clock, in one file for all processes.

#include <stdint.h>
#include <string.h>
#include <time.h>

#include <fstream>
#include <string>

#include "hearth/osa_time.h"

namespace {

constexpr const char *kTimeFile = "/data/time_service";
constexpr int32_t kFailed = -2;

// The first line holds distance and source, the second the zone.
struct Setting {
    int64_t distance = 0;
    uint32_t source = 0;
    std::string zone;
};

Setting read_setting() {
    Setting setting;
    std::ifstream file(kTimeFile);
    if (file >> setting.distance >> setting.source) {
        file.ignore();
        std::getline(file, setting.zone);
    }
    return setting;
}

bool is_time(const osa_time_service_t &info) {
    auto within = [](int32_t value, int32_t low, int32_t high) {
        return value >= low && value <= high;
    };
    return within(info.second, 0, 59) && within(info.minute, 0, 59) && within(info.hour, 0, 23) &&
           within(info.day, 1, 31) && within(info.month, 0, 11) && within(info.year, 70, 8099);
}

bool write_setting(const Setting &setting) {
    std::ofstream file(kTimeFile, std::ios::trunc);
    file << setting.distance << ' ' << setting.source << '\n' << setting.zone << '\n';
    file.flush();
    return file.good();
}

}  // namespace

extern "C" {

int32_t SetTimeInfo(const osa_time_service_t *info) {
    if (info == nullptr || info->source >= OSA_TIME_SOURCES || !is_time(*info)) {
        return kFailed;
    }
    tm local{};
    local.tm_sec = info->second;
    local.tm_min = info->minute;
    local.tm_hour = info->hour;
    local.tm_mday = info->day;
    local.tm_mon = info->month;
    local.tm_year = info->year;
    local.tm_isdst = -1;
    time_t wanted = mktime(&local);
    if (wanted == -1) {
        return kFailed;
    }
    Setting setting{wanted - time(nullptr), info->source,
                    std::string(info->zone, strnlen(info->zone, sizeof info->zone))};
    return write_setting(setting) ? 0 : kFailed;
}

int32_t GetTimeInfo(osa_time_service_t *info) {
    if (info == nullptr) {
        return kFailed;
    }
    Setting setting = read_setting();
    auto now = static_cast<time_t>(time(nullptr) + setting.distance);
    tm local{};
    if (localtime_r(&now, &local) == nullptr) {
        return kFailed;
    }
    *info = {};
    info->source = setting.source;
    info->second = local.tm_sec;
    info->minute = local.tm_min;
    info->hour = local.tm_hour;
    info->day = local.tm_mday;
    info->month = local.tm_mon;
    info->year = local.tm_year;
    info->weekday = local.tm_wday;
    info->yearday = local.tm_yday;
    info->reserved_daylight = local.tm_isdst;
    info->reserved_offset = static_cast<int32_t>(local.tm_gmtoff);
    setting.zone.copy(info->zone, sizeof info->zone - 1);
    return 0;
}

}  // extern "C"
