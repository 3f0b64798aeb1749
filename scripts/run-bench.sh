#!/usr/bin/env bash
# [NAME...]: runs the benchmarks of build/bench, or those named (rtp_packet for rtp_packet_bench).
# peers [SECONDS [LOAD...]]: the driver beside other receivers, each load (16udp, 64tcp ...) for SECONDS (15); with
# LARKMOOR_BEFORE=FOLDER beside the driver of another build too.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ "${1:-}" = peers ]; then
    shift
    exec build/bench/peers build/bench "$@"
fi
names=("$@")
[ ${#names[@]} -gt 0 ] || for source in bench/*_bench.cpp; do names+=("$(basename "$source" _bench.cpp)"); done
for name in "${names[@]}"; do
    echo "== $name"
    "build/bench/${name}_bench" --benchmark_counters_tabular=true
done
