// Every call below the channel to the AT server fails or is interrupted in turn.
#include <gtest/gtest.h>

#include <optional>

#include "hearth/at_network.h"
#include "hearth/osa_queue.h"
#include "support/at_script.h"
#include "support/log_capture.h"
#include "support/sweep.h"

namespace {

using namespace hearth::test;

at_creg_info g_record;

// The request of a wait that failed is taken back by the next exchange, which succeeds.
void expect_next_exchange(int32_t result) {
    if (result == 0) {
        EXPECT_EQ(g_record.stat, 5);
    }
    at_creg_info again{};
    EXPECT_EQ(AT_Creg(0, &again), 0);
    EXPECT_EQ(again.stat, 5);
}

TEST(AtLibFaults, AnExchange) {
    silence_log();
    AtScript server;
    server.answer({{AT_RET_SUCCESS, "+CREG: 0,5"}});
    const Sweep rows[] = {
        {"channel: an exchange",
         [] { g_record = {}; },
         [] { return AT_Creg(0, &g_record); },
         expect_next_exchange,
         0,
         {-1},
         // Old requests that cannot be taken back are told by their number; a wait asks again. A
         // server that cannot be asked about is looked for.
         "msgrcv kill fclose"},
        {"channel: the first exchange",
         [] { g_record = {}; },
         [] { return AT_Creg(0, &g_record); },
         nullptr,
         0,
         {-1},
         "msgrcv kill fclose",
         kLikely,
         false,
         true},
    };
    sweep_all(rows);
}

}  // namespace
