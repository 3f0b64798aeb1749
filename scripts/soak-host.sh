#!/usr/bin/env bash
# [COUNT [PRESET [SEED]]]: the bench host as a host that stalls, throws and refuses opens, uses and closes COUNT (2000)
# drivers, 32 at a time, with the programs of PRESET (asan) and the chances of SEED (1): every codec and transport, sound,
# heads, inputs, outputs and queries, and behind that an eighth as many over multicast, where the kernel gives a network of
# its own. Fails if a call takes longer than it may, or if anything stays behind that no given-up thread accounts for.
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -z "${LARKMOOR_OWN_NETWORK:-}" ]; then
    namespace=(unshare --net)
    [ "$(id -u)" = 0 ] || namespace+=(--map-root-user)
    if "${namespace[@]}" true 2>/dev/null; then LARKMOOR_OWN_NETWORK=1 exec "${namespace[@]}" "$0" "$@"; fi
    echo "no network of our own: multicast is left out"
else
    ip link set lo up
    ip route add 224.0.0.0/4 dev lo src 127.0.0.1
fi
count=${1:-2000}
preset=${2:-asan}
seed=${3:-1}
bin=build/$preset
out=out/soak-host/$preset
rm -rf "$out"
mkdir -p "$out"
export ASAN_OPTIONS=quarantine_size_mb=64:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 MALLOC_ARENA_MAX=2

pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; wait 2>/dev/null || true' EXIT
streams=()
camera() # CODEC/TRANSPORT PROFILE larkmoor-camera arguments...
{
    local log=$out/camera-${#pids[@]}
    "$bin/larkmoor-camera" --profile "$2" "${@:3}" >"$log" 2>&1 &
    pids+=($!)
    until grep -q ready "$log"; do
        kill -0 "${pids[-1]}" 2>/dev/null || { cat "$log"; exit 1; }
        sleep 0.1
    done
    streams+=("$1:$(sed -nE 's/.*http=([0-9]+).*/\1/p' "$log"):$(sed -nE 's/.*rtsp=([0-9]+).*/\1/p' "$log")")
}
failed=0
run() # NAME COUNT
{
    local status=0
    echo "== $1"
    "$bin/larkmoor-host" hostile --cycles "$2" --seed "$seed" --json "$out/$1.json" "${streams[@]}" >"$out/$1.log" 2>&1 ||
        status=$?
    grep -vE ' of [0-9]+ cycles, ' "$out/$1.log" || true
    echo "$1: exit status $status"
    [ "$status" = 0 ] || failed=1
    if grep -qE 'AddressSanitizer|LeakSanitizer|runtime error|ThreadSanitizer' "$out/$1.log"; then failed=1; fi
    streams=()
}
inputs=(--input '0@1s/500ms=flip')
camera h264/udp dome "${inputs[@]}"
camera h264/tcp audio
camera mpeg4/udp audio
camera mpeg4/tcp dome "${inputs[@]}"
camera mjpeg/udp dome "${inputs[@]}"
camera mjpeg/tcp audio
camera mjpeg/http dome "${inputs[@]}"
camera h264/udp audio --fault freeze@2s # the driver tells its host that the signal is lost
run mixed "$count"
if [ -n "${LARKMOOR_OWN_NETWORK:-}" ]; then
    group=(--set network_rtsp_s0_multicast_alwaysmulticast=1)
    camera h264/multicast audio "${group[@]}"
    camera mpeg4/multicast dome "${group[@]}"
    camera mjpeg/multicast dome "${group[@]}"
    run multicast $((count / 8 + 4))
fi
[ $failed = 0 ] && echo "soak host: clean"
exit $failed
