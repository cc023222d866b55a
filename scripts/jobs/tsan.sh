#!/usr/bin/env bash
# the tests with several threads under ThreadSanitizer; with arguments for ctest any of the tests
# By default each process lingers for a second at its end, and tests start hundreds.
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:atexit_sleep_ms=50"
# The programs that tests start have one thread each: those of the release build will do.
cmake --preset release >/dev/null && cmake --build --preset release --target hearth_desk
if [ $# -gt 0 ]; then
    build_and_test tsan "$@"
    return
fi
programs=(tests/{osa,config,notify}/*_test.cpp tests/ats/at_{lib,comm,network,sms}_test.cpp)
programs=("${programs[@]##*/}")
programs=("${programs[@]%.cpp}")
build_and_test --targets "${programs[*]}" tsan -R "^($(IFS='|' && echo "${programs[*]}")):"
