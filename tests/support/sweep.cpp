#include "support/sweep.h"

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/mman.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "support/capture.h"

namespace hearth::test {

namespace {

struct FaultName {
    Fault fault;
    const char *text;
};
constexpr FaultName kFaults[] = {
    {Fault::kFail, "failed"}, {Fault::kShort, "came short"}, {Fault::kInterrupt, "interrupted"}};

bool is_listed(std::string_view list, std::string_view word) {
    while (!list.empty()) {
        size_t end = std::min(list.find(' '), list.size());
        if (list.substr(0, end) == word) {
            return true;
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

struct Outcome {
    int32_t result;
    bool fired;
    const char *call;  // that the fault befell
};

Outcome run_with_fault(const Sweep &row, Fault fault, int n) {
    watch_all_callers(row.all_callers);
    arm_fault(fault, row.calls, n, 0);
    int32_t result = row.run();
    bool fired = disarm_fault();
    return {result, fired, fired ? last_fault() : "none"};
}

Outcome run_in_child(const Sweep &row, Fault fault, int n) {
    static auto *shared = static_cast<Outcome *>(
        mmap(nullptr, sizeof(Outcome), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    *shared = {INT32_MIN, false, "none"};
    pid_t child = fork();
    if (child == 0) {
        *shared = run_with_fault(row, fault, n);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << row.name << ", call " << n;
    return *shared;
}

// A result without a fault is the good one. A failure is told, unless it is listed as quiet; who
// is interrupted or served by halves may also go on to the good end.
void judge_result(const Sweep &row, Fault fault, const Outcome &outcome) {
    bool told = std::find(row.bad.begin(), row.bad.end(), outcome.result) != row.bad.end();
    bool may_be_good =
        !outcome.fired || fault != Fault::kFail || is_listed(row.quiet, outcome.call);
    EXPECT_TRUE((outcome.fired && told) || (may_be_good && outcome.result == row.good))
        << "result " << outcome.result;
}

// One run with a fault in its n-th call.
Outcome run_once(const Sweep &row, const FaultName &fault, int n) {
    if (row.set_up) {
        row.set_up();
    }
    Outcome outcome =
        row.in_child ? run_in_child(row, fault.fault, n) : run_with_fault(row, fault.fault, n);
    SCOPED_TRACE(std::string(row.name) + ", call " + std::to_string(n) + " " + fault.text + ": " +
                 outcome.call);
    judge_result(row, fault.fault, outcome);
    if (row.check) {
        row.check(outcome.result);
    }
    return outcome;
}

// Gives threads that are about to end the time to.
bool grew(const Holdings &before) {
    for (int waits = 0; waits < 100; waits++) {
        Holdings now = holdings();
        if (now.blocks <= before.blocks && now.others <= before.others) {
            return false;
        }
        usleep(2000);
    }
    return true;
}

// What is kept once for the life of the process is no leak; what each run keeps is. False when
// there are fewer calls.
bool run_point(const Sweep &row, const FaultName &fault, int n) {
    constexpr int kRuns = 3;
    Outcome outcome{};
    for (int run = 0; run < kRuns; run++) {
        Holdings before = holdings();
        outcome = run_once(row, fault, n);
        if (row.in_child || testing::Test::HasFailure() || !grew(before)) {
            return outcome.fired;
        }
    }
    ADD_FAILURE() << row.name << ", call " << n << " " << fault.text << ": " << outcome.call
                  << ": each run keeps something";
    return outcome.fired;
}

int sweep(const Sweep &row) {
    constexpr int kUnreached = 1 << 30;
    run_once(row, kFaults[0], kUnreached);
    int tried = 0;
    for (const FaultName &fault : kFaults) {
        for (int n = 1; !testing::Test::HasFailure() && run_point(row, fault, n); n++) {
            tried++;
        }
    }
    count_faults(tried);
    return tried;
}

}  // namespace

void sweep_all(std::span<const Sweep> rows) {
    // The library's own lines go to standard output, which is out of the way.
    StdoutCapture output;
    for (const Sweep &row : rows) {
        int tried = sweep(row);
        fprintf(stderr, "%5d faults: %s\n", tried, row.name);
        EXPECT_GT(tried, 0) << row.name;
        if (testing::Test::HasFailure()) {
            break;
        }
    }
    std::string text = output.text();
    if (testing::Test::HasFailure()) {
        fputs(text.c_str(), stdout);
    }
}

}  // namespace hearth::test
