#!/usr/bin/env bash
# every test under AddressSanitizer and UndefinedBehaviorSanitizer
export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:allocator_may_return_null=1"
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1"
build_and_test asan "$@"
