// Radio settings that are read and set by functions of their own, with one in front of each pair.
#include "ats/atapi/at_exchange.h"
#include "hearth/at_network.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_network"};
constexpr uint32_t kNetwork = 1;
constexpr Field kRfswitchFields[] = {AT_FIELD(at_rfswitch_info, rf_status)};
constexpr Member kRfswitchCheck = member({.command = "AT^RFSWITCH?",
                                          .match = "^RFSWITCH",
                                          .key = "^RFSWITCH",
                                          .table = kNetwork,
                                          .fields = kRfswitchFields,
                                          .err = AT_ERR(at_rfswitch_info)});
constexpr Member kRfswitchSet =
    member({.command = "AT^RFSWITCH=%d", .arguments = kNumber, .err = AT_ERR(at_rfswitch_info)});

constexpr Argument kHoparasetArguments[] = {
    AT_ARGUMENT(at_hoparaset_req, rsrp_thresh1), AT_ARGUMENT(at_hoparaset_req, rsrp_thresh2),
    AT_ARGUMENT(at_hoparaset_req, rsrp_thresh3), AT_ARGUMENT(at_hoparaset_req, sinr_thresh1),
    AT_ARGUMENT(at_hoparaset_req, sinr_thresh2), AT_ARGUMENT(at_hoparaset_req, sinr_thresh3)};
constexpr Field kHoparasetFields[] = {
    AT_FIELD(at_hoparaset_info, rsrp_thresh1), AT_FIELD(at_hoparaset_info, rsrp_thresh2),
    AT_FIELD(at_hoparaset_info, rsrp_thresh3), AT_FIELD(at_hoparaset_info, sinr_thresh1),
    AT_FIELD(at_hoparaset_info, sinr_thresh2), AT_FIELD(at_hoparaset_info, sinr_thresh3)};
constexpr Member kHoparasetCheck = member({.command = "AT^HOPARASET?",
                                           .match = "^HOPARASET",
                                           .key = "^HOPARASET",
                                           .table = kNetwork,
                                           .fields = kHoparasetFields,
                                           .err = AT_ERR(at_hoparaset_info)});
constexpr Member kHoparasetSet = member({.command = "AT^HOPARASET=%d,%d,%d,%d,%d,%d",
                                         .arguments = kHoparasetArguments,
                                         .err = AT_ERR(at_hoparaset_info)});

constexpr Field kLtemeasmodeFields[] = {AT_FIELD(at_ltemeasmode_info, mode)};
constexpr Member kLtemeasmodeCheck = member({.command = "AT^LTEMEASMODE?",
                                             .match = "^LTEMEASMODE",
                                             .key = "^LTEMEASMODE",
                                             .table = kNetwork,
                                             .fields = kLtemeasmodeFields,
                                             .err = AT_ERR(at_ltemeasmode_info)});
constexpr Member kLtemeasmodeSet = member(
    {.command = "AT^LTEMEASMODE=%d", .arguments = kNumber, .err = AT_ERR(at_ltemeasmode_info)});

// A pair behind one name: by the action, with 0 or -1 as its only results.
template <typename Value, typename Record>
struct Pair {
    const char *name;
    int32_t (*check)(Record *);
    int32_t (*execute)(const Value *, Record *);

    int32_t run(int32_t action, const Value *values, Record *record) const {
        if (values == nullptr || record == nullptr || action < AT_CMD_TYPE_CHECK ||
            action > AT_CMD_TYPE_SET) {
            return -1;
        }
        bool sets = action == AT_CMD_TYPE_SET;
        if ((sets ? execute(values, record) : check(record)) == 0) {
            return 0;
        }
        HEARTH_LOG(OSA_LOG_ERROR, "%s_%s return failed\n", name, sets ? "Execute" : "Check");
        return -1;
    }
};

constexpr Pair<int32_t, at_rfswitch_info> kRfswitch{"AT_RFSwitch", AT_RFSwitch_Check,
                                                    AT_RFSwitch_Execute};
constexpr Pair<at_hoparaset_req, at_hoparaset_info> kHoparaset{"AT_HOPARASET", AT_HOPARASET_Check,
                                                               AT_HOPARASET_Execute};
constexpr Pair<int32_t, at_ltemeasmode_info> kLtemeasmode{"AT_LTEMEASMODE", AT_LTEMEASMODE_Check,
                                                          AT_LTEMEASMODE_Execute};

}  // namespace

int32_t AT_RFSwitch_Check(at_rfswitch_info *record) {
    return run(kRfswitchCheck, record);
}

int32_t AT_RFSwitch_Execute(const int32_t *value, at_rfswitch_info *record) {
    return run(kRfswitchSet, record, value);
}

int32_t AT_RFSwitch(int32_t action, const int32_t *value, at_rfswitch_info *record) {
    return kRfswitch.run(action, value, record);
}

int32_t AT_HOPARASET_Check(at_hoparaset_info *record) {
    return run(kHoparasetCheck, record);
}

int32_t AT_HOPARASET_Execute(const at_hoparaset_req *values, at_hoparaset_info *record) {
    return run(kHoparasetSet, record, values);
}

int32_t AT_HOPARASET(int32_t action, const at_hoparaset_req *values, at_hoparaset_info *record) {
    return kHoparaset.run(action, values, record);
}

int32_t AT_LTEMEASMODE_Check(at_ltemeasmode_info *record) {
    return run(kLtemeasmodeCheck, record);
}

int32_t AT_LTEMEASMODE_Execute(const int32_t *value, at_ltemeasmode_info *record) {
    return run(kLtemeasmodeSet, record, value);
}

int32_t AT_LTEMEASMODE(int32_t action, const int32_t *value, at_ltemeasmode_info *record) {
    return kLtemeasmode.run(action, value, record);
}
