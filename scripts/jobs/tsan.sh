#!/usr/bin/env bash
# every test under ThreadSanitizer
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1"
build_and_test tsan "$@"
