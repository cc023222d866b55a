// Log lines of which every byte can be checked.
#include <stdio.h>

#include "hearth/osa_log.h"
#include "soak/log_check.h"
#include "soak/worker.h"

namespace hearth::soak {

void Hand::log_line() {
    LogStamp stamp{worker_.slot, worker_.life, thread_, ++lines_};
    osa_print_log_ex("soak", "tests/soak", 1, OSA_LOG_INFO, "%s\n", text_of(stamp).c_str());
    count(kLines);
}

void write_log(const Worker &worker, int threads) {
    in_threads(worker, threads, [](Hand &hand) {
        hand.repeat([&hand] {
            for (int i = 0; i < 10; i++) {
                hand.log_line();
            }
            // Every process loads the settings anew.
            if (hand.pick(1000) == 0) {
                hand.call("osa_update_cfg", 0, [] { return osa_update_cfg(); });
            }
        });
    });
}

uint32_t mix(const void *data, size_t size) {
    uint32_t sum = 2166136261u;
    for (size_t i = 0; i < size; i++) {
        sum = (sum ^ static_cast<const uint8_t *>(data)[i]) * 16777619u;
    }
    return sum;
}

}  // namespace hearth::soak
