#include "hearth/at_statistics.h"

#include "ats/atapi/at_exchange.h"

namespace {

using namespace hearth::at;

constexpr hearth::LogSource kLogSource{"ats", "ats/atapi/at_statistics"};

constexpr Member kReport =
    member({.command = "AT^DSFLOWRPT=%d",
            .arguments = kNumber,
            .timeout = 1,
            .source = &kLogSource,
            .failed = {OSA_LOG_ERROR, "[AT_Dsflowrpt] GetDataFromAtServer return ERR_FAILED\n"}});
// The record is the result word alone.
constexpr Member kClear =
    member({.command = "AT^DSFLOWCLR", .timeout = 5, .hides_failure = true, .err = 0});

constexpr Field kFlowFields[] = {
    AT_FIELD_WITH(at_dsflow_info, last_ds_time, "last_ds_time", store_hex),
    AT_FIELD_WITH(at_dsflow_info, total_ds_time, "total_ds_time", store_hex),
    AT_FIELD_WITH(at_dsflow_info, last_tx_flow, "last_tx_flow", store_hex),
    AT_FIELD_WITH(at_dsflow_info, last_rx_flow, "last_rx_flow", store_hex),
    AT_FIELD_WITH(at_dsflow_info, total_tx_flow, "total_tx_flow", store_hex),
    AT_FIELD_WITH(at_dsflow_info, total_rx_flow, "total_rx_flow", store_hex)};
constexpr Member kQuery = member(
    {.command = "AT^DSFLOWQRY=1",
     .match = "^DSFLOWQRY",
     .hides_failure = true,
     .key = "^DSFLOWQRY",
     .table = 28,
     .fields = kFlowFields,
     .err = AT_ERR(at_dsflow_info),
     .source = &kLogSource,
     .no_record = {OSA_LOG_ERROR, "Input param is null\n"},
     .failed = {OSA_LOG_ERROR, "[AT_Dsflowqry],GetDataFromAtServer return ERR_FAILED\n"},
     .no_list = {OSA_LOG_ERROR, "[AT_Dsflowqry],at_cmd_parse output  at_parse_result is null\n"}});

}  // namespace

int32_t AT_Dsflowrpt(int32_t value) {
    int32_t result = run(kReport, nullptr, &value);
    if (result == 0) {
        HEARTH_LOG(OSA_LOG_INFO, "AT_Dsflowrpt success\n");
    }
    return result;
}

int32_t AT_Dsflowclr(uint32_t *result) {
    return run(kClear, result);
}

int32_t AT_Dsflowqry(at_dsflow_info *record) {
    return run(kQuery, record);
}

int32_t at_dataflow(at_dataflow_info *record) {
    at_dsflow_info flow{};
    if (record == nullptr || AT_Dsflowqry(&flow) != 0) {
        return -1;
    }
    *record = {flow.last_ds_time,  flow.last_tx_flow,  flow.last_rx_flow, flow.total_ds_time,
               flow.total_tx_flow, flow.total_rx_flow, flow.err};
    return 0;
}
