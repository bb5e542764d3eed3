#!/usr/bin/env bash
# Builds the kit, its backend, examples and tests in one configuration and runs the whole
# suite (unit, integration against the real backend on loopback, Qt on the offscreen platform).
#
#   scripts/test.sh                              # plain build in build/
#   scripts/test.sh --sanitize address,undefined # in build-asan/
#   scripts/test.sh --sanitize thread            # in build-tsan/
set -euo pipefail
cd "$(dirname "$0")/.."

sanitize=""
if [ "${1:-}" = "--sanitize" ]; then
    sanitize="${2:?which sanitizers}"
fi

case "$sanitize" in
    "") dir=build; type=RelWithDebInfo ;;
    address,undefined) dir=build-asan; type=Debug ;;
    thread) dir=build-tsan; type=Debug ;;
    *) echo "unknown sanitizer set: $sanitize" >&2; exit 2 ;;
esac

bash scripts/install-deps.sh

cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" -DVORNA_SANITIZE="$sanitize" \
      -DVORNA_BUILD_BENCH="$([ -z "$sanitize" ] && echo ON || echo OFF)"
cmake --build "$dir" -j "$(nproc)"

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:detect_stack_use_after_return=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
# Qt, GLib and cpp-httplib are not instrumented: see tests/tsan.supp.
export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:suppressions=$PWD/tests/tsan.supp"
cd "$dir"
ctest --output-on-failure -j "$(nproc)" --timeout 600
