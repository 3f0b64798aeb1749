#!/usr/bin/env bash
# [SECONDS [PRESET [SEED]]]: eight channels for SECONDS (3600) with the programs of PRESET (asan), in four processes of
# two: H.264 over UDP twice, H.264 interleaved, Motion JPEG over HTTP. A dice with SEED (1) chooses a fault for each
# camera every few seconds. Prints the memory of each process as a series, and fails on a finding of a sanitizer, a
# process that ends early, a breach of the contract, or growth after the first sixth of the time.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-3600}
preset=${2:-asan}
seed=${3:-1}
bin=build/$preset
out=out/soak
rm -rf "$out"
mkdir -p "$out"
export ASAN_OPTIONS=quarantine_size_mb=8:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1

rtsp_faults="keepalive-400 keepalive-silent session-short interleaved-garbage interleaved-early interleaved-cut
 foreign-ssrc=0.02 sprop-missing=no-sets sprop-missing=no-line sprop-only sdp-broken=all base-odd=absent
 base-odd=no-slash auth-refuse busy-503=2 rtp-loss=0.02 rtp-dup=0.02 rtp-reorder=0.02 seq-jump=for-good seq-jump=once
 ts-jump=for-good ts-jump=once ts-back=for-good ts-back=once no-marker freeze half-open reset=1s reboot sps-change
 bye=media-go-on bye=media-stop rtcp-flood slow-http=headers cgi-garbage=binary cgi-garbage=10mb cgi-invalid"
http_faults="auth-refuse busy-503=2 busy-401=2 freeze half-open reset=1s reboot slow-http=bytes slow-http=headers
 slow-http=short slow-http=long cgi-garbage=binary cgi-garbage=quotes cgi-invalid mjpeg-odd=no-length
 mjpeg-odd=no-part-headers mjpeg-odd=chunked mjpeg-odd=cut mjpeg-odd=thumbnail"

plan() # SEED FAULTS: a --fault argument a line; one fault at a time for 2 to 9 s, with 3 to 12 s of health between
{
    awk -v seed="$1" -v end="$seconds" -v list="$2" 'BEGIN {
        srand(seed); n = split(list, fault, /[ \n]+/)
        for (at = 5; at < end - 60; ) {
            lasts = 2 + int(rand() * 8)
            printf "--fault\n%s@%ds+%ds\n", fault[1 + int(rand() * n)], at, lasts
            at += lasts + 3 + int(rand() * 10)
        }
    }'
}

pids=()
cleanup() { kill "${pids[@]}" 2>/dev/null || true; wait 2>/dev/null || true; }
trap cleanup EXIT
hosts=()
names=()
start() # NAME SEED FAULTS larkmoor-host arguments...
{
    local name=$1 dice=$2 faults=$3 arguments http rtsp
    shift 3
    mapfile -t arguments < <(plan "$dice" "$faults")
    "$bin/larkmoor-camera" --seed "$dice" --seconds $((seconds + 60)) "${arguments[@]}" >"$out/$name.camera" 2>&1 &
    pids+=($!)
    until grep -q ready "$out/$name.camera"; do
        kill -0 "${pids[-1]}" 2>/dev/null || { cat "$out/$name.camera"; exit 1; }
        sleep 0.2
    done
    http=$(sed -nE 's/.*http=([0-9]+).*/\1/p' "$out/$name.camera")
    rtsp=$(sed -nE 's/.*rtsp=([0-9]+).*/\1/p' "$out/$name.camera")
    "$bin/larkmoor-host" load --address 127.0.0.1 --port "$http" --rtsp-port "$rtsp" --size 320x240 --rate 10 --quality 60 \
        --drivers 2 --seconds "$seconds" --json "$out/$name.json" --quiet "$@" >"$out/$name.log" 2>&1 &
    pids+=($!)
    hosts+=($!)
    names+=("$name")
}
start udp-1 $((seed * 10 + 1)) "$rtsp_faults" --codec h264 --transport udp
start udp-2 $((seed * 10 + 2)) "$rtsp_faults" --codec h264 --transport udp
start tcp $((seed * 10 + 3)) "$rtsp_faults" --codec h264 --transport tcp
start http $((seed * 10 + 4)) "$http_faults" --codec mjpeg --transport http

resident() { awk '/^VmRSS/ {print int($2 / 1024)}' "/proc/$1/status" 2>/dev/null || echo 0; }
printf '%8s' minute "${names[@]}" && echo '   (resident MB of each process)'
step=$((seconds >= 1200 ? 60 : seconds / 20 + 1))
declare -A early last
failed=0
begun=$SECONDS
while [ $((SECONDS - begun)) -lt $((seconds - 5)) ]; do
    sleep "$step"
    passed=$((SECONDS - begun))
    printf '%8.1f' "$(awk "BEGIN {print $passed / 60}")"
    for i in "${!hosts[@]}"; do
        kill -0 "${hosts[$i]}" 2>/dev/null || continue
        now=$(resident "${hosts[$i]}")
        printf '%8s' "$now"
        last[$i]=$now
        if [ "$passed" -le $((seconds / 6 + step)) ]; then early[$i]=$now; fi
    done
    echo
done
for i in "${!hosts[@]}"; do
    status=0
    wait "${hosts[$i]}" || status=$?
    name=${names[$i]}
    frames=$(sed -nE 's/.*"frames": ([0-9]+).*/\1/p' "$out/$name.json" 2>/dev/null | tail -1)
    echo "$name: exit status $status, ${frames:-no} frames, ${early[$i]:-0} MB after the first sixth, ${last[$i]:-0} MB at the end"
    [ "$status" = 0 ] || failed=1
    [ "${last[$i]:-0}" -le $((${early[$i]:-0} * 110 / 100 + 4)) ] || { echo "$name grew"; failed=1; }
done
if grep -lE 'AddressSanitizer|LeakSanitizer|runtime error|ThreadSanitizer' "$out"/*.log; then failed=1; fi
[ $failed = 0 ] && echo "soak: clean"
exit $failed
