// The network's time.
#include <string.h>

#include "ats/atapi/at_exchange.h"
#include "base/text.h"
#include "hearth/at_network.h"
#include "hearth/at_utils.h"
#include "hearth/time_translate.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_network"};

// What the modem tells before it has heard a time from the network.
constexpr const char *kNoTime = "90/01/06";

struct NetworkTime {
    char date[32];  // yy/mm/dd
    char time[32];  // hh:mm:ss and a signed zone
};

constexpr Field kFields[] = {AT_FIELD(NetworkTime, date), AT_FIELD(NetworkTime, time)};
constexpr Member kNwtime = member({.command = "AT^NWTIME?",
                                   .match = "^NWTIME",
                                   .key = "^NWTIME",
                                   .table = 15,
                                   .fields = kFields,
                                   .err = AT_ERR(at_nwtime_info)});

// The number at a position of a text, 0 behind its end.
int32_t number_at(const char *text, size_t position) {
    return strnlen(text, position + 1) > position ? safe_atoi(text + position) : 0;
}

osa_time_t universal_time(const NetworkTime &from) {
    osa_time_t utc{};
    // Two digits each, and four for a year, so no sum leaves its range whatever the text holds.
    utc.year = number_at(from.date, 0) % 10000 + 2000;
    utc.month = number_at(from.date, 3) % 100;
    utc.day = number_at(from.date, 6) % 100;
    utc.hour = number_at(from.time, 0) % 100;
    utc.minute = number_at(from.time, 3) % 100;
    utc.second = number_at(from.time, 6) % 100;
    utc.zone_quarters = number_at(from.time, 8);
    return utc;
}

// The zone of a count of quarter hours, such as "GMT-02:15".
void net_time_zone_to_stand(int32_t quarters, char *zone, size_t size) {
    int64_t absolute = quarters < 0 ? -int64_t{quarters} : int64_t{quarters};
    hearth::format_text(zone, size, quarters < 0 ? "GMT-%02d:%02d" : "GMT+%02d:%02d",
                        static_cast<int>(absolute / 4), static_cast<int>(absolute % 4 * 15));
}

void store_local(const osa_time_t &utc, at_nwtime_info *record) {
    osa_time_t local = utc;
    universaltime_to_localtime(&utc, &local);
    record->second = local.second;
    record->minute = local.minute;
    record->hour = local.hour;
    record->day = local.day;
    record->month = local.month - 1;
    record->year = local.year - 1900;
}

}  // namespace

int32_t AT_NWTime(at_nwtime_info *record) {
    if (record == nullptr) {
        HEARTH_LOG(OSA_LOG_ERROR, "at_time_info is null.\n");
        return -1;
    }
    // Entry and success are told at the level of errors: required.
    HEARTH_LOG(OSA_LOG_ERROR, "AT_NWTime? enter.\n");
    at_server_msg message;
    int32_t result = 0;
    if (!ask(kNwtime, &message, record, nullptr, &result)) {
        return result;
    }
    hearth::ResultList list = parse(kNwtime, &message);
    if (!list) {
        return -1;
    }
    record->err = AT_ERR_NONE;
    NetworkTime told{};
    fill(kFields, list.get(), &told);
    bool unknown = strncmp(told.date, kNoTime, strlen(kNoTime)) == 0;
    if (unknown) {
        HEARTH_LOG(OSA_LOG_ERROR, "at_nwtime time_info invalid.\n");
    }
    osa_time_t utc = universal_time(told);
    net_time_zone_to_stand(utc.zone_quarters, record->zone, sizeof record->zone);
    store_local(utc, record);
    HEARTH_LOG(OSA_LOG_INFO, "[AT_NWTime?]The at_time_info is %d/%02d/%02d,%02d:%02d:%02d,%s !\r\n",
               record->year, record->month, record->day, record->hour, record->minute,
               record->second, record->zone);
    HEARTH_LOG(OSA_LOG_ERROR, "at_nwtime return  success.\n");
    return unknown ? 1 : 0;
}
