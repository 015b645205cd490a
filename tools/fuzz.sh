#!/usr/bin/env bash
# Run one fuzz target with libFuzzer's options. Print the number of inputs, or the failure.
set -euo pipefail
target=$1
corpus=$target.corpus
mkdir -p "$corpus"
if ! "$target" -max_len=64 -print_final_stats=1 -artifact_prefix="$target-" "${@:2}" "$corpus" >"$target.log" 2>&1; then
    cat "$target.log"
    exit 1
fi
count=$(sed -n 's/^stat::number_of_executed_units: *//p' "$target.log")
echo "fuzz $(basename "$target"): $count inputs, no report"
((count > 0))
