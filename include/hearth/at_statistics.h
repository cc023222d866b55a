/*
 * Hearth: the modem's counters of connection time and bytes.
 *
 * Every function is one blocking exchange with the AT server, and may be called from any thread.
 */
#ifndef HEARTH_AT_STATISTICS_H
#define HEARTH_AT_STATISTICS_H

#include "hearth/api.h"

HEARTH_BEGIN_DECLS

/* "last" is the present or last connection, "total" all since the counters were cleared. */
typedef struct at_dsflow_info {
    uint32_t last_ds_time;  /* seconds */
    uint32_t total_ds_time; /* seconds */
    uint64_t last_tx_flow;  /* bytes sent */
    uint64_t last_rx_flow;  /* bytes received */
    uint64_t total_tx_flow; /* bytes sent */
    uint64_t total_rx_flow; /* bytes received */
    uint32_t err;           /* error id */
} at_dsflow_info;

/* The same in the order in which the modem tells them. */
typedef struct at_dataflow_info {
    uint32_t last_ds_time; /* as in at_dsflow_info, like all below */
    uint64_t last_tx_flow;
    uint64_t last_rx_flow;
    uint32_t total_ds_time;
    uint64_t total_tx_flow;
    uint64_t total_rx_flow;
    uint32_t err;
} at_dataflow_info;

/* Switches the modem's flow reports. Blocks for up to 1 second. Returns 0, -1 when the modem
 * refuses, else what the channel gave. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Dsflowrpt(int32_t value);

/* Clears the counters and stores -2 through `result`. Blocks for up to 5 seconds. Returns 0, or -1
 * for null, without a reply and when the modem refuses. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Dsflowclr(uint32_t *result);

/* Reads the counters. Blocks for up to 30 seconds. Returns 0, or -1 for null, without a reply, when
 * the modem refuses and for a reply that cannot be read. */
HEARTH_API HEARTH_MUST_CHECK int32_t AT_Dsflowqry(at_dsflow_info *record);

/* The same. Returns 0, or -1. */
HEARTH_API HEARTH_MUST_CHECK int32_t at_dataflow(at_dataflow_info *record);

HEARTH_END_DECLS

#endif
